#pragma once

#include <Session.hpp>
#include <StepReport.hpp>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace NORV::TaviTool {

/// What ran: program and library with their versions, the machine, the command, files read and written with their
/// checksums, and each step with its parameters, results and time; also of a run that failed or was interrupted.
class Record final : public StepObserver {
public:
  /// `about` is merged in. Without a file nothing is written and no checksum is taken, and nothing is gathered unless
  /// it `isShown`. A file that cannot be created is a Failure.
  Record(Session& session, const Json& about, const std::string& file, bool isShown = false);

  /// Notes the files that a step reads and writes. Checksums of those that exist to be read are taken when the run
  /// begins, as it may replace them, the others when it ends.
  /// Throws UsageError where one of them is the record itself.
  void addFilesOf(const Step& step);
  /// A file that is read, such as that of the job.
  void addInput(const std::string& file);

  void stepDone(const StepReport& report) override;

  /// Runs the body, then writes the record, also after a failure or an interrupt.
  void during(const std::function<void()>& body);

  const Json& json() const { return _json; }

private:
  void requireOther(const std::string& file) const;
  Json filesJson(const std::vector<std::string>& files);
  void begin();
  void end(const char* status, const std::string& text);
  void endAfterFailure(const char* status, const std::string& text) noexcept;

  Session& _session;
  std::string _file;
  bool _isGathered;
  Json _json;
  std::vector<std::string> _read, _written;
  std::chrono::steady_clock::time_point _start;
};

}  // namespace NORV::TaviTool
