#pragma once

#include <Parameter.hpp>

namespace NORV::TaviOperators {

/// The keys that all transforms between Cartesian coordinates and polar grids share.
template <class Derived>
class CoordinatesTransformParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<Triple<float32>> inputCenter;
  Property<float32> inputMinimumDistance;
  Property<float32> inputMaximumDistance;
  Property<bool> inputLinearInterpolation;
  Property<IData> inputOuterValue;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

protected:
  CoordinatesTransformParameter(const char* input, const char* center, const KeyInfo& output) {
    this->append("inputVolume", inputVolume, {Takes::volume, required, input});
    this->append("inputCenter", inputCenter, KeyInfo{Takes::position, optional, center}.in("voxels"));
    this->append("inputMinimumDistance", inputMinimumDistance,
                 KeyInfo{Takes::number, optional, "smallest radius of the polar grid"}
                     .within("up to inputMaximumDistance")
                     .in("voxels"));
    this->append("inputMaximumDistance", inputMaximumDistance,
                 KeyInfo{Takes::number, optional, "largest radius of the polar grid"}
                     .within("from inputMinimumDistance")
                     .in("voxels"));
    this->append("inputLinearInterpolation", inputLinearInterpolation,
                 {Takes::flag, optional, "true: trilinear interpolation; false: nearest neighbour"});
    this->append("inputOuterValue", inputOuterValue,
                 like("inputVolume", required, "grey value of positions outside the input"));
    this->append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    this->append("outputVolume", outputVolume, output);
    inputLinearInterpolation = true;
  }
};

}  // namespace NORV::TaviOperators
