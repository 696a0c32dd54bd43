#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <cmath>

/// Rounds every voxel of a volume down to a multiple of a step.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end. NaN stays NaN.
namespace NORV::TaviOperators::Quantization {

inline constexpr Impl::Names names{"Quantization"};

/// One run. The step is a grey value, a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputStep;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to quantize"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
    append("inputStep", inputStep, like("inputVolume", required, "distance of the grey values that remain; above 0"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return names.parameterType(); }
};

/// The rule on one value. Everything else is the same for all voxel-wise operators.
template <class T>
struct RoundDown {
  T step;
  T operator()(T x) const {
    if constexpr (std::is_floating_point_v<T>) {
      return std::floor(x / step) * step;
    } else {
      return static_cast<T>(x / step * step);
    }
  }
};

template <class VolumePointer>
class Operator final : public TaviOperators::Operator<Operator<VolumePointer>> {
  using T = VoxelOf<VolumePointer>;

public:
  std::string getType() const override { return Impl::typedIdentifier<VolumePointer>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const VolumePointer input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));
    const T step = parameter->inputStep.template extractValue<T>();
    Impl::require(step > T(0), names.inApply(" inputStep is not above 0"));
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());

    const auto output =
        this->template checkOutputVolume<VolumePointer>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, RoundDown<T>{step}, Impl::viewOf(*output),
                          Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::Quantization
