#include <Markup.hpp>
#include <Sections.hpp>

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>

namespace NORV::TaviTool::Report {
namespace {

/// The class whose range holds the value, or the last one that begins below it; 0 is before all.
std::size_t classAt(const std::vector<Class>& classes, double value) {
  std::size_t found = 0;
  for (std::size_t i = 0; i < classes.size(); ++i) {
    found = classes[i].voxels > 0 && classes[i].minimum <= value ? i + 1 : found;
  }
  return found;
}

/// The colour of a class that stands at this place in the list from 1 on; before all, and of none, is 0.
std::string classColour(std::size_t place) { return "class-" + std::to_string(place == 0 ? 0 : (place - 1) % 6 + 1); }

/// From the smallest to the largest grey value of all classes.
double rangeOf(const std::vector<Class>& classes) {
  double low = 0.0, high = 0.0;
  bool isFirst = true;
  for (const Class& each : classes) {
    if (each.voxels > 0) {
      low = isFirst ? each.minimum : std::min(low, each.minimum);
      high = isFirst ? each.maximum : std::max(high, each.maximum);
      isFirst = false;
    }
  }
  return high - low;
}

/// Decimals with which numbers of a range are told apart.
int decimalsFor(double range) {
  return !(range < 100.0 && range > 0.0) ? 0 : std::clamp(2 - static_cast<int>(std::floor(std::log10(range))), 0, 6);
}

std::string positionedLabel(double percentLeft, const std::string& text) {
  const char* const shift = percentLeft < 1.0 ? "start" : percentLeft > 99.0 ? "end" : "middle";
  return std::string("<span class=\"tick ") + shift + "\" style=\"left:" + plain(percentLeft) + "%\">" + text +
         "</span>";
}

/// On a logarithmic scale, so that rare grey values show. The drawing stretches; its labels are text beside it.
std::string chartHtml(const Document& document) {
  const Histogram& histogram = document.histogram;
  const SizeType most = *std::max_element(histogram.counts.begin(), histogram.counts.end());
  const double decades = std::max(1.0, std::ceil(std::log10(static_cast<double>(std::max<SizeType>(most, 10)))));
  const double width = 1000.0 / static_cast<double>(histogram.counts.size());
  const double range = histogram.to - histogram.from;
  std::string bars, lines, left, below;
  for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
    if (histogram.counts[i] == 0) {
      continue;
    }
    const double height = 100.0 * std::max(0.15, std::log10(static_cast<double>(histogram.counts[i]))) / decades;
    const double middle =
        histogram.from + range * (static_cast<double>(i) + 0.5) / static_cast<double>(histogram.counts.size());
    const auto at = [](double number) { return plain(std::round(number * 100.0) / 100.0); };
    bars += "<rect class=\"" + classColour(classAt(document.classes, middle)) + "\" x=\"" +
            at(width * static_cast<double>(i)) + "\" y=\"" + at(100.0 - height) + "\" width=\"" + at(width * 0.92) +
            "\" height=\"" + at(height) + "\"/>";
  }
  for (int decade = 0; decade <= static_cast<int>(decades); ++decade) {
    const double y = 100.0 - 100.0 * decade / decades;
    lines += "<line x1=\"0\" x2=\"1000\" y1=\"" + plain(y) + "\" y2=\"" + plain(y) + "\"/>";
    left += "<span style=\"top:" + plain(y) + "%\">10<sup>" + std::to_string(decade) + "</sup></span>";
  }
  for (int i = 0; i <= 4; ++i) {
    below += positionedLabel(25.0 * i, decimal(histogram.from + range * i / 4.0, decimalsFor(range)));
  }
  return "<div class=\"chart\"><div class=\"left\">" + left +
         "</div><svg viewBox=\"0 0 1000 100\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"Histogram of the "
         "grey values on a logarithmic scale\">" +
         lines + bars + "</svg><div class=\"below\">" + below + "</div></div>\n";
}

std::string classesTable(const Document& document) {
  const int decimals = decimalsFor(rangeOf(document.classes));
  SizeType all = 0;
  for (const Class& each : document.classes) {
    all += each.voxels;
  }
  std::string html =
      "<div class=\"scroll\"><table class=\"plain\"><thead><tr><th>Class</th><th class=\"number\">Voxels</th><th "
      "class=\"number\">Share</th>"
      "<th class=\"number\">From</th><th class=\"number\">To</th><th class=\"number\">Mean</th></tr></thead><tbody>";
  for (std::size_t i = 0; i < document.classes.size(); ++i) {
    const Class& each = document.classes[i];
    if (each.voxels == 0) {
      continue;
    }
    const auto number = [&](const std::string& text) { return "<td class=\"number\">" + text + "</td>"; };
    html += "<tr><td><i class=\"swatch " + classColour(i + 1) + "\"></i>" + escaped(each.name) + "</td>" +
            number(grouped(each.voxels)) +
            number(all > 0 ? escaped(percent(static_cast<double>(each.voxels) / static_cast<double>(all))) : "") +
            number(decimal(each.minimum, decimals)) + number(decimal(each.maximum, decimals)) +
            number(decimal(each.mean, decimals + 1)) + "</tr>";
  }
  return html + "</tbody></table></div>\n";
}

std::vector<std::string> kindsOf(const std::vector<Object>& objects) {
  std::vector<std::string> kinds;
  for (const Object& object : objects) {
    if (std::find(kinds.begin(), kinds.end(), object.kind) == kinds.end()) {
      kinds.push_back(object.kind);
    }
  }
  std::sort(kinds.begin(), kinds.end(), std::greater<>());
  return kinds;
}

/// Bars of objects by size, in classes that double.
std::string sizesHtml(const Document& document, const std::vector<std::string>& kinds) {
  std::map<int, std::map<std::string, SizeType>> counts;
  for (const Object& object : document.objects) {
    ++counts[static_cast<int>(std::bit_width(object.voxels))][object.kind];
  }
  SizeType most = 1;
  for (const auto& [power, byKind] : counts) {
    SizeType all = 0;
    for (const auto& [kind, count] : byKind) {
      all += count;
    }
    most = std::max(most, all);
  }
  std::string html = "<h3>Size distribution</h3>\n<p class=\"legend\">";
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    html += "<span><i class=\"swatch kind-" + std::to_string(i % 4) + "\"></i>" + escaped(kinds[i]) + "</span>";
  }
  html += "</p>\n<table class=\"sizes\"><thead><tr><th>Voxels</th><th colspan=\"2\">Objects</th></tr></thead><tbody>";
  for (int power = counts.begin()->first; power <= counts.rbegin()->first; ++power) {
    const SizeType from = power > 0 ? SizeType{1} << (power - 1) : 0;
    const SizeType to = power > 0 ? from - 1 + from : 0;
    SizeType all = 0;
    std::string bars;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      const SizeType count = counts[power][kinds[i]];
      all += count;
      if (count > 0) {
        bars += "<i class=\"kind-" + std::to_string(i % 4) + "\" style=\"width:" +
                plain(std::round(1000.0 * static_cast<double>(count) / static_cast<double>(most)) / 10.0) +
                "%\" title=\"" + grouped(count) + " " + escaped(kinds[i]) + "\"></i>";
      }
    }
    html += "<tr><th scope=\"row\">" + (from == to ? grouped(from) : grouped(from) + "\u2013" + grouped(to)) +
            "</th><td class=\"number\">" + grouped(all) + "</td><td class=\"bars\">" + bars + "</td></tr>";
  }
  return html + "</tbody></table>\n";
}

