#include <DLL/Saturation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Saturation.hpp>

#include <Vectors/PlainConversion.hpp>

namespace NORV::TaviOperators::Saturation {
namespace {

constexpr Impl::Names names{"Saturation"};

/// The upper limit is compared first, so it wins where the limits cross; a NaN passes both tests.
template <class T>
struct Clamp {
  T lower, upper;
  T operator()(T x) const { return x >= upper ? upper : lower >= x ? lower : x; }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const In upper = parameter->inputUpperLimit.template extractValue<In>();
    const In lower = parameter->inputLowerLimit.template extractValue<In>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto clamp = [rule = Clamp<In>{lower, upper}](In x) { return Impl::convertPlainly<Out>(rule(x)); };
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, clamp, Impl::viewOf(*output), Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

// Wider than the frame reaches: the frame demands equal voxel types, the factory does not.
using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::AllVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::Saturation

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Saturation;
using Typed::names;

Saturation::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
Saturation::Operator::Operator(const Operator&) = default;
Saturation::Operator::~Operator() = default;
Saturation::Operator& Saturation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Saturation::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume  is NULL!", "IOperator"));
  Impl::requireSameVoxelType(*input, output, names.inFrame("Voxel types must be equal!", "IOperator"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
