#include <DLL/MeanProjection.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <MeanProjection.hpp>

#include <Geometry/ColumnSums.hpp>

#include <type_traits>
#include <utility>

namespace NORV::TaviOperators::MeanProjection {
namespace {

constexpr Impl::Names names{"MeanProjection"};
using MaskPtr = VolumePtr<uint8>;

/// Of at least one voxel. Integers in integers are rounded, others divided in double precision.
template <class Out, class Sum>
Out meanOf(Sum sum, int64 count) {
  if constexpr (std::is_integral_v<Out>) {
    return static_cast<Out>(((count >> 1) + sum) / count);
  } else {
    return static_cast<Out>(static_cast<double>(sum) / static_cast<double>(count));
  }
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;
  using Wide = std::conditional_t<std::is_integral_v<In>, int64, double>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr, MaskPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const SmartPointer<IVolume> givenMask = parameter->inputMaskVolume.value();
    const MaskPtr mask(givenMask);
    const Out otherwise = parameter->inputDefaultValue.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    Impl::require(givenMask == nullptr || mask != nullptr, names.inApply(" mask volume is of the wrong type"));
    Impl::require(mask == nullptr || mask->getDimension() == input->getDimension(),
                  names.inApply(" input volume and mask volume differ in size"));
    const auto dense = Impl::RowLayout::dense;
    const Impl::KeptInput<In> kept(*this, threads, Impl::viewOf(std::as_const(*input)), dense);
    const auto& view = kept.view();
    const Dimension<SizeType> extents(view.dimPrim, view.dimSec, 1);
    const SmartPointer<IVolume> given = parameter->outputVolume.value();
    if (given != nullptr) {  // refuses another class before the work; the extents are checked after it
      static_cast<void>(this->template checkOutputVolume<OutputPtr>(given, given->getDimension()));
    }

    this->setTotal(static_cast<SizeType>(threads) + view.dimTert);
    const Impl::KeptInput<uint8> keptMask(
        *this, threads, mask != nullptr ? Impl::viewOf(std::as_const(*mask)) : Impl::View<const uint8>(), dense);
    const auto& maskView = keptMask.view();
    const auto project = [&](const auto& sums) {
      if (this->isAborted()) {
        return;
      }
      // Only here, as the output may be the input or the mask.
      const auto output = this->template checkOutputVolume<OutputPtr>(given, extents);
      write(sums, otherwise, Impl::viewOf(*output));
      this->setDone(static_cast<SizeType>(threads) + view.dimTert);
      parameter->outputVolume = output;
    };
    if constexpr (std::is_integral_v<In> && sizeof(In) <= 2) {
      if (Impl::columnsFit32Bits<In>(view.dimTert)) {
        project(Impl::ColumnSums<In, int32>(*this, threads, view, maskView));
        return;
      }
    }
    project(Impl::ColumnSums<In, Wide>(*this, threads, view, maskView));
  }

private:
  template <class Sums>
  static void write(const Sums& sums, Out otherwise, const Impl::View<Out>& output) {
    for (SizeType sec = 0, pixel = 0; sec < output.dimSec; ++sec) {
      Out* to = output.row(sec, 0);
      for (SizeType prim = 0; prim < output.dimPrim; ++prim, ++pixel, to += output.stridePrim) {
        const int64 count = sums.count(pixel);
        *to = count > 0 ? meanOf<Out>(sums.sum(pixel), count) : otherwise;
      }
    }
  }
};

using Instances =
    Impl::Concat<Impl::Same<Impl::IntegerVoxelTypes>, Impl::Pairs<Impl::AllVoxelTypes, Impl::FloatVoxelTypes>>;

}  // namespace
}  // namespace NORV::TaviOperators::MeanProjection

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::MeanProjection;
using Typed::names;

MeanProjection::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
MeanProjection::Operator::Operator(const Operator&) = default;
MeanProjection::Operator::~Operator() = default;
MeanProjection::Operator& MeanProjection::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> MeanProjection::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> mask = parameter->inputMaskVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  const std::string maskType = mask != nullptr ? mask->getType() : Typed::MaskPtr::Pointee::identifier();
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, input->getType() + ", " + output->getType() + ", " + maskType));
}

}  // namespace NORV::TaviOperators::DLL
