#pragma once

#include <Tavi/BlockCache.hpp>
#include <Tavi/CompositeLeaf.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/RegionOfInterest.hpp>

#include <cstddef>
#include <functional>
#include <limits>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace NORV::Tavi::Allocator {

/// The voxels of a volume and which part of the volume they hold. They are given back when the last block that shares
/// them goes.
template <class T>
class Block {
public:
  Block() = default;
  /// Takes `data` over: `release` is called with it also where this constructor throws. Neither needs to be there.
  Block(T* data, std::function<void(T*)> release, std::list<RegionOfInterest> regions)
      : _data(data, Release{std::move(release)}),
        _regions(std::move(regions)) {}
  Block(const Block&) = delete;
  Block(Block&&) noexcept = default;
  Block& operator=(Block&&) noexcept = default;
  ~Block() = default;

  /// Another block over the same voxels.
  Block share() const {
    Block block;
    block._regions = _regions;
    block._data = _data;
    return block;
  }

  T* getData() const { return _data.get(); }
  const std::list<RegionOfInterest>& getRegions() const { return _regions; }

private:
  struct Release {
    void operator()(T* data) const {
      if (data != nullptr && function) {
        function(data);
      }
    }
    std::function<void(T*)> function;
  };

  std::shared_ptr<T> _data;
  std::list<RegionOfInterest> _regions;
};

/// One contiguous block from the global allocator, not cleared. Large blocks are aligned for huge pages and advised to
/// use them, as the first touch of a block in small pages costs several times what filling it does; freed ones serve
/// again through the `BlockCache`.
class TAVI_EXPORT SingleBlockAllocator final : public Persistence::CompositeLeaf<SingleBlockAllocator> {
public:
  std::string getType() const override { return identifier(); }
  static std::string identifier() { return "NORV::Tavi::Allocator::SingleBlockAllocator"; }

  template <class T>
  static Block<T> allocate(const Dimension<SizeType>& dimension) {
    SizeType bytes = 0;
    if (__builtin_mul_overflow(dimension.size(), sizeof(T), &bytes)) {
      bytes = std::numeric_limits<SizeType>::max();
    }
    if (bytes == 0) {
      return {};
    }
    // A rounded-up size must not wrap to a small one below the allocator.
    if (bytes > static_cast<SizeType>(std::numeric_limits<std::ptrdiff_t>::max()) - BlockCache::hugePage) {
      throw std::bad_alloc();
    }
    std::list<RegionOfInterest> regions{RegionOfInterest(dimension)};
    if (bytes >= largeBlock) {
      const auto block = processWideBlockCache().allocate(bytes);
      std::function<void(T*)> release = [size = block.bytes](T* data) {
        processWideBlockCache().release({data, size});
      };
      return {static_cast<T*>(block.data), std::move(release), std::move(regions)};
    }
    std::function<void(T*)> release = [](T* data) { ::operator delete(data, alignment); };
    T* const data = static_cast<T*>(::operator new(bytes, alignment));
    return {data, std::move(release), std::move(regions)};
  }

private:
  static constexpr std::align_val_t alignment{64};  // a cache line
  static constexpr std::size_t largeBlock = 2 * BlockCache::hugePage;
};

/// Known by name only: no volume of this library is built with it.
class TAVI_EXPORT MultiBlockAllocator final : public Persistence::CompositeLeaf<MultiBlockAllocator> {
public:
  std::string getType() const override { return identifier(); }
  static std::string identifier() { return "NORV::Tavi::Allocator::MultiBlockAllocator"; }

  template <class T>
  static Block<T> allocate(const Dimension<SizeType>& dimension) {
    return SingleBlockAllocator::allocate<T>(dimension);
  }
};

/// Memory that belongs to another volume, whose allocator is `Alloc`.
template <class Alloc>
class TAVI_EXPORT ExternalBufferAllocator final : public Persistence::CompositeLeaf<ExternalBufferAllocator<Alloc>> {
public:
  std::string getType() const override { return identifier(); }
  static std::string identifier() {
    return "NORV::Tavi::Allocator::ExternalBufferAllocator< " + Alloc::identifier() + " >";
  }

  template <class T>
  static Block<T> allocate(const Dimension<SizeType>&) {
    throw Exceptions::NotSupported("NORV::Tavi::Allocator::ExternalBufferAllocator::reallocate");
  }
};

template <class Alloc>
inline constexpr bool isExternal = false;
template <class Alloc>
inline constexpr bool isExternal<ExternalBufferAllocator<Alloc>> = true;

}  // namespace NORV::Tavi::Allocator
