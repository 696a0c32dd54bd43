#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <AdjustLinear.hpp>
#include <AttenuationScaling.hpp>
#include <BitPatternBinarization.hpp>
#include <ConversionFromAttenuationCoefficient.hpp>
#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/AdjustLinear.hpp>
#include <DLL/AttenuationScaling.hpp>
#include <DLL/BitPatternBinarization.hpp>
#include <DLL/ConversionFromAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <DLL/FixNaN.hpp>
#include <DLL/Inversion.hpp>
#include <DLL/RangeBinarization.hpp>
#include <DLL/RangeInversion.hpp>
#include <DLL/Round.hpp>
#include <DLL/StaticCast.hpp>
#include <DLL/SwapByteOrder.hpp>
#include <DLL/VoxelValueReplacement.hpp>
#include <FixNaN.hpp>
#include <Inversion.hpp>
#include <RangeBinarization.hpp>
#include <RangeInversion.hpp>
#include <Round.hpp>
#include <StaticCast.hpp>
#include <SwapByteOrder.hpp>
#include <VoxelValueReplacement.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <type_traits>

/// What the operators that map one voxel to one voxel take beyond their input and output, as their headers state it.
namespace NORV::Tests {
namespace {

namespace Ops = TaviOperators;
namespace Dll = TaviOperators::DLL;

constexpr SizeType slices = 64;
/// The parameter object, the typed operator, identifiers, views. A tenth of the smallest volume here.
constexpr std::int64_t slack = 12 << 10;

/// The most that the block of a large volume is longer than its voxels: it begins with a huge page.
constexpr std::int64_t hugePage = 2 << 20;

template <class T>
Tavi::VolumePtr<T> makeLarge() {
  const Tavi::VolumePtr<T> volume(new Tavi::Volume<T>(Tavi::Dimension<SizeType>(512, 512, slices)));
  std::fill_n(volume->getData(), volume->getSize(), T(1));
  return volume;
}

/// Runs into an output of the host, and where it is optional also into one that the operator makes.
template <class Frame, class Parameter, class Out>
void expectExtraOf(const SmartPointer<Parameter>& parameter, const SmartPointer<IVolume>& input,
                   const SmartPointer<IVolume>& output, bool isOutputRequired, std::int64_t stated) {
  Frame frame;
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  EXPECT_LE(extraBytesOf([&] { frame.apply(parameter); }), stated + slack);
  if (!isOutputRequired) {
    const auto made = static_cast<std::int64_t>(input->getSize() * sizeof(Out));
    parameter->outputVolume = SmartPointer<IVolume>();
    EXPECT_LE(extraBytesOf([&] { frame.apply(parameter); }), made + (made >= hugePage ? hugePage : 0) + stated + slack);
  }
}

/// On dense volumes past the cache and on a region with flipped axes within it, whose rows each thread turns round in
/// tiles. `copied` are the bytes per voxel of the region that are stated for a copy.
template <class Frame, class Parameter, class In, class Out, class Fill>
void expectExtra(bool isOutputRequired, std::int64_t stated, const Fill& fill, std::int64_t copied = 0) {
  SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out>);
  const RuntimeSettings settings;
  omp_set_num_threads(2);
  const auto parameter = makeParameter<Parameter>();
  fill(*parameter);
  expectExtraOf<Frame, Parameter, Out>(parameter, makeLarge<In>(), makeLarge<Out>(), isOutputRequired, stated);
  const Extents extents{61, 32, slices};
  const TestVolume<In> region(extents, {{1, 2, 5}, {3, 1, 2}, {1, 2, 1}}, In(1));
  constexpr std::int64_t tiles = 2 * (4 << 10);
  expectExtraOf<Frame, Parameter, Out>(parameter, region, TestVolume<Out>(extents), isOutputRequired,
                                       stated + tiles + copied * 61 * 32 * static_cast<std::int64_t>(slices));
}

TEST(ExtraMemory, OfRemapping) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const auto stretch = []<class In, class Out>() {
    expectExtra<Dll::AdjustLinear::Operator, Ops::AdjustLinear::Parameter, In, Out>(true, 0, [](auto& p) {
      p.inputOriginalMinimumValue.setValue(std::numeric_limits<In>::lowest());
      p.inputOriginalMaximumValue.setValue(std::numeric_limits<In>::max());
      p.inputResultMinimumValue.setValue(Out(0));
      p.inputResultMaximumValue.setValue(Out(100));
    });
  };
  stretch.operator()<uint8, uint8>();
  stretch.operator()<uint16, uint16>();
  stretch.operator()<int32, int32>();
  stretch.operator()<float32, uint8>();
  const auto scaling = []<class In, class Out>() {
    expectExtra<Dll::AttenuationScaling::Operator, Ops::AttenuationScaling::Parameter, In, Out>(true, 0, [](auto& p) {
      p.inputMinimumAttenuationValue.setValue(float32{0});
      p.inputMaximumAttenuationValue.setValue(float32{1});
      p.inputMinimumOutputGreyValue.setValue(Out(0));
      p.inputMaximumOutputGreyValue.setValue(Out(100));
      p.inputOffset.setValue(float32{0});
      p.inputFactor.setValue(float32{1000});
    });
  };
  scaling.operator()<uint8, uint8>();
  scaling.operator()<uint16, uint16>();
  scaling.operator()<uint16, float32>();
  expectExtra<Dll::ConversionToAttenuationCoefficient::Operator, Ops::ConversionToAttenuationCoefficient::Parameter,
              uint16, float32>(true, 0, [](auto& p) {
    p.inputOffset.setValue(float32{0});
    p.inputFactor.setValue(float32{1000});
  });
  expectExtra<Dll::ConversionFromAttenuationCoefficient::Operator, Ops::ConversionFromAttenuationCoefficient::Parameter,
              float32, uint16>(true, 0, [](auto& p) {
    p.inputMinimumCoefficient.setValue(float32{0});
    p.inputMaximumCoefficient.setValue(float32{1});
    p.inputMinimumScaledValue.setValue(uint16{0});
    p.inputMaximumScaledValue.setValue(uint16{100});
  });
}

