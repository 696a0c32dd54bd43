#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/NestableLock.hpp>
#include <Tavi/Types.hpp>

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>

namespace NORV::Tavi {

namespace Impl {

/// What all pointers to one object share. The lock guards the counts.
struct SharedCounts {
  NestableLock lock;
  uint32 owners = 1;   ///< pointers that keep the object alive
  uint32 handles = 1;  ///< values that use this block, owning or not
};

/// The link of one pointer value to its shared counts; null for an empty pointer. The lowest bit marks the value as in
/// use: whoever copies from it or reassigns it holds the mark meanwhile, so that a copy never follows a link that
/// another thread is just cutting.
class CountsLink {
public:
  class Guard {
  public:
    explicit Guard(const CountsLink& link) noexcept : _link(link) {
      _value = link._tagged.load(std::memory_order_relaxed) & ~inUse;
      while (!link._tagged.compare_exchange_weak(_value, _value | inUse, std::memory_order_acquire,
                                                 std::memory_order_relaxed)) {
        if (_value & inUse) {
          std::this_thread::yield();
          _value &= ~inUse;
        }
      }
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() { _link._tagged.store(_value, std::memory_order_release); }

    SharedCounts* counts() const noexcept { return reinterpret_cast<SharedCounts*>(_value); }
    SharedCounts* exchange(SharedCounts* counts) noexcept {
      return reinterpret_cast<SharedCounts*>(std::exchange(_value, reinterpret_cast<std::uintptr_t>(counts)));
    }

  private:
    const CountsLink& _link;
    std::uintptr_t _value;
  };

  // Without the mark: for a value that no other thread can reach yet, or any more.
  SharedCounts* get() const noexcept {
    return reinterpret_cast<SharedCounts*>(_tagged.load(std::memory_order_relaxed));
  }
  void set(SharedCounts* counts) noexcept {
    _tagged.store(reinterpret_cast<std::uintptr_t>(counts), std::memory_order_relaxed);
  }

private:
  static constexpr std::uintptr_t inUse = 1;
  mutable std::atomic<std::uintptr_t> _tagged{0};
};

// Out of line, since pointers are copied everywhere and these do not depend on the class pointed to.

/// Joins the owners, unless there is none left to join.
[[gnu::noinline]] inline bool addOwner(SharedCounts* counts) {
  const std::lock_guard lock(counts->lock);
  if (counts->owners == 0) {
    return false;
  }
  ++counts->owners;
  ++counts->handles;
  return true;
}

/// Leaves the owners but keeps the handle; returns whether the object has lost its last one.
[[gnu::noinline]] inline bool removeOwner(SharedCounts* counts) noexcept {
  const std::lock_guard lock(counts->lock);
  return counts->owners > 0 && --counts->owners == 0;
}

/// Gives one handle back; the last one frees the block.
[[gnu::noinline]] inline void releaseHandle(SharedCounts* counts) noexcept {
  counts->lock.lock();
  const bool last = --counts->handles == 0;
  counts->lock.unlock();
  if (last) {
    delete counts;
  }
}

/// Null for an object of another class.
template <class Target, class Source>
Target* checkedPointerCast(Source* object) noexcept {
  if constexpr (std::convertible_to<Source*, Target*>) {
    return object;
  } else {
    return dynamic_cast<Target*>(object);
  }
}

}  // namespace Impl

template <class T>
class SmartPointer;

/// A checked cast between two kinds of SmartPointer: a handle on the source's counts, but no owner. It becomes an owner
/// when it is converted to `SmartPointer<Target>`, unless the object died in between; then the result is empty.
template <class Target, class Source>
class TAVI_EXPORT DynamicCast {
public:
  explicit DynamicCast(const SmartPointer<Source>& source);
  DynamicCast(const DynamicCast&) = delete;
  DynamicCast& operator=(const DynamicCast&) = delete;
  virtual ~DynamicCast() {
    if (_counts != nullptr) {
      Impl::releaseHandle(_counts);
    }
  }

private:
  template <class>
  friend class SmartPointer;

  Target* _object = nullptr;
  Impl::SharedCounts* _counts = nullptr;
};

/// Shares an object among any number of pointers and threads; the last owner deletes it.
///
/// Copying, converting, assigning and comparing are safe on one and the same value from several threads. Conversions
/// between pointer types are checked dynamic casts: a value of another class converts to an empty pointer. Every copy
/// takes a lock, so voxel loops work on plain pointers that are fetched before.
template <class T>
class TAVI_EXPORT SmartPointer {
public:
  using Pointee = T;

  SmartPointer() noexcept : _object(nullptr) {}
  SmartPointer(std::nullptr_t) noexcept : SmartPointer() {}
  /// The literal 0 makes an empty pointer; any other number throws.
  SmartPointer(int zero) : SmartPointer() {
    if (zero != 0) {
      throw Exceptions::InvalidArg("NORV::Tavi::SmartPointer::SmartPointer", "Can initialize implicitly only with 0!");
    }
  }
  /// Takes `object` over, which must come from `new` and belong to no other pointer.
  explicit SmartPointer(T* object) : _object(object) {
    if (object != nullptr) {
      try {
        _link.set(new Impl::SharedCounts);
      } catch (...) {
        delete object;
        throw;
      }
    }
  }
  SmartPointer(const SmartPointer& other) : _object(nullptr) {
    const Impl::CountsLink::Guard guard(other._link);
    own(guard.counts(), other.get());
  }
  template <class Source>
  requires(!std::same_as<Source, T>) SmartPointer(const SmartPointer<Source>& other) : _object(nullptr) {
    const Impl::CountsLink::Guard guard(other._link);
    own(guard.counts(), other.get());
  }
  template <class Source>
  SmartPointer(const DynamicCast<T, Source>& cast) : _object(nullptr) {
    own(cast._counts, cast._object);
  }
  virtual ~SmartPointer() { release(get(), _link.get()); }

