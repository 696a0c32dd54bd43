#include <AttenuationScaling.hpp>
#include <DLL/AttenuationScaling.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Tavi/Exceptions.hpp>

#include <Vectors/LookupTable.hpp>
#include <VoxelWise/AttenuationWindow.hpp>

#include <cmath>
#include <limits>
#include <type_traits>

namespace NORV::TaviOperators::AttenuationScaling {
namespace {

constexpr Impl::Names names{"AttenuationScaling"};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;
  using Real = typename Window<In, Out>::Real;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const Real attenuationLow = parameter->inputMinimumAttenuationValue.template extractValue<Real>();
    const Real attenuationHigh = parameter->inputMaximumAttenuationValue.template extractValue<Real>();
    const Out greyLow = parameter->inputMinimumOutputGreyValue.template extractValue<Out>();
    const Out greyHigh = parameter->inputMaximumOutputGreyValue.template extractValue<Out>();
    const Real offset = parameter->inputOffset.template extractValue<Real>();
    const Real factor = parameter->inputFactor.template extractValue<Real>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" the input volume is NULL"));
    requireOrder(!(attenuationHigh < attenuationLow), "Max attenuation value is samller than min attenuation value!");
    requireOrder(!(greyHigh < greyLow), "Max grey value is samller than min grey value!");

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Window<In, Out> window{
        factor, offset, attenuationLow, attenuationHigh, static_cast<Real>(greyLow), static_cast<Real>(greyHigh)};
    const WindowRule<In, Out> rule{window};
    const auto run = [&](const auto& fastest) {
      Impl::transformVoxels(*this, threads, Impl::Steps::counted, fastest, Impl::viewOf(*output), from);
    };
    if constexpr (sizeof(In) == 1 && sizeof(Out) == 1) {
      run(Impl::LookupTable<In, Out>(rule));
    } else if constexpr (std::is_same_v<Out, uint32>) {
      ExactLimits<In>::areRepresentable(greyLow, greyHigh) ? run(rule)
                                                           : run(ExactLimits<In>{window, greyLow, greyHigh});
    } else {
      run(rule);
    }
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  static void requireOrder(bool ordered, const char* otherwise) {
    if (!ordered) {
      throw Exceptions::InvalidArg("NORV::TaviOperators::AttenuationScaling::Operator::apply", "%s", otherwise);
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::AttenuationScaling

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::AttenuationScaling;
using Typed::names;

using Instances = Impl::Pairs<Impl::TypeList<uint8, uint16>, Impl::TypeList<uint8, uint16, uint32, float32, float64>>;

}  // namespace

AttenuationScaling::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
AttenuationScaling::Operator::Operator(const Operator&) = default;
AttenuationScaling::Operator::~Operator() = default;
AttenuationScaling::Operator& AttenuationScaling::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AttenuationScaling::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
