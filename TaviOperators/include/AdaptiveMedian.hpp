#pragma once

#include <Parameter.hpp>
#include <Tavi/Vector.hpp>

/// Filters a volume with a median whose neighbourhood changes from voxel to voxel.
///
/// At each voxel an index chooses one of the given kernels; the result is the lower median of the voxels under those
/// kernel voxels that are not 0, the kernel being centred. Where the chosen kernel reaches past the volume, the output
/// keeps what it held. A floating-point NaN counts as beyond infinity, on the side of its sign.
///
/// Extra memory: 8 bytes for each set voxel of each kernel, a table of up to 4 n log(n)^2 bytes for each number n <=
/// 512 of them that occurs; per thread up to 128 bytes for each voxel of the largest kernel, a few mebibytes at the
/// most, or one voxel for each where that is more. Parallel over slices as threads become free, one step of progress
/// each. The output must not share voxels with the input.
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
