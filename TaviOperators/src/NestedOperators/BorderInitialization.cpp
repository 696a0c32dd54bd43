#include <BorderInitialization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/NestedOperator.hpp>
#include <Impl/Loops/FillVoxels.hpp>

#include <array>

namespace NORV::TaviOperators::BorderInitialization {
namespace {

constexpr Impl::Names names{"BorderInitialization"};

/// Shows a region of a volume and takes it back, whatever happens in between.
class ScopedRoi {
public:
  ScopedRoi(IVolume& volume, const RegionOfInterest& region) : _volume(volume) { _volume.setRoi(region); }
  ScopedRoi(const ScopedRoi&) = delete;
  ScopedRoi& operator=(const ScopedRoi&) = delete;
  ~ScopedRoi() { _volume.popRoi(); }

private:
  IVolume& _volume;
};

template <class ModifyPtr>
class Operator final : public TaviOperators::Operator<Operator<ModifyPtr>> {
  using T = VoxelOf<ModifyPtr>;
  using Corner = std::array<SizeType, 3>;

public:
  std::string getType() const override { return Impl::typedIdentifier<ModifyPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const ModifyPtr volume(parameter->modifyVolume.value());
    Impl::requireGiven(volume, names.inApply(" volume is NULL"));
    const T value = parameter->inputBorderValue.template extractValue<T>();
    const RegionOfInterest kept = parameter->inputExclusionRoi.value();
    const Corner whole = Tavi::Impl::components(volume->getDimension());
    const Corner keptSize = Tavi::Impl::components(kept.getDimension());
    const Corner begin = Tavi::Impl::components(kept.getOrigin());
    Corner end{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      Impl::require(keptSize[axis] <= whole[axis] && begin[axis] <= whole[axis] - keptSize[axis],
                    names.inApply(" exclusion roi not in volume"));
      end[axis] = begin[axis] + keptSize[axis];
    }

    // Below and above the box along one axis after the other; what is done already bounds the boxes that follow.
    Corner from{0, 0, 0}, to = whole;
    for (const std::size_t axis : {2u, 1u, 0u}) {
      Corner below = to, above = from;
      below[axis] = begin[axis];
      above[axis] = end[axis];
      fillBox(*volume, from, below, value);
      fillBox(*volume, above, to, value);
      from[axis] = begin[axis];
      to[axis] = end[axis];
    }
  }

private:
  void fillBox(Volume<T, typename ModifyPtr::AllocatorType>& volume, const Corner& from, const Corner& to, T value) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (to[axis] <= from[axis]) {
        return;
      }
    }
    const ScopedRoi roi(volume, RegionOfInterest(Dimension<SizeType>(to[0] - from[0], to[1] - from[1], to[2] - from[2]),
                                                 Position<SizeType>(from[0], from[1], from[2])));
    Impl::fillVoxels(*this, Impl::threadCount(0), Impl::viewOf(volume), value);
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::BorderInitialization

template struct NORV::TaviOperators::Impl::NestedOperator<NORV::TaviOperators::BorderInitialization::Operator,
                                                          NORV::TaviOperators::Impl::UnsignedVoxelTypes>;
