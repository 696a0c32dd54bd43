#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

/// Inverts the grey values of an integer volume over the whole range of the voxel type: each voxel becomes its bitwise
/// complement, which is 255 - x for uint8 and -1 - x for signed types.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Inversion {

inline constexpr Impl::Names names{"Inversion"};

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of integers to invert"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class T>
struct Complement {
  T operator()(T x) const { return static_cast<T>(~x); }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, Complement<VoxelOf<InputPtr>>(), Impl::viewOf(*output),
                          Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::Inversion
