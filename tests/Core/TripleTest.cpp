#include "support/ExpectFailure.hpp"

#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Triple.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace NORV;
using namespace NORV::Tavi;
using NORV::Exceptions::BadCast;
using NORV::Exceptions::IndexOutOfRange;
using NORV::Exceptions::InvalidArg;
using NORV::Tavi::Persistence::Data;
using NORV::Tavi::Persistence::DataPtr;
using NORV::Tavi::Persistence::IComposite;

namespace {

template <class T>
SmartPointer<IComposite> dataOf(const T& value) {
  return SmartPointer<IComposite>(new Data<T>(value));
}

template <class T>
void expectInvalid(T prim, T sec, T tert, const std::string& name, const std::string& numbers) {
  Tests::expectStandard<std::out_of_range>(
      [&] { Dimension<T>(prim, sec, tert); },
      "NORV::Tavi::Dimension< " + name + " >::check invalid values detected ( " + numbers + " ) ");
}

void expectTooLarge(SizeType prim, SizeType sec, SizeType tert) {
  const Dimension<SizeType> dimension(prim, sec, tert);
  Tests::expectStandard<std::overflow_error>(
      [&] { static_cast<void>(dimension.size()); },
      "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64");
}

template <class Node>
void checkTripleNode() {
  using Component = typename Node::Plain::Component;
  Node node(typename Node::Plain(Component(3), Component(4), Component(5)));
  ASSERT_EQ(node.getNumberOfKeys(), 3u);
  EXPECT_EQ(node.getKey(0), "prim");
  EXPECT_EQ(node.getKey(1), "sec");
  EXPECT_EQ(node.getKey(2), "tert");
  const Component expected[] = {Component(3), Component(4), Component(5)};
  for (SizeType i = 0; i < 3; ++i) {
    const DataPtr<Component> component(node.getValue(node.getKey(i)));
    ASSERT_TRUE(component != 0);
    EXPECT_EQ(component->getValue(), expected[i]);
  }
  node.setValue("sec", dataOf(Component(9)));
  EXPECT_EQ(node.value(), typename Node::Plain(Component(3), Component(9), Component(5)));
  node.setValue("tert", dataOf(uint8{7}));
  EXPECT_EQ(node.value().tert, Component(7)) << "any integer that fits";

  Tests::expectFailure<IndexOutOfRange>([&] { node.getKey(3); }, "The index 3 is out of the valid range (0 to 2)!",
                                        "NORV::Tavi::Triple::getKey");
  Tests::expectFailure<InvalidArg>([&] { node.getValue("Prim"); }, "Invalid argument!", "NORV::Tavi::Triple::getValue");
  Tests::expectFailure<InvalidArg>([&] { node.setValue("", dataOf(Component(1))); }, "Invalid argument!",
                                   "NORV::Tavi::Triple::setValue");
  Tests::expectFailure<InvalidArg>([&] { node.setValue("x", 0); }, "Invalid argument!", "NORV::Tavi::Triple::setValue");
  EXPECT_THROW(node.setValue("prim", 0), BadCast);
  EXPECT_THROW(node.setValue("prim", dataOf(std::string("1"))), BadCast);
  EXPECT_EQ(node.value(), typename Node::Plain(Component(3), Component(9), Component(7)));
}

}  // namespace

TEST(TripleTest, HoldsThreeComponents) {
  const Triple<float> triple(1.5f, -2.0f, 0.25f);
  EXPECT_EQ(triple.prim, 1.5f);
  EXPECT_EQ(triple.sec, -2.0f);
  EXPECT_EQ(triple.tert, 0.25f);
  EXPECT_EQ(Triple<SizeType>(), Triple<SizeType>(0, 0, 0));
  EXPECT_FALSE(Triple<SizeType>(1, 2, 3) == Triple<SizeType>(1, 2, 4));
  EXPECT_FALSE(Triple<SizeType>(1, 2, 3) == Triple<SizeType>(1, 0, 3));
  EXPECT_FALSE(Triple<SizeType>(1, 2, 3) == Triple<SizeType>(0, 2, 3));
}

