#pragma once

#include <Tavi/CompositeLeaf.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/Volume.hpp>

#include <array>
#include <atomic>
#include <string>
#include <type_traits>

namespace NORV::Tavi {

/// Set by `abort` from any thread, read by workers once per slice.
using AbortFlag = std::atomic<bool>;

namespace Impl {

/// Gives a volume the extents that its view is to have, as the current orientation shows them. A region that is set
/// goes: the result would not fit into it.
inline void resizeView(IVolume& volume, const Dimension<SizeType>& dimension) {
  if (volume.getDimension() == dimension) {
    return;
  }
  const auto axes = volume.getOrientation().storageAxes();
  const auto wanted = components(dimension);
  std::array<SizeType, 3> stored{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    stored[axes[axis]] = wanted[axis];
  }
  volume.resize(Dimension<SizeType>(stored[0], stored[1], stored[2]));
  if (!(volume.getDimension() == dimension)) {
    volume.resetRoi();
  }
}

/// The volume to write into: the host's own, resized if its view has other extents (its content is lost then), or a new
/// one. `where` names the operator form in the failure of a volume of another class.
template <class OutputPtr>
OutputPtr checkOutputVolume(const SmartPointer<IVolume>& given, const Dimension<SizeType>& dimension,
                            const char* where) {
  using Output = typename OutputPtr::Pointee;
  if constexpr (std::is_constructible_v<Output, Dimension<SizeType>>) {  // a view on other memory cannot be made
    if (given == nullptr) {
      return OutputPtr(new Output(dimension));
    }
  }
  const OutputPtr output(given);
  if (output == nullptr) {
    throw IOperator::InvalidParameterObjectException(std::string(where) +
                                                     "::checkOutputVolume volume is of the wrong type");
  }
  resizeView(*output, dimension);
  return output;
}

}  // namespace Impl

/// Base of the operators of the core: an abort flag and a Progress that the walk over the voxels advances.
template <class Derived>
class Operator : public IOperator, public Persistence::CompositeLeaf<Derived> {
public:
  Progress getProgress() const override { return _progress; }
  void abort() override { _aborted.store(true, std::memory_order_relaxed); }

protected:
  Operator() = default;

  /// Every `apply` begins so.
  void beginApply() {
    _aborted.store(false, std::memory_order_relaxed);
    _progress.setProgress(0.0);
  }
  bool isAborted() const { return _aborted.load(std::memory_order_relaxed); }

  template <class OutputPtr>
  OutputPtr checkOutputVolume(const SmartPointer<IVolume>& given, const Dimension<SizeType>& dimension) const {
    return Impl::checkOutputVolume<OutputPtr>(given, dimension, "NORV::Tavi::Operator");
  }

  AbortFlag _aborted{false};
  Progress _progress;
};

}  // namespace NORV::Tavi
