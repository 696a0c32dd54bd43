#pragma once

#include <Parameter.hpp>

/// Makes the Sobel kernels, which smooth across an axis and differentiate along it, as tiny volumes for a convolution.
///
/// I. Sobel, G. Feldman: A 3x3 Isotropic Gradient Operator for Image Processing (1968), and its extension to volumes.
/// Extra memory: none. One thread.
namespace NORV::TaviOperators::SobelKernelCreation {

/// One run. All volumes are of one voxel type; at least one must be given, which tells that type. Those that are absent
/// are made.
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
