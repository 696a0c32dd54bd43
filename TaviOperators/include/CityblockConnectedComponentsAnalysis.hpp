#pragma once

#include <ConnectedComponentsParameter.hpp>

/// Numbers the objects of a volume, which connect through faces.
///
/// An object is a connected set of voxels that differ from the background value. Numbers begin at 1, in the order in
/// which the scan meets the objects.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing background value, BadCast for one of another type; NumericalOverflow where labels before
///   merging exceed the voxel type of the output, which then holds such labels.
/// - Halo: whole volume.
/// - Memory: a table of inputExpectedNumberOfLabels labels, which grows in such steps and stays with the operator; a
///   bit for each voxel, in words of 64 for each row and two words more. A copy of an input that overlaps the output in
///   another way than voxel by voxel. Volumes like input and output where their rows are not dense.
/// - Threads: as many as the runtime offers, over slabs of slices; one for volumes below 65536 voxels, rows below 16
///   voxels, and where labels before merging are about to exceed the voxel type. Labels do not depend on the count. Two
///   steps of progress per slice: the labels, their final numbers.
/// - Cost: two passes; runs of background and foreground are found with vectors of bits.
/// - Paper: A. Rosenfeld, J. L. Pfaltz: Sequential Operations in Digital Picture Processing. Journal of the ACM 13
///   (1966).
namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis {

/// One run. The background is a `Data<T>` of the voxel type of inputFirstVolume.
class Parameter final : public ConnectedComponentsParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override {
    return "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Parameter";
  }
};

}  // namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis
