#pragma once

#include <Tavi/Allocators.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/SmartPointer.hpp>

#include <array>
#include <functional>
#include <list>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace NORV::Tavi {

/// How to walk a view: start at the data plus `startOffset`, add `stepVoxel` after each voxel, `stepLine` after each
/// line and `stepSlice` after each slice; or multiply positions with the strides. Everything counts voxels.
struct IterationData {
  SizeType dimPrim = 0, dimSec = 0, dimTert = 0;
  int64 stepVoxel = 0, stepLine = 0, stepSlice = 0;
  int64 startOffset = 0;
  Position<SizeType> roiOrigin;  ///< of the region, along the axes of the view
  int64 stridePrim = 0, strideSec = 0, strideTert = 0;
};

template <class T, class Alloc = Allocator::SingleBlockAllocator>
class Volume;

template <class T, class Alloc = Allocator::SingleBlockAllocator>
class TAVI_EXPORT VolumePtr : public SmartPointer<Volume<T, Alloc>> {
public:
  using Voxel = T;
  using AllocatorType = Alloc;
  using SmartPointer<Volume<T, Alloc>>::SmartPointer;
  VolumePtr() = default;
  VolumePtr(const SmartPointer<Volume<T, Alloc>>& other) : SmartPointer<Volume<T, Alloc>>(other) {}
};

namespace Impl {

/// Keeps the volume alive whose voxels an external-buffer volume shows.
template <class T, class Alloc>
struct BufferOwner {
  struct Pointer {};
};
template <class T, class Alloc>
struct BufferOwner<T, Allocator::ExternalBufferAllocator<Alloc>> {
  using Pointer = VolumePtr<T, Alloc>;
  Pointer pointer;
};

template <class T>
std::array<T, 3> components(const Triple<T>& triple) {
  return {triple.prim, triple.sec, triple.tert};
}

/// The view of an allocated volume through a region (in storage order) and an orientation.
IterationData computeIterationData(const Dimension<SizeType>& allocated, const RegionOfInterest& region,
                                   const Orientation& orientation);

}  // namespace Impl

/// The stored extents, regions and orientation of a volume and the view that they make, whatever its voxels are.
class TAVI_EXPORT VolumeBase : public Persistence::IComposite, public IVolume {
public:
  using RoiList = Container::List<SmartPointer<RoiComposite>>;

  const IterationData& getIterationData() const { return _view; }

  std::string getType() const override = 0;  // one for both bases
  Dimension<SizeType> getDimension() const override { return {_view.dimPrim, _view.dimSec, _view.dimTert}; }
  SizeType getDimPrim() const override { return _view.dimPrim; }
  SizeType getDimSec() const override { return _view.dimSec; }
  SizeType getDimTert() const override { return _view.dimTert; }
  int64 getStepVoxel() const override { return _view.stepVoxel; }
  int64 getStepLine() const override { return _view.stepLine; }
  int64 getStepSlice() const override { return _view.stepSlice; }
  SizeType getSize() const override { return getRoiSize(); }
  Orientation getDefaultOrientation() const override { return {}; }
  Dimension<SizeType> getAllocatedDimension() const override { return _allocated; }
  SizeType getAllocatedDimPrim() const override { return _allocated.prim; }
  SizeType getAllocatedDimSec() const override { return _allocated.sec; }
  SizeType getAllocatedDimTert() const override { return _allocated.tert; }
  std::list<RegionOfInterest> getRoiStack() const override { return _roiStack; }
  RegionOfInterest getRoi() const override { return RegionOfInterest(getDimension(), _view.roiOrigin); }
  Position<SizeType> getRoiOrigin() const override { return _view.roiOrigin; }
  Orientation getOrientation() const override { return _orientation; }
  SizeType getRoiSize() const override { return _roiStack.back().getDimension().size(); }

