#pragma once

#include <Job.hpp>
#include <Session.hpp>
#include <StepReport.hpp>

#include <vector>

namespace NORV::TaviTool {

/// Runs the steps of a checked job, once. Volumes stay in memory until their last use; each observer is called after
/// each step, before volumes are released. Throws Failure, which names the step, or Interrupted.
void runJob(Session& session, Job& job, const std::vector<StepObserver*>& observers);

}  // namespace NORV::TaviTool
