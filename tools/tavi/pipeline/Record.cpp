#include <Checksum.hpp>
#include <Record.hpp>
#include <TargetFile.hpp>
#include <Tavi/Exceptions.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <thread>

namespace NORV::TaviTool {
namespace {

/// "2026-01-31T12:00:00Z"
std::string timeStamp() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&now, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

Json machineJson() {
  struct utsname name {};
  Json json{{"processors", std::thread::hardware_concurrency()}};
  if (::uname(&name) == 0) {
    json["system"] = name.sysname;
    json["release"] = name.release;
    json["architecture"] = name.machine;
  }
  return json;
}

void addOnce(std::vector<std::string>& files, const std::string& file) {
  if (std::find(files.begin(), files.end(), file) == files.end()) {
    files.push_back(file);
  }
}

}  // namespace

Record::Record(Session& session, const Json& about, const std::string& file, bool isShown)
    : _session(session),
      _file(file),
      _isGathered(isShown || !file.empty()) {
  if (!_isGathered) {
    return;
  }
  if (!_file.empty()) {
    requireCreatable(_file);
  }
  std::error_code error;
  _json = {{"program", "tavi"},
           {"version", TAVI_VERSION},
           {"machine", machineJson()},
           {"arguments", session.arguments},
           {"folder", std::filesystem::current_path(error).string()}};
  if (about.is_object()) {
    _json.update(about);
  }
}

void Record::requireOther(const std::string& file) const {
  if (!_file.empty() && finalTarget(file) == finalTarget(_file)) {
    throw UsageError(_file + ": the record would replace a file that is used; name another with --record");
  }
}

void Record::addInput(const std::string& file) {
  requireOther(file);
  addOnce(_read, file);
}

void Record::addFilesOf(const Step& step) {
  for (const Step::FileUse& use : step.filesRead()) {
    // What the job itself has written before is no input of it.
    if (std::find(_written.begin(), _written.end(), use.name) == _written.end()) {
      addInput(use.name);
    }
  }
  for (const Step::FileUse& use : step.filesWritten()) {
    requireOther(use.name);
    addOnce(_written, use.name);
  }
}

void Record::stepDone(const StepReport& report) {
  if (!_isGathered) {
    return;
  }
  Json outputs = Json::object();
  for (const auto& [key, volume] : report.outputs) {
    outputs[key] = volumeJson(*volume);
  }
  for (const auto& [key, target] : report.targets.items()) {
    outputs[key]["to"] = target;
  }
  _json["steps"].push_back({{"name", report.title},
                            {"operator", report.op},
                            {"seconds", report.seconds},
                            {"parameters", report.parameters},
                            {"outputs", outputs},
                            {"results", report.results}});
}

Json Record::filesJson(const std::vector<std::string>& files) {
  Json all = Json::array();
  for (const std::string& file : files) {
    all.push_back(_file.empty() ? Json{{"file", file}} : fileJson(_session, file));
  }
  return all;
}

void Record::begin() {
  _start = std::chrono::steady_clock::now();
  _json["started"] = timeStamp();
  _json["inputs"] = filesJson(_read);
  _json["steps"] = Json::array();
}

void Record::end(const char* status, const std::string& text) {
  const bool isDone = text.empty();
  _json["seconds"] = std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  _json["ended"] = timeStamp();
  _json["status"] = status;
  _json["outputs"] = filesJson(isDone ? _written : std::vector<std::string>());
  if (!isDone) {
    _json["error"] = text;
  }
  if (_file.empty()) {
    return;
  }
  writeText(_session, _json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n", _file);
}

/// A second failure must not replace that of the run.
void Record::endAfterFailure(const char* status, const std::string& text) noexcept {
  try {
    end(status, text);
  } catch (...) {
  }
}

void Record::during(const std::function<void()>& body) {
  if (!_isGathered) {
    body();
    return;
  }
  begin();
  try {
    body();
  } catch (const Interrupted& e) {
    endAfterFailure("interrupted", e.what());
    throw;
  } catch (const Exceptions::Exception& e) {
    endAfterFailure("failed", e.getErrorMessage());
    throw;
  } catch (const std::exception& e) {
    endAfterFailure("failed", e.what());
    throw;
  }
  end("done", {});
}

}  // namespace NORV::TaviTool
