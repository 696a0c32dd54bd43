#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Operator.hpp>
#include <Tavi/Vector.hpp>

#include <Rank/KernelMedians.hpp>

#include <string>
#include <utility>
#include <vector>

/// Filters a volume with a median whose neighbourhood changes from voxel to voxel.
///
/// At each voxel an index chooses one of the given kernels; the result is the lower median of the voxels under those
/// kernel voxels that are not 0, the kernel being centred. Where the chosen kernel reaches past the volume, the output
/// keeps what it held. A floating-point NaN counts as beyond infinity, on the side of its sign.
///
/// Extra memory: 8 bytes for each set voxel of each kernel, a table of up to 4 n log(n)^2 bytes for each number n <=
/// 512 of them that occurs; per thread up to 128 bytes for each voxel of the largest kernel, a few mebibytes at the
/// most, or one voxel for each where that is more. Parallel over slices as threads become free, one step of progress
/// each. The output must not share voxels with the input.
namespace NORV::TaviOperators::AdaptiveMedian {

inline constexpr Impl::Names names{"AdaptiveMedian"};
/// In failures of a run the operator bears this name.
inline constexpr Impl::Names namesInFailures{"AdaptiveLinearFilter"};

using Kernels = Tavi::Container::Vector<SmartPointer<IVolume>>;

/// One run. All kernels have one voxel type; their extents are odd.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputIndexVolume;
  Property<Tavi::Container::VectorPtr<SmartPointer<IVolume>>> inputKernelVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to filter"});
    append("inputIndexVolume", inputIndexVolume,
           {Takes::volume, required, "for each voxel which kernel it takes, from 0; of an unsigned voxel type"});
    append(
        "inputKernelVolume", inputKernelVolume,
        {Takes::volumeList, required, "kernels of odd extents and an unsigned voxel type; voxels not 0 belong to one"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// Checks the kernels in their order and compiles each for an input.
template <class KernelPtr>
std::vector<Impl::KernelOffsets> compileKernels(const Kernels& kernels, const Impl::View<const std::byte>& input) {
  std::vector<Impl::KernelOffsets> compiled;
  for (const SmartPointer<IVolume>& volume : kernels) {
    const KernelPtr kernel(volume);
    Impl::requireGiven(kernel, namesInFailures.inApply(" invalid kernel volume"));
    const auto view = Impl::inputViewOf(std::as_const(*kernel));
    // One that is larger along some axes only fits nowhere.
    Impl::require(view.dimPrim <= input.dimPrim || view.dimSec <= input.dimSec || view.dimTert <= input.dimTert,
                  namesInFailures.inApply(" dataset is too small for this kernel!"));
    Impl::require(view.dimPrim % 2 != 0 && view.dimSec % 2 != 0 && view.dimTert % 2 != 0,
                  namesInFailures.inApply(" kernel dimensions must be odd"));
    compiled.emplace_back(view, input);
    Impl::require(compiled.back().count > 0, namesInFailures.inApply(" kernel has no voxel set"));
  }
  return compiled;
}

template <class InputPtr, class IndexPtr, class KernelPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, IndexPtr, KernelPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;
  using Key = Impl::KeyOf<T>;

public:
  std::string getType() const override {
    return Impl::composeIdentifier(names, std::string(Tavi::typeName<T>) + " , " + Tavi::typeName<VoxelOf<IndexPtr>> +
                                              " , " + Tavi::typeName<VoxelOf<KernelPtr>> + " , " +
                                              Tavi::typeName<VoxelOf<OutputPtr>>);
  }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, namesInFailures.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const IndexPtr indices(parameter->inputIndexVolume.value());
    const SmartPointer<Kernels> kernels(parameter->inputKernelVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::require(input != nullptr && indices != nullptr, namesInFailures.inApply(" input volume is NULL"));
    Impl::require(input->getDimension() == indices->getDimension(),
                  namesInFailures.inApply(" input volumes have different size"));
    Impl::requireGiven(kernels, namesInFailures.inApply(" kernel vector is NULL"));
    Impl::require(!kernels->empty(), namesInFailures.inApply(" kernel vector is empty"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto inputBytes = Impl::bytesOf(Impl::inputViewOf(std::as_const(*input)));
    const auto compiled = compileKernels<KernelPtr>(*kernels, inputBytes);
    Impl::KernelMedians<Key> medians(compiled, Impl::KeyBits<Key>::template of<T>(),
                                     Impl::IndexRows(Impl::inputViewOf(std::as_const(*indices))), inputBytes,
                                     Impl::bytesOf(Impl::viewOf(*output)));
    medians.run(*this, threads, "NORV::TaviOperators::AdaptiveLinearFilter::Operator::apply");
    parameter->outputVolume = output;  // also after an abort, with the slices that were done
  }
};

}  // namespace NORV::TaviOperators::AdaptiveMedian
