#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace NORV::TaviOperators {

/// A first-in first-out queue in a ring of elements: a full one grows by a fixed step, there is no doubling.
///
/// - Failures: `pop` throws InvalidState on an empty queue. A growth without memory throws `std::bad_alloc` and leaves
///   the queue unchanged.
/// - Memory: the capacity, and while it grows the old and the new ring.
/// - Threads: none; one thread at a time.
template <class T>
class Queue {
  static_assert(std::is_trivially_copyable_v<T>, "elements are copied when the queue grows");

public:
  /// The number of elements that there is room for at first, and by how many the room grows; a step of 0 is taken as 1.
  explicit Queue(Tavi::SizeType capacity = 0, Tavi::SizeType growthStep = 1)
      : _storage(allocate(capacity)),
        _endOfStorage(_storage + capacity),
        _tail(_storage),
        _head(_storage),
        _capacity(capacity),
        _growthStep(std::max<Tavi::SizeType>(1, growthStep)) {}
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  Queue(Queue&& other) noexcept : Queue() { swap(other); }
  Queue& operator=(Queue&& other) noexcept {
    swap(other);
    return *this;
  }
  ~Queue() { release(_storage, _capacity); }

  /// Appends an element at the tail.
  void push(T element) {
    if (_count == _capacity) {
      grow();
    }
    *_tail = element;
    if (++_tail == _endOfStorage) {
      _tail = _storage;
    }
    ++_count;
  }
  /// Removes the element at the head and returns it.
  T pop() {
    if (_count == 0) {
      throw Exceptions::InvalidState({"Queue::pop", "TaviOperators/include/Queue", 247}, "The queue is empty!");
    }
    const T element = *_head;
    if (++_head == _endOfStorage) {
      _head = _storage;
    }
    --_count;
    return element;
  }
  void clear() {
    _tail = _head = _storage;
    _count = 0;
  }
  void swap(Queue& other) noexcept {
    std::swap(_storage, other._storage);
    std::swap(_endOfStorage, other._endOfStorage);
    std::swap(_tail, other._tail);
    std::swap(_head, other._head);
    std::swap(_capacity, other._capacity);
    std::swap(_count, other._count);
    std::swap(_growthStep, other._growthStep);
  }

  bool empty() const { return _count == 0; }
  Tavi::SizeType size() const { return _count; }
  Tavi::SizeType capacity() const { return _capacity; }
  Tavi::SizeType growthStep() const { return _growthStep; }

private:
  static T* allocate(Tavi::SizeType count) { return count == 0 ? nullptr : std::allocator<T>().allocate(count); }
  static void release(T* data, Tavi::SizeType count) {
    if (data != nullptr) {
      std::allocator<T>().deallocate(data, count);
    }
  }

  [[gnu::noinline]] void grow() {
    Tavi::SizeType capacity = 0;
    if (__builtin_add_overflow(_capacity, _growthStep, &capacity)) {
      throw std::bad_array_new_length();
    }
    T* const storage = allocate(capacity);
    if (_count != 0) {  // full: from the head to the end, then from the start to the tail
      T* const middle = std::copy(_head, _endOfStorage, storage);
      std::copy(_storage, _tail, middle);
    }
    release(_storage, _capacity);
    _storage = storage;
    _endOfStorage = storage + capacity;
    _head = storage;
    _tail = storage + _count;
    _capacity = capacity;
  }

  T* _storage = nullptr;
  T* _endOfStorage = nullptr;
  T* _tail = nullptr;
  T* _head = nullptr;
  Tavi::SizeType _capacity = 0;
  Tavi::SizeType _count = 0;
  Tavi::SizeType _growthStep = 1;
};

}  // namespace NORV::TaviOperators
