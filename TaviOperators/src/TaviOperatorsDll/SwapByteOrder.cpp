#include <DLL/SwapByteOrder.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/BitsView.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <SwapByteOrder.hpp>

namespace NORV::TaviOperators::SwapByteOrder {
namespace {

constexpr Impl::Names names{"SwapByteOrder"};

/// `Bits` is an unsigned integer.
template <class Bits>
struct ReverseBytes {
  Bits operator()(Bits x) const {
    if constexpr (sizeof(Bits) == 4) {
      return __builtin_bswap32(x);
    } else if constexpr (sizeof(Bits) == 2) {
      return __builtin_bswap16(x);
    } else {
      return x;
    }
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using Bits = Impl::BitsOf<VoxelOf<InputPtr>>;

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
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, ReverseBytes<Bits>(),
                          Impl::viewAs<Bits>(Impl::viewOf(*output)),
                          Impl::viewAs<const Bits>(Impl::inputViewOf(*input)));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::SwapByteOrder

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SwapByteOrder;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

SwapByteOrder::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
SwapByteOrder::Operator::Operator(const Operator&) = default;
SwapByteOrder::Operator::~Operator() = default;
SwapByteOrder::Operator& SwapByteOrder::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SwapByteOrder::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  Impl::requireSameVoxelType(*input, output, names.inFrame("Voxel types must be equal!", "IOperator"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
