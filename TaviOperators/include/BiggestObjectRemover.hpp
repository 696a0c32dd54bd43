#pragma once

#include <ObjectSelectionParameter.hpp>

/// Removes the largest object of a volume.
///
/// Objects that share the largest size are all removed. If there is nothing but the protected label, all voxels are
/// removed. Each label that occurs is an object, 0 like any other, except for one that may be protected. Voxels are
/// paired by their positions in the views.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume, extents that differ, or an outputVolume of another
///   voxel type; NULLPointer for a missing value, BadCast for one of another type; std::bad_alloc before the output
///   changes.
/// - Halo: whole volume.
/// - Memory: 8 bytes for each label up to the largest, for each thread as long as all tables take no more than the
///   labels do; where one table is more than 128 MiB and has more labels than voxels, some 64 bytes for each label that
///   occurs. A copy of an input that overlaps the output in another way than voxel by voxel. Volumes like input and
///   output where their rows are not dense.
/// - Threads: as many as the runtime offers and there are tables, over slabs of slices; one for volumes below 131072
///   voxels. Three steps of progress per slice: the largest label, the sizes, the copy.
/// - Cost: two to three passes over the labels, one over the grey values.
namespace NORV::TaviOperators::BiggestObjectRemover {

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public BiggestSelectionParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::BiggestObjectRemover::Parameter"; }
};

}  // namespace NORV::TaviOperators::BiggestObjectRemover
