#pragma once

#include <Job.hpp>
#include <Report.hpp>
#include <Session.hpp>
#include <StepReport.hpp>

#include <cstddef>
#include <string>

namespace NORV::TaviTool {

/// Gathers the report on a job: its steps with times and parameters, what it read first and what each step made as
/// views, the grey values of the last view that is no label volume, and the objects that a step measured.
///
/// Memory: at most 12 views of 2^24 voxels; larger volumes are kept as every second, third ... voxel along each axis.
class PipelineReport final : public StepObserver {
public:
  /// Without a file nothing is gathered. Throws UsageError for a file that the job reads or writes, Failure for one
  /// that cannot be created.
  PipelineReport(Session& session, const Job& job, const std::string& file);

  void stepDone(const StepReport& report) override;

  /// Writes the page; to be called after the last step.
  void save();

private:
  void addView(const std::string& title, const std::string& caption, const SmartPointer<IVolume>& volume,
               bool holdsLabels);
  void measure(const StepReport& report);

  Session& _session;
  std::string _file;
  Report::Document _document;
};

}  // namespace NORV::TaviTool
