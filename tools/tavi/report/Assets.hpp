#pragma once

/// Style and script of a report, from report.css and report.js beside this file, and the version of the tool.
namespace NORV::TaviTool::Report {

extern const char* const style;
extern const char* const script;
extern const char* const version;

}  // namespace NORV::TaviTool::Report
