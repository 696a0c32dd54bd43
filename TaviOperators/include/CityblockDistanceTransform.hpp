#pragma once

#include <DistanceParameter.hpp>

/// Gives each voxel its distance in steps through faces.
///
/// The distance is the number of steps to the nearest voxel of inputObjectValue. It counts voxels, whatever their size.
/// None exceeds the largest value of the output's voxel type minus 2 minus twice the largest extent of the volume,
/// wrapped into the type; a voxel that no voxel of the value reaches holds that.
///
/// - Border: every voxel is written.
/// - NaN: differs from every value.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type.
/// - Halo: whole volume.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel. Volumes like input and output where their rows are not dense.
/// - Threads: as many as the runtime offers, one slice each, some rows behind the slice before; one for volumes below
///   65536 voxels. Three steps of progress per slice.
/// - Cost: two passes in place, forward and back.
/// - Paper: A. Rosenfeld, J. L. Pfaltz: Sequential Operations in Digital Picture Processing. Journal of the ACM 13
///   (1966).
namespace NORV::TaviOperators::CityblockDistanceTransform {

class Parameter final : public DistanceParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::CityblockDistanceTransform::Parameter"; }
};

}  // namespace NORV::TaviOperators::CityblockDistanceTransform
