#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/BitsView.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

/// Reverses the bytes of each voxel, so that volumes of machines with the other byte order can be read. Voxels of one
/// byte are copied.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::SwapByteOrder {

inline constexpr Impl::Names names{"SwapByteOrder"};

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of integers whose bytes are reversed"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// `Bits` is an unsigned integer.
template <class Bits>
struct ReverseBytes {
  Bits operator()(Bits x) const {
    if constexpr (sizeof(Bits) == 4) {
      return __builtin_bswap32(x);
    } else if constexpr (sizeof(Bits) == 2) {
      return __builtin_bswap16(x);
    } else {
      return x;
    }
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using Bits = Impl::BitsOf<VoxelOf<InputPtr>>;

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
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, ReverseBytes<Bits>(),
                          Impl::viewAs<Bits>(Impl::viewOf(*output)),
                          Impl::viewAs<const Bits>(Impl::inputViewOf(*input)));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::SwapByteOrder
