#include "support/ExpectFailure.hpp"

#include <Features.hpp>
#include <IStruct.hpp>
#include <StructProperty.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::SmartPointer;
using Tavi::Persistence::Data;
using Tavi::Persistence::IComposite;
using TaviOperators::IStruct;
using TaviOperators::StructProperty;
using Features = TaviOperators::StandardFeaturesCalculation::Features<uint16, float32, float64>;
using Records = TaviOperators::StandardFeaturesCalculation::FeaturesVector<uint16, float32>;

/// A record of its own kind.
class Sample final : public IStruct {
public:
  StructProperty<int32> number;
  StructProperty<std::string> text;
  StructProperty<uint8> twice;

  explicit Sample(const char* lastKey = "twice") {
    append("number", number);
    append("text", text);
    append(lastKey, twice);
  }
  std::string getType() const override { return "Sample"; }
};

template <class T>
T valueOf(const IComposite& composite, const std::string& key) {
  const SmartPointer<Data<T>> data(composite.getValue(key));
  EXPECT_TRUE(data != nullptr) << key;
  return data != nullptr ? data->getValue() : T{};
}
template <class T>
SmartPointer<IComposite> data(const T& value) {
  return SmartPointer<IComposite>(new Data<T>(value));
}

TEST(IStruct, EntriesStandInTheOrderOfAppending) {
  const Sample sample;
  ASSERT_EQ(sample.getNumberOfKeys(), 3u);
  EXPECT_EQ(sample.getKey(0), "number");
  EXPECT_EQ(sample.getKey(1), "text");
  EXPECT_EQ(sample.getKey(2), "twice");
}

TEST(IStruct, EntriesAreMembersAndKeys) {
  Sample sample;
  sample.number = 7;
  EXPECT_EQ(valueOf<int32>(sample, "number"), 7);
  sample.setValue("number", data<int32>(-9));
  sample.setValue("text", data<std::string>("word"));
  EXPECT_EQ(sample.number.value(), -9);
  EXPECT_EQ(sample.text.value(), "word");
  sample.setValue("twice", data<uint64>(200));  // any integer that fits
  EXPECT_EQ(sample.twice.value(), 200);
}

TEST(IStruct, HandsOutCopies) {
  Sample sample;
  sample.number = 7;
  SmartPointer<Data<int32>>(sample.getValue("number"))->setValue(8);
  EXPECT_EQ(sample.number.value(), 7);
}

TEST(IStructFailure, AnUnknownKey) {
  Sample sample;
  expectFailure<Exceptions::InvalidArg>([&] { sample.getValue("Number"); }, "No such key 'Number'!",
                                        "NORV::TaviOperators::IStruct::getValue");
  expectFailure<Exceptions::InvalidArg>([&] { sample.setValue("", data<int32>(1)); }, "No such key ''!",
                                        "NORV::TaviOperators::IStruct::setValue");
}

TEST(IStructFailure, AKeyThatExistsAlready) {
  expectFailure<Exceptions::InvalidArg>([] { Sample("text"); }, "Key 'text' already exists!",
                                        "NORV::TaviOperators::IStruct::append");
}

TEST(IStructFailure, AnIndexPastTheEnd) {
  const Sample sample;
  expectFailure<Exceptions::IndexOutOfRange>([&] { sample.getKey(3); },
                                             "The index 3 is out of the valid range (0 to 2)!",
                                             "NORV::TaviOperators::IStruct::getKey");
}

TEST(IStructFailure, AValueOfAnotherTypeChangesNothing) {
  Sample sample;
  sample.number = 7;
  expectFailure<Exceptions::BadCast>([&] { sample.setValue("number", data<std::string>("8")); },
                                     "The data type 'NORV::Tavi::Persistence::Data< std::string >' couldn't be "
                                     "convertet to 'NORV::Tavi::Persistence::Data< NORV::int32 >'!",
                                     "NORV::Tavi::Persistence::CompositeOfProperties::PropertyData::set");
  expectStandard<std::overflow_error>(
      [&] { sample.setValue("twice", data<int32>(256)); },
      "Couldn't cast 256 (32 bit signed integer) to 8 bit unsigned integer without loss of data!");
  EXPECT_EQ(sample.number.value(), 7);
  EXPECT_EQ(sample.twice.value(), 0);
}

TEST(Features, KeysAndTypesOfTheEntries) {
  Features features;
  const std::vector<std::string> keys{
      "label",   "size",    "roi",  "geometricCenter", "centerOfGravity", "centerOfGravityIsValid",
      "minimum", "maximum", "mean", "variance",        "fillFactor",      "aspectRatio",
      "diameter"};
  ASSERT_EQ(features.getNumberOfKeys(), keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(features.getKey(i), keys[i]);
  }
  const auto type = [&](const char* key) { return features.getValue(key)->getType(); };
  EXPECT_EQ(type("label"), "NORV::Tavi::Persistence::Data< NORV::uint16 >");
  EXPECT_EQ(type("size"), "NORV::Tavi::Persistence::Data< NORV::uint64 >");
  EXPECT_EQ(type("roi"), "NORV::Tavi::RoiComposite");
  EXPECT_EQ(type("geometricCenter"), "NORV::Tavi::TripleComposite< NORV::float64 >");
  EXPECT_EQ(type("centerOfGravity"), "NORV::Tavi::TripleComposite< NORV::float64 >");
  EXPECT_EQ(type("centerOfGravityIsValid"), "NORV::Tavi::Persistence::Data< bool >");
  EXPECT_EQ(type("minimum"), "NORV::Tavi::Persistence::Data< NORV::float32 >");
  EXPECT_EQ(type("maximum"), "NORV::Tavi::Persistence::Data< NORV::float32 >");
  for (const char* key : {"mean", "variance", "fillFactor", "aspectRatio", "diameter"}) {
    EXPECT_EQ(type(key), "NORV::Tavi::Persistence::Data< NORV::float64 >");
  }
}

TEST(Features, BeginAtZeroWithAValidCentre) {
  const Features features;
  EXPECT_TRUE(features.centerOfGravityIsValid.value());
  EXPECT_EQ(features.size.value(), 0u);
  EXPECT_EQ(features.variance.value(), 0.0);
}

TEST(Features, AreMadeByName) {
  const std::string identifier =
      "NORV::TaviOperators::StandardFeaturesCalculation::Features< NORV::uint16, NORV::float32, NORV::float64 >";
  const SmartPointer<Features> made(Tavi::Factory::getClassFactory().createInstance(identifier));
  ASSERT_TRUE(made != nullptr);
  EXPECT_EQ(made->getType(), identifier);
}

TEST(Features, StandInAVectorThatIsWalkedByKeys) {
  Records records;
  records.push_back(SmartPointer<Features>(new Features));
  records.back()->size = 5;
  EXPECT_EQ(records.getType(),
            "NORV::Tavi::Container::Vector< NORV::TaviOperators::StandardFeaturesCalculation::Features< NORV::uint16, "
            "NORV::float32, NORV::float64 > >");
  ASSERT_EQ(records.getNumberOfKeys(), 1u);
  EXPECT_EQ(valueOf<uint64>(*records.getValue(records.getKey(0)), "size"), 5u);
}

}  // namespace
}  // namespace NORV::Tests
