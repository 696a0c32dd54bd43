#include "support/ExpectFailure.hpp"

#include <Tavi/Composite.hpp>
#include <Tavi/CompositeOfProperties.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Triple.hpp>
#include <Tavi/Vector.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NORV;
using namespace NORV::Tavi;
using namespace NORV::Tavi::Persistence;
using NORV::Exceptions::BadCast;
using NORV::Exceptions::InvalidState;
using NORV::Exceptions::NULLPointer;

namespace {

using VolumeVector = Container::Vector<SmartPointer<IVolume>>;

/// One property of each kind.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "the volume to read"});
    append("inputTyped", inputTyped);
    append("inputList", inputList);
    append("inputFlag", inputFlag);
    append("inputCount", inputCount, {Takes::count, optional, "how many"});
    append("inputNumber", inputNumber);
    append("inputText", inputText);
    append("inputLimit", inputLimit, like("inputVolume", required, "the limit"));
    append("inputTriple", inputTriple);
    append("inputDimension", inputDimension);
    append("inputPosition", inputPosition);
    append("outputRegion", outputRegion);
  }
  std::string getType() const override { return "Tests::Parameter"; }

  Property<SmartPointer<IVolume>> inputVolume;
  Property<VolumePtr<uint8>> inputTyped;
  Property<Container::VectorPtr<SmartPointer<IVolume>>> inputList;
  Property<bool> inputFlag;
  Property<SizeType> inputCount;
  Property<double> inputNumber;
  Property<std::string> inputText;
  Property<IData> inputLimit;
  Property<Triple<float>> inputTriple;
  Property<Dimension<SizeType>> inputDimension;
  Property<Position<SizeType>> inputPosition;
  Property<RegionOfInterest> outputRegion;
};

/// Takes its keys from the test.
class Named final : public CompositeOfProperties<Named> {
public:
  std::string getType() const override { return "Tests::Named"; }
  Property<double> first, second, third;
};

class Node final : public Composite<Node> {
public:
  std::string getType() const override { return "Tests::Node"; }
};

template <class T>
SmartPointer<IComposite> dataOf(const T& value) {
  return SmartPointer<IComposite>(new Data<T>(value));
}

template <class T>
T read(const SmartPointer<IComposite>& node) {
  const DataPtr<T> typed(node);
  EXPECT_TRUE(typed != 0) << "the node is a " << (node != 0 ? node->getType() : "null");
  return typed != 0 ? typed->getValue() : T{};
}

std::vector<std::string> keysOf(const IComposite& node) {
  std::vector<std::string> keys;
  for (SizeType i = 0; i < node.getNumberOfKeys(); ++i) {
    keys.push_back(node.getKey(i));
  }
  return keys;
}

const std::string setOrigin = "NORV::Tavi::Persistence::CompositeOfProperties::PropertyData::set";
const std::string setTripleOrigin = "NORV::Tavi::Persistence::CompositeOfProperties::PropertyTripleComposite::set";
const std::string extractOrigin =
    "NORV::Tavi::Persistence::CompositeOfProperties::Property< NORV::Tavi::Persistence::IData >::extractValue";
const std::string uninitialised =
    "You tried to use an Property without appending it to an CompositeOfProperties instance. This will never work. ";

/// Assigns a value before the property is appended, once it is told to: it is constructed at start to be registered.
class Hasty final : public CompositeOfProperties<Hasty> {
public:
  Hasty() {
    if (isHasty) {
      inputValue = 1;
    }
    append("inputValue", inputValue);
  }
  std::string getType() const override { return "Tests::Hasty"; }
  Property<int32> inputValue;
  static inline bool isHasty = false;
};

}  // namespace

