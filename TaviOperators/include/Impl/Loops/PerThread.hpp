#pragma once

#include <Array.hpp>
#include <Impl/Frame/ThreadCount.hpp>

#include <omp.h>

namespace NORV::TaviOperators::Impl {

/// One private object per thread of a slice loop. The range test of the table guards the thread number.
template <class T>
class PerThread {
public:
  /// `make()` is called once per thread that a loop over `slices` with `threads` and of this time can use.
  template <class Make>
  PerThread(int threads, Tavi::SizeType slices, Make make, LoopTime time = {}) : _objects(1) {
    for (int i = teamSize(threads, slices, time); i > 0; --i) {
      _objects.append(make());
    }
  }

  /// That of the calling thread. A single one serves whatever number the thread has in a region around the loop.
  T& mine() { return _objects.at(size() == 1 ? 0 : static_cast<Tavi::SizeType>(omp_get_thread_num())); }

  Tavi::SizeType size() const { return _objects.size(); }
  T& operator[](Tavi::SizeType thread) { return _objects.at(thread); }

private:
  Array<T> _objects;
};

}  // namespace NORV::TaviOperators::Impl
