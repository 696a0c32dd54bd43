#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Picture.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <cstdio>

namespace NORV::TaviTool {

void infoCommand(Session& session, const std::string& file) {
  const auto volume = loadVolume(session, file);
  const auto extremes = extremesOf(session, volume);
  const double mean = meanOf(volume);
  if (session.json) {
    Json json{{"file", file}};
    json.update(volumeJson(*volume));
    json["bytes"] = static_cast<SizeType>(sizeInBytes(*volume));
    json["minimum"] = valueJson(extremes.minimum);
    json["maximum"] = valueJson(extremes.maximum);
    json["mean"] = numberJson(mean);
    printJson(json);
    return;
  }
  std::printf("file        %s\nvoxel type  %s\nextents     %s\nsize        %s\n", file.c_str(),
              shortName(volume->getVoxelType()).c_str(), toText(volume->getDimension()).c_str(),
              bytesText(sizeInBytes(*volume)).c_str());
  std::printf("minimum     %s\nmaximum     %s\nmean        %.10g\n", valueText(extremes.minimum).c_str(),
              valueText(extremes.maximum).c_str(), mean);
}

}  // namespace NORV::TaviTool
