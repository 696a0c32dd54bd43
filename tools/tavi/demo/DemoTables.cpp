#include <DemoResults.hpp>
#include <Values.hpp>

#include <algorithm>
#include <array>
#include <cstdio>

namespace NORV::TaviTool {
namespace {

void printClasses(const DemoResults& results) {
  std::printf("\n%5s %12s %8s %9s %9s %11s\n", "class", "voxels", "share", "from", "to", "mean");
  for (const GreyClass& each : results.analysis->classes()) {
    std::printf("%5llu %12llu %6.2f %% %9.0f %9.0f %11.1f\n", static_cast<unsigned long long>(each.label),
                static_cast<unsigned long long>(each.voxels),
                100.0 * static_cast<double>(each.voxels) / static_cast<double>(results.scan->getRoiSize()),
                each.minimum, each.maximum, each.mean);
  }
}

/// The largest ones: all of the phantom, not those of any scan.
void printObjects(const DemoResults& results, bool pores) {
  constexpr SizeType most = 60;
  const bool hasTruth = !results.comparisons.empty();
  const FeatureTable& objects = *results.objects;
  const SizeType all = pores ? results.analysis->numberOfPores() : results.analysis->numberOfInclusions();
  std::printf("\n%-10s %9s %s %27s %9s %11s\n", pores ? "pores" : "inclusions", "voxels", hasTruth ? "     true" : "",
              "centre", "diameter", "mean");
  SizeType printed = 0;
  for (std::size_t row = 0; row < objects.size() && printed < most; ++row) {
    if (results.isPore(row) != pores) {
      continue;
    }
    std::array<char, 16> truth{};
    if (hasTruth) {
      std::snprintf(truth.data(), truth.size(), "%9llu", static_cast<unsigned long long>(results.trueVoxels(row)));
    }
    const auto number = [&](const char* column) { return objects.number(row, column); };
    std::printf("%10llu %9.0f %s %9.1f%9.1f%9.1f %9.1f %11.1f\n", static_cast<unsigned long long>(++printed),
                number("size"), truth.data(), number("geometricCenter.x"), number("geometricCenter.y"),
                number("geometricCenter.z"), number("diameter"), number("mean"));
  }
  if (printed < all) {
    std::printf("%10s %llu smaller ones are in %s\n", "...", static_cast<unsigned long long>(all - printed),
                results.inFolder("objects.csv").c_str());
  }
}

Json axesJson(const PrincipalAxes& axes) {
  if (!axes.exist) {
    return nullptr;
  }
  return {{"axes", axes.axes}, {"variances", axes.variances}, {"box", {axes.box.prim, axes.box.sec, axes.box.tert}}};
}

}  // namespace

bool DemoResults::truthHolds() const {
  return std::all_of(comparisons.begin(), comparisons.end(), [](const Comparison& each) { return each.holds(); }) &&
         (!axesComparison || axesComparison->holds());
}

void printResults(const DemoResults& results) {
  printClasses(results);
  printObjects(results, true);
  printObjects(results, false);
  if (!results.comparisons.empty()) {
    std::vector<std::string> lines;
    for (const Comparison& each : results.comparisons) {
      lines.push_back(each.text());
    }
    if (results.axesComparison) {
      lines.push_back(results.axesComparison->text());
    }
    if (results.truthHolds()) {
      lines.emplace_back("all that the phantom holds was found and nothing else, at its place and in its size");
    }
    std::printf("\nTruth: %s\n", join(lines, "\n       ").c_str());
  }
  std::printf("\nThe report is %s\nThe results are in %s\n", results.inFolder("report.html").c_str(),
              results.folder.c_str());
}

Json resultsJson(const DemoResults& results) {
  Json classes = Json::array(), objects = Json::array(), truth = Json::array(), steps = Json::array();
  for (const Report::Step& each : results.steps) {
    Json runs = Json::array();
    for (const Report::Run& run : each.runs) {
      Json parameters = Json::object();
      for (const auto& [key, value] : run.parameters) {
        parameters[key] = value;
      }
      runs.push_back({{"operator", run.op}, {"seconds", run.seconds}, {"parameters", parameters}});
    }
    steps.push_back({{"step", each.name},
                     {"seconds", each.seconds},
                     {"voxels", each.voxels},
                     {"bytes", each.bytes},
                     {"text", each.text},
                     {"runs", runs}});
  }
  for (const GreyClass& each : results.analysis->classes()) {
    classes.push_back({{"class", each.label},
                       {"voxels", each.voxels},
                       {"minimum", each.minimum},
                       {"maximum", each.maximum},
                       {"mean", numberJson(each.mean)}});
  }
  for (std::size_t row = 0; row < results.objects->size(); ++row) {
    Json object{{"kind", results.isPore(row) ? "pore" : "inclusion"}};
    object.update(results.objects->record(row));
    objects.push_back(object);
  }
  for (const Comparison& each : results.comparisons) {
    truth.push_back(each.json());
  }
  return {{"input", results.input}, {"folder", results.folder},
          {"steps", steps},         {"classes", classes},
          {"objects", objects},     {"axes", axesJson(results.axes)},
          {"truth", truth},         {"axesTruth", results.axesComparison ? results.axesComparison->json() : Json()}};
}

}  // namespace NORV::TaviTool
