#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

/// Volumes for the tests of this folder: the same voxels in all kinds of views.
namespace NORV::HistogramTests {

using Tavi::Dimension;
using Tavi::Position;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Volume;
using Tavi::VolumePtr;

/// A view: which storage axis and sense each axis has, and how many voxels lie around the region on each side.
struct Layout {
  const char* name;
  Tavi::Orientation orientation;
  SizeType margin;
};
inline const std::array<Layout, 6> layouts{{
    {"plain", {0, 2, 4}, 0},
    {"region", {0, 2, 4}, 2},
    {"reversed", {1, 3, 5}, 0},
    {"permuted", {4, 0, 2}, 0},
    {"region, permuted and reversed", {3, 4, 1}, 1},
    {"region, rows dense but reversed slices", {0, 3, 5}, 1},
}};

/// An empty volume of voxels that no test expects, shown through `layout` with the extents given.
template <class T>
VolumePtr<T> makeVolume(const Dimension<SizeType>& extents, const Layout& layout = layouts[0]) {
  const std::array<SizeType, 3> wanted{extents.prim, extents.sec, extents.tert};
  std::array<SizeType, 3> stored{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    stored[layout.orientation.storageAxes()[axis]] = wanted[axis] + 2 * layout.margin;
  }
  const VolumePtr<T> volume(new Volume<T>(Dimension<SizeType>(stored[0], stored[1], stored[2])));
  for (SizeType i = 0; i < stored[0] * stored[1] * stored[2]; ++i) {
    volume->getData()[i] = static_cast<T>(0x5A5A5A5A + i % 3);
  }
  volume->setOrientation(layout.orientation);
  if (layout.margin > 0) {
    volume->setRoi(Tavi::RegionOfInterest(extents, Position<SizeType>(layout.margin, layout.margin, layout.margin)));
  }
  return volume;
}

/// Calls `body(offset)` for the voxels of the view, prim fastest.
template <class T, class Body>
void forVoxels(const VolumePtr<T>& volume, Body body) {
  const Dimension<SizeType> extents = volume->getDimension();
  for (SizeType tert = 0; tert < extents.tert; ++tert) {
    for (SizeType sec = 0; sec < extents.sec; ++sec) {
      for (SizeType prim = 0; prim < extents.prim; ++prim) {
        body(volume->getOffset(Position<SizeType>(prim, sec, tert)));
      }
    }
  }
}

template <class T>
std::vector<T> voxelsOf(const VolumePtr<T>& volume) {
  std::vector<T> voxels;
  forVoxels(volume, [&](int64 offset) { voxels.push_back(volume->getData()[offset]); });
  return voxels;
}

template <class T>
void setVoxels(const VolumePtr<T>& volume, const std::vector<T>& voxels) {
  ASSERT_EQ(volume->getSize(), voxels.size());
  SizeType i = 0;
  forVoxels(volume, [&](int64 offset) { volume->getData()[offset] = voxels[i++]; });
}

template <class T>
VolumePtr<T> volumeOf(const Dimension<SizeType>& extents, const std::vector<T>& voxels,
                      const Layout& layout = layouts[0]) {
  const VolumePtr<T> volume = makeVolume<T>(extents, layout);
  setVoxels(volume, voxels);
  return volume;
}

/// Grey values as of a scan: long runs of one value, and noise around a few others within [low, high].
template <class T>
std::vector<T> scanLike(SizeType count, int64 low, int64 high, unsigned seed = 1) {
  std::mt19937_64 random(seed);
  const auto span = static_cast<uint64>(high - low);
  std::vector<T> voxels(count);
  for (SizeType i = 0; i < count;) {
    const SizeType run = std::min<SizeType>(count - i, 1 + random() % 70);
    const uint64 level = random() % 4 * (span / 3);
    const uint64 noise = random() % 3 == 0 ? 0 : span / 7;
    for (SizeType k = 0; k < run; ++k) {
      const uint64 value = std::min(span, level + (noise > 0 ? random() % noise : 0));
      voxels[i++] = static_cast<T>(low + static_cast<int64>(value));
    }
  }
  return voxels;
}

/// The text of the failure of a call that must throw exactly `Failure`.
template <class Failure, class Call>
std::string textOf(Call call) {
  try {
    call();
  } catch (const Failure& failure) {
    if (typeid(failure) != typeid(Failure)) {
      return std::string("another class: ") + typeid(failure).name();
    }
    if constexpr (requires { failure.getErrorMessage(); }) {
      return failure.getErrorMessage();
    } else {
      return failure.what();
    }
  }
  return "nothing was thrown";
}

}  // namespace NORV::HistogramTests
