#pragma once

#include <CLI/App.hpp>

#include <string>
#include <vector>

/// What the command line takes, read off its parser, for what is generated from it.
namespace NORV::TaviTool {

struct OptionEntry {
  std::vector<std::string> names;  ///< "-o", "--output"; a positional has its name only
  std::string description;
  std::string value;  ///< what stands behind it; empty for a flag
  std::string standard;
  bool isPositional = false;
  bool isRequired = false;
  bool isRepeated = false;
};

struct CommandEntry {
  std::string name;
  std::string description;
  std::string footer;
  std::vector<OptionEntry> options;
};

/// The command of an app and its own options.
CommandEntry entryOf(const CLI::App& app);
/// Its subcommands in their order.
std::vector<CommandEntry> commandsOf(const CLI::App& app);

/// A script that completes commands, options, operators, keys and values in "bash" or "zsh"; throws UsageError for
/// other shells.
std::string completionScript(const CLI::App& app, const std::string& shell);

/// Writes the manual pages of all commands (section 1) and operators (section 7) into a folder, which is made. `date`
/// is such as "January 31, 2026".
void writeManual(const CLI::App& app, const std::string& folder, const std::string& date);

}  // namespace NORV::TaviTool
