#pragma once

#include <Job.hpp>
#include <Session.hpp>
#include <StepReport.hpp>

#include <vector>

namespace NORV::TaviTool {

/// Runs the steps of a checked job, which it uses up. Volumes stay in memory until their last use; the observers hear
/// of each step before. Throws Failure, which names the step, or Interrupted.
void runJob(Session& session, Job& job, const std::vector<StepObserver*>& observers);

}  // namespace NORV::TaviTool
