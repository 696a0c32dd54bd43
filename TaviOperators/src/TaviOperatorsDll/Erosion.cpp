#include <DLL/Erosion.hpp>
#include <Erosion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/Box.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Tavi/MaskOffsets.hpp>

#include <Rank/MinimumRows.hpp>
#include <Rank/RankFilter.hpp>
#include <Rank/SharedErosion.hpp>
#include <Rank/StructuringElement.hpp>

#include <atomic>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

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
    const Offsets offsets(given.input, given.mask, given.anchor);
    Impl::requireMaskVoxels(offsets.count(), names);

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), given.input->getDimension());
    erode(given, *output, {offsets.interiorSize(), offsets.interiorOrigin()});
    parameter->outputVolume = output;
  }

private:
  void erode(const Impl::RankArguments<InputPtr>& given, typename OutputPtr::Pointee& output,
             const Impl::Box& interior) {
    const Impl::RankViews<T> views(*this, given.threads, Impl::inputViewOf(std::as_const(*given.input)),
                                   Impl::viewOf(output));
    const auto places = arranged(Impl::cropped(views.shownInput(), interior), views.order());
    const auto to = arranged(Impl::cropped(Impl::viewOf(output), interior), views.order());
    const SizeType slices = interior.size.tert;
    this->setTotal(slices);
    const auto mask = Impl::viewOf(std::as_const(*given.mask));
    const std::vector<int64> offsets = Impl::StructuringElement(mask, given.anchor).offsetsIn(views.shownInput());
    constexpr double nanosecondsPerVoxel = 0.1, nanosecondsOfPlan = 2000.0;
    const auto time = Impl::LoopTime::of(to.size() * offsets.size(), nanosecondsPerVoxel);
    if (places.hasDenseRows() && to.hasDenseRows() && time.nanoseconds > nanosecondsOfPlan &&
        erodeShared(views, places, to, given, offsets, slices)) {
      return;
    }
    Impl::forEachPartOf(
        *this, given.threads, to.dimTert, slices, Impl::Steps::counted,
        [&](SizeType tert) { erodeVoxelByVoxel(places, to, offsets, tert); }, Impl::Schedule::fixed, time);
  }

  /// One slice, all voxels of the element one after the other.
  static void erodeVoxelByVoxel(const Impl::View<const T>& places, const Impl::View<T>& to,
                                const std::vector<int64>& offsets, SizeType tert) {
    const bool areDense = places.hasDenseRows() && to.hasDenseRows();
    for (SizeType sec = 0; sec < to.dimSec; ++sec) {
      const T* const voxels = places.row(sec, tert);
      if (areDense) {
        Impl::minimumDense(Impl::RowsAtOffsets<T>{voxels, offsets.data()}, offsets.size(), to.row(sec, tert),
                           to.dimPrim);
      } else {
        Impl::minimumStrided(voxels, places.stridePrim, offsets.data(), offsets.size(), to.row(sec, tert),
                             to.stridePrim, to.dimPrim);
      }
    }
  }

  /// Returns false where that is not worth it or would give other voxels. What a NaN hides depends on the order of the
  /// voxels, which shared parts do not keep: slices near one are eroded voxel by voxel.
  bool erodeShared(const Impl::RankViews<T>& views, const Impl::View<const T>& places, const Impl::View<T>& output,
                   const Impl::RankArguments<InputPtr>& given, const std::vector<int64>& offsets, SizeType slices) {
    const Impl::ArrangedMask mask(Impl::viewOf(std::as_const(*given.mask)), given.anchor, views.order());
    const Impl::StructuringElement element(mask.view, mask.anchor);
    const Impl::ErosionPlan plan(element);
    constexpr double nanosecondsPerVoxel = 1.0;
    const auto time = Impl::LoopTime::of(output.size(), nanosecondsPerVoxel);
    const auto team = static_cast<SizeType>(Impl::teamSize(given.threads, output.dimTert, time));
    if (!plan.pays(output.dimSec, output.dimTert, team)) {
      return false;
    }
    if constexpr (std::is_floating_point_v<T>) {
      if (views.order() != Impl::AxisOrder() && hasNegativeZero(views.input(), given.threads)) {
        return false;
      }
    }
    auto first = places;
    first.data +=
        element.low[0] * places.stridePrim + element.low[1] * places.strideSec + element.low[2] * places.strideTert;
    Impl::PerThread<Impl::SharedErosion<T>> workers(
        given.threads, output.dimTert, [&] { return Impl::SharedErosion<T>(plan, first, output); }, time);
    const auto slice = [&](SizeType tert) {
      if (!workers.mine().erode(tert)) {
        erodeVoxelByVoxel(places, output, offsets, tert);
      }
    };
    Impl::forEachPartOf(*this, given.threads, output.dimTert, slices, Impl::Steps::counted, slice,
                        Impl::Schedule::fixed, time);
    return true;
  }

  bool hasNegativeZero(const Impl::View<const T>& input, int threads) {
    std::atomic<bool> found = false;
    Impl::forEachSlice(*this, threads, input.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      for (SizeType sec = 0; sec < input.dimSec && !found.load(std::memory_order_relaxed); ++sec) {
        if (Impl::hasNegativeZero(input.row(sec, tert), input.dimPrim)) {
          found.store(true, std::memory_order_relaxed);
        }
      }
    });
    return found;
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