TEST(CompositeTest, KeysStayInTheOrderInWhichTheyCameIn) {
  Node node;
  EXPECT_EQ(node.getNumberOfKeys(), 0u);
  node.setValue("b", dataOf(int32{1}));
  node.setValue("a", dataOf(int32{2}));
  node.setValue("", dataOf(int32{3}));
  node.setValue("b", dataOf(int32{4}));
  EXPECT_EQ(keysOf(node), (std::vector<std::string>{"b", "a", ""}));
  EXPECT_EQ(read<int32>(node.getValue("b")), 4);
  EXPECT_EQ(read<int32>(node.getValue("")), 3);
  node.setValue("a", 0);
  EXPECT_TRUE(node.getValue("a") == 0);
}

TEST(CompositeTest, ValuesAreShared) {
  Node node;
  const DataPtr<int32> value(new Data<int32>(1));
  node.setValue("a", value);
  value->setValue(7);
  EXPECT_EQ(read<int32>(node.getValue("a")), 7);
}

TEST(CompositeFailures, UnknownKeyNamesClassAndKey) {
  const Node node;
  Tests::expectStandard<std::invalid_argument>(
      [&] { node.getValue("x y"); }, "NORV::Tavi::Persistence::Composite< Tests::Node >::operator[ x y ] Wrong key!");
}

TEST(CompositeFailures, IndexPastTheEndThrows) {
  Node node;
  EXPECT_THROW(node.getKey(0), std::out_of_range);
  node.setValue("a", 0);
  EXPECT_THROW(node.getKey(1), std::out_of_range);
  EXPECT_THROW(node.getKey(~SizeType{0}), std::out_of_range);
}

TEST(CompositeOfPropertiesTest, NamesBeginWithTheirRole) {
  Named named;
  named.append("inputs", named.first);
  named.append("output", named.second);
  named.append("modifyVolume", named.third);
  EXPECT_EQ(keysOf(named), (std::vector<std::string>{"inputs", "output", "modifyVolume"}));
}

TEST(CompositeOfPropertiesTest, ExistingKeyKeepsItsPlaceAndGetsTheNewProperty) {
  Named named;
  named.append("inputA", named.first, {Takes::number, required, "old"});
  named.append("inputB", named.second);
  named.append("inputA", named.third, {Takes::number, optional, "new"});
  EXPECT_EQ(keysOf(named), (std::vector<std::string>{"inputA", "inputB"}));
  named.setValue("inputA", dataOf(2.5));
  EXPECT_EQ(double(named.third), 2.5);
  EXPECT_EQ(double(named.first), 0.0);
  EXPECT_STREQ(named.describe()[0].info.meaning, "new");
}

TEST(CompositeOfPropertiesTest, OnePropertyMayHaveTwoKeys) {
  Named named;
  named.append("inputA", named.first);
  named.append("outputA", named.first);
  named.setValue("inputA", dataOf(2.5));
  EXPECT_EQ(read<double>(named.getValue("outputA")), 2.5);
}

TEST(CompositeOfPropertiesTest, KeysAreDescribedInTheirOrder) {
  const Parameter parameter;
  const auto& keys = parameter.describe();
  ASSERT_EQ(keys.size(), parameter.getNumberOfKeys());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(keys[i].key, parameter.getKey(i));
  }
  EXPECT_EQ(keys[0].info.takes, Takes::volume);
  EXPECT_TRUE(keys[0].info.required);
  EXPECT_STREQ(keys[0].info.meaning, "the volume to read");
  EXPECT_FALSE(keys[4].info.required);
}

TEST(CompositeOfPropertiesTest, DefaultsAreEmpty) {
  const Parameter parameter;
  EXPECT_TRUE(parameter.getValue("inputVolume") == 0);
  EXPECT_TRUE(parameter.getValue("inputTyped") == 0);
  EXPECT_TRUE(parameter.getValue("inputList") == 0);
  EXPECT_TRUE(parameter.getValue("inputLimit") == 0);
  EXPECT_EQ(read<bool>(parameter.getValue("inputFlag")), false);
  EXPECT_EQ(read<SizeType>(parameter.getValue("inputCount")), 0u);
  EXPECT_EQ(read<double>(parameter.getValue("inputNumber")), 0.0);
  EXPECT_EQ(read<std::string>(parameter.getValue("inputText")), "");
  EXPECT_EQ(RegionOfInterest(parameter.outputRegion), RegionOfInterest());
}

