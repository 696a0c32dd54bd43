#include <Catalogue.hpp>
#include <CommandTable.hpp>
#include <Values.hpp>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

/// Manual pages in mdoc.
namespace NORV::TaviTool {
namespace {

/// A text as mdoc takes it: nothing in it is markup, and no line begins like a request.
std::string escaped(const std::string& text, bool isLineStart = true) {
  std::string result;
  for (const char c : text) {
    if (isLineStart && (c == '.' || c == '\'')) {
      result += "\\&";
    }
    if (c == '\\') {
      result += "\\e";
    } else if (c == '"') {
      result += "\\(dq";
    } else {
      result += c;
    }
    isLineStart = c == '\n';
  }
  return result;
}

/// Words of a macro line: a short word could be a macro itself.
std::string asArgument(const std::string& text) { return "\"\\&" + escaped(text, false) + "\""; }

/// A paragraph with each sentence on its own line, as mdoc requires.
std::string paragraph(const std::string& text) {
  std::istringstream words(text);
  std::string result, word;
  bool isStart = true;
  while (words >> word) {
    result += (isStart ? "" : " ") + escaped(word, isStart);
    isStart = word.ends_with('.') || word.ends_with(".)");
    result += isStart ? "\n" : "";
  }
  return result + (isStart ? "" : "\n");
}

std::string withoutStop(std::string text) {
  while (text.ends_with('.')) {
    text.pop_back();
  }
  return text;
}

std::string head(const std::string& page, const std::string& section, const std::string& date,
                 const std::string& summary) {
  std::string title = page;
  for (char& c : title) {
    c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return ".Dd " + date + "\n.Dt " + title + " " + section + "\n.Os\n.Sh NAME\n.Nm " + page + "\n.Nd " +
         escaped(withoutStop(summary)) + "\n";
}

/// Lines as they are, such as an example.
std::string literal(const std::string& text) { return ".Bd -literal\n" + escaped(text) + "\n.Ed\n"; }

std::string optionItem(const OptionEntry& option) {
  std::string line = ".It";
  for (std::size_t i = 0; i < option.names.size(); ++i) {
    const std::string& name = option.names[i];
    line += (i > 0 ? " , " : " ") + (option.isPositional ? "Ar " + name : "Fl " + name.substr(1));
  }
  if (!option.value.empty() && !option.isPositional) {
    line += " Ar " + asArgument(option.value);
  }
  const std::string standard = option.standard.empty() ? "" : " Default: " + option.standard + ".";
  return line + "\n" + paragraph(withoutStop(option.description) + "." + standard);
}

std::string optionList(const CommandEntry& command) {
  std::string text = ".Bl -tag -width indent\n";
  for (const OptionEntry& option : command.options) {
    text += optionItem(option);
  }
  return text + ".El\n";
}

std::string synopsis(const CommandEntry& command) {
  std::string text = ".Sh SYNOPSIS\n.Nm tavi " + command.name + "\n.Op Ar options\n";
  for (const OptionEntry& option : command.options) {
    if (option.isPositional) {
      text += option.isRequired ? ".Ar " : ".Op Ar ";
      text += option.names.front() + (option.isRepeated ? " ...\n" : "\n");
    }
  }
  return text;
}

constexpr const char* exitStatus =
    ".Sh EXIT STATUS\n0 when done, 1 for a failure, 2 for wrong usage, 128 and its number after a signal, so 130 for\n"
    "Ctrl-C.\nFailures are one line on standard error, and a second one where it helps.\n";

std::string commandPage(const CommandEntry& command, const std::string& date) {
  const std::string page = "tavi-" + command.name;
  std::string text = head(page, "1", date, command.description) + synopsis(command) + ".Sh DESCRIPTION\n" +
                     paragraph(withoutStop(command.description) + ".") + optionList(command);
  if (!command.footer.empty()) {
    text += literal(command.footer);
  }
  return text + exitStatus + ".Sh SEE ALSO\n.Xr tavi 1\n";
}

std::string mainPage(const CLI::App& app, const std::string& date) {
  std::string text = head("tavi", "1", date, app.get_description()) +
                     ".Sh SYNOPSIS\n.Nm\n.Op Ar options\n.Ar command\n.Op Ar arguments ...\n.Sh DESCRIPTION\n" +
                     paragraph(withoutStop(app.get_description()) + ".") + optionList(entryOf(app)) +
                     ".Ss Commands\n.Bl -tag -width indent\n";
  std::set<std::string> names;  // in alphabetical order, as mdoc requires
  for (const CommandEntry& command : commandsOf(app)) {
    text += ".It Cm " + command.name + "\n" + paragraph(withoutStop(command.description) + ".");
    names.insert(".Xr tavi-" + command.name + " 1");
  }
  text += ".El\n.Ss Operators\nEach has a page in section 7:\n.Bl -tag -width indent\n";
  for (const std::string& op : operatorNames()) {
    text += ".It Xr tavi-" + op + " 7\n" + paragraph(summaryOf(op));
  }
  return text + ".El\n" + exitStatus + ".Sh SEE ALSO\n" + join({names.begin(), names.end()}, " ,\n") + "\n";
}

std::string keyItem(const KeyDescription& key) {
  std::string notes = key.info.required ? "Required." : std::string();
  const auto add = [&](const char* before, const std::string& words) {
    notes += words.empty() ? "" : (notes.empty() ? "" : " ") + (before + words) + ".";
  };
  add("Range: ", key.info.range);
  add("Unit: ", key.info.unit);
  add("Of the voxel type of ", key.info.likeKey);
  add("If absent: ", key.info.absent);
  return ".It Cm " + key.key + " Ar " + asArgument(syntaxOf(key.info.takes)) + "\n" +
         paragraph(withoutStop(key.info.meaning) + ". " + notes);
}

std::string operatorPage(const std::string& op, const std::string& date) {
  const Documentation documentation = documentationOf(op);
  std::string text = head("tavi-" + op, "7", date, summaryOf(op)) + ".Sh SYNOPSIS\n.Nm tavi run " + op +
                     "\n.Ar key Ns = Ns Ar value ...\n.Sh DESCRIPTION\n" + paragraph(summaryOf(op)) +
                     paragraph(documentation.text) + ".Ss Keys\n.Bl -tag -width indent\n";
  for (const KeyDescription& key : keysOf(makeParameter(op))) {
    text += keyItem(key);
  }
  const auto instances = reachableInstances(op);
  text += ".El\n.Ss Voxel types\n" +
          paragraph(instances.empty() ? "any" : instancesText(instances, hasOutputVolume(op))) + ".Ss Notes\n" +
          ".Bl -tag -width indent\n";
  for (const Documentation::Part& part : documentation.parts) {
    text += ".It " + part.name + "\n" + paragraph(part.text);
  }
  return text + ".El\n.Sh SEE ALSO\n.Xr tavi 1 ,\n.Xr tavi-pipeline 1 ,\n.Xr tavi-run 1\n";
}

void writePage(const std::filesystem::path& file, const std::string& text) {
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  if (!stream) {
    throw Failure(file.string() + ": cannot be written");
  }
}

}  // namespace

void writeManual(const CLI::App& app, const std::string& folder, const std::string& date) {
  namespace fs = std::filesystem;
  const fs::path first = fs::path(folder) / "man1", seventh = fs::path(folder) / "man7";
  std::error_code error;
  for (const fs::path& each : {first, seventh}) {
    fs::create_directories(each, error);
    if (error) {
      throw Failure(each.string() + ": the folder cannot be made", error.message());
    }
  }
  writePage(first / "tavi.1", mainPage(app, date));
  for (const CommandEntry& command : commandsOf(app)) {
    writePage(first / ("tavi-" + command.name + ".1"), commandPage(command, date));
  }
  for (const std::string& op : operatorNames()) {
    writePage(seventh / ("tavi-" + op + ".7"), operatorPage(op, date));
  }
}

}  // namespace NORV::TaviTool
