#include <Commands.hpp>
#include <Phantom.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace NORV::TaviTool {
namespace {

using Point = std::array<double, 3>;

constexpr SizeType width = 256, depth = 256, height = 128;
constexpr double air = 4000.0, material = 30000.0, poreLevel = 4500.0, inclusionLevel = 52000.0;
constexpr double noise = 900.0;
constexpr double hardening = 0.05;  // how much darker the middle of the part looks
constexpr std::size_t poreCount = 40, pairCount = 6, inclusionCount = 12;
constexpr double pairDistance = 0.9;  // between the centres of overlapping pores, by the sum of their radii

// Only additions, multiplications and square roots, which every machine rounds alike, and random numbers of its own:
// the library's distributions differ between implementations.

uint64 scrambled(uint64 number) {  // splitmix64
  number += 0x9E3779B97F4A7C15u;
  number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9u;
  number = (number ^ (number >> 27)) * 0x94D049BB133111EBu;
  return number ^ (number >> 31);
}

class Random {
public:
  explicit Random(uint64 seed) : _state(seed) {}
  double between(double low, double high) {
    return low + (high - low) * static_cast<double>(scrambled(_state++) >> 11) * 0x1.0p-53;
  }

private:
  uint64 _state;
};

/// Close to normally distributed, with deviation 1: the sum of four uniform numbers.
double noiseAt(SizeType voxel) {
  const uint64 bits = scrambled(0x7A761u + voxel);
  const auto part = [bits](int shift) { return static_cast<double>((bits >> shift) & 0xFFFFu); };
  constexpr double mean = 2.0 * 65535.0, deviation = 65536.0 * 0.57735026918962576;
  return (part(0) + part(16) + part(32) + part(48) - mean) / deviation;
}

/// Distances to the outlines of the part seen from above, negative inside; they hold for all heights.
struct Outline {
  double plate, hub, bore, counterbore, bolts, channels;
};

double length(double x, double y) { return std::sqrt(x * x + y * y); }

Outline outlineAt(double x, double y) {
  const double fromX = x - 127.5, fromY = y - 127.5;
  const double cornerX = std::abs(fromX) - 88.0, cornerY = std::abs(fromY) - 72.0;
  const double radius = length(fromX, fromY);
  Outline outline{};
  outline.plate =
      length(std::max(cornerX, 0.0), std::max(cornerY, 0.0)) + std::min(std::max(cornerX, cornerY), 0.0) - 24.0;
  outline.hub = radius - 90.0;
  outline.bore = radius - 34.0;
  outline.counterbore = radius - 46.0;
  outline.bolts = length(cornerX, cornerY) - 10.0;
  outline.channels = 1e9;
  static constexpr std::array<std::array<double, 2>, 6> channels{{{66.0, 0.0},
                                                                  {33.0, 57.157676649772950},
                                                                  {-33.0, 57.157676649772950},
                                                                  {-66.0, 0.0},
                                                                  {-33.0, -57.157676649772950},
                                                                  {33.0, -57.157676649772950}}};
  for (const auto& channel : channels) {
    outline.channels = std::min(outline.channels, length(fromX - channel[0], fromY - channel[1]) - 7.0);
  }
  return outline;
}

/// The distance to the surface of the part, negative inside; inside it is never taken too deep.
double partAt(const Outline& outline, double z) {
  const auto slab = [z](double from, double to) { return std::max(from - z, z - to); };
  const double plate = std::max({outline.plate, slab(12.0, 40.0), -outline.bolts});
  const double hub = std::max(outline.hub, slab(12.0, 116.0));
  const double counterbore = std::max(outline.counterbore, 84.0 - z);
  const double channels = std::max(outline.channels, 52.0 - z);
  return std::max({std::min(plate, hub), -outline.bore, -counterbore, -channels});
}

/// How much of a voxel lies inside, from the distance of its centre to the surface.
double shareInside(double distance) { return std::clamp(0.5 - distance, 0.0, 1.0); }

double radiusOf(const Blob& blob) { return *std::max_element(blob.semiAxes.begin(), blob.semiAxes.end()); }

bool isClear(const Blob& blob, const std::vector<Blob>& others) {
  return std::all_of(others.begin(), others.end(), [&](const Blob& other) {
    const double dx = blob.center[0] - other.center[0], dy = blob.center[1] - other.center[1],
                 dz = blob.center[2] - other.center[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz) > radiusOf(blob) + radiusOf(other) + 4.0;
  });
}

/// Inside the material, and apart from all others.
bool isFree(const Blob& blob, const std::vector<Blob>& blobs, const std::vector<Blob>& others) {
  const double surface = partAt(outlineAt(blob.center[0], blob.center[1]), blob.center[2]);
  return surface < -(radiusOf(blob) + 3.0) && isClear(blob, blobs) && isClear(blob, others);
}

Point anyPlace(Random& random) {
  const double x = random.between(0, width), y = random.between(0, depth), z = random.between(0, height);
  return {x, y, z};
}

void placeBlobs(Random& random, std::size_t count, double smallest, double largest, std::vector<Blob>& blobs,
                const std::vector<Blob>& others) {
  while (blobs.size() < count) {
    Blob blob;
    blob.center = anyPlace(random);
    const double radius = random.between(smallest, largest);
    for (double& axis : blob.semiAxes) {
      axis = radius * random.between(0.75, 1.0);
    }
    if (isFree(blob, blobs, others)) {
      blobs.push_back(blob);
    }
  }
}

/// Adds pairs of balls that overlap, in any direction.
void placePairs(Random& random, std::size_t count, double smallest, double largest, std::vector<Blob>& blobs) {
  for (const std::size_t all = blobs.size() + 2 * count; blobs.size() < all;) {
    Blob first, second;
    first.center = anyPlace(random);
    first.semiAxes.fill(random.between(smallest, largest));
    second.semiAxes.fill(random.between(smallest, largest));
    Point direction{};
    for (double& part : direction) {
      part = random.between(-1, 1);
    }
    const double norm =
        std::sqrt(direction[0] * direction[0] + direction[1] * direction[1] + direction[2] * direction[2]);
    const double distance = pairDistance * (first.semiAxes[0] + second.semiAxes[0]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      second.center[axis] = first.center[axis] + distance * direction[axis] / norm;
    }
    // Near the middle of the cube of directions the quotient says little.
    if (norm > 0.1 && norm <= 1.0 && isFree(first, blobs, {}) && isFree(second, blobs, {})) {
      first.partner = blobs.size() + 1;
      second.partner = blobs.size();
      blobs.insert(blobs.end(), {first, second});
    }
  }
}

/// The distance of a position from the centre in units of the semi-axes, squared.
double squareIn(const Blob& blob, const Point& position) {
  double square = 0.0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double part = (position[axis] - blob.center[axis]) / blob.semiAxes[axis];
    square += part * part;
  }
  return square;
}

