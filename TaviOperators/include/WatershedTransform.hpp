#pragma once

#include <Parameter.hpp>

/// Divides a volume into the catchment basins of its grey-value minima.
///
/// Voxels are flooded by ascending grey value. A voxel that is reached from several basins at once takes the label that
/// most of its labelled neighbours have, at equal counts that of the first neighbour in scan order; so there are no
/// watershed lines. Within a plateau the basins advance by one voxel at a time. Neighbours share a face, an edge or a
/// corner: 26 of them, or the 8 in the slice where there is only one slice.
///
/// Labels begin at 1. Basins of lower minima come first, those of one grey value in the order in which a scan meets
/// them. Label 0 marks the voxels that were left out.
///
/// - Border: every voxel is written; outside of the volume there are no neighbours.
/// - NaN: the voxel types hold none.
/// - Failures: InvalidParameterObjectException without inputVolume; NumericalOverflow if there are more basins than the
///   voxel type of the output has labels, or more than 2^31 - 2, before a voxel of the output is written.
///   inputHugeMinimum has the output written before, and the numbering of the lowest level throws already if the
///   temporary labels of ChessboardConnectedComponentsAnalysis do not fit.
/// - Halo: whole volume.
/// - Memory: at most 16 bytes per voxel beyond input and output (6 to 13 in most volumes of 2^31 voxels or fewer),
///   but up to 22 in bars that are 2 by 2 to 2 by 4 voxels thick. outputVolume may be inputVolume or share voxels with
///   it. A copy of each input whose rows are not dense.
/// - Threads: sorting, writing and the labels of large levels are parallel; the result does not depend on the number of
///   threads. Progress counts the voxels of the levels that are done.
/// - Cost: linear in the voxels where grey values have at most a quarter as many different values as there are voxels;
///   otherwise the values that occur are sorted. inputHugeMinimum does not change the basins.
/// - Paper: L. Vincent, P. Soille: Watersheds in Digital Spaces: An Efficient Algorithm Based on Immersion Simulations.
///   IEEE Transactions on Pattern Analysis and Machine Intelligence 13, 1991.
namespace NORV::TaviOperators::WatershedTransform {

/// One run. Input and output are each of an unsigned integer voxel type.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<bool> inputIgnoreHighestGrayValue;
  Property<bool> inputHugeMinimum;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<uint64> outputNumberOfLabels;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "relief to flood, of an unsigned voxel type"});
    append("inputIgnoreHighestGrayValue", inputIgnoreHighestGrayValue,
           {Takes::flag, optional, "leave out the voxels of the highest grey value: they get label 0"});
    append("inputHugeMinimum", inputHugeMinimum,
           {Takes::flag, optional, "number the voxels of the lowest grey value by connected components"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append(
        "outputVolume", outputVolume,
        {Takes::labelVolume, optional, "labels, of an unsigned voxel type; made of the input's voxel type if absent"});
    append("outputNumberOfLabels", outputNumberOfLabels,
           {Takes::count, optional, "highest label and one, for label 0"});
  }
  std::string getType() const override { return "NORV::TaviOperators::WatershedTransform::Parameter"; }
};

}  // namespace NORV::TaviOperators::WatershedTransform