  SmartPointer& operator=(const SmartPointer& other) {
    if (this != &other) {
      SmartPointer copy(other);
      copy.swapInto(*this);
    }
    return *this;
  }

  T* get() const noexcept { return _object.load(std::memory_order_relaxed); }
  T* operator->() const noexcept { return get(); }
  T& operator*() const noexcept { return *get(); }
  explicit operator bool() const noexcept { return get() != nullptr; }

  /// How many pointers keep the object alive; 0 for an empty pointer.
  uint32 getNumberOfOwners() const {
    return counted(0, [](const Impl::SharedCounts& counts) { return counts.owners; });
  }
  /// How many values share the counts, owning or not; an empty pointer stands alone.
  uint32 getNumberOfHandles() const {
    return counted(1, [](const Impl::SharedCounts& counts) { return counts.handles; });
  }

  /// Gives the object out of the care of this, its only owner: the caller deletes it. The pointer still points to it.
  T* shiftResponsibility() {
    const Impl::CountsLink::Guard guard(_link);
    uint32 owners = 0;
    if (Impl::SharedCounts* counts = guard.counts()) {
      const std::lock_guard lock(counts->lock);
      owners = counts->owners;
      if (owners == 1) {
        counts->owners = 0;
        return get();
      }
    }
    throw Exceptions::InvalidState(
        "NORV::Tavi::SmartPointer::shiftResponsibility",
        "Shifting responsibility is only allowed if there is only one owner of the pointer! Current: %d",
        static_cast<int>(owners));
  }

  friend bool operator==(const SmartPointer& pointer, int zero) {
    if (zero != 0) {
      throw Exceptions::InvalidArg("NORV::Tavi::SmartPointer::operator ==", "Can compare only to 0!");
    }
    return pointer.get() == nullptr;
  }
  friend bool operator==(const SmartPointer& pointer, std::nullptr_t) noexcept { return pointer.get() == nullptr; }

private:
  template <class, class>
  friend class DynamicCast;
  template <class>
  friend class SmartPointer;

  /// Becomes one more owner of an object of this class, unless there is none left to join. Joins before it casts, since
  /// an object without owners may be gone.
  template <class Source>
  void own(Impl::SharedCounts* counts, Source* source) {
    if (counts == nullptr || source == nullptr || !Impl::addOwner(counts)) {
      return;
    }
    if (T* object = Impl::checkedPointerCast<T>(source)) {
      _link.set(counts);
      _object.store(object, std::memory_order_relaxed);
    } else {
      // Never the last one: the source, which is held meanwhile, owns the object, too.
      Impl::removeOwner(counts);
      Impl::releaseHandle(counts);
    }
  }

  void swapInto(SmartPointer& target) noexcept {
    Impl::CountsLink::Guard guard(target._link);
    Impl::SharedCounts* const old = guard.exchange(_link.get());
    T* const oldObject = target._object.exchange(get(), std::memory_order_relaxed);
    _link.set(old);
    _object.store(oldObject, std::memory_order_relaxed);
  }

  static void release(T* object, Impl::SharedCounts* counts) noexcept {
    if (counts == nullptr) {
      return;
    }
    if (Impl::removeOwner(counts)) {
      delete object;  // outside the lock: its destructor may release pointers of any kind
    }
    Impl::releaseHandle(counts);
  }

  template <class Read>
  uint32 counted(uint32 ifEmpty, Read read) const {
    const Impl::CountsLink::Guard guard(_link);
    if (Impl::SharedCounts* counts = guard.counts()) {
      const std::lock_guard lock(counts->lock);
      return read(*counts);
    }
    return ifEmpty;
  }

  std::atomic<T*> _object;
  Impl::CountsLink _link;
};

template <class A, class B>
bool operator==(const SmartPointer<A>& a, const SmartPointer<B>& b) noexcept {
  if constexpr (std::equality_comparable_with<A*, B*>) {
    return a.get() == b.get();
  } else {
    return dynamic_cast<const void*>(a.get()) == dynamic_cast<const void*>(b.get());
  }
}

template <class Target, class Source>
DynamicCast<Target, Source>::DynamicCast(const SmartPointer<Source>& source) {
  const Impl::CountsLink::Guard guard(source._link);
  Impl::SharedCounts* const counts = guard.counts();
  if (counts == nullptr) {
    return;
  }
  const std::lock_guard lock(counts->lock);
  if (counts->owners == 0) {
    return;
  }
  if (Target* object = Impl::checkedPointerCast<Target>(source.get())) {
    _object = object;
    _counts = counts;
    ++counts->handles;
  }
}

}  // namespace NORV::Tavi
