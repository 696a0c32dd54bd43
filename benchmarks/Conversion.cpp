// The operators that decide, repair and convert voxel by voxel, beside memcpy over the same number of bytes read and
// written and a plain loop.

#include "Contest.hpp"

#include <BitPatternBinarization.hpp>
#include <DLL/BitPatternBinarization.hpp>
#include <DLL/FixNaN.hpp>
#include <DLL/RangeBinarization.hpp>
#include <DLL/Round.hpp>
#include <DLL/StaticCast.hpp>
#include <DLL/SwapByteOrder.hpp>
#include <DLL/VoxelValueReplacement.hpp>
#include <FixNaN.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RangeBinarization.hpp>
#include <Round.hpp>
#include <StaticCast.hpp>
#include <SwapByteOrder.hpp>
#include <VoxelValueReplacement.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

template <class In, class Out, class Loop>
[[gnu::noinline]] void loopRow(Out* __restrict to, const In* from, SizeType count, const Loop& loop) {
  for (SizeType i = 0; i < count; ++i) {
    to[i] = loop(from[i]);
  }
}

/// An operator on volumes of which the larger has the bytes of the contest. `fill` sets all keys but the volumes and
/// the thread count.
template <class Frame, class Parameter, class In, class Out, class Fill, class Loop>
void add(const std::string& name, const Fill& fill, const Loop& loop) {
  const std::string title = name + "<" + Tavi::typeName<In> + "," + Tavi::typeName<Out> + ">";
  registerContest(title, [=](SizeType bytes, int threads) {
    constexpr SizeType larger = std::max(sizeof(In), sizeof(Out));
    const auto input = makeVolume<In>(bytes / larger * sizeof(In));
    const auto output = makeVolume<Out>(bytes / larger * sizeof(Out));
    const SizeType count = input->getSize();
    const SmartPointer<Parameter> parameter(new Parameter);
    parameter->inputVolume = input;
    parameter->outputVolume = output;
    if constexpr (requires { parameter->inputNumberOfThreads; }) {
      parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
    }
    fill(*parameter);
    const auto frame = std::make_shared<Frame>();
    const SizeType moved = count * (sizeof(In) + sizeof(Out));
    const auto from = makeVolume<uint8>(moved / 2), to = makeVolume<uint8>(moved / 2);
    return std::vector<Contestant>{
        {name, moved, [=] { frame->apply(parameter); }},
        {"memcpy", 2 * from->getSize(), [=] { plainCopy(threads, from->getData(), to->getData(), from->getSize()); }},
        {"loop", moved, [=] {
           inParts(threads, count, [&](SizeType begin, SizeType end) {
             loopRow(output->getData() + begin, input->getData() + begin, end - begin, loop);
           });
         }}};
  });
}

template <class In, class Out>
void addRangeBinarization() {
  add<DLL::RangeBinarization::Operator, RangeBinarization::Parameter, In, Out>(
      "RangeBinarization",
      [](RangeBinarization::Parameter& p) {
        p.inputMinimumThreshold.setValue(In(20));
        p.inputMaximumThreshold.setValue(In(70));
        p.inputBackgroundValue.setValue(Out(0));
        p.inputForegroundValue.setValue(Out(200));
      },
      [](In x) { return x < In(20) || x > In(70) ? Out(0) : Out(200); });
}

template <class In, class Out>
void addBitPatternBinarization() {
  add<DLL::BitPatternBinarization::Operator, BitPatternBinarization::Parameter, In, Out>(
      "BitPatternBinarization",
      [](BitPatternBinarization::Parameter& p) {
        p.inputBitPattern.setValue(In(5));
        p.inputBackgroundValue.setValue(Out(0));
        p.inputForegroundValue.setValue(Out(200));
      },
      [](In x) { return (x & 5) == 5 ? Out(200) : Out(0); });
}

template <class T>
void addReplacement() {
  add<DLL::VoxelValueReplacement::Operator, VoxelValueReplacement::Parameter, T, T>(
      "VoxelValueReplacement",
      [](VoxelValueReplacement::Parameter& p) {
        p.inputChangingValue.setValue(T(7));
        p.inputNewValue.setValue(T(9));
      },
      [](T x) { return x == T(7) ? T(9) : x; });
}

template <class T>
void addRepairs() {
  add<DLL::FixNaN::Operator, FixNaN::Parameter, T, T>(
      "FixNaN", [](FixNaN::Parameter& p) { p.inputReplacementValue.setValue(T(7)); },
      [](T x) { return x == x ? x : T(7); });
  add<DLL::Round::Operator, Round::Parameter, T, T>(
      "Round", [](Round::Parameter& p) { p.inputDecimalPlaces = SizeType{2}; },
      [](T x) { return std::floor(T(100) * x + T(0.5)) / T(100); });
}

template <class In, class Out>
void addCast() {
  add<DLL::StaticCast::Operator, StaticCast::Parameter, In, Out>(
      "StaticCast", [](StaticCast::Parameter&) {}, [](In x) { return static_cast<Out>(x); });
}

template <class T>
void addSwap() {
  add<DLL::SwapByteOrder::Operator, SwapByteOrder::Parameter, T, T>(
      "SwapByteOrder", [](SwapByteOrder::Parameter&) {},
      [](T x) {
        if constexpr (sizeof(T) == 4) {
          return static_cast<T>(__builtin_bswap32(x));
        } else if constexpr (sizeof(T) == 2) {
          return static_cast<T>(__builtin_bswap16(x));
        } else {
          return x;
        }
      });
}

[[maybe_unused]] const bool registered = [] {
  addRangeBinarization<uint8, uint8>();
  addRangeBinarization<uint16, uint8>();
  addRangeBinarization<uint16, uint16>();
  addRangeBinarization<float32, uint8>();
  addBitPatternBinarization<uint8, uint8>();
  addBitPatternBinarization<uint16, uint16>();
  addReplacement<uint8>();
  addReplacement<uint16>();
  addReplacement<float32>();
  addRepairs<float32>();
  addRepairs<float64>();
  addSwap<uint8>();
  addSwap<uint16>();
  addSwap<uint32>();
  Impl::forEachType(Impl::AllVoxelTypes(), []<class In>() {
    Impl::forEachType(Impl::AllVoxelTypes(), []<class Out>() { addCast<In, Out>(); });
  });
  return true;
}();

}  // namespace
