#include <Call.hpp>
#include <Catalogue.hpp>
#include <Mask.hpp>
#include <Matrix.hpp>
#include <Objects.hpp>
#include <Step.hpp>
#include <TargetFile.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Vector.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <cstdio>

namespace NORV::TaviTool {

double Step::execute(Workspace& workspace, const std::string& title) {
  // Volumes first: they decide the types of the values.
  for (const KeyDescription& key : _keys) {
    if (has(key.key) && !isOutput(key.key)) {
      loadKey(workspace, key);
    }
  }
  for (const KeyDescription& key : _keys) {
    if (has(key.key) && isOutput(key.key) && isVolume(key)) {
      prepareOutput(workspace, key);
    }
  }
  for (const KeyDescription& key : _keys) {
    if (has(key.key) && !isOutput(key.key) && !isVolume(key) && key.info.takes != Takes::volumeList) {
      setValue(workspace, key);
    }
  }
  const double seconds = runOperator(workspace.session(), title);
  for (const KeyDescription& key : _keys) {
    if (has(key.key) && isOutput(key.key)) {
      saveKey(workspace, key);
    }
  }
  return seconds;
}

double Step::runOperator(Session& session, const std::string& title) {
  warn(session);
  const std::string key = fileNameKey(_keys);
  if (key.empty() || !has(key)) {
    return session.run(_op, _parameter, title);
  }
  const std::string file = _given.at(key).front().text;
  const auto volume = [this](const char* role) { return volumeOf(firstVolumeKey(_keys, {role})); };
  if (!_op.ends_with("Writer")) {
    const double seconds = session.run(_op, _parameter, title);
    requireWholeFile(file, file, _op, *volume("output"));
    return seconds;
  }
  // A writer that is run by name writes beside its target like any other result.
  requireCreatable(file);
  TargetFile target(file);
  _parameter->setValue(key, SmartPointer<IComposite>(new Tavi::Persistence::Data<std::string>(target.name())));
  const double seconds = session.run(_op, _parameter, title, target.name() != file ? file : std::string());
  requireWholeFile(target.name(), file, _op, *volume("input"));
  target.complete();
  session.hasWritten(file);
  return seconds;
}

/// Says where more than one thread changes the result.
void Step::warn(const Session& session) const {
  for (const KeyDescription& key : _keys) {
    const bool isAsked = has(key.key) && *key.info.caution != '\0' && _given.at(key.key).front().text != "1";
    if (isAsked && !session.quiet) {
      std::fprintf(stderr, "tavi: %s=%s: %s\n", key.key.c_str(), _given.at(key.key).front().text.c_str(),
                   key.info.caution);
    }
  }
}

SmartPointer<IVolume> Step::volumeOf(const std::string& key) const {
  return key.empty() ? SmartPointer<IVolume>() : SmartPointer<IVolume>(_parameter->getValue(key));
}

SmartPointer<IVolume> Step::load(Workspace& workspace, const KeyDescription& key, const Item& item) {
  switch (sourceOf(key, item)) {
    case Source::name: {
      const auto value = workspace.value(item.text);
      const SmartPointer<IVolume> volume(value);
      const auto matrix = volume != nullptr ? volume : matrixVolumeOf(value);
      if (matrix == nullptr) {
        throw Failure(key.key + "=" + item.text + ": there is no volume of this name");
      }
      return matrix;
    }
    case Source::mask:
      return makeMask(workspace.session(), *findMask(key.key, item.text));
    case Source::matrix: {
      const auto input = volumeOf(firstVolumeKey(_keys, {"input"}));
      return parseMatrix(key.key, item.text, input != nullptr ? std::optional(input->getDimension()) : std::nullopt);
    }
    default:
      return workspace.volumeOfFile(item.text);
  }
}

void Step::setVolumes(const KeyDescription& key, const std::vector<SmartPointer<IVolume>>& volumes) {
  using Vector = Tavi::Container::Vector<SmartPointer<IVolume>>;
  using List = Tavi::Container::List<SmartPointer<IVolume>>;
  if (key.info.takes != Takes::volumeList) {
    _parameter->setValue(key.key, SmartPointer<IComposite>(volumes.at(0)));
    return;
  }
  const SmartPointer<Vector> vector(new Vector);
  const SmartPointer<List> list(new List);
  for (const auto& volume : volumes) {
    vector->push_back(volume);
    list->push_back(volume);
  }
  // A property empties itself for the kind of container that it does not hold.
  _parameter->setValue(key.key, SmartPointer<IComposite>(vector));
  if (_parameter->getValue(key.key) == nullptr) {
    _parameter->setValue(key.key, SmartPointer<IComposite>(list));
  }
}

void Step::loadKey(Workspace& workspace, const KeyDescription& key) {
  if (isVolume(key) || key.info.takes == Takes::volumeList) {
    std::vector<SmartPointer<IVolume>> volumes;
    for (const Item& item : _given.at(key.key)) {
      volumes.push_back(load(workspace, key, item));
    }
    setVolumes(key, volumes);
  }
}

Step Step::withParameter(const SmartPointer<IComposite>& parameter) const {
  Step copy = *this;
  copy._parameter = parameter;
  return copy;
}

VolumeFile Step::wishFor(const KeyDescription& key) const {
  VolumeFile wish;
  for (const Item& item : _given.at(key.key)) {
    const VolumeFile each = parseVolumeFile(key.key, item.text);
    wish.name = wish.name.empty() ? each.name : wish.name;
    wish.voxelType = wish.voxelType.empty() ? each.voxelType : wish.voxelType;
    wish.dimension = wish.dimension ? wish.dimension : each.dimension;
  }
  return wish;
}

/// Where an element does not fit, an operator keeps what its result holds: which must not be whatever the memory did.
bool Step::leavesVoxels() const { return std::any_of(_keys.begin(), _keys.end(), mayBeMask); }

bool Step::preparesOutput(const KeyDescription& key) const {
  const VolumeFile wish = wishFor(key);
  return !wish.voxelType.empty() || wish.dimension || key.info.required || leavesVoxels();
}

/// Gives the operator a volume to write into where its key is required or the type or extents are given; otherwise the
/// operator allocates the output.
void Step::prepareOutput(Workspace& workspace, const KeyDescription& key) {
  if (!preparesOutput(key)) {
    return;
  }
  const VolumeFile wish = wishFor(key);
  const auto input = volumeOf(firstVolumeKey(_keys, {"input"}));
  if (wish.voxelType.empty() && !wish.dimension && !key.info.required) {
    if (input != nullptr) {
      _parameter->setValue(key.key, SmartPointer<IComposite>(copyOf(workspace.session(), input, "prepare the result")));
    }
    return;
  }
  if (input == nullptr && (wish.voxelType.empty() || !wish.dimension)) {
    throw UsageError(key.key + " needs voxel type and extents: " + key.key + "=" + wish.name + ":uint16:64x64x64");
  }
  const auto dimension = wish.dimension ? *wish.dimension : input->getDimension();
  const std::string type = wish.voxelType.empty() ? shortName(input->getVoxelType()) : wish.voxelType;
  const auto output = makeVolume(type, dimension);
  if (leavesVoxels()) {
    clear(output);
  }
  _parameter->setValue(key.key, SmartPointer<IComposite>(output));
}

/// The middle of the mask that is given.
void Step::setMiddle(const KeyDescription& key, const std::string& text) {
  const auto isMask = [](const KeyDescription& each) { return each.info.takes == Takes::mask; };
  const auto mask = std::find_if(_keys.begin(), _keys.end(), isMask);
  const auto volume = volumeOf(mask != _keys.end() ? mask->key : std::string());
  if (volume == nullptr) {
    throw UsageError(key.key + "=" + text + ": there is no mask that has a middle");
  }
  setText(key, toText(middleOf(volume->getDimension())));
}

void Step::setValue(Workspace& workspace, const KeyDescription& key) {
  const Item& item = _given.at(key.key).front();
  if (item.isName) {
    const auto value = workspace.value(item.text);
    if (value == nullptr) {
      throw Failure(key.key + "=" + item.text + ": the step that makes it has left nothing");
    }
    if (key.info.takes == Takes::object) {
      _parameter->setValue(key.key, value);
    } else {
      setText(key, valueText(value));
    }
  } else if (isMiddle(key, item.text)) {
    setMiddle(key, item.text);
  } else if (key.info.takes == Takes::object) {
    const bool isFile = isFileOfObject(key, item.text);
    _parameter->setValue(
        key.key, isFile ? readObject(workspace.session(), key, item.text) : parseObject(_parameter, key, item.text));
  } else {
    setText(key, item.text);
  }
}

void Step::setText(const KeyDescription& key, const std::string& text) {
  const std::string type = typeOf(key);
  const auto present = _parameter->getValue(key.key);
  if (!type.empty()) {
    _parameter->setValue(key.key, parseData(key.key, type, text));
  } else if (present != nullptr) {
    parseInto(key.key, present, text);
    _parameter->setValue(key.key, present);
  } else {
    throw UsageError(key.key + " cannot be given on the command line");
  }
}

std::string Step::typeOf(const KeyDescription& key) const {
  const std::string type = dataTypeOf(_parameter->getValue(key.key));
  switch (key.info.takes) {
    case Takes::like: {
      // An output that is made takes the voxel type of the input.
      const bool isGiven = volumeOf(key.info.likeKey) != nullptr;
      const auto volume = volumeOf(isGiven ? key.info.likeKey : firstVolumeKey(_keys, {"input"}));
      if (volume == nullptr) {
        throw UsageError(key.key + " takes the voxel type of a volume, and none is given");
      }
      return volume->getVoxelType();
    }
    case Takes::count:
      return type.empty() ? Tavi::typeName<uint64> : type;
    case Takes::number: {
      // A number whose property takes any: as the key table says, float64 where it says nothing.
      if (!type.empty() || *key.info.likeKey == '\0') {
        return !type.empty() ? type : *key.info.valueType != '\0' ? key.info.valueType : Tavi::typeName<float64>;
      }
      const auto volume = volumeOf(key.info.likeKey);
      const bool isWide = volume != nullptr && volume->getVoxelType() == Tavi::typeName<float64>;
      return isWide ? Tavi::typeName<float64> : Tavi::typeName<float32>;
    }
    case Takes::flag:
      return type.empty() ? Tavi::typeName<bool> : type;
    case Takes::text:
    case Takes::fileName:
      return type.empty() ? Tavi::typeName<std::string> : type;
    default:
      return type;
  }
}

void Step::saveKey(Workspace& workspace, const KeyDescription& key) {
  const auto value = _parameter->getValue(key.key);
  for (const Item& item : _given.at(key.key)) {
    if (value == nullptr) {
      throw Failure(_op + " left no " + key.key, item.text + (item.isName ? " is not there" : " was not written"));
    }
    if (item.isName) {
      workspace.put(item.text.substr(0, item.text.find(':')), value);
    } else if (isVolume(key)) {
      saveVolume(workspace.session(), SmartPointer<IVolume>(value), item.text);
      workspace.forgetFile(parseVolumeFile(key.key, item.text).name);
    } else {
      writeText(workspace.session(), resultText(value, key.key, item.text), item.text);
    }
  }
}

}  // namespace NORV::TaviTool