  void setRoi(const RegionOfInterest& region) override {
    region.getDimension().check();
    const auto viewSize = Impl::components(getDimension());
    const auto size = Impl::components(region.getDimension());
    const auto origin = Impl::components(region.getOrigin());
    const auto axes = _orientation.storageAxes();
    const auto topOrigin = Impl::components(_roiStack.back().getOrigin());
    std::array<SizeType, 3> stored{}, storedOrigin{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (size[axis] > viewSize[axis] || origin[axis] > viewSize[axis] - size[axis]) {
        throw Exceptions::OutOfRange("NORV::Tavi::Volume::setRoi");
      }
      stored[axes[axis]] = size[axis];
      storedOrigin[axes[axis]] =
          topOrigin[axes[axis]] +
          (_orientation.isReversed(axis) ? viewSize[axis] - size[axis] - origin[axis] : origin[axis]);
    }
    _roiStack.emplace_back(Dimension<SizeType>(stored[0], stored[1], stored[2]),
                           Position<SizeType>(storedOrigin[0], storedOrigin[1], storedOrigin[2]));
    recompute();
  }
  void resetRoi() override { showAll(); }
  void popRoi() override {
    if (_roiStack.size() > 1) {
      _roiStack.pop_back();
    }
    recompute();
  }
  void setRoiToSlice(SizeType index) override {
    if (index >= getDimTert()) {
      throw Exceptions::OutOfRange("NORV::Tavi::Volume::setRoiToSlice(NORV::Tavi::SizeType)");
    }
    setRoi(RegionOfInterest(Dimension<SizeType>(getDimPrim(), getDimSec(), 1), Position<SizeType>(0, 0, index)));
  }
  void setOrientation(const Orientation& orientation) override {
    _orientation = orientation;
    recompute();
  }

  int64 getOffset(const Position<SizeType>& position) const override {
    return offset(position, "NORV::Tavi::Volume::getOffset");
  }
  /// As `getOffset`, for the positions of a structuring element.
  int64 getPosOffset(const Position<SizeType>& position) const {
    return offset(position, "NORV::Tavi::Volume::getPosOffset");
  }

  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    if (key == "roiStack") {
      setRoiStack(SmartPointer<RoiList>(value));
    } else if (key == "allocator") {
      setAllocator(value);
    } else if (key == "orientation") {
      const SmartPointer<Orientation> orientation(value);
      if (orientation == nullptr) {
        throw Exceptions::InvalidArg("NORV::Tavi::Volume::setValue", "%s",
                                     (getType() + "setValue value is not an NORV::Tavi::OrientationPtr").c_str());
      }
      setOrientation(*orientation);
    } else {
      throwUnknown("NORV::Tavi::Volume::setValue", "setValue not such key " + key);
    }
  }
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    using Persistence::IComposite;
    if (key == "roiStack") {
      const SmartPointer<RoiList> list(new RoiList);
      for (const RegionOfInterest& region : _roiStack) {
        list->push_back(SmartPointer<RoiComposite>(new RoiComposite(region)));
      }
      return list;
    }
    if (key == "allocator") {
      return getAllocator();
    }
    if (key != "orientation") {
      throwUnknown("NORV::Tavi::Volume::getValue", "getValue not such key " + key);
    }
    return SmartPointer<IComposite>(new Orientation(_orientation));
  }
  std::string getKey(SizeType index) const override {
    static constexpr std::array keys{"roiStack", "allocator", "orientation"};
    if (index >= keys.size()) {
      throwUnknown("NORV::Tavi::Volume::getKey", "setValue not such index");
    }
    return keys[index];
  }
  SizeType getNumberOfKeys() const override { return 3; }

protected:
  VolumeBase() { showAll(); }

  virtual SmartPointer<Persistence::IComposite> getAllocator() const = 0;
  /// Throws InvalidArg for an allocator of another class.
  virtual void setAllocator(const SmartPointer<Persistence::IComposite>& allocator) = 0;

  /// The view of other stored extents, whole.
  void showAll(const Dimension<SizeType>& allocated) {
    _allocated = allocated;
    showAll();
  }
  /// The same view as that of another volume.
  void showAs(const VolumeBase& other) {
    _allocated = other._allocated;
    _orientation = other._orientation;
    _roiStack = other._roiStack;
    recompute();
  }
  int64 offset(const Position<SizeType>& position, const Exceptions::Origin& origin) const {
    getDimension().check();
    if (position.prim >= _view.dimPrim || position.sec >= _view.dimSec || position.tert >= _view.dimTert) {
      throw Exceptions::InvalidArg(origin, "Given position is ouside volume!");
    }
    return _view.strideTert * static_cast<int64>(position.tert) + _view.strideSec * static_cast<int64>(position.sec) +
           _view.stridePrim * static_cast<int64>(position.prim) + _view.startOffset;
  }

