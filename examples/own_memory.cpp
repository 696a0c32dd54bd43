// Works on voxels that the host owns: the operator reads and writes the host's buffers, nothing is copied.
#include <DLL/Saturation.hpp>
#include <Saturation.hpp>

#include <cstdio>
#include <memory>
#include <vector>

using namespace NORV::TaviOperators;

namespace {

/// A volume over a buffer that the host keeps alive itself. The function that is called with the pointer when the last
/// pointer to the volume goes has nothing to release.
VolumePtr<NORV::float32> borrow(std::vector<NORV::float32>& buffer, const Dimension<SizeType>& extents) {
  return VolumePtr<NORV::float32>(
      new Volume<NORV::float32>(extents, buffer.data(), [](NORV::float32*) { /* the vector owns the voxels */ }));
}

/// A volume that shares the ownership of a buffer: the buffer lives as long as the volume needs it.
VolumePtr<NORV::float32> share(const std::shared_ptr<NORV::float32[]>& buffer, const Dimension<SizeType>& extents) {
  return VolumePtr<NORV::float32>(
      new Volume<NORV::float32>(extents, buffer.get(), [keeper = buffer](NORV::float32*) mutable { keeper.reset(); }));
}

}  // namespace

int main() try {
  const Dimension<SizeType> extents(64, 48, 32);
  std::vector<NORV::float32> detector(extents.size());
  for (std::size_t i = 0; i < detector.size(); ++i) {
    detector[i] = static_cast<NORV::float32>(i % 1000) - 100.0f;
  }
  std::shared_ptr<NORV::float32[]> display(new NORV::float32[extents.size()]());

  const SmartPointer<Saturation::Parameter> parameter(new Saturation::Parameter);
  parameter->inputVolume = borrow(detector, extents);
  parameter->outputVolume = share(display, extents);
  parameter->inputLowerLimit.setValue(NORV::float32(0));
  parameter->inputUpperLimit.setValue(NORV::float32(500));
  DLL::Saturation::Operator().apply(parameter);

  const NORV::float32* const result = display.get();
  // An output of the right extents is never replaced, so the result is in the host's own buffer.
  for (std::size_t i = 0; i < detector.size(); ++i) {
    const NORV::float32 expected = detector[i] < 0.0f ? 0.0f : detector[i] > 500.0f ? 500.0f : detector[i];
    if (result[i] != expected) {
      return std::fprintf(stderr, "voxel %zu is %g\n", i, static_cast<double>(result[i])), 1;
    }
  }
  std::printf("%zu voxels clamped in the memory of the host\n", detector.size());
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
