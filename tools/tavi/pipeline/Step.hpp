#pragma once

#include <Common.hpp>
#include <Session.hpp>
#include <VolumeFiles.hpp>
#include <Workspace.hpp>

#include <map>
#include <string>
#include <vector>

namespace NORV::TaviTool {

/// One thing that a key is given: a text in the notation of the command line, or the name of what an earlier step
/// made, with its '$'.
struct Item {
  std::string text;
  bool isName = false;
};
using Items = std::vector<Item>;

/// What an item of an input is.
enum class Source { name, mask, matrix, file, value };

/// One run of an operator: its parameter object, filled from texts and from what earlier steps made.
class Step {
public:
  /// Throws UsageError where there is no such operator.
  explicit Step(const std::string& op);

  const std::string& op() const { return _op; }
  const std::vector<KeyDescription>& keys() const { return _keys; }
  const std::map<std::string, Items>& given() const { return _given; }
  bool has(const std::string& key) const { return _given.contains(key); }

  /// The key of that name, or of that name behind its role ("mask" for "inputMask"); throws UsageError with the
  /// nearest one.
  const KeyDescription& findKey(const std::string& name) const;

  /// Throws UsageError for a key that has been given.
  void give(const KeyDescription& key, Items items);

  /// All that can be known before a file is opened. Throws UsageError.
  void check();

  /// Tells the workspace which names and files this step will use.
  void announce(Workspace& workspace) const;

  /// Loads, runs, saves; returns the seconds that the operator took. `title` is what progress calls it.
  double execute(Workspace& workspace, const std::string& title);
  /// Ends the uses that were announced, and drops the parameter object.
  void release(Workspace& workspace);

  /// Filled after `execute`.
  const SmartPointer<IComposite>& parameter() const { return _parameter; }

  /// Files that are read and written, by their names.
  struct FileUse {
    std::string key;
    std::string text;  ///< as it was given
    std::string name;  ///< without voxel type and extents
  };
  std::vector<FileUse> filesRead() const;
  std::vector<FileUse> filesWritten() const;

  Source sourceOf(const KeyDescription& key, const Item& item) const;
  /// Whether a key of a volume that the operator writes into is filled before the run; otherwise it makes its own.
  bool preparesOutput(const KeyDescription& key) const;
  /// The voxel type and extents that are asked of an output, by the first of its items that does.
  VolumeFile wishFor(const KeyDescription& key) const;

  /// The voxel type by which the text of a value is read; the class of the value for others. The volumes that it
  /// depends on have to be there.
  std::string typeOf(const KeyDescription& key) const;

  /// The same step with another parameter object.
  Step withParameter(const SmartPointer<IComposite>& parameter) const;
  /// Gives a key the value that its text is; the volumes that it depends on have to be there. Throws UsageError.
  void setText(const KeyDescription& key, const std::string& text);
  /// Puts volumes under a key, in the kind of container that it holds where it takes a list.
  void setVolumes(const KeyDescription& key, const std::vector<SmartPointer<IVolume>>& volumes);

private:
  void checkGiven(const KeyDescription& key, Items& items);
  void checkOutput(const KeyDescription& key, const Items& items);
  void checkInput(const KeyDescription& key, const Item& item);
  void addTarget(const std::string& key, const std::string& file);
  void warn(const Session& session) const;

  void loadKey(Workspace& workspace, const KeyDescription& key);
  SmartPointer<IVolume> load(Workspace& workspace, const KeyDescription& key, const Item& item);
  void prepareOutput(Workspace& workspace, const KeyDescription& key);
  bool leavesVoxels() const;
  double runOperator(Session& session, const std::string& title);
  void saveKey(Workspace& workspace, const KeyDescription& key);

  void setValue(Workspace& workspace, const KeyDescription& key);
  void setMiddle(const KeyDescription& key, const std::string& text);
  SmartPointer<IVolume> volumeOf(const std::string& key) const;

  std::string _op;
  SmartPointer<IComposite> _parameter;
  std::vector<KeyDescription> _keys;
  std::map<std::string, Items> _given;
  std::map<std::string, std::string> _keyOfFile;  ///< targets, by what their names lead to
};

/// Whether a text is "$name"; voxel type and extents may stand behind it.
bool isName(const std::string& text);

}  // namespace NORV::TaviTool
