#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <array>
#include <string>
#include <vector>

/// A made-up scan of a machined part, the same on every machine: for demonstrations and for checks of what is measured.
namespace NORV::TaviTool {

/// An ellipsoid inside the part. A voxel belongs to it if its centre does.
struct Blob {
  std::array<double, 3> center{};
  std::array<double, 3> semiAxes{};
  SizeType voxels = 0;
};

/// 256 x 256 x 128 voxels of `uint16`: a flange with bores in air, pores and denser inclusions in its material,
/// softened edges, a little beam hardening, noise. No two blobs touch, and none touches the surface.
struct Phantom {
  SmartPointer<IVolume> volume;
  std::vector<Blob> pores;
  std::vector<Blob> inclusions;
};

Phantom makePhantom(const Session& session);

/// What is true of the phantom: grey levels, and each pore and inclusion.
Json truthOf(const Phantom& phantom);

/// "part.rek" has its truth in "part.json".
std::string truthFileOf(const std::string& volumeFile);
void saveTruth(Session& session, const Phantom& phantom, const std::string& file);

}  // namespace NORV::TaviTool
