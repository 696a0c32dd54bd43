#pragma once

#include <Common.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace NORV::TaviTool {

/// How far a job of several steps is: each run of an operator is an equal share of its step, each step of the job.
struct JobProgress {
  std::size_t steps = 0, stepsDone = 0;
  std::size_t runs = 1, runsDone = 0;  ///< of the step in progress
  std::chrono::steady_clock::time_point start;

  void beginStep(std::size_t runsOfStep) {
    runs = runsOfStep;
    runsDone = 0;
  }
  /// The share of the job, where the run in progress has done the given share.
  double share(double shareOfRun) const;
};

/// One call of the tool: how it talks, what it runs, what it has written so far.
class Session {
public:
  bool json = false;
  bool progress = false;  ///< lines about progress also where standard error is no terminal
  bool quiet = false;
  bool brief = false;                  ///< no lines about single runs, as another report tells of them
  std::vector<std::string> arguments;  ///< the command line

  std::optional<JobProgress> job;  ///< progress is that of the job while there is one

  /// Runs an operator on the calling thread and shows its progress under the name `doing` meanwhile; returns the
  /// seconds it took. Throws Failure with the library's text and a hint, or Interrupted. `shownFile` names the file
  /// that the hint is about where the operator works on another one for it.
  double run(const std::string& op, IOperator& frame, const SmartPointer<IComposite>& parameter,
             const std::string& doing, const std::string& shownFile = {});
  /// The same with the exported frame of that name.
  double run(const std::string& op, const SmartPointer<IComposite>& parameter, const std::string& doing,
             const std::string& shownFile = {});

  /// Throws Interrupted if the user has asked for the end. For work that is no operator.
  void checkInterrupt(const std::string& doing) const;

  /// Files that stay, complete, whatever comes.
  void hasWritten(const std::string& file) { _written.push_back(file); }

  /// Called after each operator that ran to its end, with its seconds and the file that it read or wrote for the user.
  std::function<void(const std::string& op, const SmartPointer<IComposite>& parameter, double seconds,
                     const std::string& file)>
      onRun;

  /// Headers of the files that were read, by what their names lead to.
  std::map<std::string, SmartPointer<IComposite>> headers;

private:
  [[noreturn]] void interrupted(const std::string& doing, const std::string& truncatedFile) const;

  std::vector<std::string> _written;
};

/// "3.2 s", "4 min 10 s"
std::string timeText(double seconds);

/// A progress line: a bar with elapsed and remaining time, or the elapsed time alone while no share is known.
std::string progressText(const std::string& doing, double share, double seconds);

}  // namespace NORV::TaviTool
