#include <Catalogue.hpp>
#include <Mask.hpp>
#include <Objects.hpp>
#include <Rehearsal.hpp>
#include <TargetFile.hpp>
#include <Tavi/Exceptions.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <tuple>

namespace NORV::TaviTool {
namespace {

SmartPointer<IVolume> tinyVolume(const std::string& voxelType) {
  const auto volume = makeVolume(voxelType, Dimension<SizeType>(1, 1, 1));
  clear(volume);
  return volume;
}

/// A mask has a voxel that is set, a matrix is one.
SmartPointer<IVolume> tinyVolumeFor(const KeyDescription& key, const std::string& voxelType) {
  const bool isMatrix = key.info.takes == Takes::matrix;
  const auto volume = isMatrix ? makeVolume(voxelType, Dimension<SizeType>(4, 4, 1)) : tinyVolume(voxelType);
  clear(volume);
  withVoxels(volume, [&](const auto& view) {
    for (SizeType i = 0; i < (isMatrix ? 4U : key.info.takes == Takes::mask ? 1U : 0U); ++i) {
      view.at(i, isMatrix ? i : 0, 0) = 1;
    }
  });
  return volume;
}

/// Counts and extents could ask for much memory, or for a larger volume than one voxel.
std::string harmlessText(const KeyDescription& key, const std::string& text) {
  switch (key.info.takes) {
    case Takes::count:
      return "1";
    case Takes::dimension:
      return "1x1x1";
    case Takes::position:
      return "0x0x0";
    case Takes::region:
      return "1x1x1+0+0+0";
    default:
      return text;
  }
}

/// What the library says of types that it has no operator for, in its frames and its class factory.
bool isAboutTypes(const std::string& text) {
  return text.find("::getOperatorTypeFromParameterObject") != std::string::npos ||
         text.find("No creationMethod for the identifier") != std::string::npos;
}

std::string typesGiven(const Step& step) {
  std::vector<std::string> given;
  for (const KeyDescription& key : step.keys()) {
    const SmartPointer<IVolume> volume(isVolume(key) ? step.parameter()->getValue(key.key)
                                                     : SmartPointer<IComposite>());
    if (volume != nullptr) {
      given.push_back(key.key + " is " + shortName(volume->getVoxelType()));
    }
  }
  return join(given);
}

[[noreturn]] void refuseTypes(const Step& step) {
  throw UsageError(typesGiven(step) + "; " + step.op() + " takes " +
                   instancesText(reachableInstances(step.op()), hasOutputVolume(step.op())));
}

}  // namespace

void Rehearsal::run(const Step& step) {
  Step trial = step.withParameter(makeParameter(step.op()));
  const bool isKnown = fillVolumes(trial);
  if (isKnown) {
    fillValues(trial);
  }
  if (trial.op().ends_with("Reader")) {
    checkReader(trial);
  } else if (isKnown && trial.op().ends_with("Writer")) {
    checkWriter(trial);
  } else if (isKnown) {
    perform(trial);
  }
  keepResults(trial);
}

Rehearsal::Sample Rehearsal::sampleOfFile(const std::string& key, const std::string& text) {
  const VolumeFile file = parseVolumeFile(key, text);
  const auto written = _files.find(finalTarget(file.name));
  if (written != _files.end()) {
    return written->second;
  }
  return SmartPointer<IComposite>(tinyVolume(headOf(_session, text).voxelType));
}

Rehearsal::Sample Rehearsal::sampleOf(const Step& step, const KeyDescription& key, const Item& item) {
  switch (step.sourceOf(key, item)) {
    case Source::name: {
      const auto found = _names.find(item.text);
      if (found == _names.end()) {
        std::vector<std::string> names;
        for (const auto& [name, sample] : _names) {
          names.push_back(name);
        }
        throw UsageError(key.key + "=" + item.text + ": no earlier step makes it" +
                         (names.empty() ? "" : "; the nearest is " + nearest(item.text, names)));
      }
      return found->second;
    }
    case Source::mask:
      return SmartPointer<IComposite>(tinyVolume("uint8"));
    case Source::matrix:
      return SmartPointer<IComposite>(tinyVolume("float64"));
    case Source::file:
      return sampleOfFile(key.key, item.text);
    default:
      return {};
  }
}

/// Returns whether the types of all volumes are known.
bool Rehearsal::fillVolumes(Step& trial) {
  bool isKnown = true;
  for (const KeyDescription& key : trial.keys()) {
    const bool takesVolumes = isVolume(key) || key.info.takes == Takes::volumeList;
    if (!trial.has(key.key) || isOutput(key.key)) {
      continue;
    }
    std::vector<SmartPointer<IVolume>> volumes;
    for (const Item& item : trial.given().at(key.key)) {
      const Sample sample = sampleOf(trial, key, item);
      const bool isName = item.isName && sample != nullptr;
      const SmartPointer<IVolume> volume(isName && matrixVolumeOf(sample) != nullptr && isVolume(key)
                                             ? SmartPointer<IComposite>(matrixVolumeOf(sample))
                                             : sample);
      if (isName && takesVolumes != (volume != nullptr)) {
        throw UsageError(key.key + "=" + item.text + ": " + (takesVolumes ? "is no volume" : "is a volume") +
                         ", the key takes a " + takesText(key.info.takes));
      }
      isKnown = isKnown && (!takesVolumes || volume != nullptr);
      if (takesVolumes && volume != nullptr) {
        volumes.push_back(tinyVolumeFor(key, shortName(volume->getVoxelType())));
      }
    }
    if (isKnown && takesVolumes) {
      trial.setVolumes(key, volumes);
    }
  }
  const std::string input = firstVolumeKey(trial.keys(), {"input"});
  for (const KeyDescription& key : trial.keys()) {
    if (isKnown && isOutput(key.key) && isVolume(key) && trial.has(key.key) && trial.preparesOutput(key)) {
      const SmartPointer<IVolume> first(input.empty() ? Sample() : trial.parameter()->getValue(input));
      const std::string wish = trial.wishFor(key).voxelType;
      if (!wish.empty() || first != nullptr) {
        trial.setVolumes(key, {tinyVolume(wish.empty() ? shortName(first->getVoxelType()) : wish)});
      }
    }
  }
  return isKnown;
}

void Rehearsal::fillValues(Step& trial) {
  for (const KeyDescription& key : trial.keys()) {
    const bool isValue = !isVolume(key) && key.info.takes != Takes::volumeList && key.info.takes != Takes::object;
    if (!isValue || isOutput(key.key) || !trial.has(key.key)) {
      continue;
    }
    const Item& item = trial.given().at(key.key).front();
    const Sample sample = item.isName ? sampleOf(trial, key, item) : Sample();
    if (!item.isName && !isMiddle(key, item.text)) {
      trial.setText(key, item.text);
    } else if (sample != nullptr) {
      trial.setText(key, valueText(sample));
    }
    const std::string harmless = harmlessText(key, {});
    if (!harmless.empty()) {
      trial.setText(key, harmless);
    }
  }
}

/// Failures other than for the types are of the single voxel, not of the volume that will be there.
void Rehearsal::perform(const Step& trial) {
  try {
    makeFrame(trial.op())->apply(trial.parameter());
  } catch (const Exceptions::Exception& e) {
    if (isAboutTypes(e.getErrorMessage()) || isAboutTypes(std::string(e.getOrigin()))) {
      refuseTypes(trial);
    }
  } catch (const std::exception& e) {
    if (isAboutTypes(e.what())) {
      refuseTypes(trial);
    }
  }
}

void Rehearsal::checkReader(const Step& trial) {
  const std::string file = trial.given().at(fileNameKey(trial.keys())).front().text;
  const KeyDescription& output = trial.findKey(firstVolumeKey(trial.keys(), {"output"}));
  const auto written = _files.find(finalTarget(file));
  const bool isItsKind = !volumeExtensionOf(file).empty() && formatOf(file).reader == trial.op();
  if (isItsKind && written == _files.end()) {
    trial.parameter()->setValue(output.key, SmartPointer<IComposite>(tinyVolume(headOf(_session, file).voxelType)));
  } else {
    trial.parameter()->setValue(output.key, written != _files.end() ? written->second : Sample());
  }
}

void Rehearsal::checkWriter(const Step& trial) const {
  const SmartPointer<IVolume> volume(trial.parameter()->getValue(firstVolumeKey(trial.keys(), {"input"})));
  const auto instances = registeredInstances(trial.op());
  if (std::find(instances.begin(), instances.end(), Instance{shortName(volume->getVoxelType())}) == instances.end()) {
    refuseTypes(trial);
  }
}

void Rehearsal::keepResults(const Step& trial) {
  for (const KeyDescription& key : trial.keys()) {
    const bool isTarget = key.info.takes == Takes::fileName && trial.op().ends_with("Writer");
    if (!trial.has(key.key) || (!isOutput(key.key) && !isTarget)) {
      continue;
    }
    const Sample sample = trial.parameter()->getValue(isTarget ? firstVolumeKey(trial.keys(), {"input"}) : key.key);
    const SmartPointer<IVolume> volume(sample);
    for (const Item& item : trial.given().at(key.key)) {
      if (item.isName) {
        const std::string name = item.text.substr(0, item.text.find(':'));
        if (!_names.emplace(name, sample).second) {
          throw UsageError(key.key + "=" + name + ": an earlier step has made it; take another name");
        }
      } else if (isVolume(key) || isTarget) {
        const std::string file = parseVolumeFile(key.key, item.text).name;
        if (isVolume(key) && volume != nullptr) {
          requireVoxelType(file, shortName(volume->getVoxelType()));
        }
        _files[finalTarget(file)] = sample;
      }
    }
  }
}

}  // namespace NORV::TaviTool
