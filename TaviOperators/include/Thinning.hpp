#pragma once

#include <Parameter.hpp>

/// Thins the object of a binary volume to a skeleton of the same topology.
///
/// Border voxels are deleted from six sides in turn, -sec, +sec, -prim, +prim, -tert, +tert, until no pass deletes one.
/// A voxel is a candidate of a pass if its neighbour on that side is background, and it is no end point, and its
/// deletion changes neither the Euler number nor the number of components. Candidates are deleted one at a time in scan
/// order if their neighbours are still connected then. Object voxels are 26-connected, the background is 6-connected.
/// Since end points and the Euler number are not tested again at the deletion, components of a few voxels may vanish.
///
/// - Border: outside of the view there is background. Every voxel is written.
/// - NaN: there are no floating point voxels.
/// - Failures: InvalidParameterObjectException without inputVolume or with an outputVolume of another class;
///   NULLPointer without inputBinaryFalse or inputBinaryTrue, BadCast for such of another voxel type; InvalidData
///   "Volume is not binary!" for a voxel of a third value, before outputVolume is resized or written.
/// - Halo: whole volume.
/// - Memory: nine bits per voxel, and a shell of words. The output may be the input or share voxels with it. Volumes
///   like input and output where their rows are not dense.
/// - Threads: the search for candidates is parallel over slices, the deletion is not; the result does not depend on the
///   number of threads. Progress is the share of candidates that have gone since the pass with the most.
/// - Cost: a candidate is tested again only after a change among its neighbours; a pass reads one flag per row.
/// - Paper: T. C. Lee, R. L. Kashyap, C. N. Chu, Building skeleton models via 3-D medial surface/axis thinning
///   algorithms, CVGIP: Graphical Models and Image Processing 56 (1994).
namespace NORV::TaviOperators::Thinning {

/// One run. The two values are a `Data<T>` of the voxel type of inputVolume each: uint8, uint16 or uint32.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputBinaryFalse;
  Property<IData> inputBinaryTrue;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "binary volume to thin"});
    append("inputBinaryFalse", inputBinaryFalse, like("inputVolume", required, "background value of input and output"));
    append("inputBinaryTrue", inputBinaryTrue, like("inputVolume", required, "object value of input and output"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::Thinning::Parameter"; }
};

}  // namespace NORV::TaviOperators::Thinning
