#pragma once

#include "support/NaiveView.hpp"

#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// Volumes in all the ways that a host may show them to an operator, read and written by position. Positions are mapped
/// to memory by NaiveView, which knows no strides; so what an operator does with strides is tested against it.
namespace NORV::Tests {

/// Calls `body.template operator()<T>()` for each of the eight voxel types; failures name the type.
template <class Body>
void forEachVoxelType(const Body& body) {
  const auto one = [&body]<class T>() {
    const testing::ScopedTrace trace(__FILE__, __LINE__, Tavi::typeName<T>);
    body.template operator()<T>();
  };
  one.template operator()<int8>();
  one.template operator()<uint8>();
  one.template operator()<int16>();
  one.template operator()<uint16>();
  one.template operator()<int32>();
  one.template operator()<uint32>();
  one.template operator()<float32>();
  one.template operator()<float64>();
}
/// The same for all 64 ordered pairs.
template <class Body>
void forEachVoxelTypePair(const Body& body) {
  forEachVoxelType(
      [&body]<class In>() { forEachVoxelType([&body]<class Out>() { body.template operator()<In, Out>(); }); });
}

/// Equal in every bit: tells zeros of different sign apart, and finds a NaN equal to itself.
template <class T>
bool isSameValue(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

/// The values at which rules go wrong: ends of the range, around zero, and for floating point also what is no number.
template <class T>
std::vector<T> specialValues() {
  using Limits = std::numeric_limits<T>;
  std::vector<T> values{Limits::lowest(), Limits::max(), T(0), T(1), T(2), T(100), T(Limits::max() / 2)};
  if constexpr (std::is_floating_point_v<T>) {
    values.insert(values.end(), {-T(0), T(-1), T(0.5), T(-2.75), Limits::quiet_NaN(), Limits::infinity(),
                                 -Limits::infinity(), Limits::min(), Limits::denorm_min(), Limits::epsilon()});
  } else {
    values.insert(values.end(), {T(Limits::lowest() + 1), T(Limits::max() - 1), T(-1), T(-2)});
  }
  return values;
}

/// `count` values, the same for the same seed: special ones and any others of the type, in random order.
template <class T>
std::vector<T> mixedValues(std::size_t count, unsigned seed = 1) {
  std::mt19937_64 random(seed);
  const std::vector<T> special = specialValues<T>();
  std::vector<T> values(count);
  for (T& value : values) {
    const auto number = random();
    if (number % 4 == 0) {
      value = special[number / 4 % special.size()];
    } else if constexpr (std::is_floating_point_v<T>) {
      value = static_cast<T>(static_cast<int64>(number) >> 32) / T(64);
    } else {
      value = static_cast<T>(number >> 8);
    }
  }
  return values;
}

/// How the view of a volume lies in its memory: the voxels outside the region on both sides of each view axis, and the
/// orientation.
struct Layout {
  Codes orientation{0, 2, 4};
  Extents before{0, 0, 0}, after{0, 0, 0};

  bool isWhole() const { return before == Extents{0, 0, 0} && after == Extents{0, 0, 0}; }
  std::string name() const {
    std::string text = isWhole() ? "whole volume, orientation" : "region, orientation";
    for (const uint8 code : orientation) {
      text += " " + std::to_string(code);
    }
    return text;
  }
};

inline const Layout denseLayout{};
inline const Layout regionLayout{{0, 2, 4}, {3, 1, 2}, {1, 2, 1}};

/// The 48 orientations, each of the whole volume and of a region.
inline const std::vector<Layout>& allLayouts() {
  static const std::vector<Layout> layouts = [] {
    std::vector<Layout> all;
    for (const Codes& codes : allOrientations()) {
      all.push_back({codes});
      all.push_back({codes, {3, 1, 2}, {1, 2, 1}});
    }
    return all;
  }();
  return layouts;
}

/// A few that differ in kind, where 96 are too many: dense, region, each axis reversed, permuted.
inline const std::vector<Layout>& someLayouts() {
  static const std::vector<Layout> layouts{denseLayout, regionLayout,
                                           {{1, 2, 4}}, {{0, 3, 5}, {2, 0, 1}, {0, 3, 0}},
                                           {{4, 0, 2}}, {{3, 5, 0}, {1, 1, 1}, {2, 0, 3}}};
  return layouts;
}

/// A volume of `T` whose view has given extents. All memory begins as `outside`.
template <class T>
class TestVolume {
public:
  explicit TestVolume(const Extents& extents, const Layout& layout = {}, T outside = T(77))
      : _stored(storedExtents(extents, layout)),
        _outside(outside),
        _volume(new Tavi::Volume<T>(Tavi::Dimension<Tavi::SizeType>(_stored[0], _stored[1], _stored[2]))),
        _view(_stored) {
    std::fill_n(_volume->getData(), _stored[0] * _stored[1] * _stored[2], outside);
    _volume->setOrientation(Tavi::Orientation(layout.orientation[0], layout.orientation[1], layout.orientation[2]));
    _view.orient(layout.orientation);
    if (!layout.isWhole()) {
      using Tavi::SizeType;
      _volume->setRoi(
          Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(extents[0], extents[1], extents[2]),
                                 Tavi::Position<SizeType>(layout.before[0], layout.before[1], layout.before[2])));
      _view.crop(extents, layout.before);
    }
  }

  const Tavi::VolumePtr<T>& volume() const { return _volume; }
  /// As properties hold it.
  operator Tavi::SmartPointer<Tavi::IVolume>() const { return _volume; }

  /// The voxel at a position of the view: prim, sec, tert.
  T& at(const Extents& position) const { return _volume->getData()[_view.at(position)]; }

  /// All voxels of the view, prim fastest.
  std::vector<T> voxels() const {
    std::vector<T> all;
    _view.forEachPosition([&](const Extents& position) { all.push_back(at(position)); });
    return all;
  }
  /// Writes the values into the view, prim fastest, over and over.
  void fill(const std::vector<T>& values) const {
    std::size_t index = 0;
    _view.forEachPosition([&](const Extents& position) { at(position) = values[index++ % values.size()]; });
  }

  /// Requires that no voxel outside the view has changed.
  void expectUntouchedOutside() const {
    std::vector<bool> inside(_stored[0] * _stored[1] * _stored[2]);
    _view.forEachPosition([&](const Extents& position) { inside[_view.at(position)] = true; });
    for (std::size_t index = 0; index < inside.size(); ++index) {
      if (!inside[index] && !isSameValue(_volume->getData()[index], _outside)) {
        ADD_FAILURE() << "voxel " << index << " in memory lies outside the view and was written";
        return;
      }
    }
  }

private:
  static Extents storedExtents(const Extents& extents, const Layout& layout) {
    Extents stored{};
    for (unsigned i = 0; i < 3; ++i) {
      stored[layout.orientation[i] / 2u] = layout.before[i] + extents[i] + layout.after[i];
    }
    return stored;
  }

  Extents _stored;
  T _outside;
  Tavi::VolumePtr<T> _volume;
  NaiveView _view;
};

/// The voxels of the view of a volume that an operator made, prim fastest; read with `getValueAt`, one by one.
template <class T, class Alloc>
std::vector<T> voxelsOf(const Tavi::SmartPointer<Tavi::Volume<T, Alloc>>& volume) {
  std::vector<T> all;
  for (Tavi::SizeType tert = 0; tert < volume->getDimTert(); ++tert) {
    for (Tavi::SizeType sec = 0; sec < volume->getDimSec(); ++sec) {
      for (Tavi::SizeType prim = 0; prim < volume->getDimPrim(); ++prim) {
        all.push_back(volume->getValueAt(Tavi::Position<Tavi::SizeType>(prim, sec, tert)));
      }
    }
  }
  return all;
}

/// Requires the same bits at each position and names the first that differ.
template <class T>
void expectSameVoxels(const std::vector<T>& actual, const std::vector<T>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  int shown = 0;
  for (std::size_t i = 0; i < actual.size() && shown < 3; ++i) {
    if (!isSameValue(actual[i], expected[i])) {
      ADD_FAILURE() << "voxel " << i << " is " << +actual[i] << ", expected " << +expected[i];
      ++shown;
    }
  }
}

// Compiled once for all tests, in Volumes.cpp.
#ifndef TAVI_TESTS_INSTANTIATE
#define TAVI_TESTS_INSTANTIATE extern template
#endif
#define TAVI_TESTS_VOLUMES(T)                                                                 \
  TAVI_TESTS_INSTANTIATE class TestVolume<T>;                                                 \
  TAVI_TESTS_INSTANTIATE std::vector<T> mixedValues<T>(std::size_t, unsigned);                \
  TAVI_TESTS_INSTANTIATE std::vector<T> voxelsOf(const Tavi::SmartPointer<Tavi::Volume<T>>&); \
  TAVI_TESTS_INSTANTIATE void expectSameVoxels(const std::vector<T>& actual, const std::vector<T>& expected);
TAVI_TESTS_VOLUMES(int8)
TAVI_TESTS_VOLUMES(uint8)
TAVI_TESTS_VOLUMES(int16)
TAVI_TESTS_VOLUMES(uint16)
TAVI_TESTS_VOLUMES(int32)
TAVI_TESTS_VOLUMES(uint32)
TAVI_TESTS_VOLUMES(float32)
TAVI_TESTS_VOLUMES(float64)

}  // namespace NORV::Tests
