// Registers the classes of the core in the factory: a class does so in whatever library constructs it.

#include <Impl/Frame/Instances.hpp>
#include <Tavi/Allocators.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Map.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Triple.hpp>
#include <Tavi/Vector.hpp>
#include <Tavi/Volume.hpp>

#include <complex>

namespace NORV::TaviOperators {
namespace {

using Numbers = Impl::TypeList<int8, int16, int32, int64, uint8, uint16, uint32, uint64, float32, float64>;

template <class... T>
void construct() {
  (static_cast<void>(T()), ...);
}

// Never called: that it could be is what makes each class register itself.
[[maybe_unused]] __attribute__((used)) void constructCoreClasses() {
  using namespace Tavi;
  using External = Allocator::ExternalBufferAllocator<Allocator::SingleBlockAllocator>;
  Impl::forEachType(Numbers(), []<class T>() {
    construct<Persistence::Data<T>, Persistence::Data<std::complex<T>>>();
    construct<TripleComposite<T>, PositionComposite<T>, DimensionComposite<T>>();
  });
  construct<Persistence::Data<bool>, Persistence::Data<std::string>>();
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() {
    construct<Volume<T>, Volume<T, External>, Volume<T, Allocator::ExternalBufferAllocator<External>>>();
  });
  construct<Allocator::SingleBlockAllocator, Allocator::MultiBlockAllocator, External>();
  construct<Orientation, Progress, RoiComposite>();
  construct<Container::Vector<SmartPointer<IVolume>>, Container::List<SmartPointer<IVolume>>>();
  construct<Container::Vector<SmartPointer<RoiComposite>>, Container::List<SmartPointer<RoiComposite>>>();
  construct<Container::Map<std::string, std::string>>();
}

}  // namespace
}  // namespace NORV::TaviOperators
