#include <DLL/Erosion.hpp>
#include <Erosion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Tavi/MaskOffsets.hpp>

#include <Rank/MinimumRows.hpp>
#include <Rank/RankFilter.hpp>
#include <Rank/SharedErosion.hpp>
#include <Rank/StructuringElement.hpp>

#include <string>
#include <type_traits>
#include <utility>

namespace NORV::TaviOperators::Erosion {
namespace {

constexpr Impl::Names names{"Erosion"};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;
  static_assert(std::is_same_v<T, VoxelOf<OutputPtr>>);
  using Offsets = Tavi::Iterating::MaskOffsets<Impl::MaskPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    Impl::RankArguments<InputPtr> given(*parameter, names);
    Impl::requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    given.keepMask(parameter->outputVolume.value());
    Offsets offsets(given.input, given.mask, given.anchor);
    Impl::requireMaskVoxels(offsets.count(), names);

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), given.input->getDimension());
    const InputPtr source = Impl::keptVolume(*this, given.threads, given.input, output, Impl::Aliasing::none);
    if (source != given.input) {
      offsets = Offsets(source, given.mask, given.anchor);  // the strides of a copy are others
    }
    erode(*source, *output, offsets, given.mask, given.anchor, given.threads);
    parameter->outputVolume = output;
  }

private:
  void erode(const typename InputPtr::Pointee& input, typename OutputPtr::Pointee& output, const Offsets& offsets,
             const Impl::MaskPtr& mask, const Position<SizeType>& anchor, int threads) {
    const Impl::Box interior{offsets.interiorSize(), offsets.interiorOrigin()};
    const auto from = Impl::inputViewOf(input);
    const auto to = Impl::cropped(Impl::viewOf(output), interior);
    this->setTotal(to.dimTert);
    constexpr double nanosecondsPerVoxel = 0.1, nanosecondsOfPlan = 2000.0;
    const auto time = Impl::LoopTime::of(to.size() * offsets.count(), nanosecondsPerVoxel);
    if (from.hasDenseRows() && to.hasDenseRows() && time.nanoseconds > nanosecondsOfPlan &&
        erodeShared(from, to, offsets, Impl::StructuringElement(Impl::viewOf(std::as_const(*mask)), anchor), threads)) {
      return;
    }
    const auto places = Impl::cropped(from, interior);
    Impl::forEachSlice(*this, threads, to.dimTert, Impl::Steps::counted, time,
                       [&](SizeType tert) { erodeVoxelByVoxel(places, to, offsets, tert); });
  }

  /// One slice, all voxels of the element one after the other.
  static void erodeVoxelByVoxel(const Impl::View<const T>& places, const Impl::View<T>& to, const Offsets& offsets,
                                SizeType tert) {
    const bool areDense = places.hasDenseRows() && to.hasDenseRows();
    for (SizeType sec = 0; sec < to.dimSec; ++sec) {
      const T* const voxels = places.row(sec, tert);
      if (areDense) {
        Impl::minimumDense(Impl::RowsAtOffsets<T>{voxels, offsets.offsets()}, offsets.count(), to.row(sec, tert),
                           to.dimPrim);
      } else {
        Impl::minimumStrided(voxels, places.stridePrim, offsets.offsets(), offsets.count(), to.row(sec, tert),
                             to.stridePrim, to.dimPrim);
      }
    }
  }

  /// Returns false where that is not worth it. What a NaN hides depends on the order of the voxels, which shared parts
  /// do not keep: slices near one are eroded voxel by voxel.
  bool erodeShared(const Impl::View<const T>& input, const Impl::View<T>& output, const Offsets& offsets,
                   const Impl::StructuringElement& element, int threads) {
    constexpr double nanosecondsPerVoxel = 1.0;
    const auto time = Impl::LoopTime::of(output.size(), nanosecondsPerVoxel);
    const Impl::ErosionPlan plan(element);
    if (!plan.pays(output.dimSec, output.dimTert,
                   static_cast<SizeType>(Impl::teamSize(threads, output.dimTert, time)))) {
      return false;
    }
    const auto places = Impl::cropped(input, {offsets.interiorSize(), offsets.interiorOrigin()});
    auto first = places;
    first.data +=
        element.low[0] * input.stridePrim + element.low[1] * input.strideSec + element.low[2] * input.strideTert;
    Impl::PerThread<Impl::SharedErosion<T>> workers(
        threads, output.dimTert, [&] { return Impl::SharedErosion<T>(plan, first, output); }, time);
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::counted, time, [&](SizeType tert) {
      if (!workers.mine().erode(tert)) {
        erodeVoxelByVoxel(places, output, offsets, tert);
      }
    });
    return true;
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::Erosion

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Erosion;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

Erosion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Erosion::Operator::Operator(const Operator&) = default;
Erosion::Operator::~Operator() = default;
Erosion::Operator& Erosion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Erosion::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, input);
}

}  // namespace NORV::TaviOperators::DLL
