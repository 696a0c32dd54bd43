#pragma once

#include <Impl/Dispatch.hpp>
#include <Impl/Lanes.hpp>
#include <Impl/LookupTable.hpp>
#include <Impl/TransformVoxels.hpp>
#include <Operator.hpp>

#include <limits>
#include <type_traits>

/// Stretches the grey values of a volume linearly, from an original range to a result range; what lies outside the
/// original range takes the limits of the result range.
///
/// The arithmetic is that of float32 for 8- and 16-bit input and that of float64 for all other. Integer results are
/// rounded to the nearest, halves up. A NaN voxel stays NaN in a float volume and becomes 0 in an integer one.
/// Extra memory: none; for 8-bit volumes 256 bytes. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::AdjustLinear {

inline constexpr Impl::Names names{"AdjustLinear"};

/// One run. The original range is in grey values of inputVolume, the result range in those of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputOriginalMinimumValue;
  Property<IData> inputOriginalMaximumValue;
  Property<IData> inputResultMinimumValue;
  Property<IData> inputResultMaximumValue;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to stretch"});
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target; of the voxel type of the input, uint8 or uint16"});
    append("inputOriginalMinimumValue", inputOriginalMinimumValue,
           {Takes::likeInput, required, "voxels at or below this grey value take the result minimum"});
    append("inputOriginalMaximumValue", inputOriginalMaximumValue,
           {Takes::likeInput, required, "voxels at or above this grey value take the result maximum"});
    append("inputResultMinimumValue", inputResultMinimumValue,
           {Takes::likeOutput, required, "grey value for the original minimum"});
    append("inputResultMaximumValue", inputResultMaximumValue,
           {Takes::likeOutput, required, "grey value for the original maximum"});
    append("inputNumberOfThreads", inputNumberOfThreads, {Takes::count, optional, "worker threads; 0: all there are"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// The lower limit is looked at first, so it wins where both are equal.
template <class In, class Out>
struct Stretch {
  using Real = std::conditional_t<std::is_integral_v<In> && sizeof(In) <= 2, float32, float64>;
  Real originalMinimum, originalMaximum, resultMinimum, resultMaximum, slope;

  Stretch(In o1, In o2, Out r1, Out r2)
      : originalMinimum(static_cast<Real>(o1)),
        originalMaximum(static_cast<Real>(o2)),
        resultMinimum(static_cast<Real>(r1)),
        resultMaximum(static_cast<Real>(r2)),
        slope(o1 == o2 ? Real(0) : (resultMaximum - resultMinimum) / (originalMaximum - originalMinimum)) {}

  template <class L>
  typename L::V map(L, typename L::V x) const {
    const auto first = L::set(originalMinimum), last = L::set(originalMaximum);
    const auto below = L::set(resultMinimum), above = L::set(resultMaximum);
    auto v = L::add(L::mul(L::sub(x, first), L::set(slope)), below);
    const auto low = L::set(static_cast<Real>(std::numeric_limits<Out>::lowest()));
    const auto high = L::set(static_cast<Real>(std::numeric_limits<Out>::max()));
    v = L::ifLess(high, v, high, v);
    if constexpr (std::is_integral_v<Out>) {
      v = L::floor(L::add(L::ifLess(low, v, v, low), L::set(Real(0.5))));  // a NaN becomes 0: such outputs are unsigned
    } else {
      v = L::ifLess(v, low, low, v);
    }
    v = L::ifLessOrEqual(last, x, above, v);
    return L::ifLessOrEqual(x, first, below, v);
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;
  using Rule = Impl::LanewiseRule<In, Out, Stretch<In, Out>>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const In o1 = parameter->inputOriginalMinimumValue.template extractValue<In>();
    const In o2 = parameter->inputOriginalMaximumValue.template extractValue<In>();
    const Out r1 = parameter->inputResultMinimumValue.template extractValue<Out>();
    const Out r2 = parameter->inputResultMaximumValue.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" the input volume is NULL"));
    Impl::require(!(o1 > o2 || r1 > r2), names.inApply(" --> INVALID INPUT: the Minimum is bigger than the Maximum!"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Rule rule{Stretch<In, Out>(o1, o2, r1, r2)};
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
};

}  // namespace NORV::TaviOperators::AdjustLinear
