#include <Analysis.hpp>
#include <Call.hpp>
#include <Commands.hpp>
#include <LabelPicture.hpp>
#include <Phantom.hpp>
#include <Picture.hpp>
#include <Truth.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace NORV::TaviTool {
namespace {

using Clock = std::chrono::steady_clock;

/// What a step of the job did.
struct Outcome {
  std::string text;
  double bytes = 0.0;  ///< read and written; 0 where that says nothing
};

class Job {
public:
  Job(Session& session, const DemoOptions& options) : _session(session), _options(options) {}

  void run() {
    makeFolder();
    if (!_session.json) {
      std::printf("%-10s %10s %12s  %s\n", "step", "time", "throughput", "what it did");
    }
    if (_options.input.empty()) {
      step("phantom", [this] { return writePhantom(); });
    }
    step("load", [this] { return load(); });
    step("clamp", [this] { return clamp(); });
    step("extremes", [this] { return findExtremes(); });
    step("region", [this] { return copyRegion(); });
    step("save", [this] { return save(); });
    step("check", [this] { return check(); });
    step("contrast", [this] { return stretch(); });
    _analysis.emplace(_session, _input);
    step("filter", [this] { return Outcome{_analysis->filter(), 2.0 * sizeInBytes(*_input)}; });
    step("classes", [this] { return Outcome{_analysis->classify()}; });
    step("threshold", [this] { return Outcome{_analysis->threshold()}; });
    step("label", [this] { return Outcome{_analysis->label()}; });
    step("clean", [this] { return Outcome{_analysis->clean()}; });
    step("measure", [this] { return measure(); });
    step("pictures", [this] { return drawPictures(); });
    report();
    requireTruth();
  }

private:
  template <class Work>
  void step(const char* name, const Work& work) {
    _session.checkInterrupt(name);
    const auto start = Clock::now();
    const Outcome outcome = work();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (_session.json) {
      _steps.push_back({{"step", name}, {"seconds", seconds}, {"bytes", outcome.bytes}, {"text", outcome.text}});
      return;
    }
    std::array<char, 32> throughput{};
    if (outcome.bytes > 0.0) {
      std::snprintf(throughput.data(), throughput.size(), "%.2f GB/s", outcome.bytes / seconds * 1e-9);
    }
    std::printf("%-10s %10s %12s  %s\n", name, timeText(seconds).c_str(), throughput.data(), outcome.text.c_str());
    std::fflush(stdout);
  }

  std::string inFolder(const char* name) const { return _options.folder + "/" + name; }
  std::string inputFile() const { return _options.input.empty() ? inFolder("part.rek") : _options.input; }

  void makeFolder() const {
    std::error_code error;
    std::filesystem::create_directories(_options.folder, error);
    if (error) {
      throw Failure(_options.folder + ": the folder cannot be made", error.message());
    }
  }

  Outcome writePhantom() {
    _phantom = makePhantom(_session);
    saveVolume(_session, _phantom->volume, inputFile());
    saveTruth(_session, *_phantom, truthFileOf(inputFile()));
    _phantom->volume = {};  // it is loaded as any scan
    return {"made a scan of a part with " + std::to_string(_phantom->pores.size()) + " pores and " +
            std::to_string(_phantom->inclusions.size()) + " inclusions: " + inputFile() + ", truth in " +
            truthFileOf(inputFile())};
  }

  Outcome load() {
    _input = loadVolume(_session, inputFile());
    return {volumeText(*_input) + ", " + bytesText(sizeInBytes(*_input)) + " from " + inputFile(),
            sizeInBytes(*_input)};
  }

  Outcome clamp() {
    const auto [low, high] = quantilesOf(_input, 0.005, 0.995);
    _low = greyValue(_input, low);
    _high = greyValue(_input, high);
    _clamped = Call(_session, "Saturation")
                   .set("inputVolume", _input)
                   .set("inputLowerLimit", _low)
                   .set("inputUpperLimit", _high)
                   .run("clamp")
                   .volume("outputVolume");
    return {"outliers cut at " + valueText(_low) + " and " + valueText(_high) +
                ", which 0.5 % of the voxels lie below and above",
            2.0 * sizeInBytes(*_input)};
  }

  Outcome findExtremes() {
    const Extremes extremes = extremesOf(_session, _clamped);
    return {"now from " + valueText(extremes.minimum) + " to " + valueText(extremes.maximum), sizeInBytes(*_clamped)};
  }

  /// The middle half along each axis: a region is a view, which the copy turns into a volume of its own.
  Outcome copyRegion() {
    const auto whole = _clamped->getDimension();
    const auto half = [](SizeType extent) { return std::max<SizeType>(1, extent / 2); };
    const RegionOfInterest middle(Dimension<SizeType>(half(whole.prim), half(whole.sec), half(whole.tert)),
                                  Position<SizeType>(whole.prim / 4, whole.sec / 4, whole.tert / 4));
    _clamped->setRoi(middle);
    _region = copyOf(_session, _clamped, "copy a region");
    _clamped->resetRoi();
    const auto& origin = middle.getOrigin();
    return {"copied " + toText(middle.getDimension()) + " voxels from (" + std::to_string(origin.prim) + ", " +
                std::to_string(origin.sec) + ", " + std::to_string(origin.tert) + ")",
            2.0 * sizeInBytes(*_region)};
  }

