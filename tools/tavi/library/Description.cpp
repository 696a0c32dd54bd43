#include <Catalogue.hpp>
#include <Description.hpp>
#include <PythonNames.hpp>
#include <Values.hpp>

#include <algorithm>
#include <cctype>
#include <vector>

namespace NORV::TaviTool {

const char* roleOf(const std::string& key) { return isInput(key) ? "input" : isOutput(key) ? "output" : "modify"; }

std::string limitsText(const KeyInfo& info) {
  std::string text = info.range;
  if (*info.unit != '\0') {
    text += (text.empty() ? "in " : " ") + std::string(info.unit);
  }
  if (*info.likeKey != '\0') {
    const char* kind = info.takes == Takes::like ? "of the voxel type of " : "float64 for a float64 volume under ";
    text += (text.empty() ? "" : ", ") + (kind + std::string(info.likeKey));
  }
  if (*info.absent != '\0') {
    text += (text.empty() ? "" : "; ") + ("absent or 0: " + std::string(info.absent));
  }
  return text;
}

std::string callsText(const std::string& op) {
  // "lowerLimit" for "inputLowerLimit"
  const auto variable = [](const std::string& key) {
    std::string name = key.substr(isInput(key) ? 5 : 6);
    name.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(name.front())));
    return name;
  };
  const auto keys = keysOf(makeParameter(op));
  const std::string result = firstVolumeKey(keys, {"output"});
  const bool hasInput = std::any_of(keys.begin(), keys.end(), [](const auto& key) { return !isOutput(key.key); });
  std::string host = "SmartPointer<IComposite> parameter(new " + op + "::Parameter);\n";
  std::string line = "tavi run " + op;
  std::vector<std::string> arguments;
  for (const KeyDescription& key : keys) {
    // Without an input the results tell the voxel type.
    const bool isAlone = !hasInput && key.key == result;
    if (key.info.required || isAlone) {
      host += "parameter->setValue(\"" + key.key + "\", " + (isOutput(key.key) ? "result" : variable(key.key)) + ");\n";
    }
    if (key.info.required || key.key == result) {
      line += " " + key.key + "=" + syntaxOf(key.info.takes) + (isAlone ? ":<voxel type>:AxBxC" : "");
    }
    if (key.info.required && !isOutput(key.key)) {
      arguments.push_back(pythonName(key) + "=" + pythonName(key));
    }
  }
  host += "DLL::" + op + "::Operator().apply(parameter);\n";
  const std::string python = "tavi." + snakeCase(op) + "(" + join(arguments) + ")\n";
  return "```cpp\n" + host + "```\n```sh\n" + line + "\n```\n```python\n" + python + "```\n";
}

Json descriptionOf(const std::string& op) {
  const auto parameter = makeParameter(op);
  const Documentation documentation = documentationOf(op);
  Json parts = Json::object();
  for (const Documentation::Part& part : documentation.parts) {
    parts[part.name] = part.text;
  }
  Json keys = Json::array();
  for (const KeyDescription& key : keysOf(parameter)) {
    keys.push_back({{"key", key.key},
                    {"pythonName", pythonName(key)},
                    {"role", roleOf(key.key)},
                    {"takes", takesText(key.info.takes)},
                    {"syntax", syntaxOf(key.info.takes)},
                    {"required", key.info.required},
                    {"default", key.info.takes == Takes::object ? Json() : valueJson(parameter->getValue(key.key))},
                    {"meaning", key.info.meaning},
                    {"range", key.info.range},
                    {"unit", key.info.unit},
                    {"absent", key.info.absent},
                    {"like", key.info.likeKey}});
  }
  return {{"operator", op},
          {"pythonName", snakeCase(op)},
          {"summary", summaryOf(op)},
          {"description", documentation.text},
          {"documentation", parts},
          {"parameterClass", parameter->getType()},
          {"keys", keys},
          {"voxelTypes", reachableInstances(op)}};
}

}  // namespace NORV::TaviTool
