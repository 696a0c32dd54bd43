#include <DLL/RangeInversion.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <RangeInversion.hpp>

#include <type_traits>

namespace NORV::TaviOperators::RangeInversion {
namespace {

constexpr Impl::Names names{"RangeInversion"};

/// In integers each result lies in the range again, though a step on the way may not: it wraps around and back.
template <class T>
struct Mirror {
  T lowest, highest;
  T operator()(T x) const {
    if constexpr (std::is_floating_point_v<T>) {
      return highest - x + lowest;
    } else {
      using Wrapping = std::make_unsigned_t<T>;
      const auto sum = static_cast<Wrapping>(static_cast<Wrapping>(highest) + static_cast<Wrapping>(lowest));
      return static_cast<T>(static_cast<Wrapping>(sum - static_cast<Wrapping>(x)));
    }
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  Operator() { this->owns(*_extremes); }
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" the input volume is NULL"));

    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const SmartPointer<ExtremeValueCalculation::Parameter> range(new ExtremeValueCalculation::Parameter);
    range->inputVolume = input;
    range->inputNumberOfThreads = threads;
    this->executeOperator(*_extremes, range);
    if (this->isAborted()) {
      return;  // the extremes mean nothing then
    }
    const Mirror<T> mirror{range->outputMinimumValue.template extractValue<T>(),
                           range->outputMaximumValue.template extractValue<T>()};

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, mirror, Impl::viewOf(*output), from);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  const SmartPointer<IOperator> _extremes =
      Impl::createByIdentifier(Impl::typedIdentifier<InputPtr>(Impl::Names("ExtremeValueCalculation")));
};

}  // namespace
}  // namespace NORV::TaviOperators::RangeInversion

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::RangeInversion;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

RangeInversion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
RangeInversion::Operator::Operator(const Operator&) = default;
RangeInversion::Operator::~Operator() = default;
RangeInversion::Operator& RangeInversion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RangeInversion::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
