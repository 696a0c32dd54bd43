#include <AdjustLinear.hpp>
#include <DLL/AdjustLinear.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>

#include <Vectors/LookupTable.hpp>
#include <VoxelWise/Stretch.hpp>

#include <cmath>
#include <limits>
#include <type_traits>

namespace NORV::TaviOperators::AdjustLinear {
namespace {

constexpr Impl::Names names{"AdjustLinear"};

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
    const In o1 = parameter->inputOriginalMinimumValue.template extractValue<In>();
    const In o2 = parameter->inputOriginalMaximumValue.template extractValue<In>();
    const Out r1 = parameter->inputResultMinimumValue.template extractValue<Out>();
    const Out r2 = parameter->inputResultMaximumValue.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" the input volume is NULL"));
    Impl::require(!(o1 > o2 || r1 > r2), names.inApply(" --> INVALID INPUT: the Minimum is bigger than the Maximum!"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const typename Fastest<In, Out>::type rule{Stretch<In, Out>(o1, o2, r1, r2)};
    if constexpr (sizeof(In) == 1 && sizeof(Out) == 1) {
      const Impl::LookupTable<In, Out> table(rule);
      Impl::transformVoxels(*this, threads, Impl::Steps::counted, table, Impl::viewOf(*output), from);
    } else {
      Impl::transformVoxels(*this, threads, Impl::Steps::counted, rule, Impl::viewOf(*output), from);
    }
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::AdjustLinear

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::AdjustLinear;
using Typed::names;

template <class T>
using OtherThanUint8 = std::negation<std::is_same<T, uint8>>;
template <class T>
using OtherThanUint16 = std::negation<std::is_same<T, uint16>>;

using Instances = Impl::Concat<Impl::Same<Impl::AllVoxelTypes>,
                               Impl::Pairs<Impl::Filter<OtherThanUint8, Impl::AllVoxelTypes>, Impl::TypeList<uint8>>,
                               Impl::Pairs<Impl::Filter<OtherThanUint16, Impl::AllVoxelTypes>, Impl::TypeList<uint16>>>;

}  // namespace

AdjustLinear::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
AdjustLinear::Operator::Operator(const Operator&) = default;
AdjustLinear::Operator::~Operator() = default;
AdjustLinear::Operator& AdjustLinear::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AdjustLinear::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
