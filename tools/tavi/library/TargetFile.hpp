#pragma once

#include <Interrupt.hpp>

#include <optional>
#include <string>

/// Files that are complete or absent.
namespace NORV::TaviTool {

/// The absolute path of the file that a name leads to, through all symbolic links; also where it does not exist yet.
std::string finalTarget(const std::string& name);

/// Throws Failure where a file of this name can neither be created nor overwritten.
void requireCreatable(const std::string& name);

/// A file beside the final target that becomes the target when it is complete, and is removed otherwise. So a failure
/// or an interrupt leaves the old file. Targets that are no regular files, such as devices, are written directly.
class TargetFile {
public:
  /// Whether a second interrupt of the tool removes the unfinished file. Its handler knows one file at a time.
  enum class Interrupts { handled, ignored };

  explicit TargetFile(const std::string& name, Interrupts interrupts = Interrupts::handled);
  TargetFile(const TargetFile&) = delete;
  TargetFile& operator=(const TargetFile&) = delete;
  ~TargetFile();

  /// What to write to.
  const std::string& name() const { return _partial.empty() ? _given : _partial; }

  void complete();

private:
  std::string _given;   ///< as the user wrote it
  std::string _target;  ///< where it leads to
  std::string _partial;
  std::optional<Interrupt::RemovesAtEnd> _guard;
};

}  // namespace NORV::TaviTool
