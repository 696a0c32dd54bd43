#include <DLL/Inversion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Inversion.hpp>

namespace NORV::TaviOperators::Inversion {
namespace {

constexpr Impl::Names names{"Inversion"};

template <class T>
struct Complement {
  T operator()(T x) const { return static_cast<T>(~x); }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, Complement<VoxelOf<InputPtr>>(), Impl::viewOf(*output),
                          Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::Inversion

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Inversion;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

Inversion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Inversion::Operator::Operator(const Operator&) = default;
Inversion::Operator::~Operator() = default;
Inversion::Operator& Inversion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Inversion::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
