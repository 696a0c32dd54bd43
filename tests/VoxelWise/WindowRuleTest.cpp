#include "support/Volumes.hpp"

#include <VoxelWise/AttenuationWindow.hpp>
#include <VoxelWise/CoefficientQuotient.hpp>
#include <VoxelWise/CoefficientScale.hpp>
#include <VoxelWise/Stretch.hpp>
#include <VoxelWise/WindowRule.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

/// Rows of the remapping rules against the same rule asked about one voxel at a time, over random parameters. What one
/// voxel becomes is compared with plain restatements in the tests of the operators.
namespace NORV::Tests {
namespace {

namespace Impl = TaviOperators::Impl;
using TaviOperators::SizeType;

/// All values of the small types. Of the others some around the range, its ends and what is no number.
template <class In>
std::vector<In> voxelsAround(In low, In high, std::mt19937_64& random) {
  std::vector<In> voxels;
  if constexpr (sizeof(In) <= 2) {
    for (int x = std::numeric_limits<In>::min(); x <= std::numeric_limits<In>::max(); ++x) {
      voxels.push_back(static_cast<In>(x));
    }
  } else {
    constexpr In infinity = std::numeric_limits<In>::infinity();
    voxels = specialValues<In>();
    voxels.insert(voxels.end(), {low, high, std::nextafter(low, infinity), std::nextafter(low, -infinity),
                                 std::nextafter(high, infinity), std::nextafter(high, -infinity)});
    for (int i = 0; i < 3001; ++i) {
      voxels.push_back(low + (high - low) * static_cast<In>(static_cast<double>(random() >> 11) * 0x1.4p-53 - 0.1));
    }
  }
  return voxels;
}

template <class T>
T anyValue(std::mt19937_64& random) {
  if constexpr (std::is_integral_v<T>) {
    return static_cast<T>(random());
  } else {
    return static_cast<T>(std::ldexp(static_cast<double>(static_cast<int64>(random())), -62));
  }
}

template <class In, class Out, class Fast, class Rule>
void expectRow(const Fast& fast, const Rule& rule, const std::vector<In>& voxels) {
  const Impl::LanewiseRule<In, Out, Rule> slow{rule};
  std::vector<Out> row(voxels.size());
  fast.row(voxels.data(), row.data(), voxels.size());
  for (std::size_t i = 0; i < voxels.size(); ++i) {
    const Out expected = slow(voxels[i]);
    const bool bothNaN = expected != expected && row[i] != row[i];
    ASSERT_TRUE(bothNaN || isSameValue(row[i], expected))
        << +voxels[i] << " becomes " << +row[i] << ", not " << +expected;
  }
}

template <class In, class Out>
void checkStretches() {
  SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out>);
  namespace AdjustLinear = TaviOperators::AdjustLinear;
  std::mt19937_64 random(7);
  for (int turn = 0; turn < 60 && !testing::Test::HasFailure(); ++turn) {
    const auto [o1, o2] = std::minmax({anyValue<In>(random), anyValue<In>(random)});
    const auto [r1, r2] = std::minmax({anyValue<Out>(random), anyValue<Out>(random)});
    const AdjustLinear::Stretch<In, Out> stretch(o1, turn % 9 == 1 ? o1 : o2, r1, turn % 7 == 1 ? r1 : r2);
    const typename AdjustLinear::Fastest<In, Out>::type fast{stretch};
    expectRow<In, Out>(fast, stretch, voxelsAround(o1, o2, random));
  }
}

TEST(WindowRule, StretchesOfRows) {
  checkStretches<int8, int8>();
  checkStretches<int8, uint16>();
  checkStretches<uint8, uint8>();
  checkStretches<uint8, uint16>();
  checkStretches<int16, int16>();
  checkStretches<int16, uint8>();
  checkStretches<int16, uint16>();
  checkStretches<uint16, uint8>();
  checkStretches<uint16, uint16>();
  checkStretches<float32, uint8>();
  checkStretches<float32, uint16>();
  checkStretches<float32, float32>();
  checkStretches<float64, uint8>();
  checkStretches<float64, uint16>();
}

TEST(WindowRule, StretchesOfRowsToWhatIsNoNumber) {
  namespace AdjustLinear = TaviOperators::AdjustLinear;
  constexpr float32 infinity = std::numeric_limits<float32>::infinity(),
                    nan = std::numeric_limits<float32>::quiet_NaN();
  std::mt19937_64 random(7);
  for (const float32 end : {1.0f, infinity, nan, std::numeric_limits<float32>::max()}) {
    for (const float32 result : {1.0f, infinity, nan, std::numeric_limits<float32>::max()}) {
      const auto voxels = voxelsAround(-2.0f, 2.0f, random);
      const AdjustLinear::Stretch<float32, float32> real(-end, end, -result, result);
      expectRow<float32, float32>(AdjustLinear::SingleStretch{real}, real, voxels);
      const AdjustLinear::Stretch<float32, uint8> whole(-end, end, 3, 90);
      expectRow<float32, uint8>(Impl::WindowRule<float32, uint8, decltype(whole)>(whole), whole, voxels);
    }
  }
}

template <class In, class Out>
void checkScalings() {
  SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out>);
  namespace AttenuationScaling = TaviOperators::AttenuationScaling;
  using Window = AttenuationScaling::Window<In, Out>;
  using Real = typename Window::Real;
  std::mt19937_64 random(9);
  const auto share = [&random] { return static_cast<Real>(random() % 1001) / Real(1000); };
  int moderate = 0;
  for (int turn = 0; turn < 100 && !testing::Test::HasFailure(); ++turn) {
    const Real sign = turn % 10 == 3 ? Real(-1) : Real(turn % 11 != 3);
    const Real factor = sign * std::ldexp(Real(1) + share(), static_cast<int>(random() % 40) - 20);
    const Real offset = turn % 4 == 0 ? Real(0) : share() - Real(0.5);
    const Real end = static_cast<Real>(std::numeric_limits<In>::max()) / std::abs(factor);
    const Real low = share() * end - offset, high = low + share() * end;
    const auto [dark, light] = std::minmax({anyValue<Out>(random), anyValue<Out>(random)});
    const Window window{
        factor, offset, low, high, static_cast<Real>(turn % 3 == 0 ? Out(0) : dark), static_cast<Real>(light)};
    moderate += window.dividesModerately() ? 1 : 0;
    expectRow<In, Out>(AttenuationScaling::WindowRule<In, Out>{window}, window, voxelsAround<In>(0, 0, random));
  }
  EXPECT_GT(moderate, 30);
  EXPECT_LT(moderate, 100);
}

TEST(WindowRule, AttenuationScalingsOfRows) {
  checkScalings<uint8, uint8>();
  checkScalings<uint8, uint16>();
  checkScalings<uint8, uint32>();
  checkScalings<uint8, float32>();
  checkScalings<uint16, uint8>();
  checkScalings<uint16, uint16>();
  checkScalings<uint16, uint32>();
  checkScalings<uint16, float32>();
  checkScalings<uint16, float64>();
}

template <class In, class Out>
void checkConversions() {
  SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out>);
  using Scale = TaviOperators::ConversionFromAttenuationCoefficient::Scale<In, Out>;
  std::mt19937_64 random(11);
  for (int turn = 0; turn < 100 && !testing::Test::HasFailure(); ++turn) {
    In low = anyValue<In>(random), high = turn % 9 == 4 ? low : anyValue<In>(random);
    if (turn % 10 != 0 && low > high) {
      std::swap(low, high);
    }
    const Out darkest = anyValue<Out>(random), lightest = turn % 9 == 5 ? darkest : anyValue<Out>(random);
    const Scale scale(low, high, darkest, lightest);
    expectRow<In, Out>(Impl::WindowRule<In, Out, Scale>(scale), scale, voxelsAround(low, high, random));
  }
}

TEST(WindowRule, ScaledCoefficientsOfRows) {
  checkConversions<float32, uint8>();
  checkConversions<float32, uint16>();
  checkConversions<float64, uint8>();
  checkConversions<float64, uint16>();
}

/// All voxels of 16 bits by many divisors, of which those at the ends are not moderate.
template <class Real>
void checkQuotients() {
  SCOPED_TRACE(Tavi::typeName<Real>);
  std::mt19937_64 random(13);
  const std::vector<uint16> voxels = voxelsAround<uint16>(0, 0, random);
  for (int exponent = -40; exponent <= 40 && !testing::Test::HasFailure(); ++exponent) {
    for (int turn = 0; turn < 8; ++turn) {
      Real factor = std::ldexp(Real(1) + static_cast<Real>(random() >> 11) * Real(0x1p-53), exponent);
      factor = turn == 0 ? std::ldexp(Real(1), exponent) : turn == 1 ? -factor : factor;
      factor = turn == 2 ? std::nextafter(std::ldexp(Real(1), exponent), Real(0)) : factor;
      const TaviOperators::ConversionToAttenuationCoefficient::Unscale<Real> rule{factor, Real(0)};
      const Impl::LanewiseRule<uint16, Real, decltype(rule)> fast{rule};
      std::vector<Real> row(voxels.size());
      fast.row(voxels.data(), row.data(), voxels.size());
      for (std::size_t i = 0; i < voxels.size(); ++i) {
        ASSERT_TRUE(isSameValue(row[i], static_cast<Real>(voxels[i]) / factor - Real(0)))
            << voxels[i] << " / " << factor;
      }
    }
  }
}

TEST(Divisor, QuotientsOfRowsAreThoseOfTheDivision) {
  checkQuotients<float32>();
  checkQuotients<float64>();
}

}  // namespace
}  // namespace NORV::Tests
