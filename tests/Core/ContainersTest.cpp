#include "support/ExpectFailure.hpp"

#include <Tavi/Data.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Map.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Vector.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

using namespace NORV;
using namespace NORV::Tavi;
using NORV::Exceptions::IndexOutOfRange;
using NORV::Exceptions::InvalidArg;
using NORV::Tavi::Persistence::Data;
using NORV::Tavi::Persistence::DataPtr;
using NORV::Tavi::Persistence::IComposite;

namespace {

using Element = SmartPointer<IVolume>;
using VolumeVector = Container::Vector<Element>;
using VolumeList = Container::List<Element>;
using TextMap = Container::Map<std::string, std::string>;

Element someVolume() { return VolumePtr<uint8>(new Volume<uint8>(Dimension<SizeType>(1, 1, 1))); }

SmartPointer<IComposite> text(const std::string& value) {
  return SmartPointer<IComposite>(new Data<std::string>(value));
}

/// What vector and list have in common; `name` is the class in the texts.
template <class Sequence>
void checkSequence(const std::string& name) {
  const std::string className = "NORV::Tavi::Container::" + name;
  EXPECT_EQ(Sequence().getType(), className + "< NORV::Tavi::SmartPointer< NORV::Tavi::IVolume > >");

  Sequence sequence;
  const Element first = someVolume(), second = someVolume(), third = someVolume();
  sequence.push_back(first);
  sequence.push_back(second);
  EXPECT_EQ(sequence.getNumberOfKeys(), 2u);
  EXPECT_EQ(sequence.getKey(0), "0");
  EXPECT_EQ(sequence.getKey(1), "1");
  EXPECT_TRUE(sequence.getValue("0") == first);
  EXPECT_TRUE(sequence.getValue("1") == second);

  sequence.setValue("1", third);
  EXPECT_TRUE(sequence.getValue("1") == third);
  EXPECT_TRUE(sequence.back() == third) << "the very elements of the standard sequence";
  EXPECT_EQ(second.getNumberOfOwners(), 1u);

  sequence.setValue("0", text("no volume"));
  EXPECT_TRUE(sequence.getValue("0") == 0) << "a value of another class stores an empty pointer";
  EXPECT_EQ(sequence.getNumberOfKeys(), 2u);
}

template <class Sequence>
void checkSequenceFailures(const std::string& name) {
  const std::string className = "NORV::Tavi::Container::" + name;
  const std::string getKey = "NORV::Tavi::Container::List::getKey";  // in the vector, too

  Sequence empty;
  EXPECT_EQ(empty.getNumberOfKeys(), 0u);
  Tests::expectFailure<IndexOutOfRange>([&] { empty.getKey(0); }, "The index 0 is out of the valid range (0 to -1)!",
                                        getKey);
  Tests::expectFailure<IndexOutOfRange>([&] { empty.setValue("0", someVolume()); },
                                        "The index 0 is out of the valid range (0 to -1)!", className + "::setValue");
  EXPECT_EQ(empty.getNumberOfKeys(), 0u);

  Sequence sequence;
  const Element first = someVolume(), second = someVolume();
  sequence.push_back(first);
  sequence.push_back(second);
  Tests::expectFailure<IndexOutOfRange>([&] { sequence.getKey(2); }, "The index 2 is out of the valid range (0 to 1)!",
                                        getKey);
  try {
    sequence.getKey(5000000000);
    ADD_FAILURE();
  } catch (const IndexOutOfRange& failure) {
    EXPECT_EQ(failure.getAdditionalInformation(),
              (std::vector<std::string>{"Current index = 5000000000", "Min valid index = 0", "Max valid index = 1"}));
  }
  const std::string past = "The index 2 is out of the valid range (0 to 1)!";
  Tests::expectFailure<IndexOutOfRange>([&] { sequence.setValue("2", someVolume()); }, past, className + "::setValue");
  Tests::expectFailure<IndexOutOfRange>([&] { sequence.getValue("2"); }, past, className + "::getValue");
  for (const std::string key : {"-1", "x", "", "99999999999999999999999", "18446744073709551615", "-0"}) {
    EXPECT_THROW(sequence.setValue(key, someVolume()), IndexOutOfRange) << key;
    EXPECT_THROW(sequence.getValue(key), IndexOutOfRange) << key;
  }
  EXPECT_EQ(sequence.size(), 2u);
  EXPECT_TRUE(sequence.front() == first);
  EXPECT_TRUE(sequence.back() == second);
}

}  // namespace

