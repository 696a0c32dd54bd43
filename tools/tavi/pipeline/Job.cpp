#include <Catalogue.hpp>
#include <Job.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace NORV::TaviTool {
namespace {

namespace fs = std::filesystem;

constexpr int deepest = 16;

/// JSON in which no object has a key twice: the second value would silently win.
Json parseStrictly(const std::string& text, const std::string& file) {
  std::vector<std::set<std::string>> open;
  const auto watch = [&](int depth, Json::parse_event_t event, Json& parsed) {
    if (depth > deepest) {
      throw UsageError(file + ": is nested more than " + std::to_string(deepest) + " levels deep");
    }
    if (event == Json::parse_event_t::object_start) {
      open.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      open.pop_back();
    } else if (event == Json::parse_event_t::key && !open.back().insert(parsed.get<std::string>()).second) {
      throw UsageError(file + ": \"" + parsed.get<std::string>() + "\" is given twice in one object");
    }
    return true;
  };
  try {
    return Json::parse(text, watch);
  } catch (const Json::exception& e) {
    // "[json.exception.parse_error.101] parse error at line 3, column 5: ..."
    const std::string what = e.what();
    const std::size_t begin = what.find("] ");
    throw UsageError(file + ": " + (begin == std::string::npos ? what : what.substr(begin + 2)));
  }
}

std::string readText(const std::string& file) {
  std::error_code error;
  if (fs::is_directory(file, error)) {
    throw Failure(file + ": cannot be read", std::strerror(EISDIR));
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    throw Failure(file + ": cannot be read", std::strerror(errno));
  }
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// A value of a job as the command line would have it.
std::string plainText(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

std::string partOf(const std::string& file, const std::string& part) {
  const fs::path path(file);
  const std::string name = path.filename().string();
  if (part == "file") {
    return name;
  }
  if (part == "folder") {
    return path.parent_path().empty() ? "." : path.parent_path().string();
  }
  const std::string extension = volumeExtensionOf(name);
  return extension.empty() ? path.stem().string() : name.substr(0, name.size() - extension.size());
}

Json parametersOf(const Json& root, const std::string& file, const Parameters& given) {
  Json parameters = root.value("parameters", Json::object());
  if (!parameters.is_object()) {
    throw UsageError(file + ": \"parameters\" is no object of names and values");
  }
  for (const auto& [name, value] : given) {
    if (!parameters.contains(name)) {
      std::vector<std::string> known;
      for (const auto& [each, ignored] : parameters.items()) {
        known.push_back(each);
      }
      throw UsageError(file + " has no parameter \"" + name + "\"" +
                       (known.empty() ? "" : "; the nearest is " + nearest(name, known)));
    }
    parameters[name] = value;
  }
  for (const auto& [name, value] : parameters.items()) {
    if (value.is_null()) {
      throw UsageError(file + ": the parameter " + name + " has no value; give it with " + name + "=<value>");
    }
    if (value.is_structured()) {
      throw UsageError(file + ": the parameter " + name + " is no text, number or flag");
    }
  }
  return parameters;
}

Item itemOf(const Json& value, const Json& parameters) {
  std::string text = plainText(value);
  if (!value.is_string()) {
    return {text, false};
  }
  if (text.starts_with("$$")) {
    return {substitute(text.substr(1), parameters), false};
  }
  text = substitute(text, parameters);
  return {text, isName(text)};
}

bool isNumbers(const Json& value) {
  for (const Json& each : value) {
    if (!each.is_number()) {
      return false;
    }
  }
  return value.is_array() && !value.empty();
}

std::string joined(const Json& numbers, const char* separator) {
  std::vector<std::string> texts;
  for (const Json& number : numbers) {
    texts.push_back(number.dump());
  }
  return join(texts, separator);
}

/// What a key is given, from the forms that JSON has for it: numbers and flags, arrays of numbers for extents,
/// positions and matrices, arrays of texts for lists and for several targets, objects for texts by keyword.
Items itemsOf(const KeyDescription& key, const Json& value, const Json& parameters) {
  const auto refuse = [&] {
    throw UsageError(key.key + ": " + value.dump() + " is no value for a " + takesText(key.info.takes));
  };
  if (value.is_null()) {
    refuse();
  }
  if (value.is_object()) {
    std::vector<std::string> entries;
    for (const auto& [keyword, text] : value.items()) {
      entries.push_back(keyword + "=" + substitute(plainText(text), parameters));
    }
    if (key.info.takes != Takes::object || entries.empty()) {
      refuse();
    }
    return {{join(entries, ","), false}};
  }
  if (!value.is_array()) {
    return {itemOf(value, parameters)};
  }
  const bool isMatrix = key.info.takes == Takes::matrix;
  if (isNumbers(value)) {
    return {{joined(value, isMatrix ? "," : "x"), false}};
  }
  Items items;
  std::vector<std::string> rows;
  for (const Json& each : value) {
    if (isMatrix && isNumbers(each)) {
      rows.push_back(joined(each, ","));
    } else if (each.is_string()) {
      items.push_back(itemOf(each, parameters));
    } else {
      refuse();
    }
  }
  if (items.empty() == rows.empty()) {
    refuse();
  }
  return rows.empty() ? items : Items{{join(rows, ","), false}};
}

JobStep stepOf(const Json& json, const Json& parameters) {
  if (!json.is_object()) {
    throw UsageError("is no object with an operator and its keys");
  }
  if (!json.contains("operator") || !json.at("operator").is_string()) {
    throw UsageError("has no \"operator\"");
  }
  const std::string op = json.at("operator").get<std::string>();
  requireOperator(op);
  JobStep step{op, Step(op)};
  for (const auto& [name, value] : json.items()) {
    if (name == "name") {
      step.title = plainText(value);
    } else if (name != "operator" && name != "description") {
      const KeyDescription& key = step.step.findKey(name);
      if (key.key != name) {
        throw UsageError(op + " has no key \"" + name + "\"; the nearest is " + key.key + ", \"tavi describe " + op +
                         "\" shows all");
      }
      step.step.give(key, itemsOf(key, value, parameters));
    }
  }
  return step;
}

}  // namespace

Parameters parseParameters(const std::vector<std::string>& assignments) {
  Parameters parameters;
  for (const std::string& assignment : assignments) {
    const auto equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw UsageError("\"" + assignment + "\": expected name=value for a parameter of the job");
    }
    if (!parameters.emplace(assignment.substr(0, equals), assignment.substr(equals + 1)).second) {
      throw UsageError(assignment.substr(0, equals) + " is given twice");
    }
  }
  return parameters;
}

std::string substitute(const std::string& text, const Json& parameters) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = std::min(text.find("${", at), text.size());
    result += text.substr(at, begin - at);
    if (begin == text.size()) {
      break;
    }
    const std::size_t end = text.find('}', begin);
    if (end == std::string::npos) {
      throw UsageError("\"" + text + "\": \"${\" has no \"}\"");
    }
    const std::string whole = text.substr(begin + 2, end - begin - 2);
    const std::size_t dot = std::min(whole.find('.'), whole.size());
    const std::string name = whole.substr(0, dot);
    const std::string part = dot < whole.size() ? whole.substr(dot + 1) : std::string();
    if (!parameters.contains(name)) {
      throw UsageError("\"" + text + "\": the job has no parameter \"" + name + "\"");
    }
    if (!part.empty() && part != "stem" && part != "file" && part != "folder") {
      throw UsageError("\"" + text + "\": a parameter has the parts stem, file and folder, not \"" + part + "\"");
    }
    const std::string value = plainText(parameters.at(name));
    result += part.empty() ? value : partOf(parseVolumeFile({}, value).name, part);
    at = end + 1;
  }
  return result;
}

Job readJob(const std::string& file, const Parameters& given) {
  const Json root = parseStrictly(readText(file), file);
  static const std::vector<std::string> known{"$schema", "description", "parameters", "steps"};
  if (!root.is_object() || !root.contains("steps") || !root.at("steps").is_array() || root.at("steps").empty()) {
    throw UsageError(file + ": a job is an object with a list of \"steps\"");
  }
  for (const auto& [name, value] : root.items()) {
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      throw UsageError(file + ": a job has no \"" + name + "\"; the nearest is \"" + nearest(name, known) + "\"");
    }
  }
  Job job{file, parametersOf(root, file, given), {}};
  for (std::size_t i = 0; i < root.at("steps").size(); ++i) {
    try {
      job.steps.push_back(stepOf(root.at("steps").at(i), job.parameters));
    } catch (const UsageError& e) {
      throw UsageError(file + ": step " + std::to_string(i + 1) + ": " + e.what());
    }
  }
  return job;
}

std::string placeOf(const Job& job, std::size_t index) {
  return job.file + ": step " + std::to_string(index + 1) + " (" + job.steps.at(index).title + "): ";
}

}  // namespace NORV::TaviTool
