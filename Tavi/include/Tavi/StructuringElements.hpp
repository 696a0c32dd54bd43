#pragma once

#include <Tavi/CompositeOfProperties.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/Position.hpp>

#include <string>

/// The parameter objects of the builders of structuring elements. Such an element is a volume of `uint8`, a mask: a
/// voxel that is not zero belongs to it. Only `CuboidMask` has an operator here; the others are left to hosts.
namespace NORV::Tavi::MaskFactory::StructuringElements {

namespace Impl {

using Persistence::IData;
using Persistence::KeyInfo;
using Persistence::Takes;

inline constexpr KeyInfo dimensionKey{Takes::dimension, Persistence::required, "extents of the mask in voxels"};
inline constexpr KeyInfo backgroundKey =
    Persistence::like("outputMask", Persistence::required, "voxels outside the element");
inline constexpr KeyInfo foregroundKey =
    Persistence::like("outputMask", Persistence::required, "voxels inside the element, uint8");
inline constexpr KeyInfo maskKey{Takes::mask, Persistence::optional, "target, a uint8 volume; made if absent"};

/// What the builders of elements with a background have in common, in the order of their keys.
template <class Derived>
class MaskParameter : public Persistence::CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename Persistence::CompositeOfProperties<Derived>::template Property<T>;

  Property<Dimension<SizeType>> inputDimension;
  Property<IData> inputBackgroundValue;
  Property<IData> inputForegroundValue;
  Property<SmartPointer<IVolume>> outputMask;

protected:
  MaskParameter() {
    this->append("inputDimension", inputDimension, dimensionKey);
    this->append("inputBackgroundValue", inputBackgroundValue, backgroundKey);
    this->append("inputForegroundValue", inputForegroundValue, foregroundKey);
  }
  void appendMask() { this->append("outputMask", outputMask, maskKey); }
};

}  // namespace Impl

namespace SphericalMask {

class Parameter final : public Impl::MaskParameter<Parameter> {
public:
  Parameter() { appendMask(); }
  // One colon behind "Tavi": stored parameter objects carry this name.
  std::string getType() const override {
    return "NORV::Tavi:MaskFactory::StructuringElements::SphericalMask::Parameter";
  }
};

}  // namespace SphericalMask

namespace CrossMask {

class Parameter final : public Impl::MaskParameter<Parameter> {
public:
  Parameter() { appendMask(); }
  std::string getType() const override { return "NORV::Tavi::MaskFactory::StructuringElements::CrossMask::Parameter"; }
};

}  // namespace CrossMask

namespace ThinnedCuboidMask {

class Parameter final : public Impl::MaskParameter<Parameter> {
public:
  Property<SizeType> inputSteps;

  Parameter() {
    append("inputSteps", inputSteps, {Impl::Takes::count, Persistence::optional, "thinning step of the cuboid"});
    appendMask();
  }
  // Without the level "StructuringElements": stored parameter objects carry this name.
  std::string getType() const override { return "NORV::Tavi::MaskFactory::ThinnedCuboidMask::Parameter"; }
};

}  // namespace ThinnedCuboidMask

namespace SphericalThinnedCuboidMask {

class Parameter final : public Impl::MaskParameter<Parameter> {
public:
  Property<Position<SizeType>> inputSteps;
  Property<Position<SizeType>> inputThickness;

  Parameter() {
    append("inputSteps", inputSteps, {Impl::Takes::dimension, Persistence::optional, "thinning step per axis"});
    append("inputThickness", inputThickness, {Impl::Takes::dimension, Persistence::optional, "thickness per axis"});
    appendMask();
  }
  std::string getType() const override {
    return "NORV::Tavi::MaskFactory::StructuringElements::SphericalThinnedCuboidMask::Parameter";
  }
};

}  // namespace SphericalThinnedCuboidMask

}  // namespace NORV::Tavi::MaskFactory::StructuringElements
