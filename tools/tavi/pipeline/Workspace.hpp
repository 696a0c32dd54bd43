#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <map>
#include <string>

namespace NORV::TaviTool {

/// What the steps of a job share: values under names, which begin with '$', and volumes of files. Each is dropped when
/// its last announced use is over.
class Workspace {
public:
  explicit Workspace(Session& session) : _session(session) {}

  /// Announces one more use of a name or a file.
  void announce(const std::string& source) { ++_entries[source].uses; }

  /// Stores a value under a name; dropped at once where no use was announced.
  void put(const std::string& name, const SmartPointer<IComposite>& value);
  /// The value under a name; empty if there is none.
  SmartPointer<IComposite> value(const std::string& name) const;
  /// The volume of a file, which is loaded unless it is here already.
  SmartPointer<IVolume> volumeOfFile(const std::string& text);

  /// Ends one use.
  void release(const std::string& source);
  /// Forgets the voxels of a file, because it is written.
  void forgetFile(const std::string& name);

  /// Whether a value is held under this name or file.
  bool holds(const std::string& source) const { return value(source) != nullptr; }

  Session& session() { return _session; }

private:
  struct Entry {
    SmartPointer<IComposite> value;
    std::size_t uses = 0;
  };

  Session& _session;
  std::map<std::string, Entry> _entries;
};

}  // namespace NORV::TaviTool
