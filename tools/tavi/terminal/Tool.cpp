#include <Catalogue.hpp>
#include <CommandTable.hpp>
#include <Commands.hpp>
#include <Tavi/Exceptions.hpp>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <iostream>
#include <new>

namespace NORV::TaviTool {
namespace {

constexpr const char* runHelp =
    R"(Values:
  volumes         a file; its end tells its kind. Volumes to write may name their voxel type and extents, which
                  some operators need to choose what they do: outputVolume=out.rek:uint16 or out.rek:uint16:64x64x64
                  A raw file is read with both: scan.raw:256x256x128:uint16, and :big for big-endian bytes
  masks           a file, as "tavi mask" writes it, or the shape itself: inputMask=ball:9x9x9, box:3x3x1, cross:5x5x5
  anchors         AxBxC, or center for the middle of the mask: inputAnchor=center
  matrices        operations from left to right: matrix=rotate:z:30deg,about:center,translate:1x2x3, also scale:2 and
                  flip:x; or 16 numbers with commas between, a .txt file of them, or a volume file
  volume lists    <file>,<file>,...
  grey values     a number of the voxel type of the input or output volume, as "tavi describe" says
  flags           true or false
  dimensions      AxBxC along x, y, z
  regions         AxBxC+x+y+z
Keys may be short of their role where that leaves one: mask=ball:9x9x9 anchor=center. Where a mask reaches past the
volume, voxels of the result are those of the input.
Results that are no volumes are printed by name, and written where a .json or, for records, a .csv file is given.)";

constexpr const char* pipelineHelp =
    R"(A job is a JSON file:
  {"parameters": {"input": "scan.rek"},
   "steps": [{"operator": "HistogramUpdateMedian", "name": "filter", "inputVolume": "${input}",
              "inputMask": "box:3x3x3", "inputAnchor": "center", "outputVolume": "$filtered"},
             {"operator": "RangeInversion", "inputVolume": "$filtered",
              "outputVolume": ["$inverted", "${input.stem}-inverted.rek", "inverted.vti"]}]}
Values are written as for "tavi run", numbers, flags and lists also as in JSON. "$name" is what a step makes for later
ones and stays in memory until its last use. "${name}" is a parameter; of a file, "${name.stem}", "${name.file}" and
"${name.folder}" are parts. The whole job is checked before its first step.)";

/// One line for the text, one for the hint.
void report(const Session& session, const char* text, const std::string& hint, int status) {
  const auto oneLine = [](std::string line) {
    for (char& c : line) {
      c = c == '\n' || c == '\r' ? ' ' : c;
    }
    return line;
  };
  std::fflush(stdout);
  std::fprintf(stderr, "tavi: %s\n", oneLine(text).c_str());
  if (!hint.empty()) {
    std::fprintf(stderr, "      %s\n", oneLine(hint).c_str());
  }
  if (session.json) {
    printJson({{"error", text}, {"hint", hint}, {"status", status}});
  }
}

/// Ends standard output; the status of the program. A reader that has gone away needs no report.
int flushed() {
  std::cout.flush();
  const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
  if (!isWritten && errno == EPIPE) {
    return 128 + SIGPIPE;
  }
  if (!isWritten) {
    throw Failure("the result could not be written to standard output", std::strerror(errno));
  }
  return 0;
}

void printText(const std::string& text) { std::fputs(text.c_str(), stdout); }

int guarded(Session& session, const std::function<void()>& command) {
  try {
    command();
    return flushed();
  } catch (const UsageError& e) {
    report(session, e.what(), {}, 2);
    return 2;
  } catch (const Failure& e) {
    report(session, e.what(), e.hint(), 1);
  } catch (const Interrupted& e) {
    report(session, e.what(), {}, 128 + e.signal());
    return 128 + e.signal();
  } catch (const Exceptions::Exception& e) {
    report(session, e.getErrorMessage(), e.getOrigin(), 1);
  } catch (const std::bad_alloc&) {
    report(session, "memory ran out", {}, 1);
  } catch (const std::exception& e) {
    report(session, e.what(), {}, 1);
  }
  return 1;
}

/// Everything the command line can hold.
struct Arguments {
  Session session;
  int threads = 0;
  bool markdown = false;
  std::string op;
  std::string file;
  std::string target;
  RunOptions run;
  PipelineOptions pipeline;
  SliceOptions slice;
  MaskOptions mask;
  FeaturesOptions features;
  DemoOptions demo;
  std::string shell;
  std::string manualFolder = "man";
  std::string manualDate;
  std::function<void()> command;

