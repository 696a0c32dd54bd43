#include <DemoResults.hpp>
#include <LabelPicture.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <filesystem>

namespace NORV::TaviTool {
namespace {

using Report::Overlay;

const char* nameOf(std::size_t label) {
  constexpr std::array names{"air and pores", "material", "denser than material"};
  return label - 1 < names.size() ? names[label - 1] : "class";
}

std::string summaryOf(const DemoResults& results) {
  const SizeType pores = results.analysis->numberOfPores(), inclusions = results.analysis->numberOfInclusions();
  const auto count = [](SizeType number, const std::string& what) {
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
  };
  std::string text = pores + inclusions == 0 ? "No pore and no inclusion was found in the part."
                                             : "In the part there are " + count(pores, "pore") + " and " +
                                                   count(inclusions, "inclusion") + ".";
  if (!results.comparisons.empty()) {
    text += results.truthHolds() ? " All of them agree with what the made-up scan holds."
                                 : " They do not agree with what the made-up scan holds.";
  }
  return text;
}

std::vector<std::pair<std::string, std::string>> factsOf(const DemoResults& results) {
  SizeType voxels = 0;
  for (std::size_t row = 0; row < results.objects->size(); ++row) {
    voxels += results.isPore(row) ? static_cast<SizeType>(results.objects->number(row, "size")) : 0;
  }
  const auto solid = results.analysis->solidVoxels();
  std::vector<std::pair<std::string, std::string>> facts{
      {"Scan", std::filesystem::path(results.input).filename().string()},
      {"Voxels", volumeText(*results.scan)},
      {"In memory", bytesText(sizeInBytes(*results.scan))},
      {"Pores", std::to_string(results.analysis->numberOfPores())},
      {"Inclusions", std::to_string(results.analysis->numberOfInclusions())}};
  if (solid + voxels > 0) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f %%",
                  100.0 * static_cast<double>(voxels) / static_cast<double>(solid + voxels));
    facts.emplace_back("Porosity", text.data());
  }
  if (results.axes.exist) {
    facts.emplace_back("Part, aligned", toText(results.axes.box) + " voxels");
  }
  return facts;
}

std::vector<Report::Check> checksOf(const DemoResults& results) {
  std::vector<Report::Check> checks;
  if (results.comparisons.empty()) {
    return checks;
  }
  constexpr std::array names{"Pores.", "Inclusions."};
  for (std::size_t i = 0; i < results.comparisons.size(); ++i) {
    checks.push_back({names[i], results.comparisons[i].text(), results.comparisons[i].holds()});
  }
  if (results.axesComparison) {
    checks.push_back({"Principal axes.", results.axesComparison->text(), results.axesComparison->holds()});
  }
  return checks;
}

void addViews(const DemoResults& results, Report::Document& document) {
  const Analysis& analysis = *results.analysis;
  document.views = {
      {"Scan", "As loaded, from its smallest to its largest grey value.", results.scan, {}, Overlay::none, {}},
      {"Filtered", "After the median, which removes noise.", analysis.filtered(), {}, Overlay::none, {}},
      {"Classes",
       "The classes of grey values that k-means found.",
       analysis.filtered(),
       {},
       Overlay::classes,
       analysis.classVolume()},
      {"Objects",
       "Pores and inclusions, each in a colour of its own.",
       analysis.filtered(),
       {},
       Overlay::objects,
       analysis.objects()}};
  document.secondView = document.views.size() - 1;
  if (results.turn) {
    document.views.push_back(
        {"Turned", "The filtered scan, turned by a known rotation.", results.turned, {}, Overlay::none, {}});
  }
  if (results.aligned != nullptr) {
    document.views.push_back({"Aligned",
                              "The part along its principal axes, the longest to the right.",
                              results.aligned,
                              {},
                              Overlay::none,
                              {}});
  }
}

void addFigures(Session& session, const DemoResults& results, Report::Document& document) {
  document.figures.push_back({"Objects.",
                              "The part seen through along z, y and x, the nearest object on each line of sight in its "
                              "colour.",
                              seeThrough(results.scan, results.analysis->objects(), results.objects->size() + 1)});
  if (results.aligned == nullptr) {
    return;
  }
  document.figures.push_back({"Projection.", "Mean grey value of the aligned part along its shortest axis.",
                              sliceOf(results.projection, 'z', 0, greyRangeOf(session, results.projection))});
  document.figures.push_back(
      {"Unrolled.", "The aligned part on a cylinder around its shortest axis, from angle 0 to 360 degrees.",
       sliceOf(results.unrolled, 'x', results.unrolledRadius, greyRangeOf(session, results.unrolled))});
}

void addGreyValues(Session& session, const DemoResults& results, Report::Document& document) {
  document.histogram = Report::histogramOf(session, results.analysis->filtered(), 160);
  document.histogramCaption =
      "Voxels of each grey value after the filter, on a logarithmic scale, in the colours of their classes.";
  document.classes.resize(Analysis::numberOfClasses);
  for (const GreyClass& each : results.analysis->classes()) {
    const auto label = static_cast<std::size_t>(each.label);
    document.classes.at(label - 1) = {nameOf(label), each.voxels, each.minimum, each.maximum, each.mean};
  }
}

void addObjects(const DemoResults& results, Report::Document& document) {
  const FeatureTable& table = *results.objects;
  const bool hasTruth = !results.comparisons.empty();
  document.showsObjects = true;
  if (hasTruth) {
    document.columns.push_back({"True voxels", "", 0});
  }
  const std::vector<std::pair<const char*, Report::Column>> columns{{"diameter", {"Diameter", "voxels", 1}},
                                                                    {"geometricCenter.x", {"x", "voxels", 1}},
                                                                    {"geometricCenter.y", {"y", "voxels", 1}},
                                                                    {"geometricCenter.z", {"z", "voxels", 1}},
                                                                    {"mean", {"Mean grey value", "", 1}}};
  for (const auto& [name, column] : columns) {
    document.columns.push_back(column);
  }
  for (std::size_t row = 0; row < table.size(); ++row) {
    Report::Object object{static_cast<SizeType>(table.number(row, "label")),
                          results.isPore(row) ? "pore" : "inclusion",
                          static_cast<SizeType>(table.number(row, "size")),
                          {table.number(row, "geometricCenter.x"), table.number(row, "geometricCenter.y"),
                           table.number(row, "geometricCenter.z")},
                          {}};
    if (hasTruth) {
      object.values.push_back(static_cast<double>(results.trueVoxels(row)));
    }
    for (const auto& [name, column] : columns) {
      object.values.push_back(table.number(row, name));
    }
    document.objects.push_back(object);
  }
}

}  // namespace

Report::Document reportOf(Session& session, const DemoResults& results) {
  Report::Document document;
  document.title = "Pores and inclusions in a scan";
  document.summary = summaryOf(results);
  document.facts = factsOf(results);
  document.checks = checksOf(results);
  addViews(results, document);
  addFigures(session, results, document);
  addGreyValues(session, results, document);
  addObjects(results, document);
  document.steps = results.steps;
  document.footer = "This page holds all that it shows and loads nothing from anywhere.";
  return document;
}

}  // namespace NORV::TaviTool
