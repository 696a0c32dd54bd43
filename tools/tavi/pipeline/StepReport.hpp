#pragma once

#include <Common.hpp>
#include <Step.hpp>

#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviTool {

/// What a step did, while its volumes are still there.
struct StepReport {
  using Volumes = std::vector<std::pair<std::string, SmartPointer<IVolume>>>;  ///< by key

  std::string title;
  std::string op;
  double seconds = 0.0;  ///< of the operator, without loading and saving
  Json parameters;       ///< every input key with its value; volumes with their source, voxel type and extents
  Json targets;          ///< names and files of the outputs, by key
  Json results;          ///< outputs that are no volumes
  Volumes inputs;        ///< given to keys of volumes, masks and lists
  Volumes outputs;

  static StepReport of(const Step& step, const std::string& title, double seconds);
};

/// Called after each step, in order, before volumes without a further use are released. Volumes in the report may be
/// kept.
class StepObserver {
public:
  virtual ~StepObserver() = default;
  virtual void stepDone(const StepReport& report) = 0;

protected:
  StepObserver() = default;
  StepObserver(const StepObserver&) = default;
  StepObserver& operator=(const StepObserver&) = default;
};

}  // namespace NORV::TaviTool
