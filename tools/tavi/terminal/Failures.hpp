#pragma once

#include <Common.hpp>

#include <exception>
#include <string>

namespace NORV::TaviTool {

/// The operator that failed and what it worked on.
struct FailureContext {
  std::string op;
  SmartPointer<IComposite> parameter;
  std::string file;       ///< that the operator reads or writes; may be empty
  std::string shownFile;  ///< the name the user knows it by
  bool writes = false;
};

/// Turns what a run threw into a Failure: the library's text, and a hint where that text leaves the user alone.
[[noreturn]] void rethrowAsFailure(const std::exception_ptr& failure, const FailureContext& context);

/// "x.rek: No such file or directory", "x.rek: 100 bytes, begins with 1F 8B (gzip)": what the system says of a file.
std::string describeFile(const std::string& file, const std::string& shownName);

}  // namespace NORV::TaviTool
