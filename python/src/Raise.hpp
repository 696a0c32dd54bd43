#pragma once

#include <Host.hpp>

#include <exception>
#include <string>

namespace NORV::TaviPython {

/// A run that failed: what it threw, and what the system said last on its thread.
struct FailedRun {
  std::exception_ptr failure;
  int systemError = 0;
};

/// Raises the failure as the class of `tavi` that belongs to it, with the library's text, and the command line's hint
/// as a note.
[[noreturn]] void raise(const FailedRun& run, const std::string& op, const SmartPointer<IComposite>& parameter,
                        const std::string& file);

/// Failures that leave a function of the module otherwise.
void registerFailures();

}  // namespace NORV::TaviPython
