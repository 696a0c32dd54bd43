#include <Assets.hpp>
#include <Catalogue.hpp>
#include <Markup.hpp>
#include <Report.hpp>
#include <Sections.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace NORV::TaviTool::Report {
namespace {

/// Only what the page holds itself: no script, style, picture or connection from anywhere else.
constexpr const char* policy =
    "default-src 'none'; img-src data:; style-src 'unsafe-inline'; script-src 'unsafe-inline'; base-uri 'none'; "
    "form-action 'none'";

std::string headOf(const Document& document) {
  return std::string("<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n") +
         "<meta http-equiv=\"Content-Security-Policy\" content=\"" + policy + "\">\n" +
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" + escaped(document.title) +
         "</title>\n<link rel=\"icon\" href=\"data:,\">\n<style>" + style + "</style>\n</head>\n";
}

/// "2029-01-31 12:00 UTC"
std::string dateText() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  std::array<char, 64> text{};
  if (::gmtime_r(&now, &parts) != nullptr) {
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts);
  }
  return text.data();
}

}  // namespace

Run describeRun(const std::string& op, const SmartPointer<IComposite>& parameter, double seconds,
                const std::string& file) {
  constexpr SizeType mostParts = 16;  // what has more is a result of its own, such as the records of all objects
  Run run{op, seconds, {}};
  for (const KeyDescription& each : keysOf(parameter)) {
    const auto value = parameter->getValue(each.key);
    if (value == nullptr || (!isVolume(each) && value->getNumberOfKeys() > mostParts)) {
      continue;
    }
    const bool isFile = each.info.takes == Takes::fileName && !file.empty();
    run.parameters.emplace_back(each.key, isFile ? file : valueText(value));
  }
  return run;
}

Histogram histogramOf(Session& session, const SmartPointer<IVolume>& volume, std::size_t bins) {
  Histogram histogram;
  if (volume->getRoiSize() == 0 || bins == 0) {
    return histogram;
  }
  withVoxels(volume, [&](const auto& view) {
    const auto forEach = [&](const auto& body) {
      for (SizeType z = 0; z < view.dimTert; ++z) {
        session.checkInterrupt("report");
        for (SizeType y = 0; y < view.dimSec; ++y) {
          const auto* row = view.row(y, z);
          for (SizeType x = 0; x < view.dimPrim; ++x) {
            const auto value = static_cast<double>(row[static_cast<int64>(x) * view.stridePrim]);
            if (std::isfinite(value)) {
              body(value);
            }
          }
        }
      }
    };
    bool isFirst = true;
    forEach([&](double value) {
      histogram.from = isFirst ? value : std::min(histogram.from, value);
      histogram.to = isFirst ? value : std::max(histogram.to, value);
      isFirst = false;
    });
    if (isFirst) {
      return;  // not one number
    }
    // A bin of whole numbers holds equally many of them as every other. Others are divided first: their range may be
    // beyond all numbers.
    const bool isWhole = shortName(volume->getVoxelType()).find("int") != std::string::npos;
    const double wanted = static_cast<double>(bins), range = histogram.to - histogram.from + 1.0;
    const double width = isWhole ? std::ceil(range / wanted) : histogram.to / wanted - histogram.from / wanted;
    const std::size_t count = isWhole ? static_cast<std::size_t>(std::ceil(range / width)) : width > 0.0 ? bins : 1;
    const double last = static_cast<double>(count - 1);
    const double start = histogram.from / (width > 0.0 ? width : 1.0);
    histogram.counts.assign(count, 0);
    forEach([&](double value) {
      const double bin = isWhole ? (value - histogram.from) / width : width > 0.0 ? value / width - start : 0.0;
      ++histogram.counts[static_cast<std::size_t>(bin > 0.0 ? std::min(bin, last) : 0.0)];
    });
    histogram.to = isWhole ? histogram.from + width * static_cast<double>(count) : histogram.to;
  });
  return histogram;
}

std::string html(Session& session, const Document& document) {
  std::string page = headOf(document) + "<body>\n<main>\n";
  page += titleSection(document);
  page += viewsSection(session, document);
  page += figuresSection(session, document);
  page += greyValuesSection(document);
  page += objectsSection(document);
  page += stepsSection(document);
  page += "</main>\n";
  page += "<footer>Made by tavi " + std::string(version) + " on " + dateText() + ". " + escaped(document.footer) +
          "</footer>\n";
  return page + "<script>" + script + "</script>\n</body>\n</html>\n";
}

void save(Session& session, const Document& document, const std::string& file) {
  writeText(session, html(session, document), file);
}

}  // namespace NORV::TaviTool::Report
