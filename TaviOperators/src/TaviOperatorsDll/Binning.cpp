#include <Binning.hpp>
#include <DLL/Binning.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>

#include <Geometry/BlockSums.hpp>
#include <Geometry/ReducedOutput.hpp>

#include <string>
#include <utility>

namespace NORV::TaviOperators::Binning {
namespace {

constexpr Impl::Names names{"Binning"};

std::string failure(const char* words) { return std::string("NORV::TaviOperators::Binning") + words; }
constexpr const char* withoutInput = " the inputVolume is NULL";

/// Zero divides nothing.
bool divides(SizeType factor, SizeType extent) { return factor != 0 && extent % factor == 0; }

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, failure(": wrong parameter object!"));
    const InputPtr input(parameter->inputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, failure(withoutInput));
    const Triple<SizeType> factor = parameter->inputDownSamplingFactor.value();
    const Impl::KeptInput<T> kept(*this, threads, Impl::viewOf(std::as_const(*input)), Impl::RowLayout::dense);
    const auto& view = kept.view();
    Impl::require(
        divides(factor.prim, view.dimPrim) && divides(factor.sec, view.dimSec) && divides(factor.tert, view.dimTert),
        failure(" Volume dimensions not divisible by downsampling factor!"));

    const Dimension<SizeType> extents(view.dimPrim / factor.prim, view.dimSec / factor.sec, view.dimTert / factor.tert);
    const Impl::BlockSize block{factor.prim, factor.sec, factor.tert};
    const auto output =
        Impl::fillOutput<OutputPtr>(*this, threads, parameter->outputVolume.value(), extents, view,
                                    [&](const Impl::View<T>& target) { average(view, target, block, threads); });
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  void average(const Impl::View<const T>& input, const Impl::View<T>& output, const Impl::BlockSize& block,
               int threads) {
    this->setTotal(output.dimTert);
    const auto averageRow = Impl::chooseAverage(input, block);
    constexpr double nanosecondsPerVoxel = 0.5;
    const auto time = Impl::LoopTime::of(input.size(), nanosecondsPerVoxel);
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::counted, time, [&](SizeType tert) {
      for (SizeType sec = 0; sec < output.dimSec; ++sec) {
        averageRow(input, sec, tert, block, output);
      }
    });
  }
};

using Instances = Impl::Same<Impl::Concat<Impl::IntegerVoxelTypes, Impl::TypeList<float32>>>;

}  // namespace
}  // namespace NORV::TaviOperators::Binning

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Binning;
using Typed::names;

Binning::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
Binning::Operator::Operator(const Operator&) = default;
Binning::Operator::~Operator() = default;
Binning::Operator& Binning::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Binning::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, Typed::failure(Typed::withoutInput));  // the same words as in the typed operator
  return Impl::createOperator(names, input, Impl::orElse(parameter->outputVolume.value(), input));
}

}  // namespace NORV::TaviOperators::DLL
