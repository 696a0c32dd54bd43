#include <Call.hpp>
#include <Catalogue.hpp>
#include <Commands.hpp>
#include <FileNames.hpp>
#include <Mask.hpp>
#include <TargetFile.hpp>
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

/// Whether the text stands for the middle of the mask that the position is one of.
bool isMiddle(const KeyDescription& key, const std::string& text) {
  return key.info.takes == Takes::position && (text == "center" || text == "centre");
}

/// "mask" and "Mask" are short for "inputMask".
bool isShortFor(const std::string& shortKey, const std::string& key) {
  const std::size_t role = isInput(key) ? 5 : 6;
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return !shortKey.empty() && key.size() == role + shortKey.size() && lower(key[role]) == lower(shortKey[0]) &&
         key.compare(role + 1, std::string::npos, shortKey, 1) == 0;
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
    runOperator();
    for (const auto& [key, target] : _targets) {
      saveKey(key, target.file);
    }
    print();
  }

private:
  /// A writer that is run by name writes beside its target like any other result.
  void runOperator() {
    warn();
    const std::string key = fileNameKey(_keys);
    if (!_op.ends_with("Writer") || key.empty() || !_given.contains(key)) {
      _seconds = _session.run(_op, _parameter, _op);
      return;
    }
    const std::string& file = _given.at(key);
    requireCreatable(file);
    TargetFile target(file);
    _parameter->setValue(key, SmartPointer<IComposite>(new Tavi::Persistence::Data<std::string>(target.name())));
    _seconds = _session.run(_op, _parameter, _op, target.name() != file ? file : std::string());
    target.complete();
    _session.hasWritten(file);
  }

  /// Says where more than one thread changes the result.
  void warn() const {
    for (const KeyDescription& key : _keys) {
      const bool isAsked = has(key) && *key.info.caution != '\0' && _given.at(key.key) != "1";
      if (isAsked && !_session.quiet) {
        std::fprintf(stderr, "tavi: %s=%s: %s\n", key.key.c_str(), _given.at(key.key).c_str(), key.info.caution);
      }
    }
  }

  bool has(const KeyDescription& key) const { return _given.contains(key.key); }

  const KeyDescription& findKey(const std::string& key) const {
    std::vector<std::string> names, meant;
    const KeyDescription* found = nullptr;
    for (const KeyDescription& each : _keys) {
      if (each.key == key) {
        return each;
      }
      names.push_back(each.key);
      if (isShortFor(key, each.key)) {
        meant.push_back(each.key);
        found = &each;
      }
    }
    if (meant.size() > 1) {
      throw UsageError(key + " is short for " + join(meant, " and for ") + "; write which one is meant");
    }
    if (found == nullptr) {
      throw UsageError(_op + " has no key \"" + key + "\"; the nearest is " + nearest(key, names) +
                       ", \"tavi describe " + _op + "\" shows all");
    }
    return *found;
  }

  void add(const std::string& assignment) {
    const auto equals = assignment.find('=');
    const KeyDescription& known = findKey(assignment.substr(0, equals));
    if (equals == std::string::npos || equals + 1 == assignment.size()) {
      throw UsageError(known.key + " needs a value: " + known.key + "=" + syntaxOf(known.info.takes));
    }
    if (!_given.emplace(known.key, assignment.substr(equals + 1)).second) {
      throw UsageError(known.key + " is given twice");
    }
  }

  /// What can be known before a file is opened.
  void check() {
    for (const KeyDescription& key : _keys) {
      if (has(key)) {
        checkGiven(key, _given.at(key.key));
      } else if (key.info.required) {
        throw UsageError(_op + " needs " + key.key + "=" + syntaxOf(key.info.takes) + ": " + key.info.meaning);
      }
    }
    const std::string output = firstVolumeKey(_keys, {"output"});
    const bool isMissing = std::none_of(_keys.begin(), _keys.end(),
                                        [this](const KeyDescription& key) { return has(key) && isOutput(key.key); });
    if (!output.empty() && isMissing) {
      throw UsageError(_op + " needs " + output + "=<file>: where the result goes");
    }
  }

  void checkGiven(const KeyDescription& key, const std::string& text) {
    if (isOutput(key.key)) {
      if (!isVolume(key)) {
        throw UsageError(key.key + " is a result; it is printed after the run");
      }
      const Target target = parseTarget(key.key, text);
      addTarget(key.key, target.file);
      _targets[key.key] = target;
    } else if (isModify(key.key) && isVolume(key)) {
      const auto colon = text.find(':', 2);
      if (colon == std::string::npos || colon + 1 == text.size()) {
        throw UsageError(key.key + " is changed in place: " + key.key + "=<file to read>:<file to write>");
      }
      requireReadable(text.substr(0, colon));
      addTarget(key.key, text.substr(colon + 1));
    } else if (isVolume(key)) {
      requireLoadable(key, text);
    } else if (key.info.takes == Takes::volumeList) {
      forEachInList(text, [&](const std::string& each) { requireLoadable(key, each); });
    } else if (key.info.takes != Takes::like && !isMiddle(key, text)) {
      setValue(key);
    }
  }

  /// Two results in one file would leave only the one that is written last.
  void addTarget(const std::string& key, const std::string& file) {
    requireWritable(file);
    const auto [found, isNew] = _keyOfFile.emplace(finalTarget(file), key);
    if (!isNew) {
      throw UsageError(key + " and " + found->second + " are both to be written to " + file);
    }
  }

  static bool mayBeMask(const KeyDescription& key) {
    return key.info.takes == Takes::mask || key.info.takes == Takes::volumeList;
  }

  static void requireLoadable(const KeyDescription& key, const std::string& text) {
    if (!mayBeMask(key) || !findMask(key.key, text)) {
      requireReadable(text);
    }
  }

  const SmartPointer<IVolume>& load(const KeyDescription& key, const std::string& text) {
    auto& volume = _volumes[text];
    if (volume == nullptr) {
      const auto mask = mayBeMask(key) ? findMask(key.key, text) : std::nullopt;
      volume = mask ? makeMask(_session, *mask) : loadVolume(_session, text);
    }
    return volume;
  }

  template <class Body>
  static void forEachInList(const std::string& text, const Body& body) {
    for (std::size_t at = 0; at <= text.size();) {
      const std::size_t end = std::min(text.find(',', at), text.size());
      body(text.substr(at, end - at));
      at = end + 1;
    }
  }

  void loadKey(const KeyDescription& key) {
    const std::string& text = _given.at(key.key);
    if (key.info.takes == Takes::volumeList) {
      setList(key, text);
    } else if (isVolume(key) && isModify(key.key)) {
      // Its own copy: it changes, and other keys may name the same file.
      const auto colon = text.find(':', 2);
      _parameter->setValue(key.key, SmartPointer<IComposite>(loadVolume(_session, text.substr(0, colon))));
      _targets[key.key].file = text.substr(colon + 1);
    } else if (isVolume(key)) {
      _parameter->setValue(key.key, SmartPointer<IComposite>(load(key, text)));
    }
  }

  void setList(const KeyDescription& key, const std::string& text) {
    using Vector = Tavi::Container::Vector<SmartPointer<IVolume>>;
    using List = Tavi::Container::List<SmartPointer<IVolume>>;
    const SmartPointer<Vector> vector(new Vector);
    const SmartPointer<List> list(new List);
    forEachInList(text, [&](const std::string& each) {
      const auto& volume = load(key, each);
      vector->push_back(volume);
      list->push_back(volume);
    });
    // A property empties itself for the kind of container that it does not hold.
    _parameter->setValue(key.key, SmartPointer<IComposite>(vector));
    if (_parameter->getValue(key.key) == nullptr) {
      _parameter->setValue(key.key, SmartPointer<IComposite>(list));
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
      if (input != nullptr && leavesVoxels()) {
        _parameter->setValue(key.key, SmartPointer<IComposite>(copyOf(_session, input, "prepare the result")));
      }
      return;
    }
    if (input == nullptr && (target.voxelType.empty() || target.dimension.empty())) {
      throw UsageError(key.key + " needs voxel type and extents: " + key.key + "=" + target.file + ":uint16:64x64x64");
    }
    const auto dimension = target.dimension.empty() ? input->getDimension() : parseDimension(key.key, target.dimension);
    const std::string type = target.voxelType.empty() ? shortName(input->getVoxelType()) : target.voxelType;
    const auto output = makeVolume(type, dimension);
    if (leavesVoxels()) {
      clear(output);
    }
    _parameter->setValue(key.key, SmartPointer<IComposite>(output));
  }

  /// Where an element does not fit, an operator keeps what its result holds: which must not be whatever the memory did.
  bool leavesVoxels() const { return std::any_of(_keys.begin(), _keys.end(), mayBeMask); }

  /// The middle of the mask that is given.
  void setMiddle(const KeyDescription& key) {
    const auto isMask = [](const KeyDescription& each) { return each.info.takes == Takes::mask; };
    const auto mask = std::find_if(_keys.begin(), _keys.end(), isMask);
    const auto volume = volumeOf(mask != _keys.end() ? mask->key : std::string());
    if (volume == nullptr) {
      throw UsageError(key.key + "=" + _given.at(key.key) + ": there is no mask that has a middle");
    }
    const auto position = _parameter->getValue(key.key);
    parseInto(key.key, position, toText(middleOf(volume->getDimension())));
    _parameter->setValue(key.key, position);
  }

  void setValue(const KeyDescription& key) {
    const std::string& text = _given.at(key.key);
    if (isMiddle(key, text)) {
      setMiddle(key);
      return;
    }
    const auto present = _parameter->getValue(key.key);
    std::string type = dataTypeOf(present);
    switch (key.info.takes) {
      case Takes::like: {
        // An output that is made takes the voxel type of the input.
        const bool given = volumeOf(key.info.likeKey) != nullptr;
        type = voxelTypeFor(key.key, given ? key.info.likeKey : firstVolumeKey(_keys, {"input", "modify"}));
        break;
      }
      case Takes::count:
        type = type.empty() ? Tavi::typeName<uint64> : type;
        break;
      case Takes::number:
        type = type.empty() ? valueTypeOf(key) : type;
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

  /// The type of a number whose property takes any: as the key table says, float64 where it says nothing.
  std::string valueTypeOf(const KeyDescription& key) const {
    if (*key.info.likeKey != '\0') {
      const auto volume = volumeOf(key.info.likeKey);
      const bool isWide = volume != nullptr && volume->getVoxelType() == Tavi::typeName<float64>;
      return isWide ? Tavi::typeName<float64> : Tavi::typeName<float32>;
    }
    return *key.info.valueType != '\0' ? key.info.valueType : Tavi::typeName<float64>;
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
  std::map<std::string, std::string> _keyOfFile;  // by what the name leads to
  std::map<std::string, SmartPointer<IVolume>> _volumes;
  double _seconds = 0.0;
};

}  // namespace

void runCommand(Session& session, const std::string& op, const std::vector<std::string>& arguments) {
  requireOperator(op);
  Run(session, op, arguments).execute();
}

}  // namespace NORV::TaviTool
