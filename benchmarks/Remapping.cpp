// The remapping operators beside memcpy over the same number of bytes read and written: one row names the operator,
// the voxel types and the threads; "memcpy" rows are what the memory can do.

#include <AdjustLinear.hpp>
#include <AttenuationScaling.hpp>
#include <ConversionFromAttenuationCoefficient.hpp>
#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/AdjustLinear.hpp>
#include <DLL/AttenuationScaling.hpp>
#include <DLL/ConversionFromAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <DLL/Inversion.hpp>
#include <DLL/RangeInversion.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Inversion.hpp>
#include <RangeInversion.hpp>

#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {

using namespace NORV;
using namespace NORV::TaviOperators;

/// Bytes of the input volume.
SizeType volumeBytes() {
  const char* mebibytes = std::getenv("TAVI_BENCHMARK_MIB");
  return (mebibytes != nullptr ? std::strtoull(mebibytes, nullptr, 10) : 512) << 20;
}

template <class T>
VolumePtr<T> makeVolume() {
  constexpr SizeType edge = 256;
  return VolumePtr<T>(
      new Volume<T>(Dimension<SizeType>(edge, edge, std::max<SizeType>(1, volumeBytes() / sizeof(T) / edge / edge))));
}

/// Grey values as of a specimen with noise: most in a middle part of the range.
template <class T>
VolumePtr<T> makeInput() {
  const auto volume = makeVolume<T>();
  const SizeType count = volume->getSize();
  uint64 state = 88172645463325252u;
  for (SizeType i = 0; i < count; ++i) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    const double share = static_cast<double>((state & 1023) + (state >> 10 & 1023)) / 2048.0;
    if constexpr (std::is_floating_point_v<T>) {
      volume->getData()[i] = static_cast<T>(share);
    } else {
      volume->getData()[i] = static_cast<T>(share * std::numeric_limits<T>::max());
    }
  }
  return volume;
}

void report(benchmark::State& state, SizeType voxels, SizeType bytesPerVoxel) {
  state.SetBytesProcessed(static_cast<int64_t>(voxels * bytesPerVoxel) * state.iterations());
  state.counters["voxels"] =
      benchmark::Counter(static_cast<double>(voxels), benchmark::Counter::kIsIterationInvariantRate);
}

