#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <cstdio>

namespace NORV::TaviTool {
namespace {

/// Throws UsageError where the writer of the target has no instance for the voxel type.
void requireVoxelType(const std::string& file, const std::string& voxelType) {
  const std::string writer = formatOf(file).writer;
  std::vector<std::string> types;
  for (const Instance& instance : registeredInstances(writer)) {
    types.push_back(instance.front());
  }
  if (std::find(types.begin(), types.end(), voxelType) == types.end()) {
    throw UsageError(file + ": " + writer + " writes no " + voxelType + ", only " + join(types) +
                     "; convert the voxels first, for instance with \"tavi run StaticCast\"");
  }
}

}  // namespace

void convertCommand(Session& session, const std::string& from, const std::string& to) {
  requireReadable(from);
  requireWritable(to);
  const auto volume = loadVolume(session, from);
  requireVoxelType(to, shortName(volume->getVoxelType()));
  saveVolume(session, volume, to);
  if (session.json) {
    Json json{{"from", from}, {"to", to}};
    json.update(volumeJson(*volume));
    printJson(json);
    return;
  }
  std::printf("%s: %s %s from %s\n", to.c_str(), shortName(volume->getVoxelType()).c_str(),
              toText(volume->getDimension()).c_str(), from.c_str());
}

}  // namespace NORV::TaviTool