  Outcome save() {
    saveVolume(_session, _clamped, inFolder("clamped.rek"));
    saveVolume(_session, _region, inFolder("region.rek"));
    return {inFolder("clamped.rek") + ", " + inFolder("region.rek"), sizeInBytes(*_clamped) + sizeInBytes(*_region)};
  }

  Outcome check() {
    const auto again = loadVolume(_session, inFolder("region.rek"));
    if (!sameVoxels(again, _region)) {
      throw Failure(inFolder("region.rek") + " does not hold the voxels that were saved");
    }
    return {inFolder("region.rek") + " read again: every voxel as it was saved", 2.0 * sizeInBytes(*_region)};
  }

  /// The same limits as for the clamping, spread over all grey values that 8 or 16 bits have.
  Outcome stretch() {
    const bool isNarrow = voxelBytes(*_input) == 1;
    _stretched = makeVolume(isNarrow ? "uint8" : "uint16", _input->getDimension());
    const double largest = isNarrow ? 255.0 : 65535.0;
    Call(_session, "AdjustLinear")
        .set("inputVolume", _input)
        .set("outputVolume", _stretched)
        .set("inputOriginalMinimumValue", _low)
        .set("inputOriginalMaximumValue", _high)
        .set("inputResultMinimumValue", greyValue(_stretched, 0.0))
        .set("inputResultMaximumValue", greyValue(_stretched, largest))
        .run("contrast");
    return {"stretched " + valueText(_low) + " to " + valueText(_high) + " over 0 to " +
                valueText(greyValue(_stretched, largest)),
            sizeInBytes(*_input) + sizeInBytes(*_stretched)};
  }

  Outcome measure() {
    const std::string text = _analysis->measure();
    saveVolume(_session, _analysis->objects(), inFolder("objects.rek"));
    _objects.emplace(_analysis->table());
    _objects->sort("size", true);
    if (_phantom) {
      const SizeType pores = _analysis->numberOfPores(), all = pores + _analysis->numberOfInclusions();
      _comparisons = {Comparison("pores", _phantom->pores, *_objects, 1, pores),
                      Comparison("inclusions", _phantom->inclusions, *_objects, pores + 1, all)};
    }
    writeObjects();
    return {text + "; objects.csv, objects.rek"};
  }

  bool isPore(std::size_t row) const {
    return _objects->number(row, "label") <= static_cast<double>(_analysis->numberOfPores());
  }

  void writeObjects() {
    const std::string file = inFolder("objects.csv");
    std::string lines = "kind," + _objects->csvHeader() + "\n";
    for (std::size_t row = 0; row < _objects->size(); ++row) {
      lines += (isPore(row) ? "pore," : "inclusion,") + _objects->csv(row) + "\n";
    }
    writeText(_session, lines, file);
  }

  /// The range that a scan could have, so that a low contrast is seen as such.
  GreyRange fullRange() {
    const bool isRaw = _input->getVoxelType() == _stretched->getVoxelType();
    return isRaw ? GreyRange{0.0, voxelBytes(*_input) == 1 ? 255.0 : 65535.0} : greyRangeOf(_session, _input);
  }

  Outcome drawPictures() {
    const GreyRange before = greyRangeOf(_session, _input), after = greyRangeOf(_session, _clamped);
    savePicture(_session, threeSlices(_input, before), inFolder("before.pgm"));
    savePicture(_session, threeSlices(_clamped, after), inFolder("after.pgm"));
    savePicture(_session, threeSlices(_region, after), inFolder("region.pgm"));
    const GreyRange stretched{0.0, voxelBytes(*_stretched) == 1 ? 255.0 : 65535.0};
    savePicture(_session, stacked({threeSlices(_input, fullRange()), threeSlices(_stretched, stretched)}, 4),
                inFolder("contrast.pgm"));
    const GreyRange filtered = greyRangeOf(_session, _analysis->filtered());
    const GreyRange classes{0.0, static_cast<double>(Analysis::numberOfClasses)};
    savePicture(
        _session,
        stacked({threeSlices(_analysis->filtered(), filtered), threeSlices(_analysis->classVolume(), classes)}, 4),
        inFolder("classes.pgm"));
    drawObjects();
    return {
        "middle slices across z, y and x: before.pgm, after.pgm, region.pgm, contrast.pgm, classes.pgm; objects "
        "in the part: objects.ppm"};
  }

