#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <Vectors/Lanes.hpp>

/// Turns grey values into attenuation coefficients: voxel / inputFactor - inputOffset.
///
/// The arithmetic is that of the output's voxel type; a factor of 0 gives infinity or, for voxels of 0, NaN. It undoes
/// `ConversionFromAttenuationCoefficient`, up to rounding, with the factor and the offset that that one puts out.
/// Extra memory: none. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::ConversionToAttenuationCoefficient {

inline constexpr Impl::Names names{"ConversionToAttenuationCoefficient"};

/// One run. Factor and offset are `Data<T>` of the voxel type of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputOffset;
  Property<IData> inputFactor;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of scaled grey values, uint8 or uint16"});
    append("inputOffset", inputOffset, like("outputVolume", required, "coefficient taken off after the division"));
    append("inputFactor", inputFactor, like("outputVolume", required, "grey values per unit of the coefficient"));
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target of attenuation coefficients, float32 or float64"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class Coefficient>
struct Unscale {
  using Real = Coefficient;
  Impl::Divisor<Real> factor;
  Real offset;

  bool dividesModerately() const { return factor.isModerate(); }

  template <class L>
  typename L::V map(L, typename L::V x) const {
    return L::sub(L::div(x, factor), L::set(offset));
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
    const Out offset = parameter->inputOffset.template extractValue<Out>();
    const Out factor = parameter->inputFactor.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Impl::LanewiseRule<In, Out, Unscale<Out>> rule{{factor, offset}};
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, rule, Impl::viewOf(*output), from);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::ConversionToAttenuationCoefficient
