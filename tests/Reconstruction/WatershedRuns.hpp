#pragma once

#include "Reconstruction/FloodReliefs.hpp"
#include "Reconstruction/StatedBasins.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/WatershedTransform.hpp>
#include <WatershedTransform.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

/// Runs of the operator beside the plain restatement.
namespace NORV::Tests {

using WatershedParameter = TaviOperators::WatershedTransform::Parameter;
using WatershedFrame = TaviOperators::DLL::WatershedTransform::Operator;

struct Flags {
  bool ignoresHighest = false, huge = false;
};
inline const std::vector<Flags>& allFlags() {
  static const std::vector<Flags> all{{false, false}, {true, false}, {false, true}, {true, true}};
  return all;
}

template <class Body>
void forEachUnsignedPair(const Body& body) {
  forEachVoxelTypePair([&body]<class In, class Out>() {
    if constexpr (std::is_unsigned_v<In> && std::is_unsigned_v<Out>) {
      body.template operator()<In, Out>();
    }
  });
}

template <class In, class Out>
std::string typedWatershed() {
  return std::string("NORV::TaviOperators::WatershedTransform::Operator< ") + Tavi::typeName<In> + " , " +
         Tavi::typeName<Out> + " >";
}

inline SmartPointer<WatershedParameter> watershedRequest(const SmartPointer<IVolume>& input,
                                                         const SmartPointer<IVolume>& output, const Flags& flags = {},
                                                         SizeType threads = 1) {
  const auto parameter = makeParameter<WatershedParameter>();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  parameter->inputIgnoreHighestGrayValue = flags.ignoresHighest;
  parameter->inputHugeMinimum = flags.huge;
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

/// Runs the frame and requires the labels of the restatement, or its overflow. Returns the labels; none after an
/// overflow.
template <class In, class Out>
std::vector<Out> expectStated(const std::vector<In>& values, const Extents& extents, const Flags& flags,
                              SizeType threads, const Layout& inputLayout = {}, const Layout& outputLayout = {}) {
  SCOPED_TRACE(std::to_string(extents[0]) + " x " + std::to_string(extents[1]) + " x " + std::to_string(extents[2]) +
               (flags.ignoresHighest ? ", without the highest value" : "") + (flags.huge ? ", huge minimum" : "") +
               ", threads " + std::to_string(threads) + ", " + inputLayout.name() + " to " + outputLayout.name());
  const TestVolume<In> input(extents, inputLayout);
  const TestVolume<Out> output(extents, outputLayout);
  input.fill(values);
  const auto parameter = watershedRequest(input, output, flags, threads);
  parameter->outputNumberOfLabels = 99;
  StatedBasins stated;
  bool overflows = false;
  try {
    stated = statedBasins<In>(values, extents, flags.ignoresHighest, flags.huge, std::numeric_limits<Out>::max());
  } catch (const std::overflow_error&) {
    overflows = true;
  }
  const RuntimeSettings settings;
  try {
    WatershedFrame().apply(parameter);
  } catch (const Exceptions::NumericalOverflow& failure) {
    const std::string origin = failure.getOrigin();
    // The temporary labels of a huge minimum can run out before the labels do.
    EXPECT_TRUE((overflows && origin == "NORV::TaviOperators::WatershedTransform::Operator::apply") ||
                (flags.huge && origin == "ConnectedComponentAnalysis::ExecuteLinear"))
        << origin;
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 99u);
    return {};
  }
  EXPECT_FALSE(overflows);
  const auto labels = output.voxels();
  expectSameVoxels(labels, std::vector<Out>(stated.labels.begin(), stated.labels.end()));
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), stated.number);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  expectSameVoxels(input.voxels(), values);
  input.expectUntouchedOutside();
  output.expectUntouchedOutside();
  return labels;
}

}  // namespace NORV::Tests
