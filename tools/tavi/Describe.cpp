#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Values.hpp>

#include <algorithm>
#include <cstdio>

namespace NORV::TaviTool {
namespace {

const char* roleOf(const std::string& key) { return isInput(key) ? "input" : isOutput(key) ? "output" : "modify"; }

/// Results are there after the run; what a key holds before it is no default.
std::string defaultText(const KeyDescription& key, const SmartPointer<IComposite>& parameter) {
  if (isOutput(key.key)) {
    return "";
  }
  const auto value = parameter->getValue(key.key);
  if (value == nullptr) {
    return key.info.required ? "" : "none";
  }
  if (key.info.required) {
    return "";
  }
  if (key.info.takes == Takes::object) {
    return "set";
  }
  const std::string text = valueText(value);
  return text.empty() ? "empty" : text;
}

Json describeJson(const std::string& op) {
  const auto parameter = makeParameter(op);
  Json keys = Json::array();
  for (const KeyDescription& key : keysOf(parameter)) {
    keys.push_back({{"key", key.key},
                    {"role", roleOf(key.key)},
                    {"takes", takesText(key.info.takes)},
                    {"syntax", syntaxOf(key.info.takes)},
                    {"required", key.info.required},
                    {"default", key.info.takes == Takes::object ? Json() : valueJson(parameter->getValue(key.key))},
                    {"meaning", key.info.meaning}});
  }
  return {{"operator", op},
          {"summary", summaryOf(op)},
          {"parameterClass", parameter->getType()},
          {"keys", keys},
          {"voxelTypes", reachableInstances(op)}};
}

std::string voxelTypesText(const std::string& op, const std::string& separator) {
  const auto instances = reachableInstances(op);
  return instances.empty() ? "any" : instancesText(instances, hasOutputVolume(op), separator);
}

void describeText(const std::string& op) {
  const auto parameter = makeParameter(op);
  const auto keys = keysOf(parameter);
  std::size_t keyWidth = 0, takesWidth = 0;
  for (const KeyDescription& key : keys) {
    keyWidth = std::max(keyWidth, key.key.size());
    takesWidth = std::max(takesWidth, std::string(takesText(key.info.takes)).size());
  }
  std::printf("%s: %s\n\n", op.c_str(), summaryOf(op).c_str());
  for (const KeyDescription& key : keys) {
    const std::string standard = defaultText(key, parameter);
    std::printf("  %-*s  %-6s  %-*s  %s%s%s\n", static_cast<int>(keyWidth), key.key.c_str(), roleOf(key.key),
                static_cast<int>(takesWidth), takesText(key.info.takes), key.info.required ? "required; " : "",
                key.info.meaning, standard.empty() ? "" : (" [" + standard + "]").c_str());
  }
  std::printf("\nVoxel types: %s\n", voxelTypesText(op, "\n             ").c_str());
}

/// In a table a bar would end the cell.
std::string cell(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '|' ? "\\|" : std::string(1, c);
  }
  return escaped;
}

void describeMarkdown(const std::string& op) {
  const auto parameter = makeParameter(op);
  std::printf("\n## %s\n\n%s\n\n", op.c_str(), summaryOf(op).c_str());
  std::printf("| Key | Role | Takes | Required | Default | Meaning |\n|---|---|---|---|---|---|\n");
  for (const KeyDescription& key : keysOf(parameter)) {
    std::printf("| `%s` | %s | %s | %s | %s | %s |\n", key.key.c_str(), roleOf(key.key), takesText(key.info.takes),
                key.info.required ? "yes" : "no", cell(defaultText(key, parameter)).c_str(),
                cell(key.info.meaning).c_str());
  }
  std::printf("\nVoxel types: %s.\n", voxelTypesText(op, "; ").c_str());
}

}  // namespace

void printJson(const Json& json) {
  std::printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void listCommand(const Session& session, Layout layout) {
  const auto names = operatorNames();
  if (session.json) {
    Json list = Json::array();
    for (const std::string& op : names) {
      list.push_back({{"operator", op}, {"summary", summaryOf(op)}});
    }
    printJson(list);
    return;
  }
  std::size_t width = 0;
  for (const std::string& op : names) {
    width = std::max(width, op.size());
  }
  for (const std::string& op : names) {
    if (layout == Layout::markdown) {
      std::printf("| `%s` | %s |\n", op.c_str(), cell(summaryOf(op)).c_str());
    } else {
      std::printf("%-*s  %s\n", static_cast<int>(width), op.c_str(), summaryOf(op).c_str());
    }
  }
}

void describeCommand(const Session& session, const std::string& op, Layout layout) {
  if (!op.empty()) {
    requireOperator(op);
  }
  const std::vector<std::string> ops = op.empty() ? operatorNames() : std::vector<std::string>{op};
  if (session.json) {
    Json all = Json::array();
    for (const std::string& each : ops) {
      all.push_back(describeJson(each));
    }
    printJson(op.empty() ? all : all.front());
    return;
  }
  if (op.empty() && layout == Layout::markdown) {
    std::printf(
        "%s",
        "# Operators\n\n"
        "Generated by `make docs` from the key tables of the parameter objects and from the class factory, as\n"
        "`tavi describe --markdown` prints them; a test compares. How values are written on the command line, and\n"
        "what views, threads and failures are, stands in [conventions.md](conventions.md).\n");
  }
  bool first = true;
  for (const std::string& each : ops) {
    if (layout == Layout::markdown) {
      describeMarkdown(each);
    } else {
      std::printf("%s", first ? "" : "\n");
      describeText(each);
    }
    first = false;
  }
}

}  // namespace NORV::TaviTool
