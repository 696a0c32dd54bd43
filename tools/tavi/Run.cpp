#include <Catalogue.hpp>
#include <Commands.hpp>
#include <FileNames.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Vector.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <cstdio>
#include <map>

namespace NORV::TaviTool {
namespace {

using Tavi::Persistence::Data;

/// What stands behind "outputVolume=": a file, and the voxel type and extents of the volume if they are asked for.
struct Target {
  std::string file;
  std::string voxelType;
  std::string dimension;
};

Target parseTarget(const std::string& key, const std::string& text) {
  Target target;
  std::size_t colon = text.find(':', 2);  // one at index 1 follows a drive letter
  target.file = text.substr(0, colon);
  while (colon != std::string::npos) {
    const std::size_t next = text.find(':', colon + 1);
    const std::string part = text.substr(colon + 1, next == std::string::npos ? next : next - colon - 1);
    if (std::find(allVoxelTypes().begin(), allVoxelTypes().end(), part) != allVoxelTypes().end()) {
      target.voxelType = part;
    } else if (part.find('x') != std::string::npos) {
      static_cast<void>(parseDimension(key, part));
      target.dimension = part;
    } else {
      throw UsageError(key + "=" + text + ": \"" + part + "\" is neither a voxel type (" + join(allVoxelTypes()) +
                       ") nor extents such as 64x64x64");
    }
    colon = next;
  }
  return target;
}

/// One run of an operator: its parameter object, filled from the command line.
class Run {
public:
  Run(Session& session, const std::string& op, const std::vector<std::string>& assignments)
      : _session(session),
        _op(op),
        _parameter(makeParameter(op)),
        _keys(keysOf(_parameter)) {
    for (const std::string& assignment : assignments) {
      add(assignment);
    }
    check();
  }

  void execute() {
    // Volumes first: they decide the types of the values.
    for (const KeyDescription& key : _keys) {
      if (has(key) && !isOutput(key.key)) {
        loadKey(key);
      }
    }
    for (const KeyDescription& key : _keys) {
      if (isOutput(key.key) && _targets.contains(key.key)) {
        prepareOutput(key);
      }
    }
    for (const KeyDescription& key : _keys) {
      if (has(key) && !isOutput(key.key) && !isVolume(key) && key.info.takes != Takes::volumeList) {
        setValue(key);
      }
    }
    _seconds = _session.run(_op, _parameter, _op);
    for (const auto& [key, target] : _targets) {
      saveKey(key, target.file);
    }
    print();
  }

private:
  bool has(const KeyDescription& key) const { return _given.contains(key.key); }

  void add(const std::string& assignment) {
    const auto equals = assignment.find('=');
    const std::string key = assignment.substr(0, equals);
    const auto known = std::find_if(_keys.begin(), _keys.end(), [&](const auto& each) { return each.key == key; });
    if (known == _keys.end()) {
      std::vector<std::string> names;
      for (const KeyDescription& each : _keys) {
        names.push_back(each.key);
      }
      throw UsageError(_op + " has no key \"" + key + "\"; the nearest is " + nearest(key, names) +
                       ", \"tavi describe " + _op + "\" shows all");
    }
    if (equals == std::string::npos || equals + 1 == assignment.size()) {
      throw UsageError(key + " needs a value: " + key + "=" + syntaxOf(known->info.takes));
    }
    if (!_given.emplace(key, assignment.substr(equals + 1)).second) {
      throw UsageError(key + " is given twice");
    }
  }

  /// What can be known before a file is opened.
  void check() {
    bool hasOutputVolume = false;
    for (const KeyDescription& key : _keys) {
      const bool output = isOutput(key.key);
      if (!has(key)) {
        if (key.info.required) {
          throw UsageError(_op + " needs " + key.key + "=" + syntaxOf(key.info.takes) + ": " + key.info.meaning);
        }
        continue;
      }
      const std::string& text = _given.at(key.key);
      if (output && !isVolume(key)) {
        throw UsageError(key.key + " is a result; it is printed after the run");
      }
      if (output) {
        hasOutputVolume = true;
        const Target target = parseTarget(key.key, text);
        requireWritable(target.file);
        _targets[key.key] = target;
      } else if (isModify(key.key) && isVolume(key)) {
        const auto colon = text.find(':', 2);
        if (colon == std::string::npos || colon + 1 == text.size()) {
          throw UsageError(key.key + " is changed in place: " + key.key + "=<file to read>:<file to write>");
        }
        requireReadable(text.substr(0, colon));
        requireWritable(text.substr(colon + 1));
      } else if (isVolume(key)) {
        requireReadable(text);
      } else if (key.info.takes != Takes::likeInput && key.info.takes != Takes::likeOutput &&
                 key.info.takes != Takes::volumeList) {
        setValue(key);
      }
    }
    const std::string output = firstVolumeKey(_keys, {"output"});
    if (!output.empty() && !hasOutputVolume) {
      throw UsageError(_op + " needs " + output + "=<file>: where the result goes");
    }
  }

  const SmartPointer<IVolume>& load(const std::string& file) {
    auto& volume = _volumes[file];
    if (volume == nullptr) {
      volume = loadVolume(_session, file);
    }
    return volume;
  }

  void loadKey(const KeyDescription& key) {
    const std::string& text = _given.at(key.key);
    if (key.info.takes == Takes::volumeList) {
      setList(key.key, text);
    } else if (isVolume(key) && isModify(key.key)) {
      // Its own copy: it changes, and other keys may name the same file.
      const auto colon = text.find(':', 2);
      _parameter->setValue(key.key, SmartPointer<IComposite>(loadVolume(_session, text.substr(0, colon))));
      _targets[key.key].file = text.substr(colon + 1);
    } else if (isVolume(key)) {
      _parameter->setValue(key.key, SmartPointer<IComposite>(load(text)));
    }
  }

