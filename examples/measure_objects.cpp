// Measures the objects of a label volume and prints a table, the largest object first.
#include <DLL/StandardFeaturesCalculation.hpp>
#include <StandardFeaturesCalculation.hpp>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace NORV::TaviOperators;
using NORV::float64;
using NORV::uint16;
using NORV::uint8;

namespace {

/// The record depends on the voxel types of the labels and of the grey values.
using Record = StandardFeaturesCalculation::Features<uint8, uint16, float64>;
using Records = StandardFeaturesCalculation::FeaturesVector<uint8, uint16>;

SmartPointer<Records> measure(const VolumePtr<uint8>& labels, const VolumePtr<uint16>& scan, uint8 last) {
  const SmartPointer<StandardFeaturesCalculation::Parameter> parameter(new StandardFeaturesCalculation::Parameter);
  parameter->inputLabelVolume = labels;
  parameter->inputValueVolume = scan;
  parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<uint8>(1));  // 0 is the background
  parameter->inputMaximumLabel = SmartPointer<IComposite>(new Data<uint8>(last));
  DLL::StandardFeaturesCalculation::Operator().apply(parameter);
  return SmartPointer<Records>(parameter->outputFeaturesVector.value());
}

/// Balls of radius 3, 5 and 7, labelled from 1, brighter from ball to ball.
void drawBalls(const VolumePtr<uint8>& labels, const VolumePtr<uint16>& scan) {
  const auto extents = labels->getDimension();
  for (SizeType i = 0; i < labels->getSize(); ++i) {
    const auto x = static_cast<NORV::int64>(i % extents.prim);
    const auto y = static_cast<NORV::int64>(i / extents.prim % extents.sec);
    const auto z = static_cast<NORV::int64>(i / extents.prim / extents.sec);
    labels->getData()[i] = 0;
    scan->getData()[i] = 10;
    for (NORV::int64 ball = 1; ball <= 3; ++ball) {
      const NORV::int64 radius = 1 + 2 * ball, dx = x - 18 * ball + 8, dy = y - 10, dz = z - 10;
      if (dx * dx + dy * dy + dz * dz <= radius * radius) {
        labels->getData()[i] = static_cast<uint8>(ball);
        scan->getData()[i] = static_cast<uint16>(100 * ball);
      }
    }
  }
}

}  // namespace

int main() try {
  const Dimension<SizeType> extents(60, 21, 21);
  const VolumePtr<uint8> labels(new Volume<uint8>(extents));
  const VolumePtr<uint16> scan(new Volume<uint16>(extents));
  drawBalls(labels, scan);

  const SmartPointer<Records> records = measure(labels, scan, 3);
  std::vector<SmartPointer<Record>> objects(records->begin(), records->end());
  std::sort(objects.begin(), objects.end(), [](const auto& a, const auto& b) { return a->size > b->size; });

  std::printf("label   voxels   centre x      y      z    mean  diameter\n");
  for (const auto& object : objects) {
    const Triple<float64> centre = object->geometricCenter;
    std::printf("%5d %8llu %10.1f %6.1f %6.1f %7.1f %9.1f\n", static_cast<int>(uint8(object->label)),
                static_cast<unsigned long long>(NORV::uint64(object->size)), centre.prim, centre.sec, centre.tert,
                float64(object->mean), float64(object->diameter));
  }
  return objects.size() == 3 && objects.front()->label == 3 && objects.front()->mean == 300.0 ? 0 : 1;
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
