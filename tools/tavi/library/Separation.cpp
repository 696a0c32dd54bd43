#include <Call.hpp>
#include <ObjectNumbers.hpp>
#include <Separation.hpp>
#include <Tavi/Volume.hpp>
#include <Voxels.hpp>

#include <algorithm>

namespace NORV::TaviTool {

InnerObjects innerObjectsOf(Session& session, const SmartPointer<IVolume>& binary, const char* doing) {
  const auto size = binary->getDimension();
  const Tavi::VolumePtr<uint32> labels(Call(session, "ChessboardConnectedComponentsAnalysis")
                                           .set("inputFirstVolume", binary)
                                           .set("inputBackgroundValue", greyValue(binary, 0))
                                           .set("outputVolume", makeVolume("uint32", size))
                                           .run(doing)
                                           .volume("outputVolume"));
  const FeatureTable table(session, labels, {}, doing);
  const std::vector<uint32> numbers = innerNumbersOf(table, size, 1);
  const Tavi::VolumePtr<uint8> inner(new Tavi::Volume<uint8>(size));
  for (SizeType i = 0; i < inner->getSize(); ++i) {
    inner->getData()[i] = numbers[labels->getData()[i]] != 0 ? 1 : 0;
  }
  const SizeType objects = countOf(numbers);
  return {inner, objects, table.size() - objects};
}

namespace {

Tavi::VolumePtr<uint16> stepsIn(Session& session, const SmartPointer<IVolume>& binary, const char* op) {
  return Tavi::VolumePtr<uint16>(Call(session, op)
                                     .set("inputVolume", binary)
                                     .set("inputObjectValue", greyValue(binary, 0))
                                     .set("outputVolume", makeVolume("uint16", binary->getDimension()))
                                     .run("distance")
                                     .volume("outputVolume"));
}

/// Saturates: beyond, objects are not divided.
SmartPointer<IVolume> distanceIn(Session& session, const SmartPointer<IVolume>& binary) {
  auto sum = stepsIn(session, binary, "CityblockDistanceTransform");
  const auto others = stepsIn(session, binary, "ChessboardDistanceTransform");
  for (SizeType i = 0; i < sum->getSize(); ++i) {
    const uint32 distance = 2u * sum->getData()[i] + others->getData()[i];
    sum->getData()[i] = static_cast<uint16>(std::min(distance, 65534u));
  }
  return sum;
}

}  // namespace

SmartPointer<IVolume> separated(Session& session, const SmartPointer<IVolume>& binary, SizeType& objects) {
  const auto size = binary->getDimension();
  const auto distance = distanceIn(session, binary);
  const auto smooth = Call(session, "HMaximumTransform")
                          .set("inputVolume", distance)
                          .set("inputHeight", greyValue(distance, static_cast<double>(separationHeight)))
                          .run("low maxima")
                          .volume("outputVolume");
  // An object that is one or two voxels thick has lost its only maximum: it gets distance 1 back.
  const auto mask = Call(session, "StaticCast")
                        .set("inputVolume", binary)
                        .set("outputVolume", makeVolume("uint16", size))
                        .run("separate")
                        .volume("outputVolume");
  Call(session, "Maximum")
      .set("inputFirstVolume", smooth)
      .set("inputSecondVolume", mask)
      .set("outputVolume", smooth)
      .run("separate");
  Call(session, "RangeInversion").set("inputVolume", smooth).set("outputVolume", smooth).run("separate");
  // The background is the highest grey value now and takes no part.
  Call watershed(session, "WatershedTransform");
  watershed.set("inputVolume", smooth)
      .setFlag("inputIgnoreHighestGrayValue", true)
      .set("outputVolume", makeVolume("uint32", size))
      .run("watershed");
  const SizeType labels = watershed.count("outputNumberOfLabels");
  objects = labels > 0 ? labels - 1 : 0;
  return watershed.volume("outputVolume");
}

}  // namespace NORV::TaviTool
