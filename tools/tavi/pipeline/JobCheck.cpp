#include <Job.hpp>
#include <Rehearsal.hpp>
#include <TargetFile.hpp>
#include <VolumeFiles.hpp>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>

namespace NORV::TaviTool {
namespace {

/// Files that steps read before they are written have to be there; two steps must not write to one file.
class FileChecks {
public:
  void add(const Step& step, std::size_t index) {
    for (const Step::FileUse& use : step.filesRead()) {
      const bool isMade = _writers.contains(finalTarget(use.name));
      if (!isMade && ::access(use.name.c_str(), R_OK) != 0) {
        throw Failure(use.key + "=" + use.name + ": cannot be read", std::strerror(errno));
      }
    }
    for (const Step::FileUse& use : step.filesWritten()) {
      const auto [found, isNew] = _writers.emplace(finalTarget(use.name), index);
      if (!isNew && found->second != index) {
        throw UsageError(use.key + "=" + use.name + ": step " + std::to_string(found->second + 1) +
                         " writes to this file, too");
      }
    }
  }

private:
  std::map<std::string, std::size_t> _writers;
};

}  // namespace

void checkJob(Session& session, Job& job) {
  Rehearsal rehearsal(session);
  FileChecks files;
  for (std::size_t i = 0; i < job.steps.size(); ++i) {
    Step& step = job.steps[i].step;
    try {
      step.check();
      files.add(step, i);
      rehearsal.run(step);
    } catch (const UsageError& e) {
      throw UsageError(placeOf(job, i) + e.what());
    } catch (const Failure& e) {
      throw Failure(placeOf(job, i) + e.what(), e.hint());
    }
  }
}

}  // namespace NORV::TaviTool
