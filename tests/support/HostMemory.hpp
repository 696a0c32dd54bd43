#pragma once

#include <Tavi/Volume.hpp>

#include <sys/mman.h>

#include <cstddef>
#include <functional>
#include <new>
#include <utility>
#include <vector>

/// Volumes over memory that belongs to the test.
namespace NORV::Tests {

/// A row over `memory`. `released` is called when the volume gives it back, which `resize` does: a way to act between
/// the checks of an operator and its work.
template <class T>
Tavi::VolumePtr<T> hostVolume(std::vector<T>& memory, std::function<void()> released) {
  return Tavi::VolumePtr<T>(new Tavi::Volume<T>(Tavi::Dimension<Tavi::SizeType>(memory.size(), 1, 1), memory.data(),
                                                [released = std::move(released)](T*) { released(); }));
}

/// A volume of any extents whose voxels exist in no memory: no file takes them from there.
template <class T>
Tavi::VolumePtr<T> untouchableVolume(const Tavi::Dimension<Tavi::SizeType>& extents) {
  const std::size_t bytes = extents.size() * sizeof(T);
  void* const memory = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::bad_alloc();
  }
  return Tavi::VolumePtr<T>(
      new Tavi::Volume<T>(extents, static_cast<T*>(memory), [bytes](T* data) { munmap(data, bytes); }));
}

}  // namespace NORV::Tests