private:
  void recompute() { _view = Impl::computeIterationData(_allocated, _roiStack.back(), _orientation); }
  void showAll() {
    _roiStack.assign(1, RegionOfInterest(_allocated));
    recompute();
  }

  /// Replaces the stack by regions in storage order, each of which must lie inside the stored volume.
  void setRoiStack(const SmartPointer<RoiList>& list) {
    if (list == nullptr) {
      throw Exceptions::InvalidArg(
          "NORV::Tavi::Volume::setValue", "%s",
          (getType() + "::setValue value is not an NORV::Tavi::Container::ListPtr<NORV::Tavi::RoiRoiCompositePtr>")
              .c_str());
    }
    if (list->empty()) {
      throw std::invalid_argument(getType() + "::setValue we need at least one roi in the roi stack");
    }
    std::list<RegionOfInterest> stack;
    const auto allocated = Impl::components(_allocated);
    for (const SmartPointer<RoiComposite>& node : *list) {
      if (node == nullptr) {
        throw Exceptions::NULLPointer("NORV::Tavi::Volume::setValue", "roi");
      }
      const RegionOfInterest region = node->value();
      const auto size = Impl::components(region.getDimension());
      const auto origin = Impl::components(region.getOrigin());
      for (std::size_t axis = 0; axis < 3; ++axis) {
        if (size[axis] > allocated[axis] || origin[axis] > allocated[axis] - size[axis]) {
          throw Exceptions::OutOfRange("NORV::Tavi::Volume::setValue");
        }
      }
      stack.push_back(region);
    }
    _roiStack.swap(stack);
    recompute();
  }

  [[noreturn]] void throwUnknown(const Exceptions::Origin& origin, const std::string& words) const {
    throw Exceptions::IndexOutOfRange(origin, getType() + words);
  }

  Dimension<SizeType> _allocated;
  Orientation _orientation;
  std::list<RegionOfInterest> _roiStack;
  IterationData _view;
};

/// A three-dimensional array of voxels with a stack of regions and an orientation, which together define the view that
/// operators see. It has no lock: neither view nor extents may change while an operator works on it.
template <class T, class Alloc>
class TAVI_EXPORT Volume final : public VolumeBase, private Factory::StaticFactorySubscriber<Volume<T, Alloc>> {
public:
  using Voxel = T;

  /// The empty volume.
  Volume();

  /// Allocates; the voxels are not cleared.
  [[gnu::noinline]] explicit Volume(const Dimension<SizeType>& dimension) requires(!Allocator::isExternal<Alloc>)
      : _block(Alloc::template allocate<T>(dimension)),
        _data(_block.getData()) {
    showAll(dimension);
  }

  /// Takes the voxels at `data`, prim fastest, without a copy. `release` is called with `data` when the volume goes or
  /// `resize` replaces the block, and also when this constructor throws; an empty one is not called.
  Volume(const Dimension<SizeType>& dimension, T* data,
         std::function<void(T*)> release) requires(!Allocator::isExternal<Alloc>)
      : Volume(dimension, Allocator::Block<T>(data, std::move(release), {})) {}

  /// Shows the voxels of `owner`, as its view is now, and keeps it alive; also its present voxels, should `owner` be
  /// resized meanwhile.
  explicit Volume(const typename Impl::BufferOwner<T, Alloc>::Pointer& owner) requires Allocator::isExternal<Alloc> {
    if (owner == nullptr) {
      throw Exceptions::NULLPointer("NORV::Tavi::Volume::Volume", "owner");
    }
    _owner.pointer = owner;
    _block = owner->_block.share();
    _data = _block.getData();
    showAs(*owner);
  }

  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;
  ~Volume() override;

  /// The block that holds the voxels; the view begins `getIterationData().startOffset` voxels behind it.
  T* getData() { return _data; }
  const T* getData() const { return _data; }

