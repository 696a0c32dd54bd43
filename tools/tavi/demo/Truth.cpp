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
constexpr double angleAllowed = 0.1;     // degrees between the axes
constexpr SizeType boxAllowed = 3;       // voxels by which an extent of the box may be off

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
      _pairs(static_cast<std::size_t>(pairsIn(blobs))),
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
    _farthest = std::max(_farthest, distance(center, blob->centroid));
    _worst = std::max(_worst, surfaceError(voxels, blob->voxels));
  }
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    const bool isPair = blobs[i].partner && *blobs[i].partner > i;
    _separated += isPair && isFound[i] && isFound[*blobs[i].partner] ? 1u : 0u;
  }
}

bool Comparison::holds() const {
  return _found == _blobs && _others == 0 && _separated == _pairs && _farthest <= farthestAllowed &&
         _worst <= worstAllowed;
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
  return text.data() +
         (_pairs > 0 ? ", " + std::to_string(_separated) + " of " + std::to_string(_pairs) + " touching pairs separated"
                     : std::string());
}

Json Comparison::json() const {
  return {{"kind", _kind},         {"true", _blobs},
          {"found", _found},       {"others", _others},
          {"voxels", _voxels},     {"trueVoxels", _true},
          {"farthest", _farthest}, {"surfaceError", _worst},
          {"pairs", _pairs},       {"separatedPairs", _separated},
          {"holds", holds()}};
}

AxesComparison::AxesComparison(const std::array<Direction, 3>& truth, const PrincipalAxes& found,
                               const Dimension<SizeType>& size)
    : _box(found.box),
      _trueBox(size) {
  constexpr double degrees = 57.295779513082323;
  _angle = found.exist ? 0.0 : 90.0;
  for (std::size_t i = 0; found.exist && i < truth.size(); ++i) {
    // The length of the cross product is more precise for small angles than the inner product.
    const Direction &a = truth[i], &b = found.axes[i];
    const Direction cross{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    const double sine = std::sqrt(cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2]);
    _angle = std::max(_angle, degrees * std::asin(std::min(1.0, sine)));
  }
}

bool AxesComparison::holds() const {
  const auto isNear = [](SizeType a, SizeType b) { return std::max(a, b) - std::min(a, b) <= boxAllowed; };
  return _angle <= angleAllowed && isNear(_box.prim, _trueBox.prim) && isNear(_box.sec, _trueBox.sec) &&
         isNear(_box.tert, _trueBox.tert);
}

std::string AxesComparison::text() const {
  std::array<char, 160> text{};
  std::snprintf(text.data(), text.size(), "axes within %.3f degrees (%.1f allowed), box of %s voxels where %s are true",
                _angle, angleAllowed, toText(_box).c_str(), toText(_trueBox).c_str());
  return text.data();
}

Json AxesComparison::json() const {
  return {{"angle", _angle},
          {"box", {_box.prim, _box.sec, _box.tert}},
          {"trueBox", {_trueBox.prim, _trueBox.sec, _trueBox.tert}},
          {"holds", holds()}};
}

}  // namespace NORV::TaviTool
