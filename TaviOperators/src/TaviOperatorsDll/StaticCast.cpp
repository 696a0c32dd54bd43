#include <DLL/StaticCast.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/BitsView.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <StaticCast.hpp>

#include <Vectors/PlainConversion.hpp>

#include <type_traits>

namespace NORV::TaviOperators::StaticCast {
namespace {

constexpr Impl::Names names{"StaticCast"};

template <class From, class To>
struct Convert {
  To operator()(From x) const { return Impl::convertPlainly<To>(x); }
  void row(const From* input, To* output, SizeType count) const
      requires(std::is_floating_point_v<From> && sizeof(To) <= 2) {
    Impl::convertRowPlainly(input, output, count);
  }
};

/// The conversion that gives the same bits as that of `In` to `Out`, of as few as there are. The sign of an integer
/// input counts only where it becomes wider, that of an integer output only where it decides what a floating-point
/// value becomes.
template <class In, class Out>
struct Kernel {
  static constexpr bool isCut = std::is_integral_v<In> && std::is_integral_v<Out> && sizeof(Out) <= sizeof(In);
  static constexpr bool isFromFloatTo32Bits = std::is_floating_point_v<In> && sizeof(Out) == 4;
  using From = std::conditional_t<isCut, Impl::BitsOf<In>, In>;
  using To = std::conditional_t<isFromFloatTo32Bits, Out, Impl::BitsOf<Out>>;
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using From = typename Kernel<VoxelOf<InputPtr>, VoxelOf<OutputPtr>>::From;
  using To = typename Kernel<VoxelOf<InputPtr>, VoxelOf<OutputPtr>>::To;

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
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, Convert<From, To>(),
                          Impl::viewAs<To>(Impl::viewOf(*output)), Impl::viewAs<const From>(Impl::inputViewOf(*input)));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::StaticCast

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::StaticCast;
using Typed::names;

using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::AllVoxelTypes>;

}  // namespace

StaticCast::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
StaticCast::Operator::Operator(const Operator&) = default;
StaticCast::Operator::~Operator() = default;
StaticCast::Operator& StaticCast::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> StaticCast::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