  void setList(const std::string& key, const std::string& text) {
    using Vector = Tavi::Container::Vector<SmartPointer<IVolume>>;
    using List = Tavi::Container::List<SmartPointer<IVolume>>;
    const SmartPointer<Vector> vector(new Vector);
    const SmartPointer<List> list(new List);
    for (std::size_t at = 0; at <= text.size();) {
      const std::size_t end = std::min(text.find(',', at), text.size());
      const auto& volume = load(text.substr(at, end - at));
      vector->push_back(volume);
      list->push_back(volume);
      at = end + 1;
    }
    // A property empties itself for the kind of container that it does not hold.
    _parameter->setValue(key, SmartPointer<IComposite>(vector));
    if (_parameter->getValue(key) == nullptr) {
      _parameter->setValue(key, SmartPointer<IComposite>(list));
    }
  }

  SmartPointer<IVolume> volumeOf(const std::string& key) const {
    return key.empty() ? SmartPointer<IVolume>() : SmartPointer<IVolume>(_parameter->getValue(key));
  }

  /// A volume to write into, where the operator or the user wants one; otherwise the operator makes its own.
  void prepareOutput(const KeyDescription& key) {
    const Target& target = _targets.at(key.key);
    const auto input = volumeOf(firstVolumeKey(_keys, {"input", "modify"}));
    if (target.voxelType.empty() && target.dimension.empty() && !key.info.required) {
      return;
    }
    if (input == nullptr && (target.voxelType.empty() || target.dimension.empty())) {
      throw UsageError(key.key + " needs voxel type and extents: " + key.key + "=" + target.file + ":uint16:64x64x64");
    }
    const auto dimension = target.dimension.empty() ? input->getDimension() : parseDimension(key.key, target.dimension);
    const std::string type = target.voxelType.empty() ? shortName(input->getVoxelType()) : target.voxelType;
    _parameter->setValue(key.key, SmartPointer<IComposite>(makeVolume(type, dimension)));
  }

  void setValue(const KeyDescription& key) {
    const std::string& text = _given.at(key.key);
    const auto present = _parameter->getValue(key.key);
    std::string type = dataTypeOf(present);
    switch (key.info.takes) {
      case Takes::likeInput:
        type = voxelTypeFor(key.key, firstVolumeKey(_keys, {"input", "modify"}));
        break;
      case Takes::likeOutput: {
        const std::string output = firstVolumeKey(_keys, {"output"});
        const bool given = volumeOf(output) != nullptr;
        type = voxelTypeFor(key.key, given ? output : firstVolumeKey(_keys, {"input", "modify"}));
        break;
      }
      case Takes::count:
        type = type.empty() ? Tavi::typeName<uint64> : type;
        break;
      case Takes::number:
        type = type.empty() ? Tavi::typeName<float64> : type;
        break;
      case Takes::flag:
        type = type.empty() ? Tavi::typeName<bool> : type;
        break;
      case Takes::text:
      case Takes::fileName:
        type = type.empty() ? Tavi::typeName<std::string> : type;
        break;
      default:
        break;
    }
    if (!type.empty()) {
      _parameter->setValue(key.key, parseData(key.key, type, text));
    } else if (present != nullptr) {
      parseInto(key.key, present, text);
      _parameter->setValue(key.key, present);
    } else {
      throw UsageError(key.key + " cannot be given on the command line");
    }
  }

  std::string voxelTypeFor(const std::string& key, const std::string& volumeKey) const {
    const auto volume = volumeOf(volumeKey);
    if (volume == nullptr) {
      throw UsageError(key + " takes the voxel type of a volume, and none is given");
    }
    return volume->getVoxelType();
  }

  void saveKey(const std::string& key, const std::string& file) {
    const auto volume = volumeOf(key);
    if (volume == nullptr) {
      throw Failure(_op + " left no " + key, file + " was not written");
    }
    saveVolume(_session, volume, file);
  }

  void print() const {
    Json results = Json::object(), files = Json::array();
    for (const KeyDescription& key : _keys) {
      const auto target = _targets.find(key.key);
      if (target != _targets.end()) {
        const auto volume = volumeOf(key.key);
        Json file{{"key", key.key}, {"file", target->second.file}};
        file.update(volumeJson(*volume));
        files.push_back(file);
        if (!_session.json) {
          std::printf("%s = %s (%s)\n", key.key.c_str(), target->second.file.c_str(), volumeText(*volume).c_str());
        }
      } else if (isOutput(key.key)) {
        const auto value = _parameter->getValue(key.key);
        results[key.key] = valueJson(value);
        if (!_session.json) {
          std::printf("%s = %s\n", key.key.c_str(), valueText(value).c_str());
        }
      }
    }
    if (_session.json) {
      printJson({{"operator", _op}, {"seconds", _seconds}, {"results", results}, {"files", files}});
    }
  }

  Session& _session;
  std::string _op;
  SmartPointer<IComposite> _parameter;
  std::vector<KeyDescription> _keys;
  std::map<std::string, std::string> _given;
  std::map<std::string, Target> _targets;
  std::map<std::string, SmartPointer<IVolume>> _volumes;
  double _seconds = 0.0;
};

}  // namespace

void runCommand(Session& session, const std::string& op, const std::vector<std::string>& arguments) {
  requireOperator(op);
  Run(session, op, arguments).execute();
}

}  // namespace NORV::TaviTool
