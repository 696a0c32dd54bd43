#pragma once

#include <Parameter.hpp>

/// Removes regional minima shallower than inputDepth from a volume.
///
/// The result is the grey-scale reconstruction by erosion of (input + inputDepth), at most the largest value of the
/// voxel type, above the input, with 6-connectivity. A minimum that lies less than inputDepth below its surroundings is
/// filled; a deeper one gains inputDepth, and the surroundings of both keep their values as far as a lower marker
/// reaches them.
///
/// - Border: every voxel is written; outside of the view there is nothing.
/// - NaN: there are no floating point voxels.
/// - Failures: InvalidParameterObjectException without inputVolume or with an outputVolume of another class;
///   NULLPointer without inputDepth, BadCast for a depth of another voxel type.
/// - Halo: whole volume.
/// - Memory: one volume with a shell of one voxel, and 8 bytes for each voxel that waits to be propagated: few in
///   scans, up to one per voxel in noise. The output may be the input or share voxels with it. A copy of each input
///   whose rows are not dense.
/// - Threads: raster passes are parallel over slabs of slices, the propagation that follows is not; the result does not
///   depend on the number of threads. Progress counts the passes over the slices. After an abort a given outputVolume
///   holds values between the marker and the result.
/// - Cost: linear in the voxels, also where values propagate along winding paths.
/// - Paper: L. Vincent, Morphological grayscale reconstruction in image analysis, IEEE Trans. Image Processing 2
/// (1993);
///   K. Robinson, P. F. Whelan, Efficient morphological reconstruction: a downhill filter, Pattern Recognition Letters
///   25 (2004).
namespace NORV::TaviOperators::HMinimumTransform {

/// One run. The depth is a `Data<T>` of the voxel type of inputVolume: uint8, uint16 or uint32.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputDepth;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume whose minima are filtered"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
    append("inputDepth", inputDepth,
           like("inputVolume", required, "depth below which a minimum is removed").in("grey values"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::HMinimumTransform::Parameter"; }
};

}  // namespace NORV::TaviOperators::HMinimumTransform