  Layout layout() const { return markdown ? Layout::markdown : Layout::text; }
};

void addPipeline(CLI::App& command, PipelineOptions& options) {
  command.add_option("job", options.job, "Job file");
  command.add_option("parameters", options.assignments, "Parameters of the job")->type_name("name=value ...");
  command.add_flag("--check", options.onlyCheck, "Checks the whole job and runs nothing");
  CLI::Option* record = command.add_option(
      "--record", options.record, "File for the record of the run; the job's name with .record.json if absent");
  command.add_flag("--no-record", options.withoutRecord, "Writes no record")->excludes(record);
  command.add_option("--report", options.report, "Writes a page on what ran, with pictures: an HTML file");
  CLI::Option* watch =
      command.add_option("--watch", options.folder, "Runs the job on each file that arrives in a folder");
  command.add_flag("--existing", options.existing, "Begins with the files that are in the folder")->needs(watch);
  command.add_option("--count", options.count, "Ends after so many files")->needs(watch)->check(CLI::PositiveNumber);
  command.add_option("--interval", options.interval, "Seconds between looks into the folder")
      ->needs(watch)
      ->check(CLI::Range(0.01, 3600.0))
      ->capture_default_str();
  command.add_flag("--schema", options.schema, "Prints the JSON schema of job files instead");
  command.footer(pipelineHelp);
}

using Adder = std::function<CLI::App*(const char* name, const char* description, std::function<void()> command)>;

void addOperatorCommands(const Adder& add, Arguments& a) {
  CLI::App* list = add("list", "Lists the operators", [&a] { listCommand(a.session, a.layout()); });
  list->add_flag("--markdown", a.markdown, "As rows of a Markdown table");

  CLI::App* describe = add("describe", "Tells the keys of an operator, or of all",
                           [&a] { describeCommand(a.session, a.op, a.layout()); });
  describe->add_option("operator", a.op, "Its name; all operators if absent");
  describe->add_flag("--markdown", a.markdown, "As a page of the documentation");

  CLI::App* run = add("run", "Runs an operator", [&a] { runCommand(a.session, a.run); });
  run->add_option("operator", a.run.op, "Its name")->required();
  run->add_option("values", a.run.assignments, "Keys as \"tavi describe <operator>\" shows them")
      ->type_name("key=value ...");
  run->add_option("--record", a.run.record, "Writes what ran to a JSON file: parameters, versions, times, checksums");
  run->footer(runHelp);

  addPipeline(
      *add("pipeline", "Runs the steps of a job file in memory", [&a] { pipelineCommand(a.session, a.pipeline); }),
      a.pipeline);
}

void addVolumeCommands(const Adder& add, Arguments& a) {
  CLI::App* info = add("info", "Tells voxel type, extents and grey values of a volume file",
                       [&a] { infoCommand(a.session, a.file); });
  info->add_option("file", a.file, "Volume file")->required();

  CLI::App* convert = add("convert", "Writes the volume of one file to a file of another kind",
                          [&a] { convertCommand(a.session, a.file, a.target); });
  convert->add_option("from", a.file, "Volume file to read")->required();
  convert->add_option("to", a.target, "Volume file to write; the end of its name tells the kind")->required();

  CLI::App* slice = add("slice", "Draws a slice of a volume", [&a] { sliceCommand(a.session, a.slice); });
  slice->add_option("file", a.slice.file, "Volume file")->required();
  slice->add_option("--axis", a.slice.axis, "Axis the slice lies across: x, y or z")->capture_default_str();
  slice->add_option("--index", a.slice.index, "Which slice; the middle one if absent");
  slice->add_option("--range", a.slice.range, "Grey values low:high for black and white; the extremes if absent");
  slice->add_option("-o,--output", a.slice.picture, "Picture to write: .png, .bmp or .pgm")->required();

  CLI::App* mask = add("mask", "Writes a structuring element", [&a] { maskCommand(a.session, a.mask); });
  mask->add_option("shape", a.mask.shape, "box, ball or cross")->required();
  mask->add_option("extents", a.mask.dimension, "AxBxC along x, y, z; odd for a ball and a cross")->required();
  mask->add_option("-o,--output", a.mask.file, "Volume file to write")->required();

  CLI::App* features =
      add("features", "Measures the objects of a label volume", [&a] { featuresCommand(a.session, a.features); });
  features->add_option("labels", a.features.labels, "Volume file of labels; 0 is no object")->required();
  features->add_option("--values", a.features.values, "Volume file of the grey values of the same voxels");
  features->add_option("--sort", a.features.sort, "Column to sort by, as the table or the CSV names it");
  features->add_flag("--reverse", a.features.reverse, "The other way round, such as the largest first");
  features->add_flag("--csv", a.features.csv, "As comma-separated values");
  features->add_flag("--histogram", a.features.histogram, "How many objects there are of each size, instead");

  CLI::App* phantom = add("phantom", "Writes a made-up scan of a part with pores and inclusions, and its truth",
                          [&a] { phantomCommand(a.session, a.file); });
  phantom->add_option("file", a.file, "Volume file to write; the truth goes to the same name with .json")->required();

  CLI::App* demo = add("demo", "Runs a whole job and tells what it does", [&a] { demoCommand(a.session, a.demo); });
  demo->add_option("file,--input", a.demo.input, "Volume file; a made-up scan if absent");
  demo->add_option("-o,--output", a.demo.folder, "Folder for the results")->capture_default_str();
}

