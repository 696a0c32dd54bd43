#pragma once

#include <Parameter.hpp>

/// Makes the five Sobel kernels as small volumes for a convolution.
///
/// A kernel smooths across an axis and differentiates along it. All outputs are checked before one is resized.
///
/// - Border: every voxel is written.
/// - NaN: there is none in the results.
/// - Failures: InvalidParameterObjectException for an output of another voxel type than the first that is given;
///   std::invalid_argument if none is given.
/// - Halo: whole volume.
/// - Memory: none beyond the outputs.
/// - Threads: serial. No steps of progress.
/// - Cost: constant.
/// - Paper: I. Sobel, G. Feldman: A 3x3 Isotropic Gradient Operator for Image Processing (1968), extended to volumes.
namespace NORV::TaviOperators::SobelKernelCreation {

/// One run. All volumes are of one voxel type; at least one must be given, and the first that is given fixes the
/// type. Those that are absent are made.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> outputVolume2DPrim;
  Property<SmartPointer<IVolume>> outputVolume2DSec;
  Property<SmartPointer<IVolume>> outputVolume3DPrim;
  Property<SmartPointer<IVolume>> outputVolume3DSec;
  Property<SmartPointer<IVolume>> outputVolume3DTert;

  Parameter() {
    append("outputVolume2DPrim", outputVolume2DPrim, {Takes::volume, optional, "derivative along prim, 3 x 3 x 1"});
    append("outputVolume2DSec", outputVolume2DSec, {Takes::volume, optional, "derivative along sec, 3 x 3 x 1"});
    append("outputVolume3DPrim", outputVolume3DPrim, {Takes::volume, optional, "derivative along prim, 3 x 3 x 3"});
    append("outputVolume3DSec", outputVolume3DSec, {Takes::volume, optional, "derivative along sec, 3 x 3 x 3"});
    append("outputVolume3DTert", outputVolume3DTert, {Takes::volume, optional, "derivative along tert, 3 x 3 x 3"});
  }
  std::string getType() const override { return "NORV::TaviOperators::SobelKernelCreation::Parameter"; }
};

}  // namespace NORV::TaviOperators::SobelKernelCreation
