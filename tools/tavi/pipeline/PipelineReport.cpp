#include <Call.hpp>
#include <Catalogue.hpp>
#include <FeatureTable.hpp>
#include <PipelineReport.hpp>
#include <TargetFile.hpp>
#include <Tavi/Triple.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <utility>
#include <vector>

namespace NORV::TaviTool {
namespace {

using Report::Overlay;

constexpr std::size_t mostViews = 12;
constexpr double mostVoxels = 1 << 24;
constexpr std::size_t bins = 160;
constexpr const char* doing = "report";

Tavi::Triple<SizeType> factorsFor(const Dimension<SizeType>& extents, SizeType factor) {
  return {std::min(factor, extents.prim), std::min(factor, extents.sec), std::min(factor, extents.tert)};
}

/// How many voxels remain.
double voxelsOf(const Dimension<SizeType>& extents, const Tavi::Triple<SizeType>& factors) {
  return std::ceil(static_cast<double>(extents.prim) / static_cast<double>(factors.prim)) *
         std::ceil(static_cast<double>(extents.sec) / static_cast<double>(factors.sec)) *
         std::ceil(static_cast<double>(extents.tert) / static_cast<double>(factors.tert));
}

/// The volume itself where it is small enough to be kept.
SmartPointer<IVolume> reduced(Session& session, const SmartPointer<IVolume>& volume) {
  const auto extents = volume->getDimension();
  SizeType factor = 1;
  while (voxelsOf(extents, factorsFor(extents, factor)) > mostVoxels) {
    ++factor;
  }
  if (factor == 1) {
    return volume;
  }
  const SmartPointer<IComposite> factors(new Tavi::TripleComposite<SizeType>(factorsFor(extents, factor)));
  return Call(session, "DiscreteDownsampling")
      .set("inputVolume", volume)
      .set("inputDownsamplingFactor", factors)
      .run(doing)
      .volume("outputVolume");
}

bool isLabelling(const std::string& op) {
  constexpr std::array labelling{"ChessboardConnectedComponentsAnalysis", "CityblockConnectedComponentsAnalysis",
                                 "SwitchLabelsRandom", "WatershedTransform", "KMeansHistogramSegmentation"};
  return std::find(labelling.begin(), labelling.end(), op) != labelling.end();
}

/// Of a volume where it comes from.
std::string textOf(const Json& value) {
  if (value.is_string()) {
    return value.get<std::string>();
  }
  if (value.is_object() && value.contains("from")) {
    return value.at("from").get<std::string>();
  }
  return value.dump();
}

Report::Step describe(const StepReport& report) {
  Report::Step step{report.title, summaryOf(report.op), report.seconds, 0.0, 0.0, {}};
  if (!report.inputs.empty()) {
    step.voxels = static_cast<double>(report.inputs.front().second->getRoiSize());
  }
  Report::Run run{report.op, report.seconds, {}};
  for (const Json* each : {&report.parameters, &report.targets, &report.results}) {
    for (const auto& [key, value] : each->items()) {
      if (!value.is_null()) {
        run.parameters.emplace_back(key, textOf(value));
      }
    }
  }
  step.runs.push_back(std::move(run));
  return step;
}

}  // namespace

PipelineReport::PipelineReport(Session& session, const Job& job, const std::string& file)
    : _session(session),
      _file(file) {
  if (_file.empty()) {
    return;
  }
  for (const JobStep& step : job.steps) {
    for (const auto& uses : {step.step.filesRead(), step.step.filesWritten()}) {
      for (const Step::FileUse& use : uses) {
        if (finalTarget(use.name) == finalTarget(_file)) {
          throw UsageError(_file + ": the report would replace a file of the job; name another with --report");
        }
      }
    }
  }
  requireCreatable(_file);
  _document.title = std::filesystem::path(job.file).stem().string();
  _document.summary = "What " + std::filesystem::path(job.file).filename().string() + " did in " +
                      std::to_string(job.steps.size()) + (job.steps.size() == 1 ? " step." : " steps.");
  for (const auto& [name, value] : job.parameters.items()) {
    _document.facts.emplace_back(name, textOf(value));
  }
}

void PipelineReport::addView(const std::string& title, const std::string& caption, const SmartPointer<IVolume>& volume,
                             bool holdsLabels) {
  if (_document.views.size() == mostViews || volume->getRoiSize() == 0) {
    return;
  }
  Report::View view{title, caption, reduced(_session, volume), {}, Overlay::none, {}};
  if (holdsLabels) {
    const auto isBeneath = [&](const Report::View& other) {
      return other.overlay == Overlay::none && other.volume->getDimension() == view.volume->getDimension();
    };
    const auto grey = std::find_if(_document.views.rbegin(), _document.views.rend(), isBeneath);
    view.overlay = Overlay::objects;
    view.labels = view.volume;
    if (grey != _document.views.rend()) {
      view.volume = grey->volume;
    }
  }
  _document.views.push_back(std::move(view));
}

void PipelineReport::measure(const StepReport& report) {
  const auto volumeAt = [&](const std::string& key) {
    const auto found =
        std::find_if(report.inputs.begin(), report.inputs.end(), [&](const auto& input) { return input.first == key; });
    return found != report.inputs.end() ? found->second : SmartPointer<IVolume>();
  };
  const auto labels = volumeAt("inputLabelVolume"), values = volumeAt("inputValueVolume");
  if (labels == nullptr || values == nullptr) {
    return;
  }
  const FeatureTable table(_session, labels, values, doing);
  const std::vector<std::pair<const char*, Report::Column>> columns{{"diameter", {"Diameter", "voxels", 1}},
                                                                    {"geometricCenter.x", {"x", "voxels", 1}},
                                                                    {"geometricCenter.y", {"y", "voxels", 1}},
                                                                    {"geometricCenter.z", {"z", "voxels", 1}},
                                                                    {"mean", {"Mean grey value", "", 1}}};
  _document.showsObjects = true;
  _document.columns.clear();
  _document.objects.clear();
  for (const auto& [name, column] : columns) {
    _document.columns.push_back(column);
  }
  for (std::size_t row = 0; row < table.size(); ++row) {
    Report::Object object{static_cast<SizeType>(table.number(row, "label")),
                          "object",
                          static_cast<SizeType>(table.number(row, "size")),
                          {table.number(row, "geometricCenter.x"), table.number(row, "geometricCenter.y"),
                           table.number(row, "geometricCenter.z")},
                          {}};
    for (const auto& [name, column] : columns) {
      object.values.push_back(table.number(row, name));
    }
    _document.objects.push_back(std::move(object));
  }
}

void PipelineReport::stepDone(const StepReport& report) {
  if (_file.empty()) {
    return;
  }
  _document.steps.push_back(describe(report));
  if (_document.views.empty()) {
    for (const auto& [key, volume] : report.inputs) {
      if (key != "inputMask") {
        addView("Input", key + " of " + report.title, volume, false);
        break;
      }
    }
  }
  for (const auto& [key, volume] : report.outputs) {
    const bool isInteger = shortName(volume->getVoxelType()).find("int") != std::string::npos;
    addView(report.title, key + " of " + report.op, volume, isInteger && isLabelling(report.op));
  }
  if (report.op == "StandardFeaturesCalculation") {
    measure(report);
  }
}

void PipelineReport::save() {
  if (_file.empty()) {
    return;
  }
  const auto isGrey = [](const Report::View& view) { return view.overlay == Overlay::none; };
  const auto last = std::find_if(_document.views.rbegin(), _document.views.rend(), isGrey);
  if (last != _document.views.rend()) {
    _document.histogram = Report::histogramOf(_session, last->volume, bins);
    _document.histogramCaption =
        "Voxels of each grey value in the view \"" + last->title + "\", on a logarithmic scale.";
  }
  _document.secondView = _document.views.empty() ? 0 : _document.views.size() - 1;
  _document.footer = "This page holds all that it shows and loads nothing from anywhere.";
  Report::save(_session, _document, _file);
}

}  // namespace NORV::TaviTool
