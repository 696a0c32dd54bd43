#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Tavi/CuboidMask.hpp>
#include <Tavi/StructuringElements.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Masks = Tavi::MaskFactory::StructuringElements;
using CuboidParameter = Masks::CuboidMask::Parameter;
using Tavi::Dimension;
using Tavi::VolumePtr;

const std::string identifier =
    "NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Operator< "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

SmartPointer<CuboidParameter> request(const Extents& extents, uint8 foreground,
                                      const SmartPointer<IVolume>& mask = {}) {
  const auto parameter = makeParameter<CuboidParameter>();
  Dimension<SizeType> dimension;  // component by component: extents of which some are zero are of use here
  dimension.prim = extents[0];
  dimension.sec = extents[1];
  dimension.tert = extents[2];
  parameter->inputDimension = dimension;
  parameter->inputForegroundValue.setValue(foreground);
  parameter->outputMask = mask;
  return parameter;
}

void expectKeys(const std::string& name, const std::vector<std::string>& keys) {
  SCOPED_TRACE(name);
  ASSERT_TRUE(isRegistered(name));
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(name);
  EXPECT_EQ(parameter->getType(), name);
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
}

TEST(StructuringElements, ParameterClassesAreRegisteredUnderTheirNamesWithKeysInOrder) {
  expectKeys("NORV::Tavi:MaskFactory::StructuringElements::SphericalMask::Parameter",
             {"inputDimension", "inputBackgroundValue", "inputForegroundValue", "outputMask"});
  expectKeys("NORV::Tavi::MaskFactory::StructuringElements::CrossMask::Parameter",
             {"inputDimension", "inputBackgroundValue", "inputForegroundValue", "outputMask"});
  expectKeys("NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Parameter",
             {"inputDimension", "inputForegroundValue", "outputMask"});
  expectKeys("NORV::Tavi::MaskFactory::ThinnedCuboidMask::Parameter",
             {"inputDimension", "inputBackgroundValue", "inputForegroundValue", "inputSteps", "outputMask"});
  expectKeys(
      "NORV::Tavi::MaskFactory::StructuringElements::SphericalThinnedCuboidMask::Parameter",
      {"inputDimension", "inputBackgroundValue", "inputForegroundValue", "inputSteps", "inputThickness", "outputMask"});
}

TEST(StructuringElements, DefaultsAreZeroAndNull) {
  const Masks::SphericalThinnedCuboidMask::Parameter spherical;
  EXPECT_EQ(spherical.inputDimension.value(), Dimension<SizeType>());
  EXPECT_EQ(spherical.inputBackgroundValue.value(), nullptr);
  EXPECT_EQ(spherical.inputForegroundValue.value(), nullptr);
  EXPECT_EQ(spherical.inputSteps.value(), Tavi::Position<SizeType>());
  EXPECT_EQ(spherical.inputThickness.value(), Tavi::Position<SizeType>());
  EXPECT_EQ(spherical.outputMask.value(), nullptr);
  EXPECT_EQ(Masks::ThinnedCuboidMask::Parameter().inputSteps.value(), 0u);
  EXPECT_EQ(Masks::CrossMask::Parameter().outputMask.value(), nullptr);
  EXPECT_EQ(Masks::SphericalMask::Parameter().inputForegroundValue.value(), nullptr);
  EXPECT_EQ(CuboidParameter().inputForegroundValue.value(), nullptr);
}

TEST(CuboidMask, OneInstanceThatMakesAFullBox) {
  EXPECT_EQ(countRegistered("NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Operator< "), 1u);
  const auto op = createTyped(identifier);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  const auto parameter = request({3, 5, 2}, 7);
  op->apply(parameter);
  const VolumePtr<uint8> mask(parameter->outputMask.value());
  ASSERT_NE(mask, nullptr);
  EXPECT_EQ(mask->getDimension(), (Dimension<SizeType>(3, 5, 2)));
  expectSameVoxels(voxelsOf(mask), std::vector<uint8>(30, 7));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TEST(CuboidMask, FillsTheViewOfTheVolumeGivenAndNoOtherVoxel) {
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint8> given({4, 3, 5}, layout);
    const auto parameter = request({4, 3, 5}, 255, given);
    createTyped(identifier)->apply(parameter);
    EXPECT_TRUE(parameter->outputMask.value() == given.volume());
    expectSameVoxels(given.voxels(), std::vector<uint8>(60, 255));
    given.expectUntouchedOutside();
  }
}