TEST(CompositeOfPropertiesTest, ParameterIsMadeByItsIdentifier) {
  const SmartPointer<Parameter> made(Factory::getClassFactory().createInstance("Tests::Parameter"));
  ASSERT_TRUE(made != 0);
  EXPECT_EQ(made->getNumberOfKeys(), 12u);
}

TEST(CompositeOfPropertiesTest, PointersAreShared) {
  Parameter parameter;
  const VolumePtr<uint8> volume(new Volume<uint8>(Dimension<SizeType>(2, 1, 1)));
  parameter.setValue("inputVolume", volume);
  parameter.setValue("inputTyped", volume);
  EXPECT_TRUE(parameter.getValue("inputVolume") == volume);
  EXPECT_TRUE(parameter.getValue("inputTyped") == volume);
  EXPECT_EQ(volume.getNumberOfOwners(), 3u);
  const SmartPointer<VolumeVector> list(new VolumeVector);
  parameter.setValue("inputList", list);
  EXPECT_TRUE(parameter.getValue("inputList") == list);
}

TEST(CompositeOfPropertiesTest, PointerToAnotherClassEmptiesTheProperty) {
  Parameter parameter;
  parameter.setValue("inputTyped", SmartPointer<IComposite>(new Volume<uint8>));
  EXPECT_TRUE(parameter.getValue("inputTyped") != 0);
  parameter.setValue("inputTyped", SmartPointer<IComposite>(new Volume<int8>));
  EXPECT_TRUE(parameter.getValue("inputTyped") == 0);
  parameter.setValue("inputVolume", SmartPointer<IComposite>(new Volume<int8>));
  EXPECT_TRUE(parameter.getValue("inputVolume") != 0);
  parameter.setValue("inputVolume", dataOf(1.0));
  EXPECT_TRUE(parameter.getValue("inputVolume") == 0);
}

TEST(CompositeOfPropertiesTest, PlainValuesAreCopiedInAndOut) {
  Parameter parameter;
  const DataPtr<double> number(new Data<double>(1.5));
  parameter.setValue("inputNumber", number);
  number->setValue(9.0);
  EXPECT_EQ(double(parameter.inputNumber), 1.5);
  DataPtr<double>(parameter.getValue("inputNumber"))->setValue(9.0);
  EXPECT_EQ(double(parameter.inputNumber), 1.5);
  parameter.setValue("inputFlag", dataOf(true));
  EXPECT_EQ(read<bool>(parameter.getValue("inputFlag")), true);
  parameter.setValue("inputText", dataOf(std::string("a name with blanks")));
  EXPECT_EQ(std::string(parameter.inputText), "a name with blanks");
}

TEST(CompositeOfPropertiesTest, TypedPropertiesAreUsedDirectly) {
  Parameter parameter, other;
  parameter.inputCount = SizeType{3};
  parameter.inputFlag = true;
  EXPECT_EQ(read<SizeType>(parameter.getValue("inputCount")), 3u);
  other.inputCount = parameter.inputCount;
  other.inputFlag = parameter.inputFlag;
  EXPECT_EQ(SizeType(other.inputCount), 3u);
  EXPECT_TRUE(bool(other.inputFlag));
  other.setValue("inputCount", dataOf(SizeType{4}));
  EXPECT_EQ(SizeType(parameter.inputCount), 3u) << "assigning takes the value, not the place";
}