TEST(TripleTest, PositionAndDimensionAreTriplesWithVirtualDestructors) {
  EXPECT_TRUE((std::is_base_of_v<Triple<SizeType>, Position<SizeType>>));
  EXPECT_TRUE((std::is_base_of_v<Triple<int16>, Dimension<int16>>));
  EXPECT_TRUE(std::has_virtual_destructor_v<Position<SizeType>>);
  EXPECT_TRUE(std::has_virtual_destructor_v<Dimension<SizeType>>);
  EXPECT_EQ(Position<int32>(-1, 2, -3).tert, -3);
}

TEST(TripleTest, DimensionIsAllAboveZeroOrAllZero) {
  EXPECT_EQ(Dimension<SizeType>(0, 0, 0).size(), 0u);
  EXPECT_EQ(Dimension<SizeType>().size(), 0u);
  EXPECT_EQ(Dimension<SizeType>(4, 3, 2).size(), 24u);
  EXPECT_EQ(Dimension<uint8>(uint8{255}, uint8{255}, uint8{255}).size(), 16581375u);
  EXPECT_EQ(Dimension<float64>(1.5, 2.0, 3.0).size(), 9.0);
}

TEST(TripleTest, LargestSizeIsNoOverflow) {
  const SizeType large = std::numeric_limits<SizeType>::max();
  EXPECT_EQ(Dimension<SizeType>(large, 1, 1).size(), large);
  EXPECT_EQ(Dimension<SizeType>(1, 1, large).size(), large);
  EXPECT_EQ(Dimension<SizeType>(SizeType{1} << 32, (SizeType{1} << 32) - 1, 1).size(), 0xffffffff00000000u);
}

TEST(TripleTest, NodesCarryTheirPlainValue) {
  checkTripleNode<TripleComposite<float32>>();
  checkTripleNode<TripleComposite<float64>>();
  checkTripleNode<TripleComposite<SizeType>>();
  checkTripleNode<PositionComposite<SizeType>>();
  checkTripleNode<PositionComposite<int32>>();
  checkTripleNode<DimensionComposite<SizeType>>();
  EXPECT_EQ(TripleComposite<float32>().getType(), "NORV::Tavi::TripleComposite< NORV::float32 >");
  EXPECT_EQ(PositionComposite<SizeType>().getType(), "NORV::Tavi::PositionComposite< NORV::uint64 >");
  EXPECT_EQ(DimensionComposite<SizeType>().getType(), "NORV::Tavi::DimensionComposite< NORV::uint64 >");
}

TEST(TripleTest, DimensionNodeIsFilledComponentByComponent) {
  DimensionComposite<SizeType> node;
  node.setValue("tert", dataOf(SizeType{2}));
  node.setValue("prim", dataOf(SizeType{4}));
  EXPECT_THROW(node.value(), std::out_of_range);
  node.setValue("sec", dataOf(SizeType{3}));
  EXPECT_EQ(node.value(), Dimension<SizeType>(4, 3, 2));
}

TEST(TripleTest, RegionIsADimensionAndAnOrigin) {
  const RegionOfInterest region(Dimension<SizeType>(1, 2, 3), Position<SizeType>(4, 5, 6));
  EXPECT_EQ(region.getDimension(), Dimension<SizeType>(1, 2, 3));
  EXPECT_EQ(region.getOrigin(), Position<SizeType>(4, 5, 6));
  EXPECT_EQ(RegionOfInterest(Dimension<SizeType>(1, 2, 3)).getOrigin(), Position<SizeType>(0, 0, 0));
  EXPECT_FALSE(region == RegionOfInterest(Dimension<SizeType>(1, 2, 3)));
  EXPECT_FALSE(region == RegionOfInterest(Dimension<SizeType>(1, 2, 4), Position<SizeType>(4, 5, 6)));
}

