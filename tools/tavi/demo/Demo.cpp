#include <Call.hpp>
#include <Catalogue.hpp>
#include <Commands.hpp>
#include <DemoResults.hpp>
#include <LabelPicture.hpp>
#include <Picture.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Volume.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace NORV::TaviTool {
namespace {

using Clock = std::chrono::steady_clock;

/// What a step of the job did.
struct Outcome {
  std::string text;
  double voxels = 0.0;  ///< worked on; 0 where that says nothing
  double bytes = 0.0;   ///< read and written; 0 where that says nothing
};

double voxelsOf(const IVolume& volume) { return static_cast<double>(volume.getRoiSize()); }

class Job {
public:
  Job(Session& session, const DemoOptions& options) : _session(session), _isPhantom(options.input.empty()) {
    _results.folder = options.folder;
    _results.input = _isPhantom ? inFolder("part.rek") : options.input;
    _session.onRun = [this](const std::string& op, const SmartPointer<IComposite>& parameter, double seconds,
                            const std::string& file) {
      _runs.push_back(Report::describeRun(op, parameter, seconds, file));
    };
  }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  ~Job() { _session.onRun = {}; }

  void run() {
    makeFolder();
    if (!_session.json) {
      std::printf("%-10s %10s %12s  %s\n", "step", "time", "throughput", "what it did");
    }
    if (_isPhantom) {
      step("phantom", [this] { return writePhantom(); });
    }
    prepare();
    analyse();
    align();
    step("save", [this] { return save(); });
    step("check", [this] { return check(); });
    step("pictures", [this] { return drawPictures(); });
    step("report", [this] { return writeReport(); });
    if (_session.json) {
      printJson(resultsJson(_results));
    } else {
      printResults(_results);
    }
    requireTruth();
  }

private:
  template <class Work>
  void step(const char* name, const Work& work) {
    _session.checkInterrupt(name);
    _runs.clear();
    const auto start = Clock::now();
    const Outcome outcome = work();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    _results.steps.push_back({name, outcome.text, seconds, outcome.voxels, outcome.bytes, _runs});
    if (_session.json) {
      return;
    }
    std::array<char, 32> throughput{};
    if (outcome.bytes > 0.0) {
      std::snprintf(throughput.data(), throughput.size(), "%.2f GB/s", outcome.bytes / seconds * 1e-9);
    } else if (outcome.voxels > 0.0) {
      std::snprintf(throughput.data(), throughput.size(), "%.0f Mvoxel/s", outcome.voxels / seconds * 1e-6);
    }
    std::printf("%-10s %10s %12s  %s\n", name, timeText(seconds).c_str(), throughput.data(), outcome.text.c_str());
    std::fflush(stdout);
  }

  std::string inFolder(const char* name) const { return _results.inFolder(name); }
  SmartPointer<IVolume>& scan() { return _results.scan; }
  Outcome worked(const std::string& text) { return {text, voxelsOf(*scan()), 0.0}; }

  void makeFolder() const {
    std::error_code error;
    std::filesystem::create_directories(_results.folder, error);
    if (error) {
      throw Failure(_results.folder + ": the folder cannot be made", error.message());
    }
  }

  void prepare() {
    step("load", [this] { return load(); });
    step("clamp", [this] { return clamp(); });
    step("contrast", [this] { return stretch(); });
    step("region", [this] { return copyRegion(); });
  }

  void analyse() {
    Analysis& analysis = _results.analysis.emplace(_session, scan());
    step("filter", [&] { return worked(analysis.filter()); });
    step("classes", [&] { return worked(analysis.classify()); });
    step("threshold", [&] { return worked(analysis.threshold()); });
    step("separate", [&] { return worked(analysis.separate()); });
    step("label", [&] { return worked(analysis.label()); });
    step("select", [&] { return worked(analysis.select()); });
    step("measure", [this] { return measure(); });
  }

  void align() {
    _results.turned = _results.analysis->filtered();
    if (_isPhantom) {
      step("turn", [this] { return turn(); });
    }
    step("axes", [this] { return findAxes(); });
    if (_results.axes.exist) {
      step("align", [this] { return alignPart(); });
      step("project", [this] { return project(); });
      step("unroll", [this] { return unroll(); });
    }
  }

