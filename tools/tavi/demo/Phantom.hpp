#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// A made-up scan of a machined part, the same on every machine: for demonstrations and for checks of what is measured.
namespace NORV::TaviTool {

/// An ellipsoid inside the part. A voxel belongs to it if its centre does; where two overlap, to the one whose centre
/// is nearer in units of its semi-axes.
struct Blob {
  std::array<double, 3> center{};
  std::array<double, 3> semiAxes{};
  SizeType voxels = 0;
  std::array<double, 3> centroid{};    ///< of its voxels
  std::optional<std::size_t> partner;  ///< index of the blob that it overlaps
};

/// 256 x 256 x 128 voxels of `uint16`: a flange with bores in air, pores and denser inclusions in its material,
/// softened edges, a little beam hardening, noise. Behind the single pores come pairs that overlap. No other blobs
/// touch, and none touches the surface. Without its blobs the part is symmetric about planes across x and y, and longer
/// along x than along y than along z: these are its principal axes.
struct Phantom {
  SmartPointer<IVolume> volume;
  std::vector<Blob> pores;
  std::vector<Blob> inclusions;
};

/// How many pairs overlap.
SizeType pairsIn(const std::vector<Blob>& blobs);

/// Extents of the part, along x, y and z.
Dimension<SizeType> partSize();

Phantom makePhantom(const Session& session);

/// What is true of the phantom: grey levels, and each pore and inclusion.
Json truthOf(const Phantom& phantom);

/// "part.rek" has its truth in "part.json".
std::string truthFileOf(const std::string& volumeFile);
void saveTruth(Session& session, const Phantom& phantom, const std::string& file);

}  // namespace NORV::TaviTool
