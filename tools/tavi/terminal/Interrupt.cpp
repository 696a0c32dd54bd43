#include <Interrupt.hpp>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

namespace NORV::TaviTool::Interrupt {
namespace {

std::atomic<int> received{0};
std::array<char, 4096> fileToRemove{};
std::atomic<bool> removesFile{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

// Only what is safe inside a signal handler.
extern "C" void handle(int number) {
  int none = 0;
  if (received.compare_exchange_strong(none, number)) {
    return;
  }
  if (removesFile.load()) {
    ::unlink(fileToRemove.data());
  }
  static constexpr char text[] = "\ntavi: ended at once\n";
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text, sizeof text - 1);
  ::_exit(128 + number);
}

}  // namespace

void install() {
  // A reader that has gone away is no reason to leave a result unfinished: writing to it fails then.
  std::signal(SIGPIPE, SIG_IGN);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    struct sigaction present {};
    if (sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN) {
      continue;  // as nohup and background jobs want it
    }
    struct sigaction action {};
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;  // the readers and writers do not expect a system call to end early
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
  }
}

int signal() { return received.load(); }

void reset() { received.store(0); }

RemovesAtEnd::RemovesAtEnd(const std::string& file) {
  if (file.size() < fileToRemove.size()) {
    std::copy(file.begin(), file.end(), fileToRemove.begin());
    fileToRemove[file.size()] = '\0';
    removesFile.store(true);
  }
}

RemovesAtEnd::~RemovesAtEnd() { removesFile.store(false); }

}  // namespace NORV::TaviTool::Interrupt