TEST(CompositeOfPropertiesTest, AnyIntegerThatFitsIsTaken) {
  Parameter parameter;
  const auto takes = [&](const SmartPointer<IComposite>& value, SizeType expected) {
    parameter.setValue("inputCount", value);
    EXPECT_EQ(SizeType(parameter.inputCount), expected) << value->getType();
    parameter.setValue("inputNumber", value);
    EXPECT_EQ(double(parameter.inputNumber), static_cast<double>(expected)) << value->getType();
  };
  takes(dataOf(int8{127}), 127);
  takes(dataOf(uint8{255}), 255);
  takes(dataOf(int16{32767}), 32767);
  takes(dataOf(uint16{65535}), 65535);
  takes(dataOf(int32{2147483647}), 2147483647);
  takes(dataOf(uint32{4294967295}), 4294967295);
  takes(dataOf(int64{1} << 53), SizeType{1} << 53);
  takes(dataOf(uint64{1} << 63), SizeType{1} << 63);
  parameter.setValue("inputFlag", dataOf(int32{1}));
  EXPECT_TRUE(bool(parameter.inputFlag));
  parameter.setValue("inputFlag", dataOf(uint8{0}));
  EXPECT_FALSE(bool(parameter.inputFlag));
  parameter.setValue("inputNumber", dataOf(int8{-3}));
  EXPECT_EQ(double(parameter.inputNumber), -3.0);
}

TEST(CompositeOfPropertiesTest, TriplesPassAsTheirNodes) {
  Parameter parameter;
  parameter.setValue("inputTriple",
                     SmartPointer<IComposite>(new TripleComposite<float>(Triple<float>(1.5f, -2.0f, 0.25f))));
  parameter.setValue("inputDimension",
                     SmartPointer<IComposite>(new DimensionComposite<SizeType>(Dimension<SizeType>(4, 3, 2))));
  parameter.setValue("inputPosition",
                     SmartPointer<IComposite>(new PositionComposite<SizeType>(Position<SizeType>(1, 0, 7))));
  const RegionOfInterest region(Dimension<SizeType>(1, 2, 3), Position<SizeType>(4, 5, 6));
  const SmartPointer<RoiComposite> node(new RoiComposite(region));
  parameter.setValue("outputRegion", node);
  node->setValue("origin", SmartPointer<IComposite>(new PositionComposite<SizeType>));
  EXPECT_EQ(Triple<float>(parameter.inputTriple), Triple<float>(1.5f, -2.0f, 0.25f));
  EXPECT_EQ(Dimension<SizeType>(parameter.inputDimension), Dimension<SizeType>(4, 3, 2));
  EXPECT_EQ(Position<SizeType>(parameter.inputPosition), Position<SizeType>(1, 0, 7));
  EXPECT_EQ(RegionOfInterest(parameter.outputRegion), region) << "the value is copied";
  EXPECT_EQ(SmartPointer<RoiComposite>(parameter.getValue("outputRegion"))->value(), region);
  EXPECT_EQ(SmartPointer<TripleComposite<float>>(parameter.getValue("inputTriple"))->value(),
            Triple<float>(1.5f, -2.0f, 0.25f));
  EXPECT_EQ(parameter.getValue("inputDimension")->getType(), "NORV::Tavi::DimensionComposite< NORV::uint64 >");
}

TEST(PropertyOfAnyDataTest, ValueOfAnotherTypeReplacesTheStoredObject) {
  Parameter parameter;
  parameter.setValue("inputLimit", dataOf(int16{5}));
  const SmartPointer<IComposite> first = parameter.getValue("inputLimit");
  EXPECT_EQ(first->getType(), "NORV::Tavi::Persistence::Data< NORV::int16 >");
  parameter.setValue("inputLimit", dataOf(2.5));
  const SmartPointer<IComposite> second = parameter.getValue("inputLimit");
  EXPECT_EQ(second->getType(), "NORV::Tavi::Persistence::Data< NORV::float64 >");
  EXPECT_TRUE(first != second);
  EXPECT_EQ(read<int16>(first), 5) << "the old object stays what it was for those who hold it";
  EXPECT_EQ(parameter.inputLimit.extractValue<float64>(), 2.5);
}

