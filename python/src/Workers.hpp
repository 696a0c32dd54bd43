#pragma once

#include <chrono>
#include <functional>
#include <memory>

/// Threads on which operators run while the calling thread listens for signals. They are kept, since each holds the
/// team of threads that its loops fork.
namespace NORV::TaviPython {

class Worker;

/// One task on a thread of its own. The task must not throw.
class Running {
public:
  explicit Running(std::function<void()> task);
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  /// Waits for the end of the task.
  ~Running();

  /// Whether the task has ended within that time.
  bool waitFor(std::chrono::milliseconds time);

private:
  std::shared_ptr<Worker> _worker;
};

/// Whether this process was forked from one that had loaded the package. The team of threads of the thread that forked
/// did not come along: operators must not run on it.
bool isForked();

}  // namespace NORV::TaviPython
