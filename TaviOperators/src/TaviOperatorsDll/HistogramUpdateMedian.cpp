#include <DLL/HistogramUpdateMedian.hpp>
#include <HistogramUpdateMedian.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Rank/BoxMedianFilter.hpp>
#include <Rank/HistogramUpdate.hpp>
#include <Rank/MedianRows.hpp>

namespace NORV::TaviOperators::HistogramUpdateMedian {
namespace {

constexpr Impl::Names names{"HistogramUpdateMedian"};

struct Traits {
  static constexpr const Impl::Names& names = HistogramUpdateMedian::names;
  /// Of an even number of voxels the lower one of the two in the middle.
  static SizeType rank(SizeType count) { return Impl::lowerMedianOf(count); }
  /// Each bit of the median costs a comparison and a sum.
  static double stepsPerVoxel(SizeType bits) { return 1.5 * static_cast<double>(bits); }

  template <class T>
  using Rows = Impl::MedianRows<T>;
  template <class T>
  using Boxes = Impl::BoxMedianFilter<T>;
};

template <class InputPtr, class OutputPtr, class MaskPointer>
class Operator final : public Impl::HistogramUpdateOperator<Operator<InputPtr, OutputPtr, MaskPointer>, Parameter,
                                                            Traits, InputPtr, OutputPtr, MaskPointer> {};

}  // namespace
}  // namespace NORV::TaviOperators::HistogramUpdateMedian

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramUpdateMedian;
using Typed::names;

template <class InputPtr, class OutputPtr>
using WithMask = Typed::Operator<InputPtr, OutputPtr, Impl::MaskPtr>;
using Instances = Impl::Same<Impl::TypeList<uint8, uint16>>;

}  // namespace

HistogramUpdateMedian::Operator::Operator() {
  Typed::Parameter();  // it is registered by its constructor, which nothing else here calls
  Impl::constructEach<WithMask, Instances>();
}
HistogramUpdateMedian::Operator::Operator(const Operator&) = default;
HistogramUpdateMedian::Operator::~Operator() = default;
HistogramUpdateMedian::Operator& HistogramUpdateMedian::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HistogramUpdateMedian::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::require(input != nullptr && parameter->inputMask.value() != nullptr,
                names.inFrame("inputVolume or inputMask is NULL!"));
  Impl::requireSameVoxelType(*input, parameter->outputVolume.value(), names.inFrame("Voxel types must be equal!"));
  return Impl::createMaskedOperator(names, *input);
}

}  // namespace NORV::TaviOperators::DLL
