#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace NORV::TaviOperators {

using Tavi::SizeType;

/// A growing table: a full one grows by a fixed step, there is no doubling.
template <class T>
class Array {
public:
  explicit Array(SizeType growthStep = 1, SizeType capacity = 0)
      : _data(allocate(capacity)),
        _capacity(capacity),
        _growthStep(growthStep > 0 ? growthStep : 1) {}
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  Array(Array&& other) noexcept
      : _data(std::exchange(other._data, nullptr)),
        _capacity(std::exchange(other._capacity, 0)),
        _size(std::exchange(other._size, 0)),
        _growthStep(other._growthStep) {}
  Array& operator=(Array&& other) noexcept {
    std::swap(_data, other._data);
    std::swap(_capacity, other._capacity);
    std::swap(_size, other._size);
    std::swap(_growthStep, other._growthStep);
    return *this;
  }
  virtual ~Array() {
    std::destroy_n(_data, _size);
    release(_data, _capacity);
  }

  void append(T element) {
    if (_size == _capacity) {
      grow();
    }
    std::construct_at(_data + _size, std::move(element));
    ++_size;
  }
  void clear() {
    std::destroy_n(_data, _size);
    _size = 0;
  }

  /// Throws IndexOutOfRange at or past the end.
  T& at(SizeType index) { return _data[checked(index, {"Array::at", "TaviOperators/include/Array", 382})]; }
  const T& at(SizeType index) const { return _data[checked(index, {"Array::at", "TaviOperators/include/Array", 382})]; }
  /// The last element; throws IndexOutOfRange if there is none.
  T& back() { return _data[checked(_size - 1, "Array::back")]; }
  const T& back() const { return _data[checked(_size - 1, "Array::back")]; }

  SizeType size() const { return _size; }
  SizeType capacity() const { return _capacity; }
  SizeType growthStep() const { return _growthStep; }
  void setGrowthStep(SizeType step) { _growthStep = step > 0 ? step : 1; }
  bool empty() const { return _size == 0; }
  T* data() { return _data; }
  const T* data() const { return _data; }
  T* begin() { return _data; }
  T* end() { return _data + _size; }
  const T* begin() const { return _data; }
  const T* end() const { return _data + _size; }

private:
  static T* allocate(SizeType count) { return count == 0 ? nullptr : std::allocator<T>().allocate(count); }
  static void release(T* data, SizeType count) {
    if (data != nullptr) {
      std::allocator<T>().deallocate(data, count);
    }
  }

  void grow() {
    static_assert(std::is_nothrow_move_constructible_v<T>, "elements move when the table grows");
    SizeType capacity = 0;
    if (__builtin_add_overflow(_capacity, _growthStep, &capacity)) {
      throw std::bad_array_new_length();
    }
    T* const data = allocate(capacity);
    std::uninitialized_move_n(_data, _size, data);
    std::destroy_n(_data, _size);
    release(_data, _capacity);
    _data = data;
    _capacity = capacity;
  }

  SizeType checked(SizeType index, const Exceptions::Origin& function) const {
    if (index >= _size) {
      throw Exceptions::IndexOutOfRange(function, index, 0, _size - SizeType{1});
    }
    return index;
  }

  T* _data = nullptr;
  SizeType _capacity = 0;
  SizeType _size = 0;
  SizeType _growthStep = 1;
};

}  // namespace NORV::TaviOperators