/// Replaces the material inside one of the blobs; counts its voxels and finds their centroid.
void stamp(std::vector<Blob>& blobs, std::size_t index, double level, std::vector<float>& grey) {
  Blob& blob = blobs[index];
  const double radius = radiusOf(blob);
  const auto from = [&](std::size_t axis) { return static_cast<SizeType>(std::floor(blob.center[axis] - radius - 1)); };
  const auto to = [&](std::size_t axis) { return static_cast<SizeType>(std::ceil(blob.center[axis] + radius + 1)); };
  const double shortest = *std::min_element(blob.semiAxes.begin(), blob.semiAxes.end());
  const auto isOwn = [&](const Point& position, double square) {
    if (square > 1.0 || !blob.partner) {
      return square <= 1.0;
    }
    const double other = squareIn(blobs[*blob.partner], position);
    return square < other || (square == other && index < *blob.partner);
  };
  Point sum{};
  for (SizeType z = from(2); z <= to(2); ++z) {
    for (SizeType y = from(1); y <= to(1); ++y) {
      for (SizeType x = from(0); x <= to(0); ++x) {
        const Point position{static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
        const double square = squareIn(blob, position);
        if (isOwn(position, square)) {
          ++blob.voxels;
          for (std::size_t axis = 0; axis < 3; ++axis) {
            sum[axis] += position[axis];
          }
        }
        const double share = shareInside((std::sqrt(square) - 1.0) * shortest);
        float& voxel = grey[x + width * (y + depth * z)];
        voxel = static_cast<float>(static_cast<double>(voxel) + share * (level - static_cast<double>(voxel)));
      }
    }
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    blob.centroid[axis] = sum[axis] / static_cast<double>(blob.voxels);
  }
}

std::vector<float> drawPart(const Session& session) {
  std::vector<Outline> outlines(width * depth);
  for (SizeType i = 0; i < outlines.size(); ++i) {
    outlines[i] = outlineAt(static_cast<double>(i % width), static_cast<double>(i / width));
  }
  std::vector<float> grey(width * depth * height);
  for (SizeType z = 0; z < height; ++z) {
    session.checkInterrupt("phantom");
    for (SizeType i = 0; i < outlines.size(); ++i) {
      const double share = shareInside(partAt(outlines[i], static_cast<double>(z)));
      const double x = static_cast<double>(i % width) - 127.5, y = static_cast<double>(i / width) - 127.5;
      const double solid = material * (1.0 - hardening + hardening * (x * x + y * y) / (127.5 * 127.5));
      grey[i + width * depth * z] = static_cast<float>(air + share * (solid - air));
    }
  }
  return grey;
}

Json blobsJson(const std::vector<Blob>& blobs) {
  Json list = Json::array();
  for (const Blob& blob : blobs) {
    list.push_back(
        {{"center", blob.center}, {"semiAxes", blob.semiAxes}, {"voxels", blob.voxels}, {"centroid", blob.centroid}});
    if (blob.partner) {
      list.back()["partner"] = *blob.partner;
    }
  }
  return list;
}

SizeType voxelsOf(const std::vector<Blob>& blobs) {
  SizeType sum = 0;
  for (const Blob& blob : blobs) {
    sum += blob.voxels;
  }
  return sum;
}

}  // namespace