  std::string getVoxelType() const override { return typeName<T>; }
  std::string getType() const override { return identifier(); }
  static std::string identifier() {
    return std::string("NORV::Tavi::Volume< ") + typeName<T> + " , " + Alloc::identifier() + " >";
  }
  std::list<RegionOfInterest> getMemoryRegions() const override {
    return _block.getRegions().empty() ? std::list<RegionOfInterest>{RegionOfInterest(getAllocatedDimension())}
                                       : _block.getRegions();
  }
  /// Frees before it allocates, so that both blocks never stand side by side; where memory fails
  /// (`std::bad_alloc`), the volume is left empty. Extents that no memory can hold change nothing.
  void resize(const Dimension<SizeType>& dimension) override {
    dimension.check();
    if (dimension == getAllocatedDimension()) {
      return;
    }
    static_cast<void>(dimension.size());
    if constexpr (!Allocator::isExternal<Alloc>) {
      _block = {};
      _data = nullptr;
      showAll({});
    }
    _block = Alloc::template allocate<T>(dimension);
    _data = _block.getData();
    showAll(dimension);
  }
  T getValueAt(const Position<SizeType>& position) const {
    return _data[this->offset(position, "NORV::Tavi::Volume::getValueAt")];
  }

private:
  template <class, class>
  friend class Volume;

  Volume(const Dimension<SizeType>& dimension, Allocator::Block<T>&& block)
      : _block(std::move(block)),
        _data(_block.getData()) {
    dimension.check();
    if (dimension.size() != 0 && _data == nullptr) {
      throw Exceptions::NULLPointer("NORV::Tavi::Volume::Volume", "data");
    }
    showAll(dimension);
  }

  SmartPointer<Persistence::IComposite> getAllocator() const override { return _allocator; }
  void setAllocator(const SmartPointer<Persistence::IComposite>& allocator) override {
    if (SmartPointer<Alloc>(allocator) == nullptr) {
      throw Exceptions::InvalidArg(
          "NORV::Tavi::Volume::setValue", "%s",
          (getType() + "setValue value is not an NORV::Tavi::SmartPointer<" + Alloc::identifier()).c_str());
    }
  }

  Allocator::Block<T> _block;
  SmartPointer<Alloc> _allocator{new Alloc};
  T* _data = nullptr;
  [[no_unique_address]] Impl::BufferOwner<T, Alloc> _owner;
};

// Out of line, as is the other constructor that operators use: with them all virtual functions would be compiled where
// volumes come and go.
template <class T, class Alloc>
[[gnu::noinline]] Volume<T, Alloc>::Volume() = default;
template <class T, class Alloc>
[[gnu::noinline]] Volume<T, Alloc>::~Volume() = default;

inline IterationData Impl::computeIterationData(const Dimension<SizeType>& allocated, const RegionOfInterest& region,
                                                const Orientation& orientation) {
  const auto storedSize = components(region.getDimension());
  const auto storedOrigin = components(region.getOrigin());
  const auto whole = components(allocated);
  const std::array<int64, 3> storageStride{1, static_cast<int64>(whole[0]), static_cast<int64>(whole[0] * whole[1])};
  const auto axes = orientation.storageAxes();

  std::array<SizeType, 3> size{}, origin{};
  std::array<int64, 3> stride{};
  int64 start = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::size_t storage = axes[axis];
    size[axis] = storedSize[storage];
    stride[axis] = storageStride[storage];
    origin[axis] = storedOrigin[storage];
    start += static_cast<int64>(storedOrigin[storage]) * storageStride[storage];
    if (orientation.isReversed(axis)) {
      start += size[axis] == 0 ? 0 : (static_cast<int64>(size[axis]) - 1) * stride[axis];  // no voxel, no offset
      stride[axis] = -stride[axis];
      origin[axis] = whole[storage] - size[axis] - origin[axis];
    }
  }
  return {.dimPrim = size[0],
          .dimSec = size[1],
          .dimTert = size[2],
          .stepVoxel = stride[0],
          .stepLine = stride[1] - static_cast<int64>(size[0]) * stride[0],
          .stepSlice = stride[2] - static_cast<int64>(size[1]) * stride[1],
          .startOffset = start,
          .roiOrigin = Position<SizeType>(origin[0], origin[1], origin[2]),
          .stridePrim = stride[0],
          .strideSec = stride[1],
          .strideTert = stride[2]};
}

}  // namespace NORV::Tavi
