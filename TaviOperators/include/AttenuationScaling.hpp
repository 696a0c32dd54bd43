#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>

#include <Vectors/Lanes.hpp>
#include <Vectors/LookupTable.hpp>
#include <VoxelWise/WindowRule.hpp>

#include <cmath>
#include <limits>
#include <type_traits>

/// Scales a window of attenuation values to grey values. The attenuation value of a voxel is
/// voxel / inputFactor - inputOffset; inside the window the grey value is
/// floor((attenuation - minimum attenuation) / scale - minimum grey value + 0.5), with the window's extent per grey
/// value as scale, outside it is the limit of the grey values.
///
/// The minimum grey value is subtracted, so the scaled values join the limits only where it is 0. All arithmetic is
/// that of float32, for a float64 output that of float64. An integer output keeps the low bits of a result that it
/// cannot hold, as for a negative one, and 0 of a NaN or of one whose low bits are unknown (from 2^31 on, from 2^63 on
/// for uint32). Extra memory: none; from uint8 to uint8 256 bytes. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::AttenuationScaling {

inline constexpr Impl::Names names{"AttenuationScaling"};

/// One run. Attenuation values, offset and factor are `Data<float32>`, for a float64 output `Data<float64>`; the grey
/// values are `Data<T>` of the voxel type of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputMinimumAttenuationValue;
  Property<IData> inputMaximumAttenuationValue;
  Property<IData> inputMinimumOutputGreyValue;
  Property<IData> inputMaximumOutputGreyValue;
  Property<IData> inputOffset;
  Property<IData> inputFactor;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of scaled attenuation, uint8 or uint16"});
    append("inputMinimumAttenuationValue", inputMinimumAttenuationValue,
           floatLike("outputVolume", required, "voxels below take the minimum grey value"));
    append("inputMaximumAttenuationValue", inputMaximumAttenuationValue,
           floatLike("outputVolume", required, "voxels from here on take the maximum grey value"));
    append("inputMinimumOutputGreyValue", inputMinimumOutputGreyValue,
           like("outputVolume", required, "grey value below the window"));
    append("inputMaximumOutputGreyValue", inputMaximumOutputGreyValue,
           like("outputVolume", required, "grey value above the window"));
    append("inputOffset", inputOffset, floatLike("outputVolume", required, "attenuation taken off after the division"));
    append("inputFactor", inputFactor,
           floatLike("outputVolume", required, "input grey values per unit of attenuation"));
    append("outputVolume", outputVolume,
           {Takes::volume, optional, "target; uint8, uint16, uint32, float32 or float64; as the input if absent"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class In, class Out>
struct Window {
  using Real = std::conditional_t<std::is_same_v<Out, float64>, float64, float32>;
  static constexpr bool meetsEnds = false;
  Impl::Divisor<Real> factor;
  Real offset, minimumAttenuation, maximumAttenuation, minimumGrey, maximumGrey;
  Impl::Divisor<Real> scale{(maximumAttenuation - minimumAttenuation) / (maximumGrey - minimumGrey)};

  bool dividesModerately() const {
    using Divisor = Impl::Divisor<Real>;
    return factor.isModerate() && scale.isModerate() && Divisor::isModerateOrZero(offset) &&
           Divisor::isModerateOrZero(minimumAttenuation);
  }

  template <class L>
  typename L::V attenuation(L, typename L::V x) const {
    return L::sub(L::div(x, factor), L::set(offset));
  }
  /// The grey value inside the window before it is rounded down.
  template <class L>
  typename L::V grey(L, typename L::V a) const {
    const auto v = L::sub(L::div(L::sub(a, L::set(minimumAttenuation)), scale), L::set(minimumGrey));
    return L::add(v, L::set(Real(0.5)));
  }

  template <class L>
  typename L::V map(L lanes, typename L::V x) const {
    const auto a = attenuation(lanes, x);
    auto v = lowBits(lanes, L::floor(grey(lanes, a)));
    v = L::ifLessOrEqual(L::set(maximumAttenuation), a, L::set(maximumGrey), v);
    return L::ifLess(a, L::set(minimumAttenuation), L::set(minimumGrey), v);
  }

  template <class L>
  typename L::V between(L lanes, typename L::V x) const {
    return grey(lanes, attenuation(lanes, x));
  }

  /// With a factor above 0 the attenuation grows with the voxels, and the grey value with the attenuation.
  Impl::ValueWindow<In, Out> window() const {
    if (!dividesModerately()) {
      return {};
    }
    const Impl::OneLane<Real> lane;
    const auto darker = firstWhere([&](Real x) { return !(attenuation(lane, x) < minimumAttenuation); });
    const auto lighter = firstWhere([&](Real x) { return maximumAttenuation <= attenuation(lane, x); });
    if (darker >= lighter) {
      return {};
    }
    const auto first = static_cast<In>(darker), last = static_cast<In>(lighter - 1);
    constexpr Real limit = 4194304;
    const bool isExact = std::abs(between(lane, first)) < limit && std::abs(between(lane, last)) < limit;
    return {isExact, first, last, static_cast<Out>(minimumGrey), static_cast<Out>(maximumGrey)};
  }

  /// A whole number as the low bits of it that the output keeps. All steps are exact.
  template <class L>
  static typename L::V lowBits(L, typename L::V v) {
    if constexpr (std::is_floating_point_v<Out>) {
      return v;
    } else {
      constexpr Real values = sizeof(Out) == 1 ? Real(256) : sizeof(Out) == 2 ? Real(65536) : Real(4294967296);
      constexpr Real unknown = sizeof(Out) < 4 ? Real(2147483648) : Real(9223372036854775808u);
      const auto wraps = L::floor(L::mul(v, L::set(1 / values)));
      auto bits = L::sub(v, L::mul(wraps, L::set(values)));
      if constexpr (sizeof(Out) == 4) {  // small ones would lose digits in the sum with 2^32
        bits = L::ifLess(L::abs(v), L::set(Real(2147483648)), v, bits);
      }
      return L::ifLess(L::abs(v), L::set(unknown), bits, L::set(0));
    }
  }

private:
  /// The lowest voxel for which the condition holds, one past the type's range if there is none.
  template <class Condition>
  static int firstWhere(const Condition& holds) {
    int from = 0, to = std::numeric_limits<In>::max() + 1;
    while (from < to) {
      const int middle = (from + to) / 2;
      if (holds(static_cast<Real>(middle))) {
        to = middle;
      } else {
        from = middle + 1;
      }
    }
    return from;
  }
};

/// Which rule is the fastest for a pair.
template <class In, class Out>
using WindowRule =
    std::conditional_t<std::is_integral_v<Out> && sizeof(Out) <= 2, Impl::WindowRule<In, Out, Window<In, Out>>,
                       Impl::LanewiseRule<In, Out, Window<In, Out>>>;

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;
  using Real = typename Window<In, Out>::Real;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const Real attenuationLow = parameter->inputMinimumAttenuationValue.template extractValue<Real>();
    const Real attenuationHigh = parameter->inputMaximumAttenuationValue.template extractValue<Real>();
    const Out greyLow = parameter->inputMinimumOutputGreyValue.template extractValue<Out>();
    const Out greyHigh = parameter->inputMaximumOutputGreyValue.template extractValue<Out>();
    const Real offset = parameter->inputOffset.template extractValue<Real>();
    const Real factor = parameter->inputFactor.template extractValue<Real>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" the input volume is NULL"));
    requireOrder(!(attenuationHigh < attenuationLow), "Max attenuation value is samller than min attenuation value!");
    requireOrder(!(greyHigh < greyLow), "Max grey value is samller than min grey value!");

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Window<In, Out> window{
        factor, offset, attenuationLow, attenuationHigh, static_cast<Real>(greyLow), static_cast<Real>(greyHigh)};
    const WindowRule<In, Out> rule{window};
    if constexpr (sizeof(In) == 1 && sizeof(Out) == 1) {
      const Impl::LookupTable<In, Out> table(rule);
      Impl::transformVoxels(*this, threads, Impl::Steps::counted, table, Impl::viewOf(*output), from);
    } else {
      Impl::transformVoxels(*this, threads, Impl::Steps::counted, rule, Impl::viewOf(*output), from);
    }
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  static void requireOrder(bool ordered, const char* otherwise) {
    if (!ordered) {
      throw Exceptions::InvalidArg("NORV::TaviOperators::AttenuationScaling::Operator::apply", "%s", otherwise);
    }
  }
};

}  // namespace NORV::TaviOperators::AttenuationScaling