TEST(ContainersTest, VectorIsAStandardVectorAndANode) {
  checkSequence<VolumeVector>("Vector");
  VolumeVector vector(3);
  vector[1] = someVolume();
  EXPECT_TRUE(vector.getValue("1") == vector[1]);
  EXPECT_TRUE(vector.getValue("2") == 0);
}

TEST(ContainersTest, ListIsAStandardListAndANode) { checkSequence<VolumeList>("List"); }

TEST(ContainersTest, PointersToContainersAreCastFromNodes) {
  const SmartPointer<IComposite> node(new VolumeVector);
  const Container::VectorPtr<Element> vector(node);
  EXPECT_TRUE(vector != 0);
  EXPECT_TRUE(Container::ListPtr<Element>(node) == 0);
  const Container::ListPtr<Element> list(new VolumeList);
  EXPECT_TRUE(SmartPointer<IComposite>(list) != 0);
}

TEST(ContainersTest, ContainerOfRegionsNamesThem) {
  EXPECT_EQ(Container::List<SmartPointer<RoiComposite>>().getType(),
            "NORV::Tavi::Container::List< NORV::Tavi::SmartPointer< NORV::Tavi::RoiComposite > >");
}

TEST(ContainersTest, MapIsSortedByKey) {
  TextMap map;
  EXPECT_EQ(map.getNumberOfKeys(), 0u);
  EXPECT_EQ(map.getType(), "NORV::Tavi::Container::Map< std::string , std::string >");
  map.setValue("voltage", text("225 kV"));
  map.setValue("current", text(" 300 \n"));
  map.setValue("", text(""));
  map.setValue("voltage", text("160 kV"));
  EXPECT_EQ(map.getNumberOfKeys(), 3u);
  EXPECT_EQ(map.getKey(0), "");
  EXPECT_EQ(map.getKey(1), "current");
  EXPECT_EQ(map.getKey(2), "voltage");
  EXPECT_EQ(map["voltage"], "160 kV");
  EXPECT_EQ(DataPtr<std::string>(map.getValue("current"))->getValue(), " 300 \n");
}

TEST(ContainersTest, MapHandsOutCopies) {
  TextMap map{{"a", "1"}};
  DataPtr<std::string>(map.getValue("a"))->setValue("2");
  EXPECT_EQ(map["a"], "1");
}

TEST(ContainersFailures, VectorRefusesIndicesPastTheEnd) { checkSequenceFailures<VolumeVector>("Vector"); }

TEST(ContainersFailures, ListRefusesIndicesPastTheEnd) { checkSequenceFailures<VolumeList>("List"); }

TEST(ContainersFailures, MapRefusesIndicesPastTheEnd) {
  TextMap map;
  const std::string origin = "NORV::Tavi::Container::Map::setValue";  // in getKey
  Tests::expectFailure<IndexOutOfRange>([&] { map.getKey(0); }, "The index 0 is out of the valid range (0 to -1)!",
                                        origin);
  map.setValue("a", text("1"));
  Tests::expectFailure<IndexOutOfRange>([&] { map.getKey(1); }, "The index 1 is out of the valid range (0 to 0)!",
                                        origin);
}

TEST(ContainersFailures, MapRefusesValuesThatAreNoText) {
  TextMap map{{"a", "1"}};
  const std::string origin = "NORV::Tavi::Container::ImplementationHelper::MapDataWrapper::setValue";
  for (const SmartPointer<IComposite>& value : {SmartPointer<IComposite>(new Data<int32>(3)),
                                                SmartPointer<IComposite>(), SmartPointer<IComposite>(new TextMap)}) {
    Tests::expectFailure<InvalidArg>([&] { map.setValue("a", value); }, "value is not an valid DataPtr", origin);
    Tests::expectFailure<InvalidArg>([&] { map.setValue("b", value); }, "value is not an valid DataPtr", origin);
  }
  EXPECT_EQ(map, (std::map<std::string, std::string>{{"a", "1"}}));
}

TEST(ContainersFailures, MapWithoutTheKeyInsertsNothing) {
  TextMap map;
  Tests::expectFailure<InvalidArg>([&] { map.getValue("a"); }, "There is no key 'a'!",
                                   "NORV::Tavi::Container::Map::getValue");
  EXPECT_EQ(map.getNumberOfKeys(), 0u);
}
