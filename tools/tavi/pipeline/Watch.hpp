#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <map>
#include <string>
#include <tuple>

namespace NORV::TaviTool {

/// Volume files that arrive in a folder. A file has arrived when it has stayed the same for a whole interval and no
/// process has it open for writing, so that half-written files are left alone. A file that is written again arrives
/// again. Hidden files, and those that this tool is writing ("scan.partial.rek"), do not count.
class Watch {
public:
  /// Files that are there already count where `existing` is set. Throws Failure for what is no folder that can be read.
  Watch(std::string folder, bool existing, double interval);

  /// Waits for the next file; returns its path. Throws Interrupted where the user ends the wait.
  std::string next(const Session& session);

private:
  using Signature = std::tuple<unsigned long long, long long, long long, long long>;  ///< inode, size, seconds, ns

  struct Seen {
    Signature signature;
    bool isDone = false;
  };

  std::map<std::string, Signature> look() const;
  std::string arrived();

  std::string _folder;
  double _interval;
  std::map<std::string, Seen> _seen;
};

}  // namespace NORV::TaviTool
