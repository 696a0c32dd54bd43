#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <array>
#include <string>

/// Makes the Sobel kernels, which smooth across an axis and differentiate along it, as tiny volumes for a convolution.
///
/// I. Sobel, G. Feldman: A 3x3 Isotropic Gradient Operator for Image Processing (1968), and its extension to volumes.
/// Extra memory: none. One thread.
namespace NORV::TaviOperators::SobelKernelCreation {

inline constexpr Impl::Names names{"SobelKernelCreation"};

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
  std::string getType() const override { return names.parameterType(); }
};

/// A kernel is the product of (-1 0 1) along the axis of its derivative and of (1 2 1) along the others.
struct Kernel {
  Parameter::Property<SmartPointer<IVolume>> Parameter::*volume;
  SizeType dimTert;
  unsigned derivativeAxis;

  int valueAt(const std::array<SizeType, 3>& position) const {
    int value = 1;
    for (unsigned axis = 0; axis < (dimTert == 1 ? 2u : 3u); ++axis) {
      const int place = static_cast<int>(position[axis]) - 1;
      value *= axis == derivativeAxis ? place : 2 - place * place;
    }
    return value;
  }
};
inline constexpr std::array<Kernel, 5> kernels{{{&Parameter::outputVolume2DPrim, 1, 0},
                                                {&Parameter::outputVolume2DSec, 1, 1},
                                                {&Parameter::outputVolume3DPrim, 3, 0},
                                                {&Parameter::outputVolume3DSec, 3, 1},
                                                {&Parameter::outputVolume3DTert, 3, 2}}};

template <class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<OutputPtr>> {
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::composeIdentifier(names, Tavi::typeName<Out>); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    // All are checked before one is written.
    std::array<OutputPtr, kernels.size()> outputs;
    for (SizeType i = 0; i < kernels.size(); ++i) {
      outputs[i] = this->template checkOutputVolume<OutputPtr>((*parameter.*kernels[i].volume).value(),
                                                               Dimension<SizeType>(3, 3, kernels[i].dimTert));
    }
    for (SizeType i = 0; i < kernels.size(); ++i) {
      write(kernels[i], Impl::viewOf(*outputs[i]));
      *parameter.*kernels[i].volume = outputs[i];
    }
  }

private:
  static void write(const Kernel& kernel, const Impl::View<Out>& view) {
    for (SizeType tert = 0; tert < kernel.dimTert; ++tert) {
      for (SizeType sec = 0; sec < 3; ++sec) {
        for (SizeType prim = 0; prim < 3; ++prim) {
          view.at(prim, sec, tert) = static_cast<Out>(kernel.valueAt({prim, sec, tert}));
        }
      }
    }
  }
};

}  // namespace NORV::TaviOperators::SobelKernelCreation