SizeType pairsIn(const std::vector<Blob>& blobs) {
  return static_cast<SizeType>(
             std::count_if(blobs.begin(), blobs.end(), [](const Blob& blob) { return blob.partner.has_value(); })) /
         2;
}

// The plate along x and y, the hub along z.
Dimension<SizeType> partSize() { return {224, 192, 104}; }

Phantom makePhantom(const Session& session) {
  Phantom phantom;
  Random random(20240229);
  placeBlobs(random, poreCount, 2.5, 8.0, phantom.pores, {});
  placePairs(random, pairCount, 6.0, 8.5, phantom.pores);
  placeBlobs(random, inclusionCount, 2.0, 5.0, phantom.inclusions, phantom.pores);

  std::vector<float> grey = drawPart(session);
  for (std::size_t i = 0; i < phantom.pores.size(); ++i) {
    stamp(phantom.pores, i, poreLevel, grey);
  }
  for (std::size_t i = 0; i < phantom.inclusions.size(); ++i) {
    stamp(phantom.inclusions, i, inclusionLevel, grey);
  }
  const Tavi::VolumePtr<uint16> volume(new Tavi::Volume<uint16>(Dimension<SizeType>(width, depth, height)));
  for (SizeType i = 0; i < grey.size(); ++i) {
    const double value = static_cast<double>(grey[i]) + noise * noiseAt(i);
    volume->getData()[i] = static_cast<uint16>(std::clamp(value + 0.5, 0.0, 65535.0));
  }
  phantom.volume = volume;
  return phantom;
}

Json truthOf(const Phantom& phantom) {
  return {{"dimension", {width, depth, height}},
          {"voxelType", "uint16"},
          {"greyLevels", {{"air", air}, {"material", material}, {"pores", poreLevel}, {"inclusions", inclusionLevel}}},
          {"noise", noise},
          {"numberOfPores", phantom.pores.size()},
          {"poreVoxels", voxelsOf(phantom.pores)},
          {"numberOfTouchingPairs", pairsIn(phantom.pores)},
          {"numberOfInclusions", phantom.inclusions.size()},
          {"inclusionVoxels", voxelsOf(phantom.inclusions)},
          {"pores", blobsJson(phantom.pores)},
          {"inclusions", blobsJson(phantom.inclusions)}};
}

std::string truthFileOf(const std::string& volumeFile) {
  return volumeFile.substr(0, volumeFile.size() - std::strlen(formatOf(volumeFile).extension)) + ".json";
}

void saveTruth(Session& session, const Phantom& phantom, const std::string& file) {
  writeText(session, truthOf(phantom).dump(1) + "\n", file);
}

void phantomCommand(Session& session, const std::string& file) {
  requireWritable(file);
  const Phantom phantom = makePhantom(session);
  saveVolume(session, phantom.volume, file);
  saveTruth(session, phantom, truthFileOf(file));
  if (session.json) {
    Json json{{"file", file}, {"truth", truthFileOf(file)}};
    json.update(truthOf(phantom));
    printJson(json);
    return;
  }
  std::printf("%s: uint16 %llux%llux%llu, %zu pores, %zu inclusions; truth in %s\n", file.c_str(),
              static_cast<unsigned long long>(width), static_cast<unsigned long long>(depth),
              static_cast<unsigned long long>(height), phantom.pores.size(), phantom.inclusions.size(),
              truthFileOf(file).c_str());
}

}  // namespace NORV::TaviTool
