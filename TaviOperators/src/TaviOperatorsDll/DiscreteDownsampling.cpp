#include <DLL/DiscreteDownsampling.hpp>
#include <DiscreteDownsampling.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/SliceLoop.hpp>

#include <Geometry/ReducedOutput.hpp>

#include <algorithm>

namespace NORV::TaviOperators::DiscreteDownsampling {
namespace {

constexpr Impl::Names names{"DiscreteDownsampling"};

/// Every n-th voxel of a row. Small steps are constants, for which compilers generate vector code.
template <class T>
void sampleRow(const T* input, int64 stride, T* output, int64 outputStride, SizeType count) {
  const auto sample = [=](auto step) {
    for (SizeType i = 0; i < count; ++i) {
      output[i] = input[static_cast<int64>(i) * step];
    }
  };
  if (outputStride != 1) {
    for (SizeType i = 0; i < count; ++i) {
      output[static_cast<int64>(i) * outputStride] = input[static_cast<int64>(i) * stride];
    }
  } else if (stride == 1) {
    std::copy_n(input, count, output);
  } else if (stride == 2) {
    sample(std::integral_constant<int64, 2>());
  } else if (stride == 4) {
    sample(std::integral_constant<int64, 4>());
  } else {
    sample(stride);
  }
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const Triple<SizeType> factor = parameter->inputDownsamplingFactor.value();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, getType() + " inputVolume is NULL");
    Impl::require(factor.prim != 0 && factor.sec != 0 && factor.tert != 0,
                  getType() + " inputDownsamplingFactor is zero");

    const auto view = Impl::viewOf(std::as_const(*input));
    const Dimension<SizeType> extents(view.dimPrim / factor.prim, view.dimSec / factor.sec, view.dimTert / factor.tert);
    const auto output =
        Impl::fillOutput<OutputPtr>(*this, threads, parameter->outputVolume.value(), extents, view,
                                    [&](const Impl::View<T>& target) { sample(view, target, factor, threads); });
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  void sample(const Impl::View<const T>& input, const Impl::View<T>& output, const Triple<SizeType>& factor,
              int threads) {
    this->setTotal(output.dimTert);
    constexpr double nanosecondsPerVoxel = 1.0;
    const auto time = Impl::LoopTime::of(output.size(), nanosecondsPerVoxel);
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::counted, time, [&](SizeType tert) {
      for (SizeType sec = 0; sec < output.dimSec; ++sec) {
        sampleRow(input.row(sec * factor.sec, tert * factor.tert), input.stridePrim * static_cast<int64>(factor.prim),
                  output.row(sec, tert), output.stridePrim, output.dimPrim);
      }
    });
  }
};

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::DiscreteDownsampling

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::DiscreteDownsampling;
using Typed::names;

DiscreteDownsampling::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
DiscreteDownsampling::Operator::Operator(const Operator&) = default;
DiscreteDownsampling::Operator::~Operator() = default;
DiscreteDownsampling::Operator& DiscreteDownsampling::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> DiscreteDownsampling::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
