#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <cstdio>

namespace NORV::TaviTool {
namespace {

/// What the target names of its volume must hold, as nothing is converted but the file.
void requireSame(const VolumeFile& target, const IVolume& volume) {
  const bool isSame = (target.voxelType.empty() || target.voxelType == shortName(volume.getVoxelType())) &&
                      (!target.dimension || *target.dimension == volume.getDimension());
  if (!isSame) {
    throw UsageError(target.name + ": the volume is " + volumeText(volume) +
                     "; only the kind of the file is converted, not the voxels");
  }
}

}  // namespace
void convertCommand(Session& session, const std::string& from, const std::string& to) {
  requireReadable(from);
  requireWritable(to);
  const auto volume = loadVolume(session, from);
  const VolumeFile target = parseVolumeFile({}, to);
  requireVoxelType(target.name, shortName(volume->getVoxelType()));
  requireSame(target, *volume);
  saveVolume(session, volume, to);
  if (session.json) {
    Json json{{"from", from}, {"to", target.name}};
    json.update(volumeJson(*volume));
    printJson(json);
    return;
  }
  std::printf("%s: %s %s from %s\n", target.name.c_str(), shortName(volume->getVoxelType()).c_str(),
              toText(volume->getDimension()).c_str(), from.c_str());
}

}  // namespace NORV::TaviTool
