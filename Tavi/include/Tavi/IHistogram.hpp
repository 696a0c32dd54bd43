#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/ForEach.hpp>

namespace NORV::Tavi::Histogram {

/// A histogram whose voxel type is not known.
class TAVI_EXPORT IHistogram {
public:
  /// A new functor that counts voxels into this histogram, which must outlive it. The caller deletes it.
  virtual Iterating::Functor* createAddFunktor() const = 0;
  virtual ~IHistogram() = default;
};

}  // namespace NORV::Tavi::Histogram
