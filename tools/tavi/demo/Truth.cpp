#include <Truth.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

namespace NORV::TaviTool {
namespace {

constexpr double farthestAllowed = 0.5;  // voxels between the centres
constexpr double worstAllowed = 0.25;    // voxels by which the surface may be off

using Point = std::array<double, 3>;

Point centerOf(const FeatureTable& table, std::size_t row) {
  return {table.number(row, "geometricCenter.x"), table.number(row, "geometricCenter.y"),
          table.number(row, "geometricCenter.z")};
}

double distance(const Point& a, const Point& b) {
  double square = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    square += (a[i] - b[i]) * (a[i] - b[i]);
  }
  return std::sqrt(square);
}

bool isInside(const Point& point, const Blob& blob) {
  double square = 0.0;
  for (std::size_t i = 0; i < point.size(); ++i) {
    const double share = (point[i] - blob.center[i]) / blob.semiAxes[i];
    square += share * share;
  }
  return square <= 1.0;
}

/// The error of a size as the distance by which a ball of that size has its surface off: what a filter and the
/// sampling cost does not grow with the ball.
double surfaceError(SizeType voxels, SizeType trueVoxels) {
  const auto radius = [](SizeType size) { return std::cbrt(static_cast<double>(size) * 0.2387324146378430); };
  return std::abs(radius(voxels) - radius(trueVoxels));
}

}  // namespace

Comparison::Comparison(std::string kind, const std::vector<Blob>& blobs, const FeatureTable& table, SizeType first,
                       SizeType last)
    : _kind(std::move(kind)),
      _blobs(blobs.size()),
      _trueVoxels(table.size()) {
  std::vector<bool> isFound(blobs.size());
  for (const Blob& blob : blobs) {
    _true += blob.voxels;
  }
  for (std::size_t row = 0; row < table.size(); ++row) {
    const auto label = static_cast<SizeType>(table.number(row, "label"));
    if (label < first || label > last) {
      continue;
    }
    const auto voxels = static_cast<SizeType>(table.number(row, "size"));
    const Point center = centerOf(table, row);
    const auto blob =
        std::find_if(blobs.begin(), blobs.end(), [&](const Blob& each) { return isInside(center, each); });
    const auto index = static_cast<std::size_t>(blob - blobs.begin());
    _voxels += voxels;
    if (blob == blobs.end() || isFound[index]) {
      ++_others;
      continue;
    }
    isFound[index] = true;
    ++_found;
    _trueVoxels[row] = blob->voxels;
    _farthest = std::max(_farthest, distance(center, blob->center));
    _worst = std::max(_worst, surfaceError(voxels, blob->voxels));
  }
}

bool Comparison::holds() const {
  return _found == _blobs && _others == 0 && _farthest <= farthestAllowed && _worst <= worstAllowed;
}

std::string Comparison::text() const {
  const double off = 100.0 * (static_cast<double>(_voxels) / static_cast<double>(_true) - 1.0);
  std::array<char, 256> text{};
  std::snprintf(
      text.data(), text.size(),
      "%zu of %zu %s%s, %llu voxels where %llu are true (%+.1f %%), centres within %.2f and surfaces within "
      "%.2f voxels",
      _found, _blobs, _kind.c_str(), _others > 0 ? (" and " + std::to_string(_others) + " others").c_str() : "",
      static_cast<unsigned long long>(_voxels), static_cast<unsigned long long>(_true), off, _farthest, _worst);
  return text.data();
}

Json Comparison::json() const {
  return {{"kind", _kind},         {"true", _blobs},         {"found", _found},
          {"others", _others},     {"voxels", _voxels},      {"trueVoxels", _true},
          {"farthest", _farthest}, {"surfaceError", _worst}, {"holds", holds()}};
}

}  // namespace NORV::TaviTool
