#include <DLL/Round.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Round.hpp>

#include <Vectors/Lanes.hpp>

#include <cmath>

namespace NORV::TaviOperators::Round {
namespace {

constexpr Impl::Names names{"Round"};

template <class T>
struct RoundHalfUp {
  using Real = T;
  T scale;

  explicit RoundHalfUp(SizeType places) : scale(std::pow(T(10), static_cast<T>(places))) {}

  template <class L>
  typename L::V map(L, typename L::V x) const {
    const auto scaled = L::mul(L::set(scale), x);
    return L::div(L::floor(L::add(scaled, L::set(T(0.5)))), L::set(scale));
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    const Impl::LanewiseRule<T, T, RoundHalfUp<T>> rule{RoundHalfUp<T>(parameter->inputDecimalPlaces.value())};
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, getType() + " input volume is NULL");

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, rule, Impl::viewOf(*output), Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::Round

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Round;
using Typed::names;

using Instances = Impl::Same<Impl::FloatVoxelTypes>;

}  // namespace

Round::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Round::Operator::Operator(const Operator&) = default;
Round::Operator::~Operator() = default;
Round::Operator& Round::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Round::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
