#include "Reconstruction/StatedBasins.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/WatershedTransform.hpp>
#include <WatershedTransform.hpp>

#include <random>
#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

using TaviOperators::WatershedTransform::Parameter;
using Frame = TaviOperators::DLL::WatershedTransform::Operator;

template <class Body>
void forEachUnsignedType(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (std::is_unsigned_v<T>) {
      body.template operator()<T>();
    }
  });
}

SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output) {
  const auto parameter = makeParameter<Parameter>();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  return parameter;
}

std::string describe(const Extents& extents) {
  return std::to_string(extents[0]) + " x " + std::to_string(extents[1]) + " x " + std::to_string(extents[2]);
}

/// Runs the frame on the values and requires the labels of the plain restatement, or its overflow.
template <class In, class Out>
void expectStated(const std::vector<In>& values, const Extents& extents, bool ignoresHighest, bool hasHugeMinimum,
                  SizeType threads, const Layout& inputLayout = {}, const Layout& outputLayout = {}) {
  SCOPED_TRACE(describe(extents) + (ignoresHighest ? ", without the highest value" : "") +
               (hasHugeMinimum ? ", huge minimum" : "") + ", threads " + std::to_string(threads) + ", " +
               inputLayout.name() + " to " + outputLayout.name());
  const TestVolume<In> input(extents, inputLayout);
  const TestVolume<Out> output(extents, outputLayout);
  input.fill(values);
  const auto parameter = request(input, output);
  parameter->inputIgnoreHighestGrayValue = ignoresHighest;
  parameter->inputHugeMinimum = hasHugeMinimum;
  parameter->inputNumberOfThreads = threads;
  StatedBasins stated;
  try {
    stated = statedBasins<In>(values, extents, ignoresHighest, hasHugeMinimum, std::numeric_limits<Out>::max());
  } catch (const std::overflow_error&) {
    EXPECT_THROW(Frame().apply(parameter), Exceptions::NumericalOverflow);
    return;
  }
  try {
    Frame().apply(parameter);
  } catch (const Exceptions::NumericalOverflow& failure) {
    // Temporary labels of the lowest level.
    EXPECT_TRUE(hasHugeMinimum);
    EXPECT_STREQ(failure.getOrigin(), "ConnectedComponentAnalysis::ExecuteLinear");
    return;
  }
  expectSameVoxels(output.voxels(), std::vector<Out>(stated.labels.begin(), stated.labels.end()));
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), stated.number);
  expectSameVoxels(input.voxels(), values);
  input.expectUntouchedOutside();
  output.expectUntouchedOutside();
}

template <class T>
std::vector<T> noise(std::size_t count, unsigned seed, uint64 levels) {
  std::mt19937_64 random(seed);
  std::vector<T> values(count);
  for (T& value : values) {
    value = static_cast<T>(random() % levels);
  }
  return values;
}

}  // namespace

TEST(WatershedTransform, AnyNoiseIsAsStated) {
  std::mt19937 random(3);
  for (unsigned run = 0; run < 300; ++run) {
    const Extents extents{1 + random() % 20, 1 + random() % 12, 1 + random() % 9};
    const uint64 levels = 1 + random() % 12;
    const auto values = noise<uint8>(extents[0] * extents[1] * extents[2], run, levels);
    expectStated<uint8, uint16>(values, extents, run % 2 == 1, run % 4 >= 2, 1 + run % 3);
  }
}

}  // namespace NORV::Tests
