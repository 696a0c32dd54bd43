#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Record.hpp>
#include <Step.hpp>
#include <Values.hpp>
#include <Workspace.hpp>

#include <cstdio>

namespace NORV::TaviTool {
namespace {

/// Each assignment is "key=value".
Step makeStep(const std::string& op, const std::vector<std::string>& assignments) {
  Step step(op);
  for (const std::string& assignment : assignments) {
    const auto equals = assignment.find('=');
    const KeyDescription& key = step.findKey(assignment.substr(0, equals));
    if (equals == std::string::npos || equals + 1 == assignment.size()) {
      throw UsageError(key.key + " needs a value: " + key.key + "=" + syntaxOf(key.info.takes));
    }
    step.give(key, {{assignment.substr(equals + 1), false}});
  }
  step.check();
  return step;
}

void print(const Session& session, const Step& step, double seconds) {
  Json results = Json::object(), files = Json::array();
  for (const KeyDescription& key : step.keys()) {
    if (!isOutput(key.key)) {
      continue;
    }
    const auto value = step.parameter()->getValue(key.key);
    if (!isVolume(key) || !step.has(key.key)) {
      results[key.key] = valueJson(value);
      if (!session.json) {
        std::printf("%s = %s\n", key.key.c_str(), valueText(value).c_str());
      }
    } else {
      const SmartPointer<IVolume> volume(value);
      const std::string name = step.wishFor(key).name;
      Json file{{"key", key.key}, {"file", name}};
      file.update(volumeJson(*volume));
      files.push_back(file);
      if (!session.json) {
        std::printf("%s = %s (%s)\n", key.key.c_str(), name.c_str(), volumeText(*volume).c_str());
      }
    }
  }
  if (session.json) {
    printJson({{"operator", step.op()}, {"seconds", seconds}, {"results", results}, {"files", files}});
  }
}

}  // namespace

void runCommand(Session& session, const RunOptions& options) {
  requireOperator(options.op);
  Step step = makeStep(options.op, options.assignments);
  Workspace workspace(session);
  step.announce(workspace);
  Record record(session, {}, options.record);
  record.addFilesOf(step);
  record.during([&] {
    const double seconds = step.execute(workspace, options.op);
    record.stepDone(StepReport::of(step, options.op, seconds));
    print(session, step, seconds);
  });
}

}  // namespace NORV::TaviTool
