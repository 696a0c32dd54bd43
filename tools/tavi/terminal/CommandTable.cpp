#include <CommandTable.hpp>

namespace NORV::TaviTool {
namespace {

/// "INT:POSITIVE" as "number".
std::string valueName(const std::string& typeName) {
  const std::string name = typeName.substr(0, typeName.find(':'));
  return name == "TEXT" ? "text" : name == "INT" || name == "UINT" || name == "FLOAT" ? "number" : name;
}

}  // namespace

CommandEntry entryOf(const CLI::App& app) {
  CommandEntry entry{app.get_name(), app.get_description(), app.get_footer(), {}};
  for (const CLI::Option* option : app.get_options()) {
    OptionEntry each;
    for (const std::string& name : option->get_snames()) {
      each.names.push_back("-" + name);
    }
    for (const std::string& name : option->get_lnames()) {
      each.names.push_back("--" + name);
    }
    each.isPositional = each.names.empty();
    if (each.isPositional) {
      each.names.push_back(option->get_name(true));
    }
    const bool isFlag = option->get_type_size_max() == 0;
    each.description = option->get_description();
    each.value = isFlag ? std::string() : valueName(option->get_type_name());
    each.standard = option->get_default_str();
    each.isRequired = option->get_required();
    each.isRepeated = option->get_expected_max() > 1;
    entry.options.push_back(each);
  }
  return entry;
}

std::vector<CommandEntry> commandsOf(const CLI::App& app) {
  std::vector<CommandEntry> commands;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    commands.push_back(entryOf(*command));
  }
  return commands;
}

}  // namespace NORV::TaviTool
