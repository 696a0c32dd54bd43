#pragma once

#include <Impl/Dispatch.hpp>
#include <Impl/MinimumRows.hpp>
#include <Impl/RankFilter.hpp>
#include <Operator.hpp>
#include <Tavi/MaskOffsets.hpp>

/// Writes to each voxel the minimum of the voxels under a structuring element, whose anchor lies at that voxel (grey
/// value erosion: J. Serra, Image Analysis and Mathematical Morphology, 1982).
///
/// Only voxels where the whole element lies inside the volume are written; all others keep what they had. The minimum
/// goes through the element in the order of the mask; a NaN is replaced by the voxel after it, so only one that comes
/// last results.
///
/// Extra memory: 9 bytes per voxel of the element; a copy of the input if it shares voxels with the output. Parallel
/// over slices, each of which is a step.
namespace NORV::TaviOperators::Erosion {

inline constexpr Impl::Names names{"Erosion"};

/// One run. The mask is a volume of `uint8` that is nowhere longer than the input, the anchor a voxel of it.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SmartPointer<IVolume>> inputMask;
  Property<Position<SizeType>> inputAnchor;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, Impl::rankInputKey);
    append("outputVolume", outputVolume, Impl::rankOutputKey);
    append("inputMask", inputMask, Impl::rankMaskKey);
    append("inputAnchor", inputAnchor, Impl::rankAnchorKey);
    append("inputNumberOfThreads", inputNumberOfThreads, Impl::rankThreadsKey);
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;
  static_assert(std::is_same_v<T, VoxelOf<OutputPtr>>);
  using Offsets = Tavi::Iterating::MaskOffsets<Impl::MaskPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const Impl::RankArguments<InputPtr> given(*parameter, names);
    Impl::requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    Offsets offsets(given.input, given.mask, given.anchor);
    Impl::requireMaskVoxels(offsets.count(), names);

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), given.input->getDimension());
    const InputPtr source = Impl::apartFrom(output, given.input, *this, given.threads);
    if (source != given.input) {
      offsets = Offsets(source, given.mask, given.anchor);  // the strides of a copy are others
    }
    erode(*source, *output, offsets, given.threads);
    parameter->outputVolume = output;
  }

private:
  void erode(const typename InputPtr::Pointee& input, typename OutputPtr::Pointee& output, const Offsets& offsets,
             int threads) {
    const Impl::Box interior{offsets.interiorSize(), offsets.interiorOrigin()};
    const auto from = Impl::cropped(Impl::inputViewOf(input), interior);
    const auto to = Impl::cropped(Impl::viewOf(output), interior);
    const bool dense = from.hasDenseRows() && to.hasDenseRows();
    this->setTotal(to.dimTert);
    Impl::forEachSlice(*this, threads, to.dimTert, Impl::Steps::counted, [&](SizeType tert) {
      for (SizeType sec = 0; sec < to.dimSec; ++sec) {
        const T* const voxels = from.row(sec, tert);
        if (dense) {
          Impl::minimumDense(voxels, offsets.offsets(), offsets.count(), to.row(sec, tert), to.dimPrim);
        } else {
          Impl::minimumStrided(voxels, from.stridePrim, offsets.offsets(), offsets.count(), to.row(sec, tert),
                               to.stridePrim, to.dimPrim);
        }
      }
    });
  }
};

}  // namespace NORV::TaviOperators::Erosion
