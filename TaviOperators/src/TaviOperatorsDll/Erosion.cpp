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

#include <atomic>
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
    const bool areDense = from.hasDenseRows() && to.hasDenseRows();
    if (areDense && to.size() != 0 && erodeShared(from, to, interior, mask, anchor, threads)) {
      return;
    }
    const auto places = Impl::cropped(from, interior);
    Impl::forEachSlice(*this, threads, to.dimTert, Impl::Steps::counted, [&](SizeType tert) {
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
    });
  }

  /// Returns false where that is not worth it or would give other voxels.
  bool erodeShared(const Impl::View<const T>& input, const Impl::View<T>& output, const Impl::Box& interior,
                   const Impl::MaskPtr& mask, const Position<SizeType>& anchor, int threads) {
    const Impl::StructuringElement element(Impl::viewOf(std::as_const(*mask)), anchor);
    const Impl::ErosionPlan plan(element);
    if (!plan.pays(output.dimSec, output.dimTert, static_cast<SizeType>(Impl::teamSize(threads, output.dimTert)))) {
      return false;
    }
    if (std::is_floating_point_v<T> && hasNaN(input, threads)) {
      return false;
    }
    const auto at = [](SizeType origin, int64 low) { return static_cast<SizeType>(static_cast<int64>(origin) + low); };
    auto first = input;
    first.data = &input.at(at(interior.origin.prim, element.low[0]), at(interior.origin.sec, element.low[1]),
                           at(interior.origin.tert, element.low[2]));
    Impl::PerThread<Impl::SharedErosion<T>> workers(threads, output.dimTert,
                                                    [&] { return Impl::SharedErosion<T>(plan, first, output); });
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::counted,
                       [&workers](SizeType tert) { workers.mine().erode(tert); });
    return true;
  }

  bool hasNaN(const Impl::View<const T>& input, int threads) {
    std::atomic<bool> found = false;
    Impl::forEachSlice(*this, threads, input.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      for (SizeType sec = 0; sec < input.dimSec && !found.load(std::memory_order_relaxed); ++sec) {
        if (Impl::hasNaN(input.row(sec, tert), input.dimPrim)) {
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