void addShellCommands(const Adder& add, const CLI::App& app, Arguments& a) {
  CLI::App* completion = add("completion", "Prints a script that completes commands, operators, keys and values",
                             [&a, &app] { printText(completionScript(app, a.shell)); });
  completion->add_option("shell", a.shell, "bash or zsh")->required();

  CLI::App* manual = add("manual", "Writes manual pages of all commands and operators",
                         [&a, &app] { writeManual(app, a.manualFolder, a.manualDate); });
  manual->add_option("-o,--output", a.manualFolder, "Folder for man1 and man7")->capture_default_str();
  manual->add_option("--date", a.manualDate, "Date of the pages, such as \"January 31, 2026\"")->required();
}

void addCommands(CLI::App& app, Arguments& a) {
  const Adder add = [&](const char* name, const char* description, std::function<void()> command) {
    CLI::App* sub = app.add_subcommand(name, description);
    sub->fallthrough();
    sub->callback([&a, command = std::move(command)] { a.command = command; });
    return sub;
  };
  addOperatorCommands(add, a);
  addVolumeCommands(add, a);
  addShellCommands(add, app, a);
}

/// What is wrong with the first word that is no option, if it names no command.
std::string unknownCommand(const CLI::App& app, int argc, const char* const* argv) {
  std::vector<std::string> commands;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    commands.push_back(command->get_name());
  }
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--threads") {
      ++i;
    } else if (!word.starts_with('-')) {
      const bool isKnown = std::find(commands.begin(), commands.end(), word) != commands.end();
      return isKnown ? std::string()
                     : "there is no command \"" + word + "\"; the nearest is \"" + nearest(word, commands) + "\"";
    }
  }
  return {};
}

}  // namespace

int runTool(int argc, const char* const* argv) {
  Arguments arguments;
  arguments.session.arguments.assign(argv, argv + argc);
  CLI::App app("Operators on three-dimensional voxel volumes, from the command line", "tavi");
  app.require_subcommand(1);
  app.set_version_flag("--version", "tavi " TAVI_VERSION);
  app.add_flag("--json", arguments.session.json, "Results for machines, on standard output");
  app.add_flag("--progress", arguments.session.progress, "Progress as lines where standard error is no terminal");
  app.add_flag("-q,--quiet", arguments.session.quiet, "No progress on standard error");
  app.add_option("--threads", arguments.threads, "Worker threads of operators that are not told otherwise")
      ->check(CLI::Range(1, 1024));
  app.footer("Status: 0 done, 1 failed, 2 wrong usage, 130 interrupted.");
  addCommands(app, arguments);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      return guarded(arguments.session, [&] {
        if (arguments.session.json) {
          printJson({{"help", app.help()}});
        } else {
          app.exit(e);
        }
      });
    }
    const std::string unknown = unknownCommand(app, argc, argv);
    if (!unknown.empty()) {
      report(arguments.session, unknown.c_str(), "\"tavi --help\" shows all commands", 2);
      return 2;
    }
    report(arguments.session, e.what(), "\"tavi --help\" and \"tavi <command> --help\" show what there is", 2);
    return 2;
  }
  if (arguments.threads > 0) {
    setNumberOfThreads(arguments.threads);
  }
  return guarded(arguments.session, arguments.command);
}

}  // namespace NORV::TaviTool