  Outcome writePhantom() {
    const Phantom& phantom = _results.phantom.emplace(makePhantom(_session));
    saveVolume(_session, phantom.volume, _results.input);
    saveTruth(_session, phantom, truthFileOf(_results.input));
    const double voxels = voxelsOf(*phantom.volume);
    _results.phantom->volume = {};  // it is loaded as any scan
    return {"made a scan of a part with " + std::to_string(phantom.pores.size()) + " pores, " +
                std::to_string(pairsIn(phantom.pores)) + " pairs of them touching, and " +
                std::to_string(phantom.inclusions.size()) + " inclusions: " + _results.input + ", truth in " +
                truthFileOf(_results.input),
            voxels, 0.0};
  }

  Outcome load() {
    scan() = loadVolume(_session, _results.input);
    if (scan()->getRoiSize() == 0) {
      throw Failure(_results.input + ": the volume has no voxels");
    }
    return {volumeText(*scan()) + ", " + bytesText(sizeInBytes(*scan())) + " from " + _results.input, voxelsOf(*scan()),
            sizeInBytes(*scan())};
  }

  Outcome clamp() {
    const auto [low, high] = quantilesOf(scan(), 0.005, 0.995);
    _low = greyValue(scan(), low);
    _high = greyValue(scan(), high);
    _results.clamped = Call(_session, "Saturation")
                           .set("inputVolume", scan())
                           .set("inputLowerLimit", _low)
                           .set("inputUpperLimit", _high)
                           .run("clamp")
                           .volume("outputVolume");
    return {"outliers cut at " + valueText(_low) + " and " + valueText(_high) +
                ", which 0.5 % of the voxels lie below and above",
            voxelsOf(*scan()), 2.0 * sizeInBytes(*scan())};
  }

  /// The same limits as for the clamping, spread over all grey values that 8 or 16 bits have.
  Outcome stretch() {
    const bool isNarrow = voxelBytes(*scan()) == 1;
    auto& stretched = _results.stretched;
    stretched = makeVolume(isNarrow ? "uint8" : "uint16", scan()->getDimension());
    const double largest = isNarrow ? 255.0 : 65535.0;
    Call(_session, "AdjustLinear")
        .set("inputVolume", scan())
        .set("outputVolume", stretched)
        .set("inputOriginalMinimumValue", _low)
        .set("inputOriginalMaximumValue", _high)
        .set("inputResultMinimumValue", greyValue(stretched, 0.0))
        .set("inputResultMaximumValue", greyValue(stretched, largest))
        .run("contrast");
    return {"stretched " + valueText(_low) + " to " + valueText(_high) + " over 0 to " +
                valueText(greyValue(stretched, largest)),
            voxelsOf(*scan()), sizeInBytes(*scan()) + sizeInBytes(*stretched)};
  }

  /// The middle half along each axis: a region is a view, which the copy turns into a volume of its own.
  Outcome copyRegion() {
    const auto& clamped = _results.clamped;
    const auto whole = clamped->getDimension();
    const auto half = [](SizeType extent) { return std::max<SizeType>(1, extent / 2); };
    const RegionOfInterest middle(Dimension<SizeType>(half(whole.prim), half(whole.sec), half(whole.tert)),
                                  Position<SizeType>(whole.prim / 4, whole.sec / 4, whole.tert / 4));
    clamped->setRoi(middle);
    _results.region = copyOf(_session, clamped, "copy a region");
    clamped->resetRoi();
    const auto& origin = middle.getOrigin();
    return {"copied " + toText(middle.getDimension()) + " voxels from (" + std::to_string(origin.prim) + ", " +
                std::to_string(origin.sec) + ", " + std::to_string(origin.tert) + ")",
            voxelsOf(*_results.region), 2.0 * sizeInBytes(*_results.region)};
  }

  Outcome measure() {
    const std::string text = _results.analysis->measure();
    FeatureTable& objects = _results.objects.emplace(_results.analysis->table());
    objects.sort("size", true);
    if (_isPhantom) {
      const SizeType pores = _results.analysis->numberOfPores(), all = pores + _results.analysis->numberOfInclusions();
      _results.comparisons = {Comparison("pores", _results.phantom->pores, objects, 1, pores),
                              Comparison("inclusions", _results.phantom->inclusions, objects, pores + 1, all)};
    }
    std::string lines = "kind," + objects.csvHeader() + "\n";
    for (std::size_t row = 0; row < objects.size(); ++row) {
      lines += (_results.isPore(row) ? "pore," : "inclusion,") + objects.csv(row) + "\n";
    }
    writeText(_session, lines, inFolder("objects.csv"));
    return worked(text + "; objects.csv");
  }