TEST(TripleTest, RegionNodeHasDimensionAndOrigin) {
  RoiComposite node(RegionOfInterest(Dimension<SizeType>(1, 2, 3), Position<SizeType>(4, 5, 6)));
  ASSERT_EQ(node.getNumberOfKeys(), 2u);
  EXPECT_EQ(node.getKey(0), "dim");
  EXPECT_EQ(node.getKey(1), "origin");
  EXPECT_EQ(SmartPointer<DimensionComposite<SizeType>>(node.getValue("dim"))->value(), Dimension<SizeType>(1, 2, 3));
  EXPECT_EQ(SmartPointer<PositionComposite<SizeType>>(node.getValue("origin"))->value(), Position<SizeType>(4, 5, 6));
  node.setValue("dim", SmartPointer<IComposite>(new DimensionComposite<SizeType>(Dimension<SizeType>(7, 8, 9))));
  EXPECT_EQ(node.value(), RegionOfInterest(Dimension<SizeType>(7, 8, 9), Position<SizeType>(4, 5, 6)));
  node.setValue("origin", SmartPointer<IComposite>(new PositionComposite<SizeType>));
  EXPECT_EQ(node.value(), RegionOfInterest(Dimension<SizeType>(7, 8, 9)));
}

TEST(TripleFailures, DimensionThatIsNoVolumeNamesItsNumbers) {
  expectInvalid<SizeType>(1, 0, 1, "NORV::uint64", "1 , 0 , 1");
  expectInvalid<SizeType>(0, 1, 1, "NORV::uint64", "0 , 1 , 1");
  expectInvalid<SizeType>(0, 0, 18446744073709551615u, "NORV::uint64", "0 , 0 , 18446744073709551615");
  expectInvalid<int32>(-1, -1, -1, "NORV::int32", "-1 , -1 , -1");
  expectInvalid<int8>(1, 1, -1, "NORV::int8", "1 , 1 , -1");
  expectInvalid<float64>(0.5, 0.0, 1.0, "NORV::float64", "0.5 , 0 , 1");
  EXPECT_THROW(Dimension<float64>(1.0, 1.0, std::numeric_limits<double>::quiet_NaN()), std::out_of_range);
}

TEST(TripleFailures, ComponentsThatWereChangedAreCheckedAgain) {
  Dimension<SizeType> dimension(4, 3, 2);
  dimension.sec = 0;
  Tests::expectStandard<std::out_of_range>(
      [&] { dimension.check(); },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 4 , 0 , 2 ) ");
}

TEST(TripleFailures, SizeBeyondSixtyFourBitsOverflows) {
  expectTooLarge(SizeType{1} << 32, SizeType{1} << 32, 1);
  expectTooLarge(1, SizeType{1} << 32, SizeType{1} << 32);
  expectTooLarge(SizeType{1} << 32, 1, SizeType{1} << 32);
  expectTooLarge(SizeType{1} << 22, SizeType{1} << 21, SizeType{1} << 21);
  expectTooLarge(~SizeType{0}, 2, 1);
  expectTooLarge(~SizeType{0}, ~SizeType{0}, ~SizeType{0});
}

TEST(TripleFailures, RegionNodeRefusesOtherKeysAndClasses) {
  const RegionOfInterest region(Dimension<SizeType>(1, 2, 3), Position<SizeType>(4, 5, 6));
  RoiComposite node(region);
  const SmartPointer<IComposite> dimension(new DimensionComposite<SizeType>(Dimension<SizeType>(1, 1, 1)));
  const std::string text = "Invalid argument!", set = "NORV::Tavi::Roi::setValue", get = "NORV::Tavi::Roi::getValue";
  Tests::expectFailure<InvalidArg>([&] { node.setValue("size", dimension); }, text, set);
  Tests::expectFailure<InvalidArg>([&] { node.setValue("origin", dimension); }, text, set);
  Tests::expectFailure<InvalidArg>([&] { node.setValue("dim", 0); }, text, set);
  Tests::expectFailure<InvalidArg>([&] { node.getValue("Dim"); }, text, get);
  Tests::expectFailure<IndexOutOfRange>([&] { node.getKey(2); }, "The index 2 is out of the valid range (0 to 1)!",
                                        "NORV::Tavi::Roi::getKey");
  const SmartPointer<DimensionComposite<SizeType>> invalid(new DimensionComposite<SizeType>);
  invalid->setValue("prim", dataOf(SizeType{1}));
  EXPECT_THROW(node.setValue("dim", invalid), std::out_of_range);
  EXPECT_EQ(node.value(), region);
}
