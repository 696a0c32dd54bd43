#pragma once

#include <Parameter.hpp>
#include <Tavi/Vector.hpp>

/// Filters a volume with a median whose neighbourhood changes from voxel to voxel.
///
/// At each voxel an index chooses one of the kernels; the result is the lower median of the voxels under the non-zero
/// voxels of that kernel, which is centred.
///
/// - Border: where the chosen kernel reaches past the volume, the output keeps what it held.
/// - NaN: a NaN counts as beyond infinity, on the side of its sign.
/// - Failures: InvalidParameterObjectException for missing volumes or kernels, indices of other extents, a kernel of
///   another voxel type, of even extents, larger than the volume along all axes or without a voxel; IndexOutOfRange for
///   an index past the kernels. All before the output is resized.
/// - Halo: the extents of inputKernelVolume.
/// - Memory: 8 bytes for each voxel of each kernel; a table of up to 4 n log(n)^2 bytes for each number n <= 512 of
///   kernel voxels that occurs; per thread up to 128 bytes for each voxel of the largest kernel. A copy of an input
///   that shares voxels with the output. Likewise of inputs whose rows do not lie in memory as those of the output.
/// - Threads: parallel over slices as threads become free, one step of progress each; the result does not depend on the
///   number of threads.
/// - Cost: a selection network per kernel on vectors of voxels; grows with n log(n)^2 for kernels of n voxels.
namespace NORV::TaviOperators::AdaptiveMedian {

using Kernels = Tavi::Container::Vector<SmartPointer<IVolume>>;

/// One run. All kernels have one voxel type; their extents are odd.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputIndexVolume;
  Property<Tavi::Container::VectorPtr<SmartPointer<IVolume>>> inputKernelVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to filter"});
    append("inputIndexVolume", inputIndexVolume,
           {Takes::volume, required, "for each voxel which kernel it takes, from 0; of an unsigned voxel type"});
    append(
        "inputKernelVolume", inputKernelVolume,
        {Takes::volumeList, required, "kernels of odd extents and an unsigned voxel type; voxels not 0 belong to one"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::AdaptiveMedian::Parameter"; }
};

}  // namespace NORV::TaviOperators::AdaptiveMedian
