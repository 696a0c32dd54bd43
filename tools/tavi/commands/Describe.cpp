#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Description.hpp>
#include <Values.hpp>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace NORV::TaviTool {
namespace {

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

std::string meaningText(const KeyInfo& info) {
  const std::string limits = limitsText(info);
  return info.meaning + (limits.empty() ? "" : " (" + limits + ")");
}

std::string voxelTypesText(const std::string& op, const std::string& separator) {
  const auto instances = reachableInstances(op);
  return instances.empty() ? "any" : instancesText(instances, hasOutputVolume(op), separator);
}

/// Breaks a text into lines for a terminal, the second and all further ones behind an indent.
std::string wrapped(const std::string& text, std::size_t indent) {
  constexpr std::size_t width = 100;
  std::istringstream words(text);
  std::string lines;
  std::size_t column = indent;
  for (std::string word; words >> word;) {
    if (column > indent && column + 1 + word.size() > width) {
      lines += "\n" + std::string(indent, ' ');
      column = indent;
    }
    lines += (column > indent ? " " : "") + word;
    column += (column > indent ? 1 : 0) + word.size();
  }
  return lines;
}

void describeText(const std::string& op) {
  const auto parameter = makeParameter(op);
  const auto keys = keysOf(parameter);
  std::size_t keyWidth = 0, takesWidth = 0;
  for (const KeyDescription& key : keys) {
    keyWidth = std::max(keyWidth, key.key.size());
    takesWidth = std::max(takesWidth, std::string(takesText(key.info.takes)).size());
  }
  const Documentation documentation = documentationOf(op);
  std::printf("%s: %s\n\n", op.c_str(), summaryOf(op).c_str());
  if (!documentation.text.empty()) {
    std::printf("%s\n\n", wrapped(documentation.text, 0).c_str());
  }
  for (const KeyDescription& key : keys) {
    const std::string standard = defaultText(key, parameter);
    std::printf("  %-*s  %-6s  %-*s  %s%s%s\n", static_cast<int>(keyWidth), key.key.c_str(), roleOf(key.key),
                static_cast<int>(takesWidth), takesText(key.info.takes), key.info.required ? "required; " : "",
                meaningText(key.info).c_str(), standard.empty() ? "" : (" [" + standard + "]").c_str());
  }
  std::printf("\nVoxel types: %s\n\n", voxelTypesText(op, "\n             ").c_str());
  for (const Documentation::Part& part : documentation.parts) {
    std::printf("%-9s %s\n", (part.name + ":").c_str(), wrapped(part.text, 10).c_str());
  }
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
  const Documentation documentation = documentationOf(op);
  std::printf("\n## %s\n\n%s\n\n", op.c_str(), summaryOf(op).c_str());
  if (!documentation.text.empty()) {
    std::printf("%s\n\n", documentation.text.c_str());
  }
  std::printf("| Key | Role | Takes | Required | Default | Meaning |\n|---|---|---|---|---|---|\n");
  for (const KeyDescription& key : keysOf(parameter)) {
    std::printf("| `%s` | %s | %s | %s | %s | %s |\n", key.key.c_str(), roleOf(key.key), takesText(key.info.takes),
                key.info.required ? "yes" : "no", cell(defaultText(key, parameter)).c_str(),
                cell(meaningText(key.info)).c_str());
  }
  std::printf("\n%s\nVoxel types: %s.\n\n", callsText(op).c_str(), voxelTypesText(op, "; ").c_str());
  for (const Documentation::Part& part : documentation.parts) {
    std::printf("- **%s:** %s\n", part.name.c_str(), part.text.c_str());
  }
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
      all.push_back(descriptionOf(each));
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
