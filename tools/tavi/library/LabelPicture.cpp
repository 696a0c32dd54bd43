#include <LabelPicture.hpp>
#include <Tavi/View.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace NORV::TaviTool {
namespace {

using Colour = std::array<uint8, 3>;

/// Bright colours around the colour circle.
Colour colourOf(SizeType label, SizeType numberOfLabels) {
  const double turn = 6.0 * static_cast<double>(label) / static_cast<double>(std::max<SizeType>(1, numberOfLabels));
  Colour colour{};
  for (std::size_t i = 0; i < colour.size(); ++i) {
    const double away = std::abs(std::fmod(turn + 6.0 - 2.0 * static_cast<double>(i) + 3.0, 6.0) - 3.0);
    colour[i] = static_cast<uint8>(std::lround(255.0 * std::clamp(2.0 - away, 0.0, 1.0)));
  }
  return colour;
}

/// What is seen along one axis.
struct Sight {
  SizeType width, height;
  double depth;
  std::vector<double> sums;
  std::vector<uint32> labels;

  Sight(SizeType right, SizeType down, SizeType along)
      : width(right),
        height(down),
        depth(static_cast<double>(along)),
        sums(right * down),
        labels(right * down) {}

  void add(SizeType pixel, double value, uint32 label) {
    sums[pixel] += value;
    labels[pixel] = labels[pixel] != 0 ? labels[pixel] : label;
  }

  Picture draw(SizeType numberOfLabels) const {
    Picture picture;
    picture.width = width;
    picture.height = height;
    picture.channels = 3;
    if (sums.empty()) {
      return picture;
    }
    const double bright = *std::max_element(sums.begin(), sums.end()) / depth;
    const double dark = *std::min_element(sums.begin(), sums.end()) / depth;
    for (SizeType i = 0; i < sums.size(); ++i) {
      const uint8 grey = greyOf(sums[i] / depth, {dark, bright});
      const Colour colour = labels[i] != 0 ? colourOf(labels[i], numberOfLabels) : Colour{grey, grey, grey};
      picture.pixels.insert(picture.pixels.end(), colour.begin(), colour.end());
    }
    return picture;
  }
};

}  // namespace

Picture seeThrough(const SmartPointer<IVolume>& scan, const SmartPointer<IVolume>& labels, SizeType numberOfLabels) {
  const auto size = scan->getDimension();
  const auto objects = Tavi::viewOf(*Tavi::VolumePtr<uint32>(labels));
  Sight alongZ(size.prim, size.sec, size.tert), alongY(size.prim, size.tert, size.sec),
      alongX(size.sec, size.tert, size.prim);
  withVoxels(scan, [&](const auto& view) {
    for (SizeType z = 0; z < size.tert; ++z) {
      for (SizeType y = 0; y < size.sec; ++y) {
        for (SizeType x = 0; x < size.prim; ++x) {
          const auto value = static_cast<double>(view.at(x, y, z));
          const uint32 label = objects.at(x, y, z);
          alongZ.add(x + size.prim * y, value, label);
          alongY.add(x + size.prim * z, value, label);
          alongX.add(y + size.sec * z, value, label);
        }
      }
    }
  });
  return sideBySide({alongZ.draw(numberOfLabels), alongY.draw(numberOfLabels), alongX.draw(numberOfLabels)}, 4);
}

}  // namespace NORV::TaviTool
