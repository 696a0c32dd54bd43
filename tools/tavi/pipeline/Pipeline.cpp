#include <Pipeline.hpp>
#include <Workspace.hpp>

#include <chrono>

namespace NORV::TaviTool {
namespace {

/// While it exists, the session shows the progress of the whole job.
class ShowsJob {
public:
  ShowsJob(Session& session, std::size_t steps) : _session(session) {
    _session.job.emplace();
    _session.job->steps = steps;
    _session.job->start = std::chrono::steady_clock::now();
  }
  ShowsJob(const ShowsJob&) = delete;
  ShowsJob& operator=(const ShowsJob&) = delete;
  ~ShowsJob() { _session.job.reset(); }

private:
  Session& _session;
};

}  // namespace

void runJob(Session& session, Job& job, const std::vector<StepObserver*>& observers) {
  Workspace workspace(session);
  for (const JobStep& step : job.steps) {
    step.step.announce(workspace);
  }
  const ShowsJob shows(session, job.steps.size());
  for (std::size_t i = 0; i < job.steps.size(); ++i) {
    auto& [title, step] = job.steps[i];
    session.job->beginStep(1 + step.filesRead().size() + step.filesWritten().size());
    try {
      const double seconds = step.execute(workspace, title);
      const StepReport report = StepReport::of(step, title, seconds);
      for (StepObserver* observer : observers) {
        observer->stepDone(report);
      }
    } catch (const UsageError& e) {
      throw UsageError(placeOf(job, i) + e.what());
    } catch (const Failure& e) {
      throw Failure(placeOf(job, i) + e.what(), e.hint());
    }
    step.release(workspace);
    ++session.job->stepsDone;
  }
}

}  // namespace NORV::TaviTool
