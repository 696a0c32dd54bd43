#include <Catalogue.hpp>
#include <Description.hpp>
#include <Values.hpp>

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
          {"summary", summaryOf(op)},
          {"description", documentation.text},
          {"documentation", parts},
          {"parameterClass", parameter->getType()},
          {"keys", keys},
          {"voxelTypes", reachableInstances(op)}};
}

}  // namespace NORV::TaviTool
