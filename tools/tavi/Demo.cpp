#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Phantom.hpp>
#include <Picture.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

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
      step("phantom", &Job::writePhantom);
    }
    step("load", &Job::load);
    step("clamp", &Job::clamp);
    step("extremes", &Job::findExtremes);
    step("region", &Job::copyRegion);
    step("save", &Job::save);
    step("check", &Job::check);
    step("pictures", &Job::drawPictures);
    if (_session.json) {
      printJson({{"input", inputFile()}, {"folder", _options.folder}, {"steps", _report}});
    } else {
      std::printf("\nThe results are in %s\n", _options.folder.c_str());
    }
  }

private:
  void step(const char* name, Outcome (Job::*work)()) {
    _session.checkInterrupt(name);
    const auto start = Clock::now();
    const Outcome outcome = (this->*work)();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (_session.json) {
      _report.push_back({{"step", name}, {"seconds", seconds}, {"bytes", outcome.bytes}, {"text", outcome.text}});
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
    const Phantom phantom = makePhantom(_session);
    saveVolume(_session, phantom.volume, inputFile());
    saveTruth(_session, phantom, truthFileOf(inputFile()));
    return {"made a scan of a part with " + std::to_string(phantom.pores.size()) + " pores and " +
            std::to_string(phantom.inclusions.size()) + " inclusions: " + inputFile() + ", truth in " +
            truthFileOf(inputFile())};
  }

  Outcome load() {
    _input = loadVolume(_session, inputFile());
    return {volumeText(*_input) + ", " + bytesText(sizeInBytes(*_input)) + " from " + inputFile(),
            sizeInBytes(*_input)};
  }

  /// A limit as the operator takes it: a `Data` of the voxel type.
  SmartPointer<IComposite> greyValue(double value) const {
    SmartPointer<IComposite> data;
    withVoxels(_input, [&](const auto& view) {
      using T = std::remove_pointer_t<decltype(view.data)>;
      data = SmartPointer<IComposite>(new Tavi::Persistence::Data<T>(static_cast<T>(value)));
    });
    return data;
  }

  Outcome clamp() {
    const auto [low, high] = quantilesOf(_input, 0.005, 0.995);
    const auto parameter = makeParameter("Saturation");
    parameter->setValue("inputVolume", SmartPointer<IComposite>(_input));
    parameter->setValue("inputLowerLimit", greyValue(low));
    parameter->setValue("inputUpperLimit", greyValue(high));
    _session.run("Saturation", parameter, "clamp");
    _clamped = SmartPointer<IVolume>(parameter->getValue("outputVolume"));
    return {"outliers cut at " + valueText(greyValue(low)) + " and " + valueText(greyValue(high)) +
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
    auto& factory = Tavi::Factory::getClassFactory();
    const std::string type = _clamped->getType();
    const SmartPointer<IOperator> copy(
        factory.createInstance("NORV::Tavi::Copy::Operator< " + type + ", " + type + " >"));
    const SmartPointer<IComposite> parameter(factory.createInstance("NORV::Tavi::Copy::Parameter"));

    _clamped->setRoi(middle);
    parameter->setValue("inputVolume", SmartPointer<IComposite>(_clamped));
    _session.run("Copy", *copy, parameter, "copy a region");
    _clamped->resetRoi();
    _region = SmartPointer<IVolume>(parameter->getValue("outputVolume"));
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

  Outcome drawPictures() {
    const GreyRange before = greyRangeOf(_session, _input), after = greyRangeOf(_session, _clamped);
    savePicture(_session, threeSlices(_input, before), inFolder("before.pgm"));
    savePicture(_session, threeSlices(_clamped, after), inFolder("after.pgm"));
    savePicture(_session, threeSlices(_region, after), inFolder("region.pgm"));
    return {"middle slices across z, y and x: before.pgm, after.pgm, region.pgm"};
  }

  Session& _session;
  const DemoOptions& _options;
  SmartPointer<IVolume> _input, _clamped, _region;
  Json _report = Json::array();
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