TEST(CuboidMask, ResizesTheVolumeGivenInPlace) {
  const TestVolume<uint8> given({4, 3, 5});
  const auto parameter = request({2, 2, 3}, 1, given);
  createTyped(identifier)->apply(parameter);
  EXPECT_TRUE(parameter->outputMask.value() == given.volume());
  EXPECT_EQ(given.volume()->getDimension(), (Dimension<SizeType>(2, 2, 3)));
  expectSameVoxels(voxelsOf(given.volume()), std::vector<uint8>(12, 1));
}

TEST(CuboidMask, AForegroundOfZeroIsTakenAsItIs) {
  const auto parameter = request({2, 1, 1}, 0);
  createTyped(identifier)->apply(parameter);
  expectSameVoxels(voxelsOf(VolumePtr<uint8>(parameter->outputMask.value())), std::vector<uint8>(2, 0));
}

TEST(CuboidMask, ADimensionOfWhichSomeAxesAreZeroPassesAndYieldsAnEmptyVolume) {
  for (const Extents& extents : {Extents{0, 0, 5}, Extents{0, 3, 5}, Extents{4, 0, 0}, Extents{4, 3, 0}}) {
    const auto fresh = request(extents, 1);
    createTyped(identifier)->apply(fresh);
    ASSERT_NE(fresh->outputMask.value(), nullptr);
    EXPECT_EQ(fresh->outputMask.value()->getSize(), 0u);

    const TestVolume<uint8> given({4, 3, 5});
    const auto reused = request(extents, 1, given);
    createTyped(identifier)->apply(reused);
    EXPECT_TRUE(reused->outputMask.value() == given.volume());
    EXPECT_EQ(given.volume()->getSize(), 0u);
  }
}

TEST(CuboidMaskFailures, AnotherParameterObjectOrNone) {
  const std::string text = identifier + "::apply parameter is NULL";
  ASSERT_EQ(text,
            "NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > >::apply parameter is NULL");
  const auto op = createTyped(identifier);
  expectRefusal([&] { op->apply({}); }, text);
  expectRefusal([&] { op->apply(makeParameter<Masks::CrossMask::Parameter>()); }, text);
}

TEST(CuboidMaskFailures, ADimensionOfZeroOnAllAxes) {
  expectStandard<std::invalid_argument>(
      [] {
        createTyped(identifier)->apply(request({0, 0, 0}, 1));
      },
      "NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Operator< NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator > >::apply Input dimension is zero!");
}

TEST(CuboidMaskFailures, AnOutputOfAnotherVoxelTypeStaysAsItIs) {
  const TestVolume<uint16> given({2, 2, 2});
  const auto parameter = request({4, 3, 5}, 1, given);
  expectRefusal([&] { createTyped(identifier)->apply(parameter); },
                "NORV::Tavi::Operator::checkOutputVolume volume is of the wrong type");
  EXPECT_TRUE(parameter->outputMask.value() == given.volume());
  expectSameVoxels(given.voxels(), std::vector<uint16>(8, 77));
}

TEST(CuboidMaskFailures, AForegroundThatIsMissingOrOfAnotherType) {
  const auto parameter = makeParameter<CuboidParameter>();
  parameter->inputDimension = Dimension<SizeType>(1, 1, 1);
  expectMissingValue([&] { createTyped(identifier)->apply(parameter); });
  parameter->inputForegroundValue.setValue(float32(1));
  expectWrongValueType<uint8>([&] { createTyped(identifier)->apply(parameter); });
}

}  // namespace
}  // namespace NORV::Tests
