#include <Catalogue.hpp>
#include <Failures.hpp>
#include <Interrupt.hpp>
#include <Session.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <thread>

namespace NORV::TaviTool {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// Whether standard error is a terminal that can redraw a line.
bool isCapableTerminal() {
  const char* const terminal = std::getenv("TERM");
  return ::isatty(STDERR_FILENO) == 1 && terminal != nullptr && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
}

/// Watches a running operator from a thread of its own: shows how far it is, and passes an interrupt on. A frame hears
/// `abort` only while its typed operator exists, so it is repeated until the run ends.
class Watcher {
public:
  Watcher(IOperator& frame, std::string doing, const Session& session)
      : _frame(frame),
        _doing(std::move(doing)),
        _quiet(session.quiet),
        _brief(session.brief),
        _terminal(isCapableTerminal()),
        _lines(session.progress && !_terminal),
        _job(session.job),
        _start(Clock::now()) {
    if (_job) {
      _doing = "step " + std::to_string(_job->stepsDone + 1) + " of " + std::to_string(_job->steps) + ": " + _doing;
    }
    if (!_quiet && !_brief && _lines) {
      std::fprintf(stderr, "tavi: %s\n", _doing.c_str());
    }
    _thread = std::thread([this] { watch(); });
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher() { finish(false); }

  /// Ends the watch; returns the seconds since it began.
  double finish(bool succeeded) {
    const double seconds = secondsSince(_start);
    if (_thread.joinable()) {
      {
        const std::lock_guard lock(_mutex);
        _finished = true;
      }
      _wake.notify_one();
      _thread.join();
      if (_drawn) {
        std::fprintf(stderr, "\r\033[K");
      }
      if (!_quiet && !_brief && succeeded && (_terminal || _lines)) {
        std::fprintf(stderr, "tavi: %s: done in %s\n", _doing.c_str(), timeText(seconds).c_str());
      }
    }
    return seconds;
  }

private:
  static constexpr auto tick = std::chrono::milliseconds(50);
  static constexpr double firstDraw = 0.2;   // shorter runs need no bar
  static constexpr double lineEvery = 10.0;  // where there is no terminal

  void watch() {
    const Clock::time_point start = _job ? _job->start : _start;
    double nextLine = secondsSince(start) + lineEvery;
    std::unique_lock lock(_mutex);
    while (!_wake.wait_for(lock, tick, [this] { return _finished; })) {
      if (Interrupt::signal() != 0) {
        _frame.abort();
      }
      const double seconds = secondsSince(start);
      if (_quiet || !(_terminal || _lines) || seconds < (_terminal ? firstDraw : nextLine)) {
        continue;
      }
      const double share = _frame.getProgress().getProgress();
      const std::string text = progressText(_doing, _job ? _job->share(share) : share, seconds);
      if (_terminal) {
        std::fprintf(stderr, "\r\033[K%s", text.c_str());
        std::fflush(stderr);
        _drawn = true;
      } else {
        std::fprintf(stderr, "tavi: %s\n", text.c_str());
        nextLine += lineEvery;
      }
    }
  }

  IOperator& _frame;
  std::string _doing;
  bool _quiet;
  bool _brief;
  bool _terminal;  ///< that understands escape sequences
  bool _lines;     ///< plain lines instead of a bar
  bool _drawn = false;
  bool _finished = false;
  std::optional<JobProgress> _job;
  Clock::time_point _start;
  std::mutex _mutex;
  std::condition_variable _wake;
  std::thread _thread;
};

/// The file that an operator reads or writes itself; empty for all others.
std::string ownFile(const SmartPointer<IComposite>& parameter) {
  const auto keys = keysOf(parameter);
  const std::string key = fileNameKey(keys);
  const Tavi::Persistence::DataPtr<std::string> name(key.empty() ? SmartPointer<IComposite>()
                                                                 : parameter->getValue(key));
  return name != nullptr ? name->getValue() : std::string();
}

bool isWriter(const std::string& op) { return op.ends_with("Writer"); }

}  // namespace

std::string timeText(double seconds) {
  std::array<char, 48> text{};
  if (seconds < 60.0) {
    std::snprintf(text.data(), text.size(), seconds < 1.0 ? "%.3f s" : "%.1f s", seconds);
  } else {
    const auto whole = static_cast<long long>(std::llround(seconds));
    if (whole < 3600) {
      std::snprintf(text.data(), text.size(), "%lld min %02lld s", whole / 60, whole % 60);
    } else {
      std::snprintf(text.data(), text.size(), "%lld h %02lld min", whole / 3600, whole % 3600 / 60);
    }
  }
  return text.data();
}

std::string progressText(const std::string& doing, double share, double seconds) {
  // Operators without steps stay at 0 until they end: a bar would look frozen.
  if (!(share > 0.0)) {
    return doing + "  " + timeText(seconds);
  }
  constexpr int width = 30;
  const int filled = static_cast<int>(share * width);
  std::array<char, 16> percent{};
  std::snprintf(percent.data(), percent.size(), "%3.0f %%", 100.0 * share);
  std::string text = doing + "  [" + std::string(static_cast<std::size_t>(filled), '#') +
                     std::string(static_cast<std::size_t>(width - filled), '.') + "] " + percent.data() + "  " +
                     timeText(seconds);
  if (share < 1.0) {
    text += ", " + timeText(seconds * (1.0 - share) / share) + " left";
  }
  return text;
}

double JobProgress::share(double shareOfRun) const {
  const double run = std::min(static_cast<double>(runsDone) + shareOfRun, static_cast<double>(runs));
  const double step = static_cast<double>(stepsDone) + run / static_cast<double>(runs);
  return std::min(step / static_cast<double>(steps), 1.0);
}

double Session::run(const std::string& op, IOperator& frame, const SmartPointer<IComposite>& parameter,
                    const std::string& doing, const std::string& shownFile) {
  const std::string file = ownFile(parameter);
  checkInterrupt(doing);
  double seconds = 0.0;
  Watcher watcher(frame, doing, *this);
  errno = 0;
  try {
    frame.apply(parameter);
    seconds = watcher.finish(Interrupt::signal() == 0);
  } catch (...) {
    const int error = errno;  // what the system said last, before anything else calls it
    const std::exception_ptr failure = std::current_exception();
    watcher.finish(false);
    errno = error;
    rethrowAsFailure(failure, {op, parameter, file, shownFile.empty() ? file : shownFile, isWriter(op)});
  }
  if (Interrupt::signal() != 0) {
    interrupted(doing, isWriter(op) && shownFile.empty() ? file : std::string());
  }
  if (onRun) {
    onRun(op, parameter, seconds, shownFile.empty() ? file : shownFile);
  }
  if (job) {
    ++job->runsDone;
  }
  return seconds;
}

double Session::run(const std::string& op, const SmartPointer<IComposite>& parameter, const std::string& doing,
                    const std::string& shownFile) {
  return run(op, *makeFrame(op), parameter, doing, shownFile);
}

void Session::checkInterrupt(const std::string& doing) const {
  if (Interrupt::signal() != 0) {
    interrupted(doing, {});
  }
}

void Session::interrupted(const std::string& doing, const std::string& truncatedFile) const {
  std::string left;
  if (!truncatedFile.empty()) {
    std::error_code error;
    const auto bytes = std::filesystem::file_size(truncatedFile, error);
    left =
        truncatedFile + (error ? " may be incomplete" : " is incomplete, it has " + std::to_string(bytes) + " bytes");
  }
  if (!_written.empty()) {
    left += (left.empty() ? "" : "; ") + join(_written) + (_written.size() == 1 ? " is" : " are") + " complete";
  }
  throw Interrupted("interrupted (" + doing + "): " + (left.empty() ? "nothing was written" : left),
                    Interrupt::signal());
}

}  // namespace NORV::TaviTool
