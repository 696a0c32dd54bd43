#pragma once

#include <Host.hpp>

#include <optional>
#include <string>

namespace NORV::TaviPython {

struct FailedRun;

/// Runs a frame without the interpreter's lock. Returns what it threw; throws what a handler of a signal or the
/// progress function raised, after the run was aborted.
///
/// Short runs stay on the calling thread. Others go to a thread of their own while the calling one handles signals and
/// calls `progress`, if it is no None, with the share that is done. `threads` is for operators without a key for it; 0
/// is as many as the runtime offers.
std::optional<FailedRun> run(IOperator& frame, const SmartPointer<IComposite>& parameter, bool isShort,
                             const py::object& progress, int threads = 0);

}  // namespace NORV::TaviPython