std::string headCell(const std::string& title, const std::string& unit, const char* type, bool sorted) {
  return std::string("<th scope=\"col\"") + (sorted ? " aria-sort=\"descending\"" : "") + " class=\"" + type +
         "\"><button type=\"button\">" + escaped(title) +
         (unit.empty() ? std::string() : " <small>" + escaped(unit) + "</small>") + "</button></th>";
}

std::string rowHtml(const Document& document, const Object& object) {
  const auto number = [](double value, const std::string& text) {
    return "<td class=\"number\" data-value=\"" + plain(value) + "\">" + text + "</td>";
  };
  const std::string label = std::to_string(object.label);
  std::string html = "<tr data-label=\"" + label + "\" data-center=\"" + plain(object.center[2]) + " " +
                     plain(object.center[1]) + " " + plain(object.center[0]) + "\"><th scope=\"row\" data-value=\"" +
                     label + "\"><button type=\"button\" class=\"show\" aria-label=\"Show object " + label +
                     " in the slices\"><i class=\"swatch object-" +
                     (object.label > 0 ? std::to_string(1 + (object.label - 1) % numberOfColours) : "0") + "\"></i>" +
                     label + "</button></th><td>" + escaped(object.kind) + "</td>" +
                     number(static_cast<double>(object.voxels), grouped(object.voxels));
  for (std::size_t i = 0; i < document.columns.size(); ++i) {
    const double value = i < object.values.size() ? object.values[i] : std::nan("");
    html += number(value, decimal(value, document.columns[i].decimals));
  }
  return html + "</tr>\n";
}

std::string tableHtml(const Document& document) {
  std::vector<const Object*> rows;
  for (const Object& object : document.objects) {
    rows.push_back(&object);
  }
  std::stable_sort(rows.begin(), rows.end(), [](const Object* a, const Object* b) { return a->voxels > b->voxels; });
  const std::size_t shown = std::min(rows.size(), mostObjects);
  std::string html =
      "<h3>Table</h3>\n<p class=\"hint\">" +
      (shown < rows.size() ? "The " + grouped(shown) + " largest of " + grouped(rows.size()) + " objects. "
                           : std::string()) +
      "Press a heading to sort by it, a number in the first column to see that object in the slices.</p>\n"
      "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Measured objects\">"
      "<table id=\"objects-table\" class=\"sortable\"><thead><tr>" +
      headCell("Object", "", "number", false) + headCell("Kind", "", "text", false) +
      headCell("Voxels", "", "number", true);
  for (const Column& column : document.columns) {
    html += headCell(column.title, column.unit, "number", false);
  }
  html += "</tr></thead><tbody>\n";
  for (std::size_t i = 0; i < shown; ++i) {
    html += rowHtml(document, *rows[i]);
  }
  return html + "</tbody></table></div>\n";
}

}  // namespace

std::string greyValuesSection(const Document& document) {
  if (document.histogram.counts.empty() && document.classes.empty()) {
    return {};
  }
  std::string html = "<section id=\"grey-values\"><h2>Grey values</h2>\n";
  if (!document.histogramCaption.empty()) {
    html += "<p class=\"hint\">" + escaped(document.histogramCaption) + "</p>\n";
  }
  html += document.histogram.counts.empty() ? std::string() : chartHtml(document);
  html += document.classes.empty() ? std::string() : classesTable(document);
  return html + "</section>\n";
}

std::string objectsSection(const Document& document) {
  if (document.objects.empty()) {
    return document.showsObjects ? "<section id=\"objects\"><h2>Objects</h2>\n<p class=\"hint\">No objects were "
                                   "found.</p></section>\n"
                                 : std::string();
  }
  return "<section id=\"objects\"><h2>Objects</h2>\n" + sizesHtml(document, kindsOf(document.objects)) +
         tableHtml(document) + "</section>\n";
}

}  // namespace NORV::TaviTool::Report
