#pragma once

#include <Impl/Dispatch.hpp>
#include <Impl/PlainConversion.hpp>
#include <Impl/TransformVoxels.hpp>
#include <Operator.hpp>

/// Clamps every voxel of a volume to the range [inputLowerLimit, inputUpperLimit].
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Saturation {

inline constexpr Impl::Names names{"Saturation"};

/// One run. The limits are grey values, each a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputUpperLimit;
  Property<IData> inputLowerLimit;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to clamp"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
    append("inputUpperLimit", inputUpperLimit,
           {Takes::likeInput, required, "voxels at or above this grey value take it"});
    append("inputLowerLimit", inputLowerLimit,
           {Takes::likeInput, required, "voxels at or below this grey value take it"});
    append("inputNumberOfThreads", inputNumberOfThreads, {Takes::count, optional, "worker threads; 0: all there are"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// The upper limit is looked at first, so it wins where the limits cross; a NaN passes both tests.
template <class T>
struct Clamp {
  T lower, upper;
  T operator()(T x) const { return x >= upper ? upper : lower >= x ? lower : x; }
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
    const In upper = parameter->inputUpperLimit.template extractValue<In>();
    const In lower = parameter->inputLowerLimit.template extractValue<In>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto clamp = [rule = Clamp<In>{lower, upper}](In x) { return Impl::convertPlainly<Out>(rule(x)); };
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, clamp, Impl::viewOf(*output), Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::Saturation
