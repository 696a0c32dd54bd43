#include <Catalogue.hpp>
#include <Schema.hpp>

namespace NORV::TaviTool {
namespace {

Json reference(const std::string& name) { return {{"$ref", "#/$defs/" + name}}; }

Json anyOf(std::initializer_list<Json> choices) { return {{"anyOf", Json(choices)}}; }

Json text(const std::string& description, const std::string& pattern = {}) {
  Json json{{"type", "string"}, {"minLength", 1}, {"description", description}};
  if (!pattern.empty()) {
    json["pattern"] = pattern;
  }
  return json;
}

Json list(const Json& items, int least, int most = 0) {
  Json json{{"type", "array"}, {"items", items}, {"minItems", least}};
  if (most > 0) {
    json["maxItems"] = most;
  }
  return json;
}

/// The forms that values share.
Json definitions() {
  const Json number{{"type", "number"}};
  const Json triple = list(number, 3, 3);
  Json all = Json::object();
  all["name"] = text("what an earlier step has made", "^\\$[A-Za-z_][A-Za-z0-9_]*$");
  all["parameter"] = text("a parameter of the job in a text", "\\$\\{[^}]+\\}");
  all["volume"] = text("a volume file, or the name of a volume");
  all["mask"] = text("a volume file, a name, or box, ball or cross with extents: ball:9x9x9");
  all["target"] = anyOf({text("a name or a volume file; voxel type and extents may stand behind: $x:uint16"),
                         list(text("a name or a volume file"), 1)});
  all["result"] = anyOf({text("a name, or a file that ends in .json or .csv", "^\\$|\\.(json|csv)$"),
                         list(text("a name or a file", "^\\$|\\.(json|csv)$"), 1)});
  all["volumes"] = anyOf({text("volume files, with commas between"), list(text("a volume file, a mask or a name"), 1)});
  all["matrix"] = anyOf({text("a transform such as rotate:z:30deg,about:center; a file; a name"), list(number, 16, 16),
                         list(list(number, 4, 4), 4, 4)});
  all["number"] = anyOf({number, text("a number in a text"), reference("name")});
  all["count"] = anyOf({{{"type", "integer"}}, text("a whole number in a text", "^[-+0-9$]"), reference("name")});
  all["flag"] = anyOf(
      {{{"type", "boolean"}}, {{"enum", {0, 1}}}, text("true or false", "^(true|false|yes|no|on|off|0|1|\\$.*)$")});
  all["extents"] = anyOf({text("AxBxC along x, y, z", "^(.+x.+x.+|\\$.+)$"), triple});
  all["position"] =
      anyOf({text("AxBxC, or center for the middle of the mask", "^(cent(er|re)|.+x.+x.+|\\$.+)$"), triple});
  all["region"] = text("AxBxC+x+y+z");
  all["object"] = anyOf({text("as \"tavi describe\" says"),
                         triple,
                         {{"type", "object"}, {"additionalProperties", {{"type", "string"}}}}});
  return all;
}

const char* definitionFor(const KeyDescription& key) {
  if (isOutput(key.key)) {
    return isVolume(key) ? "target" : "result";
  }
  switch (key.info.takes) {
    case Takes::volume:
    case Takes::labelVolume:
      return "volume";
    case Takes::mask:
      return "mask";
    case Takes::volumeList:
      return "volumes";
    case Takes::matrix:
      return "matrix";
    case Takes::like:
    case Takes::number:
      return "number";
    case Takes::count:
      return "count";
    case Takes::flag:
      return "flag";
    case Takes::dimension:
      return "extents";
    case Takes::position:
      return "position";
    case Takes::region:
      return "region";
    case Takes::object:
      return "object";
    case Takes::text:
    case Takes::fileName:
      break;
  }
  return "";
}

std::string descriptionOf(const KeyInfo& info) {
  std::string text = info.meaning;
  const auto add = [&](const char* before, const char* words) {
    text += *words != '\0' ? before + std::string(words) : std::string();
  };
  add("; ", info.range);
  add(*info.range != '\0' ? " " : "; in ", info.unit);
  add("; of the voxel type of ", info.likeKey);
  add("; absent: ", info.absent);
  return text;
}

Json keySchema(const KeyDescription& key) {
  const std::string name = definitionFor(key);
  Json json = name.empty() ? Json{{"type", "string"}} : reference(name);
  json["description"] = descriptionOf(key.info);
  return json;
}

Json stepSchema(const std::string& op) {
  Json properties{{"operator", {{"const", op}}},
                  {"name", text("what progress, messages and the record call the step")},
                  {"description", text("for the reader of the job")}};
  Json required{"operator"}, outputs = Json::array();
  const auto keys = keysOf(makeParameter(op));
  for (const KeyDescription& key : keys) {
    properties[key.key] = keySchema(key);
    if (key.info.required) {
      required.push_back(key.key);
    }
    if (isOutput(key.key)) {
      outputs.push_back({{"required", {key.key}}});
    }
  }
  Json schema{{"type", "object"},
              {"description", summaryOf(op)},
              {"properties", properties},
              {"required", required},
              {"additionalProperties", false}};
  if (!firstVolumeKey(keys, {"output"}).empty()) {
    schema["anyOf"] = outputs;  // somewhere the result has to go
  }
  return schema;
}

}  // namespace

Json jobSchema() {
  Json defs = definitions(), choices = Json::array();
  for (const std::string& op : operatorNames()) {
    defs[op] = stepSchema(op);
    choices.push_back({{"if", {{"properties", {{"operator", {{"const", op}}}}}}}, {"then", reference(op)}});
  }
  const Json scalar{{"type", {"string", "number", "boolean", "null"}}};
  const Json step{{"type", "object"},
                  {"required", {"operator"}},
                  {"properties", {{"operator", {{"enum", operatorNames()}}}}},
                  {"allOf", choices}};
  return {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
          {"title", "Job of tavi pipeline"},
          {"type", "object"},
          {"required", {"steps"}},
          {"additionalProperties", false},
          {"properties",
           {{"$schema", {{"type", "string"}}},
            {"description", text("for the reader of the job")},
            {"parameters",
             {{"type", "object"},
              {"description", "values for ${name} in texts of the steps; null where the caller has to give one"},
              {"additionalProperties", scalar}}},
            {"steps", list(step, 1)}}},
          {"$defs", defs}};
}

}  // namespace NORV::TaviTool
