#include <Commands.hpp>
#include <FeatureTable.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <cstdio>

namespace NORV::TaviTool {
namespace {

void printHistogram(const std::vector<SizeClass>& classes) {
  constexpr double width = 50.0;
  const auto fewer = [](const SizeClass& a, const SizeClass& b) { return a.objects < b.objects; };
  const auto most = std::max_element(classes.begin(), classes.end(), fewer);
  std::printf("%21s  %8s\n", "voxels", "objects");
  for (const SizeClass& each : classes) {
    // Any object is worth a mark.
    const double share = static_cast<double>(each.objects) / static_cast<double>(most->objects);
    const auto marks = static_cast<std::size_t>(share * width + (each.objects > 0 ? 0.999 : 0.0));
    std::printf("%10llu-%-10llu  %8llu  %s\n", static_cast<unsigned long long>(each.from),
                static_cast<unsigned long long>(each.to), static_cast<unsigned long long>(each.objects),
                std::string(marks, '#').c_str());
  }
}

void printCsv(const std::vector<SizeClass>& classes) {
  std::printf("from,to,objects\n");
  for (const SizeClass& each : classes) {
    std::printf("%llu,%llu,%llu\n", static_cast<unsigned long long>(each.from),
                static_cast<unsigned long long>(each.to), static_cast<unsigned long long>(each.objects));
  }
}

Json jsonOf(const std::vector<SizeClass>& classes) {
  Json list = Json::array();
  for (const SizeClass& each : classes) {
    list.push_back({{"from", each.from}, {"to", each.to}, {"objects", each.objects}});
  }
  return list;
}

}  // namespace

void featuresCommand(Session& session, const FeaturesOptions& options) {
  if (options.csv && session.json) {
    throw UsageError("--csv and --json exclude each other");
  }
  requireReadable(options.labels);
  if (!options.values.empty()) {
    requireReadable(options.values);
  }
  const auto labels = loadVolume(session, options.labels);
  const auto values = options.values.empty() ? SmartPointer<IVolume>() : loadVolume(session, options.values);
  FeatureTable table(session, labels, values, "measure");
  if (!options.sort.empty() || options.reverse) {
    table.sort(options.sort.empty() ? "label" : options.sort, options.reverse);
  }
  const auto classes = options.histogram ? sizeClassesOf(table) : std::vector<SizeClass>();
  if (session.json) {
    Json json{{"labels", options.labels}, {"numberOfObjects", table.size()}};
    if (!options.values.empty()) {
      json["values"] = options.values;
    }
    if (options.histogram) {
      json["histogram"] = jsonOf(classes);
    } else {
      json["objects"] = Json::array();
      for (std::size_t row = 0; row < table.size(); ++row) {
        json["objects"].push_back(table.record(row));
      }
    }
    printJson(json);
  } else if (options.csv && options.histogram) {
    printCsv(classes);
  } else if (options.csv) {
    std::printf("%s\n", table.csvHeader().c_str());
    for (std::size_t row = 0; row < table.size(); ++row) {
      std::printf("%s\n", table.csv(row).c_str());
    }
  } else if (options.histogram) {
    printHistogram(classes);
  } else {
    std::printf("%s", table.text().c_str());
  }
}

}  // namespace NORV::TaviTool
