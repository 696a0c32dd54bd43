#include <Catalogue.hpp>
#include <Mask.hpp>
#include <Matrix.hpp>
#include <Objects.hpp>
#include <Step.hpp>
#include <TargetFile.hpp>
#include <Values.hpp>

#include <algorithm>
#include <cctype>

namespace NORV::TaviTool {
namespace {

/// "mask" and "Mask" are short for "inputMask", and for "inputMaskVolume" where that takes a mask or a matrix.
bool isShortFor(const std::string& shortKey, const KeyDescription& key) {
  const auto isRest = [&](const std::string& rest) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return !shortKey.empty() && rest.size() == shortKey.size() && lower(rest[0]) == lower(shortKey[0]) &&
           rest.compare(1, std::string::npos, shortKey, 1) == 0;
  };
  static const std::string end = "Volume";
  const std::string rest = key.key.substr(isInput(key.key) ? 5 : 6);
  const bool mayLoseEnd = key.info.takes == Takes::mask || key.info.takes == Takes::matrix;
  return isRest(rest) || (mayLoseEnd && rest.ends_with(end) && isRest(rest.substr(0, rest.size() - end.size())));
}

bool takesVolume(const KeyDescription& key) { return isVolume(key) || key.info.takes == Takes::volumeList; }

/// The parts of "a,b,c".
Items split(const std::string& text) {
  Items items;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    items.push_back({text.substr(at, end - at), false});
    at = end + 1;
  }
  return items;
}

bool isResultFile(const KeyDescription& key, const std::string& text) {
  return text.ends_with(".json") || (text.ends_with(".csv") && key.info.takes == Takes::object);
}

}  // namespace

bool isName(const std::string& text) {
  const auto isWord = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
  const std::size_t end = std::min(text.find(':'), text.size());
  return end > 1 && text[0] == '$' && std::isdigit(static_cast<unsigned char>(text[1])) == 0 &&
         std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(end), isWord);
}

Step::Step(const std::string& op) : _op(op), _parameter(makeParameter(op)), _keys(keysOf(_parameter)) {}

const KeyDescription& Step::findKey(const std::string& name) const {
  std::vector<std::string> names, meant;
  const KeyDescription* found = nullptr;
  for (const KeyDescription& each : _keys) {
    if (each.key == name) {
      return each;
    }
    names.push_back(each.key);
    if (isShortFor(name, each)) {
      meant.push_back(each.key);
      found = &each;
    }
  }
  if (meant.size() > 1) {
    throw UsageError(name + " is short for " + join(meant, " and for ") + "; write which one is meant");
  }
  if (found == nullptr) {
    throw UsageError(_op + " has no key \"" + name + "\"; the nearest is " + nearest(name, names) +
                     ", \"tavi describe " + _op + "\" shows all");
  }
  return *found;
}

void Step::give(const KeyDescription& key, Items items) {
  if (!_given.emplace(key.key, std::move(items)).second) {
    throw UsageError(key.key + " is given twice");
  }
}

void Step::check() {
  for (const KeyDescription& key : _keys) {
    if (has(key.key)) {
      checkGiven(key, _given.at(key.key));
    } else if (key.info.required) {
      throw UsageError(_op + " needs " + key.key + "=" + syntaxOf(key.info.takes) + ": " + key.info.meaning);
    }
  }
  const std::string output = firstVolumeKey(_keys, {"output"});
  const bool isMissing = std::none_of(_keys.begin(), _keys.end(),
                                      [this](const KeyDescription& key) { return has(key.key) && isOutput(key.key); });
  if (!output.empty() && isMissing) {
    throw UsageError(_op + " needs " + output + "=<file>: where the result goes");
  }
}

void Step::checkGiven(const KeyDescription& key, Items& items) {
  if (isOutput(key.key)) {
    checkOutput(key, items);
    return;
  }
  if (key.info.takes == Takes::volumeList && items.size() == 1 && !items.front().isName) {
    items = split(items.front().text);
  }
  if (items.size() != 1 && key.info.takes != Takes::volumeList) {
    throw UsageError(key.key + " takes one value, not " + std::to_string(items.size()));
  }
  for (const Item& item : items) {
    checkInput(key, item);
  }
  if (key.info.takes == Takes::fileName && _op.ends_with("Writer")) {
    addTarget(key.key, items.front().text);
  }
}

