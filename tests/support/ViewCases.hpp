#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

/// Volumes in all the ways that a host may show them to an operator, and how results are compared voxel by voxel.
namespace NORV::Tests::ViewCases {

using Tavi::Dimension;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Orientation;
using Tavi::Position;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Persistence::IComposite;

struct Layout {
  const char* name;
  Orientation orientation;
  bool isRegion;
};

inline const std::vector<Layout>& layouts() {
  static const std::vector<Layout> all{{"dense", Orientation(), false},
                                       {"region", Orientation(), true},
                                       {"reversed prim", Orientation(1, 2, 4), false},
                                       {"reversed sec and tert", Orientation(0, 3, 5), true},
                                       {"permuted", Orientation(4, 0, 2), false},
                                       {"permuted and reversed", Orientation(3, 5, 0), true}};
  return all;
}

inline const std::vector<SizeType>& threadCounts() {
  static const std::vector<SizeType> counts{0, 1, 2, 7, 100};
  return counts;
}

/// A volume whose view has the extents given; all of its memory holds `outside`.
template <class T>
VolumePtr<T> makeVolume(const Dimension<SizeType>& extents, const Layout& layout, T outside) {
  const SizeType margin = layout.isRegion ? 5 : 0;
  const auto axes = layout.orientation.storageAxes();
  SizeType stored[3];
  stored[axes[0]] = extents.prim + margin;
  stored[axes[1]] = extents.sec + margin;
  stored[axes[2]] = extents.tert + margin;
  const VolumePtr<T> volume(new Volume<T>(Dimension<SizeType>(stored[0], stored[1], stored[2])));
  std::fill_n(volume->getData(), stored[0] * stored[1] * stored[2], outside);
  volume->setOrientation(layout.orientation);
  if (layout.isRegion) {
    volume->setRoi(Tavi::RegionOfInterest(extents, Position<SizeType>(3, 1, 2)));
  }
  return volume;
}

/// Calls `body(voxel, index)` for each voxel of the view, prim fastest.
template <class T, class Body>
void forEachVoxel(const VolumePtr<T>& volume, const Body& body) {
  const auto view = Tavi::viewOf(*volume);
  SizeType index = 0;
  for (SizeType tert = 0; tert < view.dimTert; ++tert) {
    for (SizeType sec = 0; sec < view.dimSec; ++sec) {
      for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
        body(view.at(prim, sec, tert), index++);
      }
    }
  }
}

/// Fills the view with the values, over and over.
template <class T>
void fillView(const VolumePtr<T>& volume, const std::vector<T>& values) {
  forEachVoxel(volume, [&](T& voxel, SizeType index) { voxel = values[index % values.size()]; });
}

/// Equal in every bit, but that one NaN is as good as another.
template <class T>
bool areSame(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(a) || std::isnan(b)) {
      return std::isnan(a) && std::isnan(b);
    }
  }
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

/// The first voxel of `output` that is not `rule` of the value at its place, if any; and none outside the view may
/// have lost its value.
template <class In, class Out>
void expectVoxels(const VolumePtr<Out>& output, const std::vector<In>& values, Out outside,
                  const std::function<Out(In)>& rule) {
  std::vector<std::string> wrong;
  forEachVoxel(output, [&](Out& voxel, SizeType index) {
    const In x = values[index % values.size()];
    const Out expected = rule(x);
    if (!areSame(voxel, expected) && wrong.size() < 5) {
      wrong.push_back("voxel " + std::to_string(index) + " of value " + std::to_string(x) + ": expected " +
                      std::to_string(expected) + ", got " + std::to_string(voxel));
    }
    voxel = outside;
  });
  EXPECT_EQ(wrong, std::vector<std::string>());
  const auto all = output->getAllocatedDimension();
  const Out* data = output->getData();
  EXPECT_TRUE(std::all_of(data, data + all.prim * all.sec * all.tert, [&](Out v) { return areSame(v, outside); }))
      << "written outside the view";
}

/// All values of an 8- or 16-bit type; for the others the special ones and many in between.
template <class T>
std::vector<T> sampleValues(T from = std::numeric_limits<T>::lowest(), T to = std::numeric_limits<T>::max()) {
  using Limits = std::numeric_limits<T>;
  std::vector<T> values;
  if constexpr (sizeof(T) <= 2) {
    for (int x = Limits::min(); x <= Limits::max(); ++x) {
      values.push_back(static_cast<T>(x));
    }
  } else {
    std::mt19937_64 random(5);
    values = {from, to, Limits::lowest(), Limits::max(), T(0), T(1), T(2)};
    if constexpr (std::is_floating_point_v<T>) {
      const T more[] = {T(-0.0),
                        -T(1),
                        Limits::quiet_NaN(),
                        Limits::infinity(),
                        -Limits::infinity(),
                        Limits::min(),
                        Limits::denorm_min(),
                        std::nextafter(from, to),
                        std::nextafter(to, from)};
      values.insert(values.end(), std::begin(more), std::end(more));
      std::uniform_real_distribution<T> share(0, 1);
      for (int i = 0; i < 3000; ++i) {
        const T s = share(random);
        values.push_back(from * (1 - s) + to * s);
      }
    } else {
      values.insert(values.end(), {static_cast<T>(from + 1), static_cast<T>(to - 1), static_cast<T>(-1)});
      std::uniform_int_distribution<int64> inside(from, to), anywhere(Limits::min(), Limits::max());
      for (int i = 0; i < 3000; ++i) {
        values.push_back(static_cast<T>(i % 4 == 0 ? anywhere(random) : inside(random)));
      }
    }
  }
  return values;
}

/// Extents of a dense volume that holds all the values at least once, in odd rows.
inline Dimension<SizeType> extentsFor(SizeType values) { return Dimension<SizeType>(61, 7, values / (61 * 7) + 1); }

inline SmartPointer<IOperator> createTyped(const std::string& identifier) {
  return SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(identifier));
}

/// The whole text of the failure of class `Failure` that `body` ends with.
template <class Failure, class Body>
std::string failureOf(const Body& body) {
  try {
    body();
  } catch (const Failure& failure) {
    if constexpr (requires { failure.getErrorMessage(); }) {
      return failure.getErrorMessage();
    } else {
      return failure.what();
    }
  } catch (...) {
    return "a failure of another class";
  }
  return "no failure";
}
template <class Body>
std::string parameterFailureOf(const Body& body) {
  return failureOf<IOperator::InvalidParameterObjectException>(body);
}

}  // namespace NORV::Tests::ViewCases
