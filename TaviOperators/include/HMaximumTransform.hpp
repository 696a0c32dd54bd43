#pragma once

#include <Parameter.hpp>

/// Removes regional maxima lower than inputHeight from a volume.
///
/// The result is the grey-scale reconstruction by dilation of (input - inputHeight), at least 0, under the input, with
/// 6-connectivity. A maximum that rises less than inputHeight above its surroundings is levelled; a higher one loses
/// inputHeight, and the surroundings of both keep their values as far as a higher marker reaches them.
///
/// - Border: every voxel is written; outside of the view there is nothing.
/// - NaN: there are no floating point voxels.
/// - Failures: InvalidParameterObjectException without inputVolume or with an outputVolume of another class;
///   NULLPointer without inputHeight, BadCast for a height of another voxel type.
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
namespace NORV::TaviOperators::HMaximumTransform {

/// One run. The height is a `Data<T>` of the voxel type of inputVolume: uint8, uint16 or uint32.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputHeight;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume whose maxima are filtered"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
    append("inputHeight", inputHeight,
           like("inputVolume", required, "height below which a maximum is removed").in("grey values"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::HMaximumTransform::Parameter"; }
};

}  // namespace NORV::TaviOperators::HMaximumTransform
