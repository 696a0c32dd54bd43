#pragma once

#include <Common.hpp>
#include <Step.hpp>

#include <map>
#include <string>
#include <vector>

namespace NORV::TaviTool {

struct JobStep {
  std::string title;
  Step step;
};

/// A list of steps that share volumes by name, read from a JSON file.
struct Job {
  std::string file;
  Json parameters;  ///< with the values of this run
  std::vector<JobStep> steps;
};

/// Texts by the names of parameters.
using Parameters = std::map<std::string, std::string>;

/// "name=value"; throws UsageError.
Parameters parseParameters(const std::vector<std::string>& assignments);

/// Reads a job file and puts its parameters into its texts. Throws Failure for a file that cannot be read, and
/// UsageError, which names file and step, for one that is no job: malformed, with unknown operators, unknown or
/// repeated keys, values of the wrong kind, or parameters that are unknown or have no value.
Job readJob(const std::string& file, const Parameters& parameters);

/// The text with its "${name}" replaced; "${name.stem}" is the name of that file without folder and extension,
/// "${name.file}" without folder, "${name.folder}" the folder.
std::string substitute(const std::string& text, const Json& parameters);

/// "job.json: step 3 (filter)": what begins a message about a step.
std::string placeOf(const Job& job, std::size_t index);

/// Checks the whole job before its first step: keys, values, names, files to read and to write, and by trying each
/// operator on one voxel whether there is an instance for the voxel types. Reads heads of files, no voxels. Throws
/// UsageError or Failure, which name the step.
void checkJob(Session& session, Job& job);

}  // namespace NORV::TaviTool