  /// So that the axes of the part are known but are not those of the grid.
  Outcome turn() {
    constexpr double heading = 20.0, attitude = 12.0, bank = 8.0;
    const auto& filtered = _results.turned;
    const Turn& turn = _results.turn.emplace(turnAbout(filtered->getDimension(), heading, attitude, bank));
    _results.turned =
        resampled(_session, filtered, turn.matrix, turn.size, _results.analysis->classes().front().mean, "turn");
    return {"turned the part by 20, 12 and 8 degrees into " + toText(turn.size) + " voxels", voxelsOf(*_results.turned),
            0.0};
  }

  Outcome findAxes() {
    const auto& volume = _results.turned;
    const auto solid = _results.analysis->solidFrom();
    if (solid) {
      _results.axes = principalAxesOf(_session, partOf(_session, volume, greyValue(volume, *solid)));
    }
    if (_isPhantom) {
      _results.axesComparison.emplace(_results.turn->axes, _results.axes, partSize());
    }
    if (!_results.axes.exist) {
      return {"there is no part whose axes could be found"};
    }
    const Direction& longest = _results.axes.axes[0];
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "the longest axis of the part points along (%.3f, %.3f, %.3f)", longest[0],
                  longest[1], longest[2]);
    return {text.data() + (_results.axesComparison ? "; " + _results.axesComparison->text() : std::string()),
            voxelsOf(*volume), 0.0};
  }

  Outcome alignPart() {
    const PrincipalAxes& axes = _results.axes;
    _results.aligned =
        resampled(_session, _results.turned, axes.matrix, axes.box, _results.analysis->classes().front().mean, "align");
    return {"the part along its principal axes: " + toText(axes.box) + " voxels", voxelsOf(*_results.aligned), 0.0};
  }

  Outcome project() {
    const auto& aligned = _results.aligned;
    const auto size = aligned->getDimension();
    _results.projection = makeVolume(shortName(aligned->getVoxelType()), Dimension<SizeType>(size.prim, size.sec, 1));
    Call(_session, "MeanProjection")
        .set("inputVolume", aligned)
        .set("inputDefaultValue", greyValue(aligned, 0.0))
        .set("outputVolume", _results.projection)
        .run("project");
    savePicture(_session, sliceOf(_results.projection, 'z', 0, greyRangeOf(_session, _results.projection)),
                inFolder("projection.png"));
    return {"mean grey value along the shortest axis: projection.png", voxelsOf(*aligned), 0.0};
  }

  /// Around the shortest axis through the middle of the part; the picture shows the cylinder of three quarters of the
  /// largest radius that fits.
  Outcome unroll() {
    const auto& aligned = _results.aligned;
    const auto size = aligned->getDimension();
    const double largest = 0.5 * static_cast<double>(std::min(size.prim, size.sec) - 1);
    Call unroll(_session, "CartesianToCylinderCoordinatesTransform");
    const auto center = unroll.value("inputCenter");
    const auto middle = [](SizeType extent) {
      return std::to_string((extent - 1) / 2) + (extent % 2 == 0 ? ".5" : "");
    };
    parseInto("inputCenter", center, middle(size.prim) + "x" + middle(size.sec) + "x0");
    using Tavi::Persistence::Data;
    unroll.set("inputVolume", aligned)
        .set("inputCenter", center)
        .set("inputMaximumDistance", SmartPointer<IComposite>(new Data<float32>(static_cast<float32>(largest))))
        .set("inputOuterValue", greyValue(aligned, 0.0))
        .run("unroll");
    _results.unrolled = unroll.volume("outputVolume");
    _results.unrolledRadius = _results.unrolled->getDimPrim() * 3 / 4;
    savePicture(_session,
                sliceOf(_results.unrolled, 'x', _results.unrolledRadius, greyRangeOf(_session, _results.unrolled)),
                inFolder("unrolled.png"));
    return {"a cylinder around the shortest axis: unrolled.png", voxelsOf(*_results.unrolled), 0.0};
  }

