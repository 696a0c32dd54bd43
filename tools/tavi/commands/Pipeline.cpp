#include <Commands.hpp>
#include <Interrupt.hpp>
#include <Pipeline.hpp>
#include <PipelineReport.hpp>
#include <Record.hpp>
#include <Schema.hpp>
#include <TargetFile.hpp>
#include <Tavi/Exceptions.hpp>
#include <Values.hpp>
#include <Watch.hpp>

#include <cstdio>
#include <filesystem>
#include <map>

namespace NORV::TaviTool {
namespace {

namespace fs = std::filesystem;

/// Prints a line for each step.
class StepTable final : public StepObserver {
public:
  explicit StepTable(std::size_t steps) : _steps(steps) {}

  void stepDone(const StepReport& report) override {
    std::string targets;
    for (const auto& [key, target] : report.targets.items()) {
      for (const Json& each : target.is_array() ? target : Json::array({target})) {
        targets += (targets.empty() ? "" : ", ") + each.get<std::string>();
      }
      for (const auto& [name, volume] : report.outputs) {
        targets += name == key ? " (" + volumeText(*volume) + ")" : std::string();
      }
      if (report.results.contains(key) && !report.results.at(key).is_structured()) {
        targets += " = " + report.results.at(key).dump();
      }
    }
    std::printf("%2zu of %zu  %-28s %10s  %s\n", ++_done, _steps, report.title.c_str(),
                timeText(report.seconds).c_str(), targets.c_str());
    std::fflush(stdout);
  }

private:
  std::size_t _steps, _done = 0;
};

std::string withoutExtension(const std::string& file) { return fs::path(file).replace_extension().string(); }

/// The name for a file that was watched for: "job.scan.record.json" for "job.record.json".
std::string nameFor(const std::string& own, const std::string& stem) {
  if (own.empty() || stem.empty()) {
    return own;
  }
  const std::string end = own.ends_with(".record.json") ? ".record.json" : fs::path(own).extension().string();
  return own.substr(0, own.size() - end.size()) + "." + stem + end;
}

std::string recordFileOf(const PipelineOptions& options, const std::string& stem) {
  if (options.withoutRecord) {
    return {};
  }
  return nameFor(options.record.empty() ? withoutExtension(options.job) + ".record.json" : options.record, stem);
}

/// Files that arrived must not replace results of one another, as those of the same name but another kind could.
class ResultOwners {
public:
  /// Throws UsageError where a result of the job is one of another input.
  void claim(const Job& job, const std::string& input) {
    for (std::size_t i = 0; i < job.steps.size(); ++i) {
      for (const Step::FileUse& use : job.steps[i].step.filesWritten()) {
        const auto [owner, isNew] = _inputs.emplace(finalTarget(use.name), input);
        if (!isNew && owner->second != input) {
          throw UsageError(placeOf(job, i) + use.name + " is the result of " + owner->second +
                           "; with ${input.file} in its name there would be two");
        }
      }
    }
  }

private:
  std::map<std::string, std::string> _inputs;  ///< by results
};

void runOnce(Session& session, const PipelineOptions& options, const Parameters& parameters, const std::string& stem,
             ResultOwners& owners) {
  Job job = readJob(options.job, parameters);
  checkJob(session, job);
  owners.claim(job, stem);
  const std::string recordFile = recordFileOf(options, stem);
  if (options.onlyCheck) {
    if (!session.json) {
      std::printf("%s: %zu steps, ready to run\n", options.job.c_str(), job.steps.size());
    } else {
      printJson({{"job", options.job}, {"steps", job.steps.size()}, {"ready", true}});
    }
    return;
  }
  Record record(session, {{"job", options.job}, {"parameters", job.parameters}}, recordFile, session.json);
  record.addInput(job.file);
  for (const JobStep& step : job.steps) {
    record.addFilesOf(step.step);
  }
  const std::string reportFile = nameFor(options.report, stem);
  PipelineReport report(session, job, reportFile);
  if (!reportFile.empty() && !recordFile.empty() && finalTarget(reportFile) == finalTarget(recordFile)) {
    throw UsageError(reportFile + ": record and report need files of their own");
  }
  session.brief = !session.progress;  // the table has a line for each step
  StepTable table(job.steps.size());
  std::vector<StepObserver*> observers{&record, &report};
  if (!session.json) {
    observers.push_back(&table);
  }
  record.during([&] {
    runJob(session, job, observers);
    report.save();
  });
  if (session.json) {
    printJson(record.json());
  } else if (!recordFile.empty()) {
    std::printf("record: %s\n", recordFile.c_str());
  }
  if (!session.json && !reportFile.empty()) {
    std::printf("report: %s\n", reportFile.c_str());
  }
}

/// With a folder to watch, files that do not depend on the input would be replaced by each run, and volumes that are
/// written into the folder would be taken for new ones.
void requireWatchable(const Job& job, const PipelineOptions& options, const Job& other) {
  for (std::size_t i = 0; i < job.steps.size(); ++i) {
    const auto files = job.steps[i].step.filesWritten(), otherFiles = other.steps[i].step.filesWritten();
    for (std::size_t k = 0; k < files.size(); ++k) {
      const std::string& name = files[k].name;
      if (name == otherFiles[k].name) {
        throw UsageError(placeOf(job, i) + name +
                         " would be replaced with each file that arrives; write ${input.stem} into its name");
      }
      const std::string folder = finalTarget(options.folder);
      if (fs::path(finalTarget(name)).parent_path() == folder && !name.ends_with(".json") && !name.ends_with(".csv")) {
        throw UsageError(placeOf(job, i) + name + " would be written into the folder that is watched");
      }
    }
  }
}

void watch(Session& session, const PipelineOptions& options, Parameters parameters) {
  const auto jobFor = [&](const char* input) {
    parameters["input"] = options.folder + "/" + input;
    return readJob(options.job, parameters);
  };
  requireWatchable(jobFor("one.rek"), options, jobFor("other.rek"));
  Watch folder(options.folder, options.existing, options.interval);
  if (!session.quiet) {
    std::fprintf(stderr, "tavi: watching %s\n", options.folder.c_str());
  }
  ResultOwners owners;
  int done = 0, failed = 0;
  while (options.count == 0 || done + failed < options.count) {
    std::string file;
    try {
      file = folder.next(session);
    } catch (const Interrupted& e) {
      throw Interrupted("interrupted while watching " + options.folder + ": " + std::to_string(done) + " files done, " +
                            std::to_string(failed) + " failed",
                        e.signal());
    }
    if (!session.quiet) {
      std::fprintf(stderr, "tavi: %s\n", file.c_str());
    }
    parameters["input"] = file;
    Session own = session;
    const auto tell = [&](const std::string& text, const std::string& hint) {
      ++failed;
      std::fprintf(stderr, "tavi: %s: %s%s\n", file.c_str(), text.c_str(),
                   hint.empty() ? "" : (" (" + hint + ")").c_str());
    };
    try {
      runOnce(own, options, parameters, fs::path(file).filename().string(), owners);
      ++done;
    } catch (const UsageError& e) {
      tell(e.what(), {});
    } catch (const Failure& e) {
      tell(e.what(), e.hint());
    } catch (const Exceptions::Exception& e) {
      tell(e.getErrorMessage(), std::string(e.getOrigin()));
    } catch (const std::bad_alloc&) {
      tell("memory ran out", {});
    }
    std::fflush(stdout);
  }
  if (failed > 0) {
    throw Failure(std::to_string(failed) + " of " + std::to_string(done + failed) + " files failed");
  }
}

}  // namespace

void pipelineCommand(Session& session, const PipelineOptions& options) {
  if (options.schema) {
    printJson(jobSchema());
    return;
  }
  if (options.job.empty()) {
    throw UsageError("which job? tavi pipeline <job.json>; --schema prints how one is written");
  }
  const Parameters parameters = parseParameters(options.assignments);
  if (options.folder.empty()) {
    ResultOwners owners;
    runOnce(session, options, parameters, {}, owners);
  } else {
    watch(session, options, parameters);
  }
}

}  // namespace NORV::TaviTool
