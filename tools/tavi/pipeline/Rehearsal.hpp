#pragma once

#include <Common.hpp>
#include <Step.hpp>

#include <map>
#include <string>

namespace NORV::TaviTool {

/// Tries steps on volumes of one voxel, to learn before the first of them runs whether the library has an instance for
/// the voxel types, which types results will have, and whether values fit them.
class Rehearsal {
public:
  explicit Rehearsal(Session& session) : _session(session) {}

  /// Throws UsageError where the step cannot run, Failure where a file does not open.
  void run(const Step& step);

private:
  /// A value of the class and voxel type that a name or a file will have; empty where that is not known.
  using Sample = SmartPointer<IComposite>;

  Sample sampleOf(const Step& step, const KeyDescription& key, const Item& item);
  Sample sampleOfFile(const std::string& key, const std::string& text);
  bool fillVolumes(Step& trial);
  void fillValues(Step& trial);
  void perform(const Step& trial);
  void checkReader(const Step& trial);
  void checkWriter(const Step& trial) const;
  void keepResults(const Step& trial);

  Session& _session;
  std::map<std::string, Sample> _names;  ///< with their '$'
  std::map<std::string, Sample> _files;  ///< that earlier steps write, by what their names lead to
};

}  // namespace NORV::TaviTool