  /// In shuffled order, so that neighbours differ in colour.
  void drawObjects() {
    const SizeType labels = _objects->size() + 1;
    std::srand(1);  // the same picture each time
    const auto shuffled = Call(_session, "SwitchLabelsRandom")
                              .set("inputVolume", _analysis->objects())
                              .setCount("inputNumberOfLabels", labels)
                              .run("shuffle labels")
                              .volume("outputVolume");
    savePicture(_session, seeThrough(_input, shuffled, labels), inFolder("objects.ppm"));
  }

  void report() const {
    if (_session.json) {
      Json classes = Json::array(), objects = Json::array(), truth = Json::array();
      for (const GreyClass& each : _analysis->classes()) {
        classes.push_back({{"class", each.label},
                           {"voxels", each.voxels},
                           {"minimum", each.minimum},
                           {"maximum", each.maximum},
                           {"mean", numberJson(each.mean)}});
      }
      for (std::size_t row = 0; row < _objects->size(); ++row) {
        Json object{{"kind", isPore(row) ? "pore" : "inclusion"}};
        object.update(_objects->record(row));
        objects.push_back(object);
      }
      for (const Comparison& each : _comparisons) {
        truth.push_back(each.json());
      }
      printJson({{"input", inputFile()},
                 {"folder", _options.folder},
                 {"steps", _steps},
                 {"classes", classes},
                 {"objects", objects},
                 {"truth", truth}});
      return;
    }
    printClasses();
    printObjects(true);
    printObjects(false);
    for (const Comparison& each : _comparisons) {
      std::printf("%s%s\n", &each == _comparisons.data() ? "\nTruth: " : "       ", each.text().c_str());
    }
    if (!_comparisons.empty() && truthHolds()) {
      std::printf("       all that the phantom holds was found and nothing else, at its place and in its size\n");
    }
    std::printf("\nThe results are in %s\n", _options.folder.c_str());
  }

  void printClasses() const {
    std::printf("\n%5s %12s %8s %9s %9s %11s\n", "class", "voxels", "share", "from", "to", "mean");
    for (const GreyClass& each : _analysis->classes()) {
      std::printf("%5llu %12llu %6.2f %% %9.0f %9.0f %11.1f\n", static_cast<unsigned long long>(each.label),
                  static_cast<unsigned long long>(each.voxels),
                  100.0 * static_cast<double>(each.voxels) / static_cast<double>(_input->getRoiSize()), each.minimum,
                  each.maximum, each.mean);
    }
  }

  /// The largest ones: all of the phantom, not those of any scan.
  void printObjects(bool pores) const {
    constexpr SizeType most = 50;
    const SizeType all = pores ? _analysis->numberOfPores() : _analysis->numberOfInclusions();
    std::printf("\n%-10s %9s %s %27s %9s %11s\n", pores ? "pores" : "inclusions", "voxels", _phantom ? "     true" : "",
                "centre", "diameter", "mean");
    SizeType printed = 0;
    for (std::size_t row = 0; row < _objects->size() && printed < most; ++row) {
      if (isPore(row) != pores) {
        continue;
      }
      std::array<char, 16> truth{};
      if (_phantom) {
        std::snprintf(truth.data(), truth.size(), "%9llu", static_cast<unsigned long long>(trueVoxels(row)));
      }
      const auto number = [&](const char* column) { return _objects->number(row, column); };
      std::printf("%10llu %9.0f %s %9.1f%9.1f%9.1f %9.1f %11.1f\n", static_cast<unsigned long long>(++printed),
                  number("size"), truth.data(), number("geometricCenter.x"), number("geometricCenter.y"),
                  number("geometricCenter.z"), number("diameter"), number("mean"));
    }
    if (printed < all) {
      std::printf("%10s %llu smaller ones are in %s\n", "...", static_cast<unsigned long long>(all - printed),
                  inFolder("objects.csv").c_str());
    }
  }

  SizeType trueVoxels(std::size_t row) const {
    return std::max(_comparisons[0].trueVoxels(row), _comparisons[1].trueVoxels(row));
  }

  bool truthHolds() const {
    return std::all_of(_comparisons.begin(), _comparisons.end(), [](const Comparison& each) { return each.holds(); });
  }

  void requireTruth() const {
    if (!truthHolds()) {
      throw Failure("what was measured is not what the phantom holds",
                    _comparisons[0].text() + "; " + _comparisons[1].text());
    }
  }

  Session& _session;
  const DemoOptions& _options;
  std::optional<Phantom> _phantom;
  SmartPointer<IVolume> _input, _clamped, _region, _stretched;
  SmartPointer<IComposite> _low, _high;  // grey values between which nearly all voxels lie
  std::optional<Analysis> _analysis;
  std::optional<FeatureTable> _objects;  // the largest first
  std::vector<Comparison> _comparisons;
  Json _steps = Json::array();
};

}  // namespace

void demoCommand(Session& session, const DemoOptions& options) {
  if (!options.input.empty()) {
    requireReadable(options.input);
  }
  // The table of steps tells what is done; on a terminal a bar shows the longer ones besides.
  session.brief = true;
  Job(session, options).run();
}

}  // namespace NORV::TaviTool