template <class Op, class Parameter, class In, class Out, class Fill>
void add(const char* name, const Fill& fill) {
  for (const int threads : {1, omp_get_num_procs()}) {
    const std::string title = std::string(name) + "<" + Tavi::typeName<In> + "," + Tavi::typeName<Out> + ">" +
                              (threads == 1 ? "/1 thread" : "/all threads");
    benchmark::RegisterBenchmark(title.c_str(),
                                 [fill, threads](benchmark::State& state) {
                                   const SmartPointer<Parameter> parameter(new Parameter);
                                   const auto input = makeInput<In>();
                                   parameter->inputVolume = input;
                                   parameter->outputVolume = VolumePtr<Out>(new Volume<Out>(input->getDimension()));
                                   parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
                                   fill(*parameter);
                                   Op op;
                                   op.apply(parameter);
                                   for (auto _ : state) {
                                     op.apply(parameter);
                                   }
                                   report(state, input->getSize(), sizeof(In) + sizeof(Out));
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
}

template <class In, class Out>
void addAdjustLinear() {
  add<DLL::AdjustLinear::Operator, AdjustLinear::Parameter, In, Out>("AdjustLinear", [](AdjustLinear::Parameter& p) {
    const double top = std::is_integral_v<In> ? static_cast<double>(std::numeric_limits<In>::max()) : 1.0;
    p.inputOriginalMinimumValue.setValue(static_cast<In>(0.1 * top));
    p.inputOriginalMaximumValue.setValue(static_cast<In>(0.8 * top));
    p.inputResultMinimumValue.setValue(Out(5));
    p.inputResultMaximumValue.setValue(Out(250));
  });
}

template <class In, class Out>
void addAttenuationScaling() {
  using Scaling = AttenuationScaling::Parameter;
  using Real = std::conditional_t<std::is_same_v<Out, float64>, float64, float32>;
  add<DLL::AttenuationScaling::Operator, Scaling, In, Out>("AttenuationScaling", [](Scaling& p) {
    p.inputMinimumAttenuationValue.setValue(Real(0.1));
    p.inputMaximumAttenuationValue.setValue(Real(0.8));
    p.inputMinimumOutputGreyValue.setValue(Out(0));
    p.inputMaximumOutputGreyValue.setValue(Out(250));
    p.inputOffset.setValue(Real(0));
    p.inputFactor.setValue(static_cast<Real>(std::numeric_limits<In>::max()));
  });
}

template <class In, class Out>
void addConversionTo() {
  using To = ConversionToAttenuationCoefficient::Parameter;
  add<DLL::ConversionToAttenuationCoefficient::Operator, To, In, Out>("ConversionToAttenuationCoefficient", [](To& p) {
    p.inputFactor.setValue(Out(3000.5));
    p.inputOffset.setValue(Out(0.3));
  });
}

template <class In, class Out>
void addConversionFrom() {
  using From = ConversionFromAttenuationCoefficient::Parameter;
  add<DLL::ConversionFromAttenuationCoefficient::Operator, From, In, Out>(
      "ConversionFromAttenuationCoefficient", [](From& p) {
        p.inputMinimumCoefficient.setValue(In(0.1));
        p.inputMaximumCoefficient.setValue(In(0.8));
        p.inputMinimumScaledValue.setValue(Out(0));
        p.inputMaximumScaledValue.setValue(std::numeric_limits<Out>::max());
      });
}

template <class T>
void addInversions() {
  if constexpr (std::is_integral_v<T>) {
    add<DLL::Inversion::Operator, Inversion::Parameter, T, T>("Inversion", [](Inversion::Parameter&) {});
  }
  add<DLL::RangeInversion::Operator, RangeInversion::Parameter, T, T>("RangeInversion",
                                                                      [](RangeInversion::Parameter&) {});
}

void addMemcpy() {
  for (const int threads : {1, omp_get_num_procs()}) {
    const std::string title = "memcpy/" + std::string(threads == 1 ? "1 thread" : "all threads");
    benchmark::RegisterBenchmark(title.c_str(),
                                 [threads](benchmark::State& state) {
                                   const auto from = makeInput<uint8>(), to = makeInput<uint8>();
                                   const SizeType part = from->getSize() / static_cast<SizeType>(threads);
                                   for (auto _ : state) {
#pragma omp parallel for num_threads(threads) schedule(static)
                                     for (int i = 0; i < threads; ++i) {
                                       const SizeType begin = static_cast<SizeType>(i) * part;
                                       std::memcpy(to->getData() + begin, from->getData() + begin, part);
                                     }
                                     benchmark::ClobberMemory();
                                   }
                                   report(state, from->getSize(), 2);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
}

const bool registered = [] {
  addMemcpy();
  addAdjustLinear<uint8, uint8>();
  addAdjustLinear<uint16, uint16>();
  addAdjustLinear<uint16, uint8>();
  addAdjustLinear<int16, int16>();
  addAdjustLinear<int32, int32>();
  addAdjustLinear<float32, float32>();
  addAdjustLinear<float32, uint8>();
  addAttenuationScaling<uint8, uint8>();
  addAttenuationScaling<uint16, uint8>();
  addAttenuationScaling<uint16, uint16>();
  addAttenuationScaling<uint16, float32>();
  addConversionTo<uint8, float32>();
  addConversionTo<uint16, float32>();
  addConversionFrom<float32, uint8>();
  addConversionFrom<float32, uint16>();
  addInversions<uint8>();
  addInversions<uint16>();
  addInversions<float32>();
  return true;
}();

}  // namespace
