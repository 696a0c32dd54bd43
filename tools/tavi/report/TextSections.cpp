#include <Markup.hpp>
#include <Sections.hpp>
#include <Session.hpp>

#include <algorithm>
#include <cmath>

namespace NORV::TaviTool::Report {
namespace {

double totalSeconds(const Document& document) {
  double seconds = 0.0;
  for (const Step& step : document.steps) {
    seconds += step.seconds;
  }
  return seconds;
}

std::string millionsPerSecond(const Step& step) {
  return step.voxels > 0.0 && step.seconds > 0.0 ? decimal(step.voxels / step.seconds * 1e-6, 0) : std::string();
}

std::string gigabytesPerSecond(const Step& step) {
  return step.bytes > 0.0 && step.seconds > 0.0 ? decimal(step.bytes / step.seconds * 1e-9, 2) : std::string();
}

std::string milliseconds(double seconds) { return decimal(1e3 * seconds, seconds < 0.01 ? 1 : 0); }

std::string runsHtml(const Step& step) {
  std::string html;
  for (const Run& run : step.runs) {
    html += "<h4>" + escaped(run.op) + " <span>" + milliseconds(run.seconds) + " ms</span></h4><dl>";
    for (const auto& [key, value] : run.parameters) {
      html += "<div><dt>" + escaped(key) + "</dt><dd>" + escaped(value) + "</dd></div>";
    }
    html += "</dl>";
  }
  return html;
}

std::string stepHtml(const Step& step, double longest) {
  const double share = longest > 0.0 ? 100.0 * step.seconds / longest : 0.0;
  const auto cell = [](const std::string& text, const char* unit, const char* place) {
    return std::string("<span class=\"cell ") + place + "\">" +
           (text.empty() ? std::string() : text + " <small>" + unit + "</small>") + "</span>";
  };
  const std::string line =
      "<span class=\"name\">" + escaped(step.name) + "</span>" + cell(milliseconds(step.seconds), "ms", "time") +
      "<span class=\"bar\"><i style=\"width:" + plain(std::round(share * 10.0) / 10.0) + "%\"></i></span>" +
      cell(millionsPerSecond(step), "Mvoxel/s", "voxels") + cell(gigabytesPerSecond(step), "GB/s", "bytes") +
      "<span class=\"text\">" + escaped(step.text) + "</span>";
  if (step.runs.empty()) {
    return "<li><div class=\"step\">" + line + "</div></li>\n";
  }
  return "<li><details><summary class=\"step\">" + line + "</summary><div class=\"runs\">" + runsHtml(step) +
         "</div></details></li>\n";
}

}  // namespace

std::string titleSection(const Document& document) {
  std::string html = "<header><h1>" + escaped(document.title) + "</h1>\n";
  if (!document.summary.empty()) {
    html += "<p class=\"summary\">" + escaped(document.summary) + "</p>\n";
  }
  if (!document.facts.empty()) {
    html += "<dl class=\"facts\">";
    for (const auto& [name, value] : document.facts) {
      html += "<div><dt>" + escaped(name) + "</dt><dd>" + escaped(value) + "</dd></div>";
    }
    html += "</dl>\n";
  }
  html += "</header>\n";
  if (document.checks.empty()) {
    return html;
  }
  html += "<section id=\"checks\"><h2>Compared with the truth</h2>\n<ul class=\"checks\">";
  for (const Check& check : document.checks) {
    html += std::string("<li class=\"") + (check.holds ? "holds" : "fails") + "\"><span class=\"mark\">" +
            (check.holds ? "\u2713 holds" : "\u2717 fails") + "</span> <strong>" + escaped(check.name) + "</strong> " +
            escaped(check.text) + "</li>\n";
  }
  return html + "</ul></section>\n";
}

std::string stepsSection(const Document& document) {
  if (document.steps.empty()) {
    return {};
  }
  double longest = 0.0;
  for (const Step& step : document.steps) {
    longest = std::max(longest, step.seconds);
  }
  std::string html = "<section id=\"steps\"><h2>Steps</h2>\n<p class=\"hint\">" +
                     std::to_string(document.steps.size()) + " steps in " + timeText(totalSeconds(document)) +
                     ". Open a step for the operators that it ran and their parameters.</p>\n<ol class=\"steps\">\n";
  for (const Step& step : document.steps) {
    html += stepHtml(step, longest);
  }
  return html + "</ol></section>\n";
}

}  // namespace NORV::TaviTool::Report
