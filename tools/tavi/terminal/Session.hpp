#pragma once

#include <Common.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace NORV::TaviTool {

/// One call of the tool: how it talks, what it runs, what it has written so far.
class Session {
public:
  bool json = false;
  bool progress = false;  ///< lines about progress also where standard error is no terminal
  bool quiet = false;
  bool brief = false;  ///< no lines about single runs, as another report tells of them

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