TEST(ExtraMemory, OfInversions) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectExtra<Dll::Inversion::Operator, Ops::Inversion::Parameter, uint16, uint16>(true, 0, [](auto&) {});
  const auto mirror = []<class T>() {
    expectExtra<Dll::RangeInversion::Operator, Ops::RangeInversion::Parameter, T, T>(
        true, slices * 2 * sizeof(T), [](auto&) {}, std::is_floating_point_v<T> ? sizeof(T) : 0);
  };
  mirror.operator()<uint8>();
  mirror.operator()<uint16>();
  mirror.operator()<int32>();
  mirror.operator()<float64>();
}

TEST(ExtraMemory, OfBinarisation) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const auto range = []<class In, class Out>() {
    expectExtra<Dll::RangeBinarization::Operator, Ops::RangeBinarization::Parameter, In, Out>(true, 0, [](auto& p) {
      p.inputMinimumThreshold.setValue(std::numeric_limits<In>::lowest());
      p.inputMaximumThreshold.setValue(std::numeric_limits<In>::max());
      p.inputBackgroundValue.setValue(Out(0));
      p.inputForegroundValue.setValue(Out(1));
    });
  };
  range.operator()<uint8, uint8>();
  range.operator()<uint16, uint8>();
  range.operator()<uint32, uint32>();
  range.operator()<float32, uint8>();
  expectExtra<Dll::BitPatternBinarization::Operator, Ops::BitPatternBinarization::Parameter, uint16, uint16>(
      false, 0, [](auto& p) {
        p.inputBitPattern.setValue(uint16{1});
        p.inputBackgroundValue.setValue(uint16{0});
        p.inputForegroundValue.setValue(uint16{1});
      });
}

TEST(ExtraMemory, OfRepairs) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectExtra<Dll::VoxelValueReplacement::Operator, Ops::VoxelValueReplacement::Parameter, uint16, uint16>(
      false, 0, [](auto& p) {
        p.inputChangingValue.setValue(uint16{1});
        p.inputNewValue.setValue(uint16{2});
      });
  expectExtra<Dll::FixNaN::Operator, Ops::FixNaN::Parameter, float32, float32>(
      true, 0, [](auto& p) { p.inputReplacementValue.setValue(float32{1}); });
  expectExtra<Dll::Round::Operator, Ops::Round::Parameter, float64, float64>(true, 0, [](auto&) {});
}

TEST(ExtraMemory, OfConversions) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectExtra<Dll::StaticCast::Operator, Ops::StaticCast::Parameter, uint16, float32>(true, 0, [](auto&) {});
  expectExtra<Dll::StaticCast::Operator, Ops::StaticCast::Parameter, float64, uint8>(true, 0, [](auto&) {});
  expectExtra<Dll::StaticCast::Operator, Ops::StaticCast::Parameter, uint8, uint8>(false, 0, [](auto&) {});
  expectExtra<Dll::SwapByteOrder::Operator, Ops::SwapByteOrder::Parameter, uint32, uint32>(false, 0, [](auto&) {});
}

}  // namespace
}  // namespace NORV::Tests
