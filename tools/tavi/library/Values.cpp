#include <Catalogue.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

namespace NORV::TaviTool {
namespace {

using Tavi::Persistence::Data;
using Tavi::Persistence::IData;

template <class T>
std::optional<T> parseNumber(const std::string& text) {
  T value{};
  const char* const end = text.data() + text.size();
  const bool hasPlus = text.starts_with('+') && !text.starts_with("+-");
  const char* const begin = text.data() + (hasPlus ? 1 : 0);
  const auto result = std::from_chars(begin, end, value);
  if (result.ec != std::errc() || result.ptr != end || begin == end) {
    return std::nullopt;
  }
  return value;
}

template <class T>
std::string rangeText() {
  if constexpr (std::is_floating_point_v<T>) {
    return "a number such as 0.5";
  } else {
    return "a whole number from " + std::to_string(std::numeric_limits<T>::min()) + " to " +
           std::to_string(std::numeric_limits<T>::max());
  }
}

[[noreturn]] void refuse(const std::string& key, const std::string& text, const std::string& expected) {
  throw UsageError(key + "=" + text + ": expected " + expected);
}

SmartPointer<IComposite> parseBool(const std::string& key, const std::string& text) {
  for (const char* yes : {"true", "yes", "on", "1"}) {
    if (text == yes) {
      return SmartPointer<IComposite>(new Data<bool>(true));
    }
  }
  for (const char* no : {"false", "no", "off", "0"}) {
    if (text == no) {
      return SmartPointer<IComposite>(new Data<bool>(false));
    }
  }
  refuse(key, text, "true or false");
}

/// The parts between the separator.
std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

bool hasKeys(const IComposite& node, std::initializer_list<const char*> keys) {
  if (node.getNumberOfKeys() != keys.size()) {
    return false;
  }
  SizeType index = 0;
  for (const char* key : keys) {
    if (node.getKey(index++) != key) {
      return false;
    }
  }
  return true;
}

void parseTriple(const std::string& key, const std::string& whole, const SmartPointer<IComposite>& node,
                 const std::vector<std::string>& parts, Takes takes) {
  if (parts.size() != 3) {
    refuse(key, whole, syntaxOf(takes));
  }
  for (SizeType i = 0; i < 3; ++i) {
    const std::string component = node->getKey(i);
    const std::string type = dataTypeOf(node->getValue(component));
    node->setValue(component, parseData(key, type, parts[static_cast<std::size_t>(i)]));
  }
}

/// Raw bytes, such as those of a file's header, are of no use in a text.
std::string printable(const std::string& text) {
  const bool raw = std::any_of(text.begin(), text.end(),
                               [](char c) { return c >= 0 && c < 32 && c != '\n' && c != '\r' && c != '\t'; });
  return raw ? "<" + std::to_string(text.size()) + " bytes>" : text;
}

template <class T, class... Rest>
bool dataJson(const IComposite& value, Json& json) {
  if (const auto* data = dynamic_cast<const Data<T>*>(&value)) {
    if constexpr (std::is_floating_point_v<T>) {
      json = numberJson(static_cast<double>(data->getValue()));
    } else if constexpr (std::is_same_v<T, std::string>) {
      json = printable(data->getValue());
    } else {
      json = data->getValue();
    }
    return true;
  }
  if constexpr (sizeof...(Rest) > 0) {
    return dataJson<Rest...>(value, json);
  }
  return false;
}

}  // namespace

SmartPointer<IComposite> parseData(const std::string& key, const std::string& typeName, const std::string& text) {
  if (typeName == Tavi::typeName<std::string>) {
    return SmartPointer<IComposite>(new Data<std::string>(text));
  }
  if (typeName == Tavi::typeName<bool>) {
    return parseBool(key, text);
  }
  SmartPointer<IComposite> result;
  const auto tryOne = [&]<class T>(T) {
    if (typeName != Tavi::typeName<T>) {
      return false;
    }
    const auto value = parseNumber<T>(text);
    if (!value) {
      refuse(key, text, rangeText<T>() + " (" + shortName(typeName) + ")");
    }
    result = SmartPointer<IComposite>(new Data<T>(*value));
    return true;
  };
  const auto tryEach = [&]<class... T>(T... types) { return (tryOne(types) || ...); };
  if (!tryEach(int8(), uint8(), int16(), uint16(), int32(), uint32(), int64(), uint64(), float32(), float64())) {
    throw UsageError(key + ": values of the type " + typeName + " cannot be given on the command line");
  }
  return result;
}

void parseInto(const std::string& key, const SmartPointer<IComposite>& node, const std::string& text) {
  if (hasKeys(*node, {"prim", "sec", "tert"})) {
    parseTriple(key, text, node, split(text, 'x'), Takes::dimension);
  } else if (hasKeys(*node, {"dim", "origin"})) {
    std::vector<std::string> parts = split(text, '+');
    const auto dim = node->getValue("dim");
    const auto origin = node->getValue("origin");
    parseTriple(key, text, dim, split(parts.front(), 'x'), Takes::region);
    if (parts.size() > 1) {
      parts.erase(parts.begin());
      parseTriple(key, text, origin, parts, Takes::region);
    }
    node->setValue("dim", dim);
    node->setValue("origin", origin);
  } else {
    throw UsageError(key + ": an object of the class " + node->getType() + " cannot be given on the command line");
  }
}

Dimension<SizeType> parseDimension(const std::string& key, const std::string& text) {
  const SmartPointer<Tavi::DimensionComposite<SizeType>> node(new Tavi::DimensionComposite<SizeType>);
  parseInto(key, node, text);
  try {
    const auto dimension = node->value();
    static_cast<void>(dimension.size());
    return dimension;
  } catch (const std::exception&) {
    refuse(key, text, "extents above 0 whose product fits 64 bits");
  }
}

const char* syntaxOf(Takes takes) {
  switch (takes) {
    case Takes::volume:
    case Takes::mask:
    case Takes::labelVolume:
      return "<file>";
    case Takes::matrix:
      return "<transform>";
    case Takes::volumeList:
      return "<file>,<file>,...";
    case Takes::like:
    case Takes::number:
      return "<number>";
    case Takes::count:
      return "<count>";
    case Takes::text:
      return "<text>";
    case Takes::flag:
      return "true|false";
    case Takes::fileName:
      return "<file>";
    case Takes::dimension:
    case Takes::position:
      return "AxBxC";
    case Takes::region:
      return "AxBxC+x+y+z";
    case Takes::object:
      break;
  }
  return "<object>";
}

std::string dataTypeOf(const SmartPointer<IComposite>& value) {
  static const std::string begin = "NORV::Tavi::Persistence::Data< ", end = " >";
  const std::string type = value != nullptr ? value->getType() : std::string();
  if (!type.starts_with(begin) || !type.ends_with(end)) {
    return {};
  }
  return type.substr(begin.size(), type.size() - begin.size() - end.size());
}

std::string valueText(const SmartPointer<IComposite>& value) {
  const SmartPointer<IVolume> volume(value);
  if (volume != nullptr) {
    return volumeText(*volume);
  }
  const Json json = valueJson(value);
  if (json.is_string()) {
    return json.get<std::string>();
  }
  if (value != nullptr && hasKeys(*value, {"prim", "sec", "tert"})) {
    const auto text = [](const Json& each) { return each.is_string() ? each.get<std::string>() : each.dump(); };
    return text(json[0]) + "x" + text(json[1]) + "x" + text(json[2]);
  }
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json valueJson(const SmartPointer<IComposite>& value) {
  if (value == nullptr) {
    return nullptr;
  }
  Json json;
  if (dataJson<bool, int8, uint8, int16, uint16, int32, uint32, int64, uint64, float32, float64, std::string>(*value,
                                                                                                              json)) {
    return json;
  }
  const SmartPointer<IVolume> volume(value);
  if (volume != nullptr) {
    return volumeJson(*volume);
  }
  if (const auto* data = dynamic_cast<const IData*>(value.get())) {
    return data->toString();
  }
  const bool triple = hasKeys(*value, {"prim", "sec", "tert"});
  json = triple ? Json::array() : Json::object();
  for (SizeType i = 0; i < value->getNumberOfKeys(); ++i) {
    const std::string key = value->getKey(i);
    const Json child = valueJson(value->getValue(key));
    if (triple) {
      json.push_back(child);
    } else {
      json[key] = child;
    }
  }
  return json;
}

Json numberJson(double number) {
  if (std::isfinite(number)) {
    return number;
  }
  return std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf";
}

std::string volumeText(const IVolume& volume) {
  return shortName(volume.getVoxelType()) + " " + toText(volume.getDimension());
}

Json volumeJson(const IVolume& volume) {
  const auto dimension = volume.getDimension();
  return {{"voxelType", shortName(volume.getVoxelType())},
          {"dimension", {dimension.prim, dimension.sec, dimension.tert}}};
}

}  // namespace NORV::TaviTool
