#pragma once

#include <string>

/// What happens at Ctrl-C: the first asks the running operator to stop, the second ends the process at once.
namespace NORV::TaviTool::Interrupt {

/// Catches SIGINT and SIGTERM, unless the process was started with them ignored.
void install();

/// The signal that asked for the end; 0 if none has.
int signal();

/// For tests: as if no signal had come.
void reset();

/// While it lives, a second signal removes the file before the process ends.
class RemovesAtEnd {
public:
  explicit RemovesAtEnd(const std::string& file);
  RemovesAtEnd(const RemovesAtEnd&) = delete;
  RemovesAtEnd& operator=(const RemovesAtEnd&) = delete;
  ~RemovesAtEnd();
};

}  // namespace NORV::TaviTool::Interrupt
