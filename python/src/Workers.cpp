#include <Workers.hpp>

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace NORV::TaviPython {

class Worker {
public:
  void start(std::function<void()> task) {
    const std::lock_guard lock(_mutex);
    _task = std::move(task);
    _wake.notify_all();
  }

  template <class... Time>
  bool wait(Time... time) {
    std::unique_lock lock(_mutex);
    const auto isIdle = [this] { return !_task; };
    if constexpr (sizeof...(time) > 0) {
      return _idle.wait_for(lock, time..., isIdle);
    } else {
      _idle.wait(lock, isIdle);
      return true;
    }
  }

  [[noreturn]] void serve() {
    for (;;) {
      std::unique_lock lock(_mutex);
      _wake.wait(lock, [this] { return static_cast<bool>(_task); });
      lock.unlock();
      _task();  // changed by this thread only while it is set
      lock.lock();
      _task = nullptr;
      _idle.notify_all();
    }
  }

private:
  std::mutex _mutex;
  std::condition_variable _wake, _idle;
  std::function<void()> _task;
};

namespace {

struct Pool {
  std::mutex mutex;
  std::vector<std::shared_ptr<Worker>> idle;
};

// Never destroyed: its threads wait on it until the process ends.
std::atomic<Pool*> pool{nullptr};
std::atomic<bool> forked{false};

/// A forked process has none of the threads, and locks as they happened to be.
void renew() {
  pool.store(new Pool);
  forked.store(true);
}

Pool& workers() {
  static const bool isPrepared = [] {
    pool.store(new Pool);
    return pthread_atfork(nullptr, nullptr, &renew) == 0;
  }();
  static_cast<void>(isPrepared);
  return *pool.load();
}

std::shared_ptr<Worker> takeWorker() {
  Pool& all = workers();
  {
    const std::lock_guard lock(all.mutex);
    if (!all.idle.empty()) {
      auto worker = std::move(all.idle.back());
      all.idle.pop_back();
      return worker;
    }
  }
  auto worker = std::make_shared<Worker>();
  std::thread([worker] { worker->serve(); }).detach();
  return worker;
}

}  // namespace

Running::Running(std::function<void()> task) : _worker(takeWorker()) { _worker->start(std::move(task)); }

Running::~Running() {
  _worker->wait();
  Pool& all = workers();
  const std::lock_guard lock(all.mutex);
  all.idle.push_back(std::move(_worker));
}

bool Running::waitFor(std::chrono::milliseconds time) { return _worker->wait(time); }

bool isForked() {
  static_cast<void>(workers());
  return forked.load();
}

}  // namespace NORV::TaviPython
