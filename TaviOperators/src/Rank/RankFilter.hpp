#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

/// What the filters that rank the voxels under a structuring element have in common: what they read and check, the box
/// of positions that they write, and an input of its own where the host gives one volume as both.
namespace NORV::TaviOperators::Impl {

using MaskPtr = VolumePtr<uint8>;

inline constexpr KeyInfo rankInputKey{Takes::volume, required, "volume to filter"};
inline constexpr KeyInfo rankOutputKey{Takes::volume, optional, "target of the same voxel type; made if absent"};
inline constexpr KeyInfo rankMaskKey{Takes::mask, required,
                                     "structuring element: voxels of this uint8 volume that are "
                                     "not zero"};
inline constexpr KeyInfo rankAnchorKey{Takes::position, optional, "voxel of the mask that lies at the output voxel"};

/// The checked contents of a parameter object.
template <class VolumePointer>
struct RankArguments {
  VolumePointer input;
  MaskPtr mask;
  Position<SizeType> anchor;
  int threads;

  template <class Parameter>
  RankArguments(const Parameter& parameter, const Names& names)
      : input(parameter.inputVolume.value()),
        mask((requireGiven(input, names.inApply(" input volume is NULL")), parameter.inputMask.value())),
        anchor((requireGiven(mask, names.inApply(" the inputMask is NULL")), parameter.inputAnchor.value())),
        threads(threadCount(parameter.inputNumberOfThreads.value())) {}
};

inline void requireMaskVoxels(SizeType count, const Names& names) {
  require(count != 0, names.inApply(" the inputMask has no voxel set"));
}

/// Refuses an output of another class as `checkOutputVolume` does, without a change to it: for what is to be checked
/// before a volume may be resized.
template <class OutputPtr>
void requireOutputClass(const SmartPointer<IVolume>& given) {
  if (given != nullptr) {
    static_cast<void>(
        Tavi::Impl::checkOutputVolume<OutputPtr>(given, given->getDimension(), "NORV::TaviOperators::Operator"));
  }
}

/// A box of positions of a view.
struct Box {
  Dimension<SizeType> size;
  Position<SizeType> origin;
};

/// The part of a view inside a box; any empty box gives an empty view.
template <class T>
View<T> cropped(View<T> view, const Box& box) {
  view.dimPrim = box.size.prim;
  view.dimSec = box.size.sec;
  view.dimTert = box.size.tert;
  if (view.size() != 0) {
    view.data = &view.at(box.origin.prim, box.origin.sec, box.origin.tert);
  }
  return view;
}

/// The input itself, or a copy of its view where the output shares voxels with it: neighbours of a voxel that is
/// written are still to be read.
template <class VolumePointer>
VolumePointer apartFrom(const VolumePointer& output, const VolumePointer& input, OperatorBase& self, int threads) {
  using T = VoxelOf<VolumePointer>;
  if (!mayOverlap(viewOf(*input), viewOf(*output))) {
    return input;
  }
  const VolumePointer copy(new Volume<T>(input->getDimension()));
  transformVoxels(
      self, threads, Steps::silent, [](T x) { return x; }, viewOf(*copy), inputViewOf(*input));
  return copy;
}

}  // namespace NORV::TaviOperators::Impl