void Step::checkInput(const KeyDescription& key, const Item& item) {
  switch (sourceOf(key, item)) {
    case Source::name:
      if (key.info.takes == Takes::fileName) {
        throw UsageError(key.key + "=" + item.text + ": expected the name of a file");
      }
      if (item.text.find(':') != std::string::npos) {
        throw UsageError(key.key + "=" + item.text + ": only a volume to make has a voxel type and extents");
      }
      break;
    case Source::mask:
      static_cast<void>(findMask(key.key, item.text));
      break;
    case Source::matrix:
      // Any extents do: they are known when the volume is there.
      static_cast<void>(parseMatrix(key.key, item.text, Dimension<SizeType>(1, 1, 1)));
      break;
    case Source::file:
      requireReadable(item.text);
      break;
    case Source::value:
      if (key.info.takes == Takes::object) {
        if (!isFileOfObject(key, item.text)) {
          _parameter->setValue(key.key, parseObject(_parameter, key, item.text));
        }
      } else if (key.info.takes != Takes::like && !isMiddle(key, item.text)) {
        setText(key, item.text);
      }
      break;
  }
}

void Step::checkOutput(const KeyDescription& key, const Items& items) {
  for (const Item& item : items) {
    if (isVolume(key)) {
      const VolumeFile target = parseVolumeFile(key.key, item.text);
      if (!item.isName) {
        requireWritable(item.text);
        addTarget(key.key, target.name);
      }
    } else if (item.isName && item.text.find(':') != std::string::npos) {
      throw UsageError(key.key + "=" + item.text + ": only a volume has a voxel type and extents");
    } else if (!item.isName) {
      if (!isResultFile(key, item.text)) {
        throw UsageError(key.key + " is a result; it is printed after the run");
      }
      requireCreatable(item.text);
      addTarget(key.key, item.text);
    }
  }
}

void Step::addTarget(const std::string& key, const std::string& file) {
  const auto [found, isNew] = _keyOfFile.emplace(finalTarget(file), key);
  if (!isNew) {
    throw UsageError(key + " and " + found->second + " are both to be written to " + file);
  }
}

Source Step::sourceOf(const KeyDescription& key, const Item& item) const {
  if (item.isName) {
    return Source::name;
  }
  if (mayBeMask(key) && findMask(key.key, item.text)) {
    return Source::mask;
  }
  if (key.info.takes == Takes::matrix && isMatrixText(item.text)) {
    return Source::matrix;
  }
  return takesVolume(key) ? Source::file : Source::value;
}

void Step::announce(Workspace& workspace) const {
  for (const auto& [key, items] : _given) {
    for (const Item& item : items) {
      const Source source = sourceOf(findKey(key), item);
      if (!isOutput(key) && (source == Source::name || source == Source::file)) {
        workspace.announce(item.text);
      }
    }
  }
}

void Step::release(Workspace& workspace) {
  _parameter = {};
  for (const auto& [key, items] : _given) {
    for (const Item& item : items) {
      if (!isOutput(key)) {
        workspace.release(item.text);
      }
    }
  }
}

std::vector<Step::FileUse> Step::filesRead() const {
  std::vector<FileUse> files;
  for (const KeyDescription& key : _keys) {
    if (!has(key.key) || isOutput(key.key)) {
      continue;
    }
    for (const Item& item : _given.at(key.key)) {
      const Source source = sourceOf(key, item);
      if (source == Source::file) {
        files.push_back({key.key, item.text, parseVolumeFile(key.key, item.text).name});
      } else if ((source == Source::matrix && !matrixFileOf(item.text).empty()) ||
                 (source == Source::value && key.info.takes == Takes::fileName && _op.ends_with("Reader")) ||
                 (source == Source::value && isFileOfObject(key, item.text))) {
        files.push_back({key.key, item.text, item.text});
      }
    }
  }
  return files;
}

std::vector<Step::FileUse> Step::filesWritten() const {
  std::vector<FileUse> files;
  for (const KeyDescription& key : _keys) {
    const bool isTarget = isOutput(key.key) || (key.info.takes == Takes::fileName && _op.ends_with("Writer"));
    if (!has(key.key) || !isTarget) {
      continue;
    }
    for (const Item& item : _given.at(key.key)) {
      if (!item.isName) {
        const bool isVolumeFile = isOutput(key.key) && isVolume(key);
        files.push_back({key.key, item.text, isVolumeFile ? parseVolumeFile(key.key, item.text).name : item.text});
      }
    }
  }
  return files;
}

}  // namespace NORV::TaviTool
