// A chain of operators in memory: smooth, threshold, label, remove small objects. Each step hands its result to the
// next, and a volume is freed as soon as nothing points to it.
#include <ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/HistogramUpdateMedian.hpp>
#include <DLL/RangeBinarization.hpp>
#include <DLL/SmallObjectsRemover.hpp>
#include <HistogramUpdateMedian.hpp>
#include <RangeBinarization.hpp>
#include <SmallObjectsRemover.hpp>

#include <algorithm>
#include <cstdio>

using namespace NORV::TaviOperators;
using NORV::uint16;
using NORV::uint8;

namespace {

SmartPointer<IVolume> smooth(const SmartPointer<IVolume>& scan) {
  const VolumePtr<uint8> mask(new Volume<uint8>(Dimension<SizeType>(3, 3, 3)));
  std::fill_n(mask->getData(), mask->getSize(), uint8(1));
  const SmartPointer<HistogramUpdateMedian::Parameter> parameter(new HistogramUpdateMedian::Parameter);
  parameter->inputVolume = scan;
  parameter->inputMask = mask;
  parameter->inputAnchor = Position<SizeType>(1, 1, 1);
  parameter->outputVolume = scan;  // in place: the border keeps its voxels
  DLL::HistogramUpdateMedian::Operator().apply(parameter);
  return parameter->outputVolume;
}

SmartPointer<IVolume> threshold(const SmartPointer<IVolume>& scan, uint16 from, uint16 to) {
  const SmartPointer<RangeBinarization::Parameter> parameter(new RangeBinarization::Parameter);
  parameter->inputVolume = scan;
  parameter->outputVolume = VolumePtr<uint8>(new Volume<uint8>(scan->getDimension()));  // chooses the voxel type
  parameter->inputMinimumThreshold.setValue(from);
  parameter->inputMaximumThreshold.setValue(to);
  parameter->inputBackgroundValue.setValue(uint8(0));
  parameter->inputForegroundValue.setValue(uint8(1));
  DLL::RangeBinarization::Operator().apply(parameter);
  return parameter->outputVolume;
}

struct Objects {
  SmartPointer<IVolume> labels;
  SizeType count;
};

Objects label(const SmartPointer<IVolume>& binary) {
  const SmartPointer<ChessboardConnectedComponentsAnalysis::Parameter> parameter(
      new ChessboardConnectedComponentsAnalysis::Parameter);
  parameter->inputFirstVolume = binary;
  parameter->inputBackgroundValue.setValue(uint8(0));
  parameter->outputVolume = VolumePtr<uint16>(new Volume<uint16>(binary->getDimension()));
  DLL::ChessboardConnectedComponentsAnalysis::Operator().apply(parameter);
  return {parameter->outputVolume, parameter->outputNumberOfLabels - 1};  // without the background
}

/// How many objects were removed.
SizeType removeSmall(const SmartPointer<IVolume>& labels, SizeType threshold) {
  const SmartPointer<SmallObjectsRemover::Parameter> parameter(new SmallObjectsRemover::Parameter);
  parameter->inputVolume = labels;
  parameter->inputLabelVolume = labels;
  parameter->outputVolume = labels;
  parameter->inputThreshold = threshold;
  parameter->inputBackgroundLabelEnabled = true;
  parameter->inputBackgroundLabel.setValue(uint16(0));
  parameter->inputSubstitutionValue.setValue(uint16(0));
  DLL::SmallObjectsRemover::Operator().apply(parameter);
  return parameter->outputNumberOfRemovedObjects;
}

/// Cubes with sides of 3, 4, 5 ... voxels in a row.
VolumePtr<uint16> makeScan() {
  const VolumePtr<uint16> scan(new Volume<uint16>(Dimension<SizeType>(80, 20, 20)));
  std::fill_n(scan->getData(), scan->getSize(), uint16(100));
  SizeType begin = 4;
  for (SizeType side = 3; side <= 9; ++side) {
    scan->setRoi(RegionOfInterest(Dimension<SizeType>(side, side, side), Position<SizeType>(begin, 4, 4)));
    for (SizeType z = 0; z < side; ++z) {
      for (SizeType y = 0; y < side; ++y) {
        for (SizeType x = 0; x < side; ++x) {
          scan->getData()[scan->getOffset(Position<SizeType>(x, y, z))] = 1000;
        }
      }
    }
    scan->popRoi();
    begin += side + 3;
  }
  return scan;
}

}  // namespace

int main() try {
  const Objects objects = label(threshold(smooth(makeScan()), 500, 65535));
  const SizeType removed = removeSmall(objects.labels, 60);
  std::printf("%zu objects, %zu of them below 60 voxels\n", static_cast<std::size_t>(objects.count),
              static_cast<std::size_t>(removed));
  // The median takes the edges off each cube: sides of 3 and 4 leave fewer than 60 voxels.
  return objects.count == 7 && removed == 2 ? 0 : 1;
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
