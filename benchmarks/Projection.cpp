// Binning, mean projection and principal axes beside plain loops over the same volume and beside reading it once.

#include "Contest.hpp"

#include <Binning.hpp>
#include <DLL/Binning.hpp>
#include <DLL/DiscreteDownsampling.hpp>
#include <DLL/MeanProjection.hpp>
#include <DLL/PrincipalComponentsAnalysis.hpp>
#include <DLL/SubpixelExactBinning.hpp>
#include <DiscreteDownsampling.hpp>
#include <Impl/Frame/Instances.hpp>
#include <MeanProjection.hpp>
#include <PrincipalComponentsAnalysis.hpp>
#include <SubpixelExactBinning.hpp>

#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

using Factor = Triple<SizeType>;

/// The mean of each block, voxel by voxel.
template <class T>
void plainBinning(int threads, const Volume<T>& input, SizeType factor, T* output) {
  const auto view = Tavi::viewOf(input);
  const SizeType width = view.dimPrim / factor, height = view.dimSec / factor;
  const double count = static_cast<double>(factor * factor * factor);
  inParts(threads, view.dimTert / factor, [=](SizeType begin, SizeType end) {
    for (SizeType z = begin; z < end; ++z) {
      for (SizeType y = 0; y < height; ++y) {
        for (SizeType x = 0; x < width; ++x) {
          double sum = 0.0;
          for (SizeType k = 0; k < factor; ++k) {
            for (SizeType j = 0; j < factor; ++j) {
              const T* const row = view.row(y * factor + j, z * factor + k) + x * factor;
              for (SizeType i = 0; i < factor; ++i) {
                sum += static_cast<double>(row[i]);
              }
            }
          }
          output[(z * height + y) * width + x] = static_cast<T>(sum / count);
        }
      }
    }
  });
}

/// The sum plane of each thread, slice by slice.
template <class T>
void plainProjection(int threads, const Volume<T>& input) {
  using Sum = std::conditional_t<std::is_integral_v<T>, int64, double>;
  const auto view = Tavi::viewOf(input);
  const SizeType plane = view.dimPrim * view.dimSec;
  inParts(threads, view.dimTert, [=](SizeType begin, SizeType end) {
    std::vector<Sum> sums(plane), counts(plane);
    for (SizeType z = begin; z < end; ++z) {
      const T* const slice = view.row(0, z);
      for (SizeType i = 0; i < plane; ++i) {
        sums[i] += static_cast<Sum>(slice[i]);
        counts[i] += Sum(1);
      }
    }
    benchmark::DoNotOptimize(sums.data());
    benchmark::DoNotOptimize(counts.data());
  });
}

/// The sums of the positions of a value, and of their products.
template <class T>
void plainMoments(int threads, const Volume<T>& input, T value) {
  const auto view = Tavi::viewOf(input);
  inParts(threads, view.dimTert, [=](SizeType begin, SizeType end) {
    for (int pass = 0; pass < 2; ++pass) {
      double sums[9] = {};
      for (SizeType z = begin; z < end; ++z) {
        for (SizeType y = 0; y < view.dimSec; ++y) {
          const T* const row = view.row(y, z);
          for (SizeType x = 0; x < view.dimPrim; ++x) {
            if (row[x] == value) {
              const double p[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
              for (int i = 0; i < 3; ++i) {
                sums[i] += p[i];
                sums[3 + i] += p[i] * p[i];
                sums[6 + i] += p[i] * p[(i + 1) % 3];
              }
            }
          }
        }
      }
      benchmark::DoNotOptimize(sums);
    }
  });
}

template <class T>
Contestant reading(const VolumePtr<T>& input, int threads) {
  const SizeType count = input->getSize();
  return {"reading", count * sizeof(T), [=] { plainRead(threads, input->getData(), count); }};
}

template <class T>
std::vector<Contestant> binning(SizeType bytes, int threads, SizeType factor) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<Binning::Parameter> parameter(new Binning::Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  parameter->inputDownSamplingFactor = Factor(factor, factor, factor);
  const SizeType count = input->getSize();
  const auto output = std::make_shared<std::vector<T>>(count / (factor * factor * factor));
  return {{"Binning", count * sizeof(T), [=] { DLL::Binning::Operator().apply(parameter); }},
          {"plain loop", count * sizeof(T), [=] { plainBinning(threads, *input, factor, output->data()); }},
          reading(input, threads)};
}

template <class T>
std::vector<Contestant> sampling(SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<DiscreteDownsampling::Parameter> parameter(new DiscreteDownsampling::Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  parameter->inputDownsamplingFactor = Factor(2, 2, 2);
  return {{"DiscreteDownsampling", input->getSize() * sizeof(T),
           [=] { DLL::DiscreteDownsampling::Operator().apply(parameter); }},
          reading(input, threads)};
}

/// From 256 voxels to 160: cells of 1.6 voxels.
template <class T>
std::vector<Contestant> subpixel(SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<SubpixelExactBinning::Parameter> parameter(new SubpixelExactBinning::Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  parameter->outputVolume = SmartPointer<IVolume>(
      VolumePtr<T>(new Volume<T>(Dimension<SizeType>(160, 160, std::max<SizeType>(1, input->getDimTert() * 5 / 8)))));
  const auto output = std::make_shared<std::vector<T>>(input->getSize() / 8);
  return {{"SubpixelExactBinning", input->getSize() * sizeof(T),
           [=] { DLL::SubpixelExactBinning::Operator().apply(parameter); }},
          {"plain binning", input->getSize() * sizeof(T), [=] { plainBinning(threads, *input, 2, output->data()); }},
          reading(input, threads)};
}

template <class T>
std::vector<Contestant> projection(SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<MeanProjection::Parameter> parameter(new MeanProjection::Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  parameter->inputDefaultValue.setValue(T(0));
  parameter->outputVolume = SmartPointer<IVolume>(VolumePtr<T>(new Volume<T>(Dimension<SizeType>(256, 256, 1))));
  return {{"MeanProjection", input->getSize() * sizeof(T), [=] { DLL::MeanProjection::Operator().apply(parameter); }},
          {"plain loop", input->getSize() * sizeof(T), [=] { plainProjection(threads, *input); }},
          reading(input, threads)};
}

/// One voxel in a hundred is selected.
template <class T>
std::vector<Contestant> principal(SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<PrincipalComponentsAnalysis::Parameter> parameter(new PrincipalComponentsAnalysis::Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  parameter->inputValue.setValue(T(7));
  parameter->inputEnableAffineTransform = true;
  return {{"PrincipalComponentsAnalysis", 2 * input->getSize() * sizeof(T),
           [=] { DLL::PrincipalComponentsAnalysis::Operator().apply(parameter); }},
          {"plain loops", 2 * input->getSize() * sizeof(T), [=] { plainMoments(threads, *input, T(7)); }},
          reading(input, threads)};
}

[[maybe_unused]] const bool registered = [] {
  Impl::forEachType(Impl::TypeList<uint8, uint16, int32, float32>(), []<class T>() {
    const std::string type = std::string("<") + Tavi::typeName<T> + ">";
    for (const SizeType factor : {2u, 4u, 8u}) {
      registerContest("Binning" + std::to_string(factor) + type,
                      [factor](SizeType bytes, int threads) { return binning<T>(bytes, threads, factor); });
    }
    registerContest("DiscreteDownsampling" + type, sampling<T>);
    registerContest("SubpixelExactBinning" + type, subpixel<T>);
    registerContest("MeanProjection" + type, projection<T>);
    registerContest("PrincipalComponentsAnalysis" + type, principal<T>);
  });
  return true;
}();

}  // namespace
