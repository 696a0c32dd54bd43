#pragma once

#include <string>

namespace NORV::TaviTool::Report {

/// A file without a folder, for operators that write files: nothing stays, however the process ends.
class MemoryFile {
public:
  /// Throws Failure where the system gives none.
  MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile();

  /// The name under which this process opens it.
  std::string name() const;
  /// What was written. Throws Failure where it cannot be read.
  std::string content() const;

private:
  int _file = -1;
};

}  // namespace NORV::TaviTool::Report