TEST(PropertyOfAnyDataTest, ValueOfTheSameTypeIsCopiedIntoTheStoredObject) {
  Parameter parameter;
  parameter.setValue("inputLimit", dataOf(int16{5}));
  const SmartPointer<IComposite> stored = parameter.getValue("inputLimit");
  parameter.setValue("inputLimit", dataOf(int16{-6}));
  EXPECT_TRUE(parameter.getValue("inputLimit") == stored);
  EXPECT_EQ(read<int16>(stored), -6);
  parameter.setValue("inputLimit", stored);
  EXPECT_EQ(parameter.inputLimit.extractValue<int16>(), -6);
}

TEST(PropertyOfAnyDataTest, StoredValueIsNeverTheOneOfTheHost) {
  Parameter parameter;
  const DataPtr<uint8> mine(new Data<uint8>(uint8{50}));
  parameter.setValue("inputLimit", mine);
  EXPECT_TRUE(parameter.getValue("inputLimit") != mine);
  EXPECT_EQ(mine.getNumberOfOwners(), 1u);
  mine->setValue(uint8{60});
  EXPECT_EQ(parameter.inputLimit.extractValue<uint8>(), 50);
  parameter.inputLimit.setValue(uint8{70});
  EXPECT_EQ(parameter.inputLimit.extractValue<uint8>(), 70);
}

TEST(PropertyOfAnyDataTest, NullEmptiesTheProperty) {
  Parameter parameter;
  parameter.setValue("inputLimit", dataOf(int16{5}));
  parameter.setValue("inputLimit", 0);
  EXPECT_TRUE(parameter.getValue("inputLimit") == 0);
}

