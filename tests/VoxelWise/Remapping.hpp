#pragma once

#include <support/ViewCases.hpp>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// What the tests of the remapping operators share.
namespace NORV::Tests::ViewCases {

/// Runs an operator on an input, an output and a number of threads; returns the output that it has set.
using Apply = std::function<SmartPointer<IVolume>(SmartPointer<IVolume>, SmartPointer<IVolume>, SizeType)>;

/// One run, of which every voxel is compared with `rule`.
template <class In, class Out>
void checkRun(const std::vector<In>& values, const Apply& apply, const std::function<Out(In)>& rule,
              const Dimension<SizeType>& extents, const Layout& from, const Layout& to, SizeType threads) {
  SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out> + ", " + from.name + " to " + to.name +
               ", threads " + std::to_string(threads));
  const Out outside = Out(77);
  const auto input = makeVolume<In>(extents, from, In(1));
  fillView(input, values);
  const auto output = makeVolume<Out>(extents, to, outside);
  ASSERT_TRUE(VolumePtr<Out>(apply(input, output, threads)) == output);
  expectVoxels<In, Out>(output, values, outside, rule);
}

enum class Where { dense, everywhere };

/// On a dense volume that holds every one of the values; with `everywhere` also over all layouts of input and output
/// and all thread counts, on a volume that holds the first ones.
template <class In, class Out>
void checkLayouts(Where where, const std::vector<In>& values, const Apply& apply, const std::function<Out(In)>& rule) {
  const auto check = [&](const Dimension<SizeType>& extents, const Layout& from, const Layout& to, SizeType threads) {
    checkRun<In, Out>(values, apply, rule, extents, from, to, threads);
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

/// As above, for an operator's frame. `fill(parameter)` sets all keys but the volumes and the thread count.
template <class FrameOperator, class Parameter, class In, class Out, class Fill>
void checkIn(Where where, const std::vector<In>& values, const Fill& fill, const std::function<Out(In)>& rule) {
  checkLayouts<In, Out>(
      where, values,
      [&fill](SmartPointer<IVolume> input, SmartPointer<IVolume> output, SizeType threads) {
        const SmartPointer<Parameter> parameter(new Parameter);
        parameter->inputVolume = input;
        parameter->outputVolume = output;
        parameter->inputNumberOfThreads = threads;
        fill(*parameter);
        FrameOperator().apply(parameter);
        return parameter->outputVolume.value();
      },
      rule);
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

// Compiled once for all tests, in Remapping.cpp.
#ifndef TAVI_TESTS_INSTANTIATE_VIEWS
#define TAVI_TESTS_INSTANTIATE_VIEWS extern template
#endif
#define TAVI_TESTS_VIEW(In, Out)                                                                     \
  TAVI_TESTS_INSTANTIATE_VIEWS void expectVoxels(const VolumePtr<Out>&, const std::vector<In>&, Out, \
                                                 const std::function<Out(In)>&);                     \
  TAVI_TESTS_INSTANTIATE_VIEWS void checkLayouts(Where, const std::vector<In>&, const Apply&,        \
                                                 const std::function<Out(In)>&);
#define TAVI_TESTS_VIEWS(T)                                                                           \
  TAVI_TESTS_INSTANTIATE_VIEWS VolumePtr<T> makeVolume(const Dimension<SizeType>&, const Layout&, T); \
  TAVI_TESTS_INSTANTIATE_VIEWS void fillView(const VolumePtr<T>&, const std::vector<T>&);             \
  TAVI_TESTS_INSTANTIATE_VIEWS std::vector<T> sampleValues(T, T);                                     \
  TAVI_TESTS_VIEW(T, int8)                                                                            \
  TAVI_TESTS_VIEW(T, uint8)                                                                           \
  TAVI_TESTS_VIEW(T, int16)                                                                           \
  TAVI_TESTS_VIEW(T, uint16)                                                                          \
  TAVI_TESTS_VIEW(T, int32)                                                                           \
  TAVI_TESTS_VIEW(T, uint32)                                                                          \
  TAVI_TESTS_VIEW(T, float32)                                                                         \
  TAVI_TESTS_VIEW(T, float64)
TAVI_TESTS_VIEWS(int8)
TAVI_TESTS_VIEWS(uint8)
TAVI_TESTS_VIEWS(int16)
TAVI_TESTS_VIEWS(uint16)
TAVI_TESTS_VIEWS(int32)
TAVI_TESTS_VIEWS(uint32)
TAVI_TESTS_VIEWS(float32)
TAVI_TESTS_VIEWS(float64)

}  // namespace NORV::Tests::ViewCases
