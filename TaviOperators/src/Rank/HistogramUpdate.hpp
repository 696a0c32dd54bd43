#pragma once

#include <HistogramUpdateParameter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Operator.hpp>
#include <SlidingMaskOffsets.hpp>

#include <Rank/RankCounts.hpp>
#include <Rank/RankFilter.hpp>
#include <Rank/StructuringElement.hpp>

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

/// Filters that write to each voxel one rank of the voxels under a structuring element, whose anchor lies at that
/// voxel. Under large elements the counts of grey values slide along the rows: only what enters and leaves the element
/// with a step is counted (T. S. Huang, G. J. Yang, G. Y. Tang, A fast two-dimensional median filtering algorithm, IEEE
/// Trans. ASSP 27, 1979). Under small ones all voxels are ranked, for as many positions at once as a vector has lanes.
/// Under boxes a filter may have a faster way. All give the same voxels.
///
/// Only voxels where the anchor and the whole element lie inside the volume are written; all others keep what they had.
/// An element that does not fit into the volume writes nothing.
///
/// Extra memory: 16 bytes per voxel of the element and 16 bytes per run of it; counts of 2 KiB (8 bits) or 514 KiB (16
/// bits), or 64 bytes per voxel of a small element, or what the way for boxes takes, per thread; a slice per thread
/// where rows are shorter than a vector; a copy of the input if it shares voxels with the output or its rows lie along
/// another axis or sense in memory. Parallel over slices, each of which is a step.
namespace NORV::TaviOperators::Impl {

/// `Traits::rank(count)` is the rank that is wanted among `count` voxels, 0 for the lowest. `Traits::Rows<T>` finds it
/// for whole rows in vectors. `Traits::Boxes<T>::run(operator, threads, input, output, element, steps,
/// slices)`, if there is one, filters dense rows under a box if that takes fewer steps per voxel, and returns whether
/// it did.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr, class MaskPointer>
class HistogramUpdateOperator : public TaviOperators::Operator<Derived> {
  using T = VoxelOf<InputPtr>;
  static_assert(std::is_same_v<T, VoxelOf<OutputPtr>> && std::is_same_v<MaskPointer, MaskPtr>);
  static constexpr const Names& names = Traits::names;

public:
  std::string getType() const override { return typedIdentifier<InputPtr, OutputPtr, MaskPointer>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    RankArguments<InputPtr> given(*parameter, names);
    requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    given.keepMask(parameter->outputVolume.value());
    const auto mask = inputViewOf(std::as_const(*given.mask));
    const SlidingMaskOffsets shown(viewOf(*given.input), mask, given.anchor);
    requireMaskVoxels(shown.count, names);

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), given.input->getDimension());
    const bool isAnchorInside =
        given.anchor.prim < mask.dimPrim && given.anchor.sec < mask.dimSec && given.anchor.tert < mask.dimTert;
    const RankViews<T> views(*this, given.threads, inputViewOf(std::as_const(*given.input)), viewOf(*output),
                             isAnchorInside);
    const ArrangedMask element(mask, given.anchor, views.order());
    const SlidingMaskOffsets offsets(views.input(), element.view, element.anchor);
    filter(cropped(views.input(), offsets.interior), cropped(views.output(), offsets.interior), offsets,
           StructuringElement(element.view, element.anchor), given.threads, shown.interior.size.tert);
    parameter->outputVolume = output;
  }

