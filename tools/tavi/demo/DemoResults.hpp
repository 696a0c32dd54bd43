#pragma once

#include <Alignment.hpp>
#include <Analysis.hpp>
#include <Commands.hpp>
#include <Phantom.hpp>
#include <Report.hpp>
#include <Truth.hpp>

#include <optional>
#include <string>
#include <vector>

namespace NORV::TaviTool {

/// What the demonstration has made, for its tables, its JSON and its report.
struct DemoResults {
  std::string input;
  std::string folder;
  std::optional<Phantom> phantom;  ///< absent for a scan of the user
  SmartPointer<IVolume> scan, clamped, region, stretched;
  std::optional<Analysis> analysis;
  std::optional<FeatureTable> objects;  ///< the largest first
  std::vector<Comparison> comparisons;  ///< of pores and of inclusions, for the phantom

  std::optional<Turn> turn;                    ///< of the phantom
  SmartPointer<IVolume> turned;                ///< the filtered scan, for the phantom after the turn
  PrincipalAxes axes;                          ///< of the part in `turned`
  SmartPointer<IVolume> aligned;               ///< absent where there is no part
  SmartPointer<IVolume> projection, unrolled;  ///< of the aligned part: one slice, and radius x azimuth x height
  SizeType unrolledRadius = 0;                 ///< index of the radius that is drawn
  std::optional<AxesComparison> axesComparison;

  std::vector<Report::Step> steps;

  std::string inFolder(const char* name) const { return folder + "/" + name; }
  bool isPore(std::size_t row) const {
    return objects->number(row, "label") <= static_cast<double>(analysis->numberOfPores());
  }
  SizeType trueVoxels(std::size_t row) const {
    return std::max(comparisons[0].trueVoxels(row), comparisons[1].trueVoxels(row));
  }
  bool truthHolds() const;
};

/// All but the steps, which were printed while they ran.
void printResults(const DemoResults& results);
Json resultsJson(const DemoResults& results);
Report::Document reportOf(Session& session, const DemoResults& results);

}  // namespace NORV::TaviTool
