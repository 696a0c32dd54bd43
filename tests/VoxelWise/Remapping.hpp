#pragma once

#include <support/ViewCases.hpp>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

/// What the tests of the remapping operators share.
namespace NORV::Tests::ViewCases {

/// Runs the operator through its frame and compares every voxel with `rule`. `fill(parameter)` sets all keys but the
/// volumes and the thread count.
template <class FrameOperator, class Parameter, class In, class Out, class Fill, class Rule>
void checkRun(const std::vector<In>& values, const Fill& fill, const Rule& rule, const Dimension<SizeType>& extents,
              const Layout& from, const Layout& to, SizeType threads) {
  SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out> + ", " + from.name + " to " + to.name +
               ", threads " + std::to_string(threads));
  const Out outside = Out(77);
  const auto input = makeVolume<In>(extents, from, In(1));
  fillView(input, values);
  const auto output = makeVolume<Out>(extents, to, outside);
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  parameter->inputNumberOfThreads = threads;
  fill(*parameter);
  FrameOperator().apply(parameter);
  ASSERT_EQ(VolumePtr<Out>(parameter->outputVolume.value()).get(), output.get());
  expectVoxels<In>(output, values, outside, rule);
}

enum class Where { dense, everywhere };

/// On a dense volume that holds every one of the values; with `everywhere` also over all layouts of input and output
/// and all thread counts, on a volume that holds the first ones.
template <class FrameOperator, class Parameter, class In, class Out, class Fill, class Rule>
void checkIn(Where where, const std::vector<In>& values, const Fill& fill, const Rule& rule) {
  const auto check = [&](const Dimension<SizeType>& extents, const Layout& from, const Layout& to, SizeType threads) {
    checkRun<FrameOperator, Parameter, In, Out>(values, fill, rule, extents, from, to, threads);
  };
  const Layout& dense = layouts().front();
  check(extentsFor(values.size()), dense, dense, 2);
  if (where == Where::everywhere) {
    const Dimension<SizeType> odd(37, 5, 7);
    for (const Layout& from : layouts()) {
      for (const Layout& to : layouts()) {
        check(odd, from, to, 2);
      }
    }
    for (const SizeType threads : threadCounts()) {
      check(odd, dense, dense, threads);
    }
  }
}

/// Runs `op` on a parameter object and aborts it from another thread, as soon and as often as possible.
inline void applyAborted(const SmartPointer<IOperator>& op, const SmartPointer<IComposite>& parameter) {
  std::atomic<bool> done{false};
  std::thread aborter([&] {
    while (!done) {
      op->abort();
    }
  });
  op->apply(parameter);
  done = true;
  aborter.join();
}

inline std::string identifierOf(const std::string& op, const std::string& in, const std::string& out) {
  const auto volume = [](const std::string& voxel) {
    return "NORV::Tavi::Volume< NORV::" + voxel + " , NORV::Tavi::Allocator::SingleBlockAllocator >";
  };
  return "NORV::TaviOperators::" + op + "::Operator< " + volume(in) + ", " + volume(out) + " >";
}

template <class T>
VolumePtr<T> smallVolume(SizeType prim = 4, SizeType sec = 3, SizeType tert = 2) {
  return makeVolume<T>(Dimension<SizeType>(prim, sec, tert), layouts().front(), T(7));
}

template <class Parameter>
std::vector<std::string> keysOf() {
  Parameter parameter;
  std::vector<std::string> keys;
  for (SizeType i = 0; i < parameter.getNumberOfKeys(); ++i) {
    keys.push_back(parameter.getKey(i));
  }
  return keys;
}

}  // namespace NORV::Tests::ViewCases
