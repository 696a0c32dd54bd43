#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The commands of the tool. Each prints its result to standard output, as text or as JSON, and throws UsageError,
/// Failure or Interrupted.
namespace NORV::TaviTool {

enum class Layout { text, markdown };

void listCommand(const Session& session, Layout layout);

/// Keys and voxel types of one operator, or of all where the name is empty.
void describeCommand(const Session& session, const std::string& op, Layout layout);

void infoCommand(Session& session, const std::string& file);

/// Writes the volume of one file to another, whose kind the end of its name tells.
void convertCommand(Session& session, const std::string& from, const std::string& to);

struct RunOptions {
  std::string op;
  std::vector<std::string> assignments;  ///< each is "key=value"
  std::string record;                    ///< file for the record of the run; none if empty
};
void runCommand(Session& session, const RunOptions& options);

struct PipelineOptions {
  std::string job;
  std::vector<std::string> assignments;  ///< "name=value" for parameters of the job
  std::string record;                    ///< "<job>.record.json" if empty
  bool withoutRecord = false;
  std::string report;  ///< file of the page on what ran; none if empty
  bool onlyCheck = false;
  bool schema = false;    ///< prints the schema of job files instead
  std::string folder;     ///< to watch; runs the job once if empty
  bool existing = false;  ///< begins with the files that are in the folder
  int count = 0;          ///< ends after so many files; 0 for no end
  double interval = 1.0;  ///< seconds between looks into the folder
};
void pipelineCommand(Session& session, const PipelineOptions& options);

struct SliceOptions {
  std::string file;
  std::string axis = "z";
  std::optional<SizeType> index;  ///< the middle one if not given
  std::string range;              ///< "low:high"; the extremes of the volume if empty
  std::string picture;
};
void sliceCommand(Session& session, const SliceOptions& options);

void phantomCommand(Session& session, const std::string& file);

struct MaskOptions {
  std::string shape;      ///< box, ball or cross
  std::string dimension;  ///< "AxBxC"
  std::string file;
};
void maskCommand(Session& session, const MaskOptions& options);

struct FeaturesOptions {
  std::string labels;
  std::string values;  ///< file of the grey values; without them only shapes are told
  std::string sort;    ///< column; by label if empty
  bool reverse = false;
  bool csv = false;
  bool histogram = false;  ///< of sizes, instead of the objects
};
void featuresCommand(Session& session, const FeaturesOptions& options);

struct DemoOptions {
  std::string input;  ///< the phantom if empty
  std::string folder = "tavi-demo";
};
void demoCommand(Session& session, const DemoOptions& options);

/// Parses the command line, runs the command and reports its failures; returns the exit status.
int runTool(int argc, const char* const* argv);

/// How many threads operators use from now on that are not told otherwise.
void setNumberOfThreads(int threads);
/// How many they use now.
int numberOfThreads();

void printJson(const Json& json);

}  // namespace NORV::TaviTool
