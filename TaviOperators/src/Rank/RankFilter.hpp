#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/Box.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <RankKeys.hpp>

/// What the filters that rank the voxels under a structuring element have in common: what they read and check.
namespace NORV::TaviOperators::Impl {

using MaskPtr = VolumePtr<uint8>;

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

  /// Copies the mask if the output shares voxels with it; to be called before the output may be resized.
  void keepMask(const SmartPointer<IVolume>& givenOutput) {
    Unstoppable copying;
    mask = keptBeforeResize(copying, threads, mask, VolumePointer(givenOutput));
  }
};

inline void requireMaskVoxels(SizeType count, const Names& names) {
  require(count != 0, names.inApply(" the inputMask has no voxel set"));
}

}  // namespace NORV::TaviOperators::Impl
