#include <DLL/SobelKernelCreation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/View.hpp>
#include <SobelKernelCreation.hpp>

#include <array>
#include <string>

namespace NORV::TaviOperators::SobelKernelCreation {
namespace {

constexpr Impl::Names names{"SobelKernelCreation"};

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
constexpr std::array<Kernel, 5> kernels{{{&Parameter::outputVolume2DPrim, 1, 0},
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
    // All are checked before one is resized.
    for (const Kernel& kernel : kernels) {
      Impl::requireOutputClass<OutputPtr>((*parameter.*kernel.volume).value());
    }
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

}  // namespace
}  // namespace NORV::TaviOperators::SobelKernelCreation

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SobelKernelCreation;

using Typed::names;
using Instances = Impl::TypeList<int8, int16, int32, float32, float64>;

}  // namespace

SobelKernelCreation::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
SobelKernelCreation::Operator::Operator(const Operator&) = default;
SobelKernelCreation::Operator::~Operator() = default;
SobelKernelCreation::Operator& SobelKernelCreation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SobelKernelCreation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  std::string voxelType;
  for (const Typed::Kernel& kernel : Typed::kernels) {
    const SmartPointer<IVolume> volume = (*parameter.*kernel.volume).value();
    if (volume != nullptr) {
      voxelType = volume->getVoxelType();
      break;
    }
  }
  return Impl::createByIdentifier(Impl::composeIdentifier(names, voxelType));
}

}  // namespace NORV::TaviOperators::DLL