private:
  using Rows = typename Traits::template Rows<T>;

  void filter(const View<const T>& from, const View<T>& to, const SlidingMaskOffsets& offsets,
              const StructuringElement& element, int threads, SizeType slices) {
    this->setTotal(slices);
    const bool areDense = from.hasDenseRows() && to.hasDenseRows() && to.size() != 0;
    const VectorSpan span(from, to);
    const double vectorSteps = span.share * inVectors(offsets), slidingSteps = sliding(offsets, to.dimPrim);
    const bool prefersVectors = span.length >= Rows::lanes && vectorSteps < slidingSteps;
    const double steps = prefersVectors ? vectorSteps : slidingSteps;
    if constexpr (requires { typename Traits::template Boxes<T>; }) {
      if (areDense && element.isBox() &&
          Traits::template Boxes<T>::run(*this, threads, from, to, element, steps, slices)) {
        return;
      }
    }
    constexpr double nanosecondsPerStep = 0.3;
    const LoopTime time = LoopTime::of(to.size(), nanosecondsPerStep * steps);
    if (areDense && prefersVectors) {
      filterInVectors(from, to, offsets, span, threads, slices, time);
      return;
    }
    const uint64 rank = Traits::rank(offsets.count);
    PerThread<RankCounts<T>> counts(
        threads, to.dimTert, [] { return RankCounts<T>(); }, time);
    const auto slice = [&](SizeType tert) {
      for (SizeType sec = 0; sec < to.dimSec; ++sec) {
        rankRow(counts.mine(), offsets, rank, from.row(sec, tert), from.stridePrim, to.row(sec, tert), to.stridePrim,
                to.dimPrim);
      }
    };
    forEachPartOf(*this, threads, to.dimTert, slices, Steps::counted, slice, Schedule::fixed, time);
  }

  /// What is ranked at once: a row, or where rows are shorter than a vector but follow each other closely, a slice as
  /// if it were one row. What is ranked between rows is not used.
  struct VectorSpan {
    bool isSlice = false;
    SizeType length;
    double share = 1.0;  ///< positions per voxel

    VectorSpan(const View<const T>& from, const View<T>& to) : length(to.dimPrim) {
      const auto row = static_cast<int64>(to.dimPrim);
      if (to.size() != 0 && length < Rows::lanes && from.strideSec >= row && from.strideSec <= 2 * row) {
        isSlice = true;
        length += (to.dimSec - 1) * static_cast<SizeType>(from.strideSec);
        share = static_cast<double>(from.strideSec) / static_cast<double>(row);
      }
    }
  };

  void filterInVectors(const View<const T>& from, const View<T>& to, const SlidingMaskOffsets& offsets,
                       const VectorSpan& span, int threads, SizeType slices, LoopTime time) {
    struct Worker {
      Rows rows;
      std::vector<T> slice;
    };
    PerThread<Worker> workers(
        threads, to.dimTert,
        [&] {
          return Worker{Rows(offsets.allOffsets), std::vector<T>(span.isSlice ? span.length : 0)};
        },
        time);
    const auto slice = [&](SizeType tert) {
      Worker& worker = workers.mine();
      if (span.isSlice) {
        worker.rows(from.row(0, tert), worker.slice.data(), span.length);
      }
      for (SizeType sec = 0; sec < to.dimSec; ++sec) {
        if (span.isSlice) {
          std::copy_n(worker.slice.data() + sec * static_cast<SizeType>(from.strideSec), to.dimPrim, to.row(sec, tert));
        } else {
          worker.rows(from.row(sec, tert), to.row(sec, tert), to.dimPrim);
        }
      }
    };
    forEachPartOf(*this, threads, to.dimTert, slices, Steps::counted, slice, Schedule::fixed, time);
  }

  /// Steps per voxel of either way, to be compared with benchmarks/Morphology.cpp.
  static double inVectors(const SlidingMaskOffsets& offsets) {
    return static_cast<double>(offsets.count) * Traits::stepsPerVoxel(8 * sizeof(T)) /
           static_cast<double>(Traits::template Rows<T>::lanes);
  }
  static double sliding(const SlidingMaskOffsets& offsets, SizeType length) {
    return 20.0 + 5.0 * static_cast<double>(offsets.edgeCount) +
           2.0 * static_cast<double>(offsets.count) / static_cast<double>(length);
  }
};

/// The typed operator for the class of the input; output and mask do not choose.
inline SmartPointer<IOperator> createMaskedOperator(const Names& names, const IVolume& input) {
  const std::string volume = input.getType();
  return createByIdentifier(composeIdentifier(names, volume + ", " + volume + ", " + MaskPtr::Pointee::identifier()));
}

}  // namespace NORV::TaviOperators::Impl
