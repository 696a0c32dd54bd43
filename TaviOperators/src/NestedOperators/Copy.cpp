#include <Impl/Frame/Instances.hpp>
#include <Tavi/Copy.hpp>

namespace NORV::TaviOperators::Impl {
namespace {

/// Volumes that own their voxels and views of such, in all directions.
template <class T>
void constructCopies() {
  using Own = Tavi::VolumePtr<T>;
  using Shared = Tavi::VolumePtr<T, Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>>;
  static_cast<void>(Tavi::Copy::Operator<Own, Own>());
  static_cast<void>(Tavi::Copy::Operator<Shared, Shared>());
  static_cast<void>(Tavi::Copy::Operator<Shared, Own>());
  static_cast<void>(Tavi::Copy::Operator<Own, Shared>());
}

// Never called: that it could be is what makes each class register itself.
[[maybe_unused]] __attribute__((used)) void constructAllCopies() {
  forEachType(AllVoxelTypes(), []<class T>() { constructCopies<T>(); });
}

}  // namespace
}  // namespace NORV::TaviOperators::Impl
