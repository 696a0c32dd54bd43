#pragma once

#include <Parameter.hpp>

/// Equalises the grey values of a range by their cumulative histogram.
///
/// Values of the range are stretched over 0 to its upper end. The upper end itself becomes 0, as the cumulative
/// histogram has no entry there; so does a range in which nothing was counted. In a range from 0 on the voxels of value
/// 0 count in the total only, and voxels outside the range become 0; in another range they get the count of its lowest
/// value. Counts have 32 bits.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer or BadCast for a threshold that is missing or of another type; std::length_error for thresholds in the
///   wrong order.
/// - Halo: whole volume.
/// - Memory: per thread 4 KiB for 8 bits, 512 KiB for 16 bits, and at most 768 KiB of tables; for 32 bits 4 bytes per
///   value of the range and thread or, where the range has more values than the volume has voxels, 8 bytes per voxel.
/// - Threads: parallel over slices as threads become free, one thread unless more are asked for. With several threads
///   the counts are those of the last thread, so the result depends on which slices it took. Neither progress nor
///   abort.
/// - Cost: two passes at the speed of memory.
/// - Paper: R. C. Gonzalez, R. E. Woods: Digital Image Processing, histogram equalisation.
namespace NORV::TaviOperators::HistogramEqualization {

/// One run. The thresholds are grey values, each a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputMinimumThreshold;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<int32> inputNumberOfThreads;
  Property<IData> inputMaximumThreshold;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to equalise, of an integer type"});
    append("inputMinimumThreshold", inputMinimumThreshold, like("inputVolume", required, "lower end of the range"));
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
    append("inputNumberOfThreads", inputNumberOfThreads,
           threadCountKey()
               .ifAbsent("one thread")
               .cautioning("with several threads the result depends on which slices the last one took"));
    append("inputMaximumThreshold", inputMaximumThreshold,
           like("inputVolume", required, "upper end of the range; 0: the largest value of the type"));
  }
  std::string getType() const override { return "NORV::TaviOperators::HistogramEqualization::Parameter"; }
};

}  // namespace NORV::TaviOperators::HistogramEqualization