  struct Saved {
    const char* file;
    SmartPointer<IVolume> volume;
  };
  std::vector<Saved> savedVolumes() const {
    std::vector<Saved> all{{"clamped.rek", _results.clamped},
                           {"region.rek", _results.region},
                           {"objects.rek", _results.analysis->objects()}};
    const auto& part = _results.aligned != nullptr ? _results.aligned : _results.turned;
    all.insert(all.end(), {{"aligned.rek.gz", part}, {"aligned.vti", part}});
    return all;
  }

  Outcome save() {
    std::vector<std::string> names;
    double bytes = 0.0;
    for (const auto& [file, volume] : savedVolumes()) {
      saveVolume(_session, volume, inFolder(file));
      names.emplace_back(file);
      bytes += sizeInBytes(*volume);
    }
    return {join(names), 0.0, bytes};
  }

  Outcome check() {
    double bytes = 0.0;
    for (const auto& [file, volume] : savedVolumes()) {
      if (!sameVoxels(loadVolume(_session, inFolder(file)), volume)) {
        throw Failure(inFolder(file) + " does not hold the voxels that were saved");
      }
      bytes += sizeInBytes(*volume);
    }
    return {"read all of them again: every voxel as it was saved", 0.0, bytes};
  }

  /// The range that a scan could have, so that a low contrast is seen as such.
  GreyRange fullRange() {
    const bool isRaw = scan()->getVoxelType() == _results.stretched->getVoxelType();
    return isRaw ? GreyRange{0.0, voxelBytes(*scan()) == 1 ? 255.0 : 65535.0} : greyRangeOf(_session, scan());
  }

  Outcome drawPictures() {
    const Analysis& analysis = *_results.analysis;
    const GreyRange before = greyRangeOf(_session, scan()), after = greyRangeOf(_session, _results.clamped);
    savePicture(_session, threeSlices(scan(), before), inFolder("before.pgm"));
    savePicture(_session, threeSlices(_results.clamped, after), inFolder("after.pgm"));
    savePicture(_session, threeSlices(_results.region, after), inFolder("region.pgm"));
    const GreyRange stretched{0.0, voxelBytes(*_results.stretched) == 1 ? 255.0 : 65535.0};
    savePicture(_session, stacked({threeSlices(scan(), fullRange()), threeSlices(_results.stretched, stretched)}, 4),
                inFolder("contrast.pgm"));
    const GreyRange filtered = greyRangeOf(_session, analysis.filtered());
    const GreyRange classes{0.0, static_cast<double>(Analysis::numberOfClasses)};
    savePicture(_session,
                stacked({threeSlices(analysis.filtered(), filtered), threeSlices(analysis.classVolume(), classes)}, 4),
                inFolder("classes.pgm"));
    drawObjects();
    return {
        "middle slices across z, y and x: before.pgm, after.pgm, region.pgm, contrast.pgm, classes.pgm; objects "
        "in the part: objects.ppm"};
  }

  /// In shuffled order, so that neighbours differ in colour.
  void drawObjects() {
    const SizeType labels = _results.objects->size() + 1;
    std::srand(1);  // the same picture each time
    const auto shuffled = Call(_session, "SwitchLabelsRandom")
                              .set("inputVolume", _results.analysis->objects())
                              .setCount("inputNumberOfLabels", labels)
                              .run("shuffle labels")
                              .volume("outputVolume");
    savePicture(_session, seeThrough(scan(), shuffled, labels), inFolder("objects.ppm"));
  }

  /// The report cannot tell of its own step, so it has those before.
  Outcome writeReport() {
    Report::save(_session, reportOf(_session, _results), inFolder("report.html"));
    std::error_code error;
    const auto bytes = std::filesystem::file_size(inFolder("report.html"), error);
    return {"report.html, " + bytesText(error ? 0.0 : static_cast<double>(bytes))};
  }

  void requireTruth() const {
    if (!_results.truthHolds()) {
      std::vector<std::string> texts;
      for (const Comparison& each : _results.comparisons) {
        texts.push_back(each.text());
      }
      if (_results.axesComparison) {
        texts.push_back(_results.axesComparison->text());
      }
      throw Failure("what was measured is not what the phantom holds", join(texts, "; "));
    }
  }

  Session& _session;
  bool _isPhantom;
  DemoResults _results;
  std::vector<Report::Run> _runs;        // of the present step
  SmartPointer<IComposite> _low, _high;  // grey values between which nearly all voxels lie
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
