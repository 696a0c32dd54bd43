#include <AdaptiveMedian.hpp>
#include <DLL/AdaptiveMedian.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Tavi/Vector.hpp>

#include <Rank/KernelMedians.hpp>
#include <Rank/RankFilter.hpp>

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::AdaptiveMedian {
namespace {

constexpr Impl::Names names{"AdaptiveMedian"};
/// Failure texts of a run use this name.
constexpr Impl::Names namesInFailures{"AdaptiveLinearFilter"};

/// Checks the kernels in their order and compiles each for an input whose axes are arranged likewise.
template <class KernelPtr>
std::vector<Impl::KernelOffsets> compileKernels(const Kernels& kernels, const Impl::View<const std::byte>& input,
                                                const Impl::AxisOrder& order = {}) {
  std::vector<Impl::KernelOffsets> compiled;
  for (const SmartPointer<IVolume>& volume : kernels) {
    const KernelPtr kernel(volume);
    Impl::requireGiven(kernel, namesInFailures.inApply(" invalid kernel volume"));
    const auto view = arranged(Impl::inputViewOf(std::as_const(*kernel)), order);
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

    Impl::requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    const InputPtr source = Impl::keptBeforeResize(*this, threads, input, OutputPtr(parameter->outputVolume.value()));
    const auto view = Impl::inputViewOf(std::as_const(*source));
    static_cast<void>(compileKernels<KernelPtr>(*kernels, Impl::bytesOf(view)));
    checkIndices(threads, Impl::inputViewOf(std::as_const(*indices)), kernels->size());

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), source->getDimension());
    // What a copy that an abort left unfinished holds must not be used as an index.
    Impl::Unstoppable copying;
    const Impl::RankViews<T> views(copying, threads, view, Impl::viewOf(*output));
    const auto inputBytes = Impl::bytesOf(views.input());
    const auto compiled = compileKernels<KernelPtr>(*kernels, inputBytes, views.order());
    const auto indexView = arranged(Impl::inputViewOf(std::as_const(*indices)), views.order());
    const Impl::KeptInput<VoxelOf<IndexPtr>> keptIndices(copying, threads, indexView, views.output(),
                                                         Impl::Aliasing::none, Impl::RowLayout::dense);
    Impl::KernelMedians<Key> medians(compiled, Impl::KeyBits<Key>::template of<T>(),
                                     Impl::IndexRows(keptIndices.view()), inputBytes, Impl::bytesOf(views.output()));
    medians.run(*this, threads, view.dimTert);
    parameter->outputVolume = output;  // also after an abort, with the slices that were done
  }

private:
  /// Throws IndexOutOfRange for the first index of the lowest slice that has one past the kernels.
  template <class Index>
  void checkIndices(int threads, const Impl::View<const Index>& indices, SizeType kernels) {
    if (std::numeric_limits<Index>::max() < kernels) {
      return;
    }
    if (indices.stridePrim != 1 && !hasWrongIndex(threads, Impl::inStorageOrder(indices), kernels)) {
      return;
    }
    Impl::forEachSlice(*this, threads, indices.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      for (SizeType sec = 0; sec < indices.dimSec; ++sec) {
        const Index* index = indices.row(sec, tert);
        for (SizeType prim = 0; prim < indices.dimPrim; ++prim, index += indices.stridePrim) {
          if (*index >= kernels) {
            throw Exceptions::IndexOutOfRange("NORV::TaviOperators::AdaptiveLinearFilter::Operator::apply", *index, 0,
                                              kernels - 1);
          }
        }
      }
    });
  }

  /// As fast as memory allows, without the place.
  template <class Index>
  bool hasWrongIndex(int threads, const Impl::View<const Index>& indices, SizeType kernels) {
    std::atomic<bool> found = false;
    Impl::forEachSlice(*this, threads, indices.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      Index largest = 0;
      for (SizeType sec = 0; sec < indices.dimSec; ++sec) {
        const Index* index = indices.row(sec, tert);
        for (SizeType prim = 0; prim < indices.dimPrim; ++prim, index += indices.stridePrim) {
          largest = std::max(largest, *index);
        }
      }
      if (largest >= kernels) {
        found.store(true, std::memory_order_relaxed);
      }
    });
    return found;
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::AdaptiveMedian

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::AdaptiveMedian;
using Typed::names;

/// Constructs and destroys the operators of a voxel type for each type of indices and of kernels.
template <class T>
void constructInstances() {
  Impl::forEachType(Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>(), []<class Types>() {
    static_cast<void>(
        Typed::Operator<VolumePtr<T>, VolumePtr<typename Types::In>, VolumePtr<typename Types::Out>, VolumePtr<T>>());
  });
}

// Names the outer class alone.
constexpr char here[] = "NORV::TaviOperators::DLL::AdaptiveMedian::getOperatorTypeFromParameterObject: ";

}  // namespace

AdaptiveMedian::Operator::Operator() {
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() { constructInstances<T>(); });
}
AdaptiveMedian::Operator::Operator(const Operator&) = default;
AdaptiveMedian::Operator::~Operator() = default;
AdaptiveMedian::Operator& AdaptiveMedian::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AdaptiveMedian::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter =
      Impl::castParameter<Typed::Parameter>(composite, here + std::string("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, here + std::string("inputVolume is NULL!"));
  const SmartPointer<IVolume> indices = parameter->inputIndexVolume.value();
  Impl::requireGiven(indices, here + std::string("indexVolume is NULL!"));
  const SmartPointer<Typed::Kernels> kernels = parameter->inputKernelVolume.value();
  Impl::requireGiven(kernels, here + std::string("kernelVector is NULL!"));
  Impl::require(!kernels->empty(), here + std::string("kernelVector is empty!"));
  // An empty pointer has no voxel type; it is what the run calls an invalid kernel.
  Impl::requireGiven(kernels->front(), Typed::namesInFailures.inApply(" invalid kernel volume"));
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, input->getVoxelType() + " , " + indices->getVoxelType() + " , " +
                                         kernels->front()->getVoxelType() + " , " + input->getVoxelType()));
}

}  // namespace NORV::TaviOperators::DLL