TEST(PropertyOfAnyDataTest, ValuesOfEveryKindPassUnchanged) {
  Parameter parameter;
  const auto passes = [&]<class T>(T value) {
    parameter.setValue("inputLimit", dataOf(value));
    EXPECT_EQ(parameter.inputLimit.extractValue<T>(), value);
  };
  for (const double value : {0.1, -1.0 / 3.0, 1e300, std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity()}) {
    passes(value);
  }
  parameter.setValue("inputLimit", dataOf(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(std::isnan(parameter.inputLimit.extractValue<double>()));
  passes(uint8{32});
  passes(int8{10});
  passes(std::numeric_limits<uint64>::max());
  passes(std::string(" two words "));
  passes(std::complex<float32>(1.5f, -2.0f));
  passes(true);
}

TEST(CompositeOfPropertiesFailures, NamesWithoutARoleAreRefused) {
  Named named;
  const std::string noRole =
      "NORV::Tavi::Persistence::CompositeOfProperties::append The name of an Property must start with input, output or "
      "modify";
  for (const std::string name : {"Input", "myinput", "inpu", "modif", " output", "x"}) {
    Tests::expectStandard<std::invalid_argument>([&] { named.append(name, named.first); }, noRole);
  }
  Tests::expectStandard<std::invalid_argument>(
      [&] { named.append("", named.first); },
      "NORV::Tavi::Persistence::CompositeOfProperties::append The name of an Property has to have at least one "
      "character");
  EXPECT_EQ(named.getNumberOfKeys(), 0u);
  EXPECT_THROW(named.first.get(), InvalidState) << "a refused property stays without owner";
}

TEST(CompositeOfPropertiesFailures, UnknownKeyNamesClassAndKey) {
  Parameter parameter;
  const std::string text = "NORV::Tavi::Persistence::Composite< Tests::Parameter >::operator[ inputvolume ] Wrong key!";
  Tests::expectStandard<std::invalid_argument>([&] { parameter.getValue("inputvolume"); }, text);
  Tests::expectStandard<std::invalid_argument>([&] { parameter.setValue("inputvolume", dataOf(1.0)); }, text);
  EXPECT_EQ(parameter.getNumberOfKeys(), 12u);
}

TEST(CompositeOfPropertiesFailures, IndexPastTheEndThrows) {
  const Parameter parameter;
  EXPECT_THROW(parameter.getKey(12), std::out_of_range);
  EXPECT_THROW(parameter.getKey(~SizeType{0}), std::out_of_range);
}

TEST(CompositeOfPropertiesFailures, PropertyThatWasNeverAppendedRefusesEveryAccess) {
  Named named;
  const std::string text = uninitialised + "Tests::Named";
  const std::string origin = "NORV::Tavi::Persistence::CompositeOfProperties::PropertyBase::checkIfInitialized";
  Tests::expectFailure<InvalidState>([&] { named.first.checkIfInitialized(); }, text, origin);
  Tests::expectFailure<InvalidState>([&] { named.first.get(); }, text, origin);
  Tests::expectFailure<InvalidState>([&] { named.first.set(dataOf(1.0)); }, text, origin);
  Tests::expectFailure<InvalidState>([&] { static_cast<void>(double(named.first)); }, text, origin);
  Tests::expectFailure<InvalidState>([&] { named.first = 2.0; }, text, origin);
  const Named::Property<IData> anyData;
  Tests::expectFailure<InvalidState>([&] { anyData.extractValue<uint8>(); }, text, origin);
  Named::Property<SmartPointer<IVolume>> pointer;
  Tests::expectFailure<InvalidState>([&] { pointer.set(0); }, text, origin);
  Named::Property<Dimension<SizeType>> dimension;
  Tests::expectFailure<InvalidState>([&] { dimension.get(); }, text, origin);
}

TEST(CompositeOfPropertiesFailures, ValuesOfAnotherClassAreBadCasts) {
  Parameter parameter;
  parameter.inputCount = SizeType{3};
  const std::string count = "NORV::Tavi::Persistence::Data< NORV::uint64 >";
  Tests::expectFailure<BadCast>([&] { parameter.setValue("inputCount", dataOf(2.0)); },
                                "The data type 'NORV::Tavi::Persistence::Data< NORV::float64 >' couldn't be convertet "
                                "to 'NORV::Tavi::Persistence::Data< NORV::uint64 >'!",
                                setOrigin);
  Tests::expectFailure<BadCast>([&] { parameter.setValue("inputCount", dataOf(std::string("2"))); },
                                "The data type 'NORV::Tavi::Persistence::Data< std::string >' couldn't be convertet "
                                "to 'NORV::Tavi::Persistence::Data< NORV::uint64 >'!",
                                setOrigin);
  Tests::expectFailure<BadCast>([&] { parameter.setValue("inputCount", 0); },
                                "A data type couldn't be convertet to 'NORV::Tavi::Persistence::Data< NORV::uint64 >'!",
                                setOrigin);
  EXPECT_THROW(parameter.setValue("inputCount", dataOf(true)), BadCast);
  EXPECT_THROW(parameter.setValue("inputNumber", dataOf(1.0f)), BadCast);
  EXPECT_THROW(parameter.setValue("inputText", dataOf(int32{1})), BadCast);
  EXPECT_THROW(parameter.setValue("inputFlag", dataOf(1.0)), BadCast);
  EXPECT_EQ(SizeType(parameter.inputCount), 3u) << "the old value stays";
}

TEST(CompositeOfPropertiesFailures, IntegersThatDoNotFitNameValueAndTypes) {
  Parameter parameter;
  parameter.inputCount = SizeType{3};
  Tests::expectStandard<std::overflow_error>(
      [&] { parameter.setValue("inputCount", dataOf(int32{-1})); },
      "Couldn't cast -1 (32 bit signed integer) to 64 bit unsigned integer without loss of data!");
  Tests::expectStandard<std::overflow_error>(
      [&] { parameter.setValue("inputNumber", dataOf((int64{1} << 53) + 1)); },
      "Couldn't cast 9007199254740993 (64 bit signed integer) to 64 bit floating point without loss of data!");
  EXPECT_THROW(parameter.setValue("inputFlag", dataOf(uint8{2})), std::overflow_error);
  EXPECT_EQ(SizeType(parameter.inputCount), 3u);
}

TEST(CompositeOfPropertiesFailures, TriplesOfAnotherClassAreBadCasts) {
  Parameter parameter;
  Tests::expectFailure<BadCast>(
      [&] { parameter.setValue("inputDimension", SmartPointer<IComposite>(new PositionComposite<SizeType>)); },
      "The data type 'NORV::Tavi::PositionComposite< NORV::uint64 >' couldn't be convertet to "
      "'NORV::Tavi::DimensionComposite< NORV::uint64 >'!",
      setTripleOrigin);
  Tests::expectFailure<BadCast>([&] { parameter.setValue("outputRegion", 0); },
                                "A data type couldn't be convertet to 'NORV::Tavi::RoiComposite'!", setTripleOrigin);
}

TEST(CompositeOfPropertiesFailures, DimensionThatIsNoneIsRefused) {
  Parameter parameter;
  parameter.inputDimension = Dimension<SizeType>(1, 2, 3);
  const SmartPointer<DimensionComposite<SizeType>> node(new DimensionComposite<SizeType>);
  node->setValue("prim", dataOf(SizeType{5}));
  Tests::expectStandard<std::out_of_range>(
      [&] { parameter.setValue("inputDimension", node); },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 5 , 0 , 0 ) ");
  EXPECT_EQ(Dimension<SizeType>(parameter.inputDimension), Dimension<SizeType>(1, 2, 3));
}

TEST(PropertyOfAnyDataFailures, ExtractingNothingIsANullPointer) {
  const Parameter parameter;
  Tests::expectFailure<NULLPointer>([&] { parameter.inputLimit.extractValue<uint8>(); },
                                    "The pointer variable '_value' is a NULL pointer", extractOrigin);
}

TEST(PropertyOfAnyDataFailures, ExtractingAnotherTypeIsABadCast) {
  Parameter parameter;
  parameter.setValue("inputLimit", dataOf(int16{5}));
  Tests::expectFailure<BadCast>(
      [&] { parameter.inputLimit.extractValue<uint8>(); },
      "A data type couldn't be convertet to 'NORV::Tavi::Persistence::DataPtr< NORV::uint8 >'!", extractOrigin);
  EXPECT_THROW(parameter.inputLimit.extractValue<int32>(), BadCast) << "no widening either";
  EXPECT_EQ(parameter.inputLimit.extractValue<int16>(), 5);
}

TEST(PropertyOfAnyDataFailures, NodeThatIsNoDataIsRefusedAndTheOldValueStays) {
  Parameter parameter;
  parameter.setValue("inputLimit", dataOf(int16{5}));
  Tests::expectFailure<BadCast>(
      [&] { parameter.setValue("inputLimit", SmartPointer<IComposite>(new Orientation)); },
      "The data type 'NORV::Tavi::Orientation' couldn't be convertet to 'NORV::Tavi::Persistence::IData'!",
      "NORV::Tavi::Persistence::CompositeOfProperties::Property< NORV::Tavi::Persistence::IData >::set");
  EXPECT_EQ(parameter.inputLimit.extractValue<int16>(), 5);
}

TEST(CompositeOfPropertiesFailures, PropertyUsedInItsConstructorBeforeItIsAppendedIsRefused) {
  Hasty::isHasty = true;
  Tests::expectFailure<InvalidState>(
      [] { static_cast<void>(Hasty()); }, uninitialised,
      "NORV::Tavi::Persistence::CompositeOfProperties::PropertyBase::checkIfInitialized");
  Hasty::isHasty = false;
}
