#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <Vectors/Lanes.hpp>
#include <VoxelWise/WindowRule.hpp>

#include <cmath>
#include <limits>

/// Scales attenuation coefficients to grey values: a range of coefficients is mapped linearly onto a range of grey
/// values, whose limits serve for the coefficients outside. The factor and the offset of the mapping are put out as
/// `ConversionToAttenuationCoefficient` takes them for the way back.
///
/// The arithmetic is that of float64, rounded to the nearest grey value, halves up. A voxel that has no scaled value
/// (NaN, or any inside a range of which both ends are equal) takes the minimum scaled value. Results that rounding
/// carries beyond the output's voxel type are limited to it. Factor and offset may be infinite or NaN where a range has
/// no extent. Extra memory: none. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient {

inline constexpr Impl::Names names{"ConversionFromAttenuationCoefficient"};

/// One run. The coefficients, outputFactor and outputOffset are `Data<T>` of the voxel type of inputVolume, the scaled
/// values of that of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputMinimumCoefficient;
  Property<IData> inputMaximumCoefficient;
  Property<IData> inputMinimumScaledValue;
  Property<IData> inputMaximumScaledValue;
  Property<SizeType> inputNumberOfThreads;
  Property<IData> outputFactor;
  Property<IData> outputOffset;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume,
           {Takes::volume, required, "volume of attenuation coefficients, float32 or float64"});
    append("inputMinimumCoefficient", inputMinimumCoefficient,
           like("inputVolume", required, "coefficients below take the minimum scaled value"));
    append("inputMaximumCoefficient", inputMaximumCoefficient,
           like("inputVolume", required, "coefficients above take the maximum scaled value"));
    append("inputMinimumScaledValue", inputMinimumScaledValue,
           like("outputVolume", required, "grey value for the minimum coefficient"));
    append("inputMaximumScaledValue", inputMaximumScaledValue,
           like("outputVolume", required, "grey value for the maximum coefficient"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputFactor", outputFactor, like("inputVolume", optional, "grey values per unit of the coefficient"));
    append("outputOffset", outputOffset, like("inputVolume", optional, "coefficient added before the multiplication"));
    append("outputVolume", outputVolume, {Takes::volume, required, "target of scaled grey values, uint8 or uint16"});
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class In, class Out>
struct Scale {
  using Real = float64;
  static constexpr bool meetsEnds = true;
  Real minimumCoefficient, maximumCoefficient, minimumScaled, maximumScaled, factor, offset, ofNaN;

  Scale(Real coefficientLow, Real coefficientHigh, Real scaledLow, Real scaledHigh)
      : minimumCoefficient(coefficientLow),
        maximumCoefficient(coefficientHigh),
        minimumScaled(scaledLow),
        maximumScaled(scaledHigh),
        factor((scaledHigh - scaledLow) / (coefficientHigh - coefficientLow)),
        offset(scaledLow / factor - coefficientLow),
        ofNaN(scaledLow) {}

  template <class L>
  typename L::V between(L, typename L::V x) const {
    return L::add(L::mul(L::add(x, L::set(offset)), L::set(factor)), L::set(0.5));
  }

  template <class L>
  typename L::V map(L lanes, typename L::V x) const {
    const auto low = L::set(minimumScaled), zero = L::set(0.0), most = L::set(std::numeric_limits<Out>::max());
    auto v = L::floor(between(lanes, x));
    v = L::ifLessOrEqual(v, v, v, low);  // a NaN is not equal to itself
    v = L::ifLess(v, zero, zero, L::ifLess(most, v, most, v));
    v = L::ifLess(L::set(maximumCoefficient), x, L::set(maximumScaled), v);
    return L::ifLess(x, L::set(minimumCoefficient), low, v);
  }

  /// Between two scaled values that it meets, the line keeps to the output's voxel type and is a number.
  Impl::ValueWindow<In, Out> window() const {
    const Impl::OneLane<Real> lane;
    const bool meets = minimumCoefficient <= maximumCoefficient &&
                       std::floor(between(lane, minimumCoefficient)) == minimumScaled &&
                       std::floor(between(lane, maximumCoefficient)) == maximumScaled;
    return {meets, static_cast<In>(minimumCoefficient), static_cast<In>(maximumCoefficient),
            static_cast<Out>(minimumScaled), static_cast<Out>(maximumScaled)};
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const In coefficientLow = parameter->inputMinimumCoefficient.template extractValue<In>();
    const In coefficientHigh = parameter->inputMaximumCoefficient.template extractValue<In>();
    const Out scaledLow = parameter->inputMinimumScaledValue.template extractValue<Out>();
    const Out scaledHigh = parameter->inputMaximumScaledValue.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const Scale<In, Out> scale(coefficientLow, coefficientHigh, scaledLow, scaledHigh);
    parameter->outputFactor.setValue(static_cast<In>(scale.factor));
    parameter->outputOffset.setValue(static_cast<In>(scale.offset));
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Impl::WindowRule<In, Out, Scale<In, Out>> rule(scale);
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, rule, Impl::viewOf(*output), from);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient
