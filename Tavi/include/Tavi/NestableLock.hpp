#pragma once

#include <omp.h>

namespace NORV::Tavi {

/// A lock that its holder may take again, from the OpenMP runtime. Fits `std::lock_guard`.
class NestableLock {
public:
  NestableLock() { omp_init_nest_lock(&_lock); }
  NestableLock(const NestableLock&) = delete;
  NestableLock& operator=(const NestableLock&) = delete;
  ~NestableLock() { omp_destroy_nest_lock(&_lock); }

  void lock() { omp_set_nest_lock(&_lock); }
  void unlock() { omp_unset_nest_lock(&_lock); }

private:
  omp_nest_lock_t _lock;
};

}  // namespace NORV::Tavi
