#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>
#include <Tavi/MaskOffsets.hpp>

#include <Rank/MinimumRows.hpp>
#include <Rank/RankFilter.hpp>
#include <Rank/SharedErosion.hpp>
#include <Rank/StructuringElement.hpp>

#include <atomic>
#include <string>
#include <type_traits>
#include <utility>

/// Writes to each voxel the minimum of the voxels under a structuring element, whose anchor lies at that voxel (grey
/// value erosion: J. Serra, Image Analysis and Mathematical Morphology, 1982).
///
/// Only voxels where the whole element lies inside the volume are written; all others keep what they had. The minimum
/// goes through the element in the order of the mask; a NaN is replaced by the voxel after it, so only one that comes
/// last results.
///
/// Extra memory: 9 bytes per voxel of the element; a copy of the input if it shares voxels with the output; under
/// larger elements up to twice as many slices per thread as the element has. Parallel over slices, each of which is a
/// step.
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
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
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
    erode(*source, *output, offsets, given.mask, given.anchor, given.threads);
    parameter->outputVolume = output;
  }

private:
  void erode(const typename InputPtr::Pointee& input, typename OutputPtr::Pointee& output, const Offsets& offsets,
             const Impl::MaskPtr& mask, const Position<SizeType>& anchor, int threads) {
    const Impl::Box interior{offsets.interiorSize(), offsets.interiorOrigin()};
    const auto from = Impl::inputViewOf(input);
    const auto to = Impl::cropped(Impl::viewOf(output), interior);
    this->setTotal(to.dimTert);
    const bool areDense = from.hasDenseRows() && to.hasDenseRows();
    if (areDense && to.size() != 0 && erodeShared(from, to, interior, mask, anchor, threads)) {
      return;
    }
    const auto places = Impl::cropped(from, interior);
    Impl::forEachSlice(*this, threads, to.dimTert, Impl::Steps::counted, [&](SizeType tert) {
      for (SizeType sec = 0; sec < to.dimSec; ++sec) {
        const T* const voxels = places.row(sec, tert);
        if (areDense) {
          Impl::minimumDense(Impl::RowsAtOffsets<T>{voxels, offsets.offsets()}, offsets.count(), to.row(sec, tert),
                             to.dimPrim);
        } else {
          Impl::minimumStrided(voxels, places.stridePrim, offsets.offsets(), offsets.count(), to.row(sec, tert),
                               to.stridePrim, to.dimPrim);
        }
      }
    });
  }

  /// Returns false where that is not worth it or would give other voxels.
  bool erodeShared(const Impl::View<const T>& input, const Impl::View<T>& output, const Impl::Box& interior,
                   const Impl::MaskPtr& mask, const Position<SizeType>& anchor, int threads) {
    const Impl::StructuringElement element(Impl::viewOf(std::as_const(*mask)), anchor);
    const Impl::ErosionPlan plan(element);
    if (!plan.pays(output.dimSec, output.dimTert, static_cast<SizeType>(Impl::teamSize(threads, output.dimTert)))) {
      return false;
    }
    if (std::is_floating_point_v<T> && hasNaN(input, threads)) {
      return false;
    }
    const auto at = [](SizeType origin, int64 low) { return static_cast<SizeType>(static_cast<int64>(origin) + low); };
    auto first = input;
    first.data = &input.at(at(interior.origin.prim, element.low[0]), at(interior.origin.sec, element.low[1]),
                           at(interior.origin.tert, element.low[2]));
    Impl::PerThread<Impl::SharedErosion<T>> workers(threads, output.dimTert,
                                                    [&] { return Impl::SharedErosion<T>(plan, first, output); });
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::counted,
                       [&workers](SizeType tert) { workers.mine().erode(tert); });
    return true;
  }

  bool hasNaN(const Impl::View<const T>& input, int threads) {
    std::atomic<bool> found = false;
    Impl::forEachSlice(*this, threads, input.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      for (SizeType sec = 0; sec < input.dimSec && !found.load(std::memory_order_relaxed); ++sec) {
        if (Impl::hasNaN(input.row(sec, tert), input.dimPrim)) {
          found.store(true, std::memory_order_relaxed);
        }
      }
    });
    return found;
  }
};

}  // namespace NORV::TaviOperators::Erosion
