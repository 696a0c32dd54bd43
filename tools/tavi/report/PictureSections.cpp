#include <Markup.hpp>
#include <Sections.hpp>
#include <Sheets.hpp>

#include <map>
#include <utility>

namespace NORV::TaviTool::Report {
namespace {

constexpr std::array axes{"z", "y", "x"};

Json sheetJson(const Sheet& sheet) {
  return {{"uri", sheet.uri},         {"width", sheet.width},   {"height", sheet.height},
          {"columns", sheet.columns}, {"extent", sheet.extent}, {"slices", sheet.slices}};
}

Json sheetsJson(const Sheets& sheets) {
  Json list = Json::array();
  for (const Sheet& sheet : sheets) {
    list.push_back(sheetJson(sheet));
  }
  return list;
}

bool hasVoxels(const SmartPointer<IVolume>& volume) { return volume != nullptr && volume->getRoiSize() > 0; }

bool hasSlices(const View& view) { return hasVoxels(view.volume); }

/// Pictures of the views, each volume in a range once, however many views show it.
class SheetList {
public:
  explicit SheetList(Session& session) : _session(session) {}

  std::size_t grey(const View& view) {
    const GreyRange range = view.range ? *view.range : greyRangeOf(_session, view.volume);
    const auto key = std::pair(view.volume.get(), std::pair(range.black, range.white));
    const auto [known, isNew] = _places.emplace(key, _list.size());
    if (isNew) {
      _list.push_back(sheetsJson(greySheets(_session, view.volume, range)));
    }
    return known->second;
  }
  std::size_t labels(const View& view) {
    _list.push_back(sheetsJson(labelSheets(_session, view.labels, numberOfColours)));
    return _list.size() - 1;
  }
  const Json& json() const { return _list; }

private:
  Session& _session;
  Json _list = Json::array();
  std::map<std::pair<const IVolume*, std::pair<double, double>>, std::size_t> _places;
};

std::string options(const Document& document, std::size_t chosen) {
  std::string text;
  for (std::size_t i = 0; i < document.views.size(); ++i) {
    if (hasSlices(document.views[i])) {
      text += "<option value=\"" + std::to_string(i) + "\"" + (i == chosen ? " selected" : "") + ">" +
              escaped(document.views[i].title) + "</option>";
    }
  }
  return text;
}

std::string sideHtml(const Document& document, const char* id, const char* title, std::size_t chosen) {
  return std::string("<div class=\"side\"><label for=\"view-") + id + "\">" + title + "</label><select id=\"view-" +
         id + "\">" + options(document, chosen) + "</select><p class=\"caption\" id=\"caption-" + id +
         "\"></p></div>\n";
}

std::string axisHtml(const std::string& axis) {
  const auto canvas = [&](const std::string& side, const std::string& title) {
    return "<figure><canvas id=\"slice-" + side + "-" + axis +
           "\" width=\"1\" height=\"1\" role=\"img\" aria-label=\"" + title + ", slice across " + axis +
           "\"></canvas><figcaption id=\"index-" + side + "-" + axis + "\"></figcaption></figure>";
  };
  return "<div class=\"axis\"><div class=\"pair\">" + canvas("left", "Left view") + canvas("right", "Right view") +
         "</div><div class=\"slider\"><label for=\"slider-" + axis + "\">Across " + axis +
         "</label><input type=\"range\" id=\"slider-" + axis +
         "\" min=\"0\" max=\"0\" value=\"0\" step=\"1\"></div></div>\n";
}

}  // namespace

std::string viewsSection(Session& session, const Document& document) {
  Json views = Json::array();
  SheetList sheets(session);
  std::size_t first = document.views.size();
  for (std::size_t i = 0; i < document.views.size(); ++i) {
    const View& view = document.views[i];
    Json json{{"title", view.title}, {"caption", view.caption}};
    if (hasSlices(view)) {
      first = std::min(first, i);
      const auto size = view.volume->getDimension();
      json["extents"] = {size.tert, size.sec, size.prim};  // across z, y, x
      json["sheets"] = sheets.grey(view);
      if (view.overlay != Overlay::none && hasVoxels(view.labels)) {
        json["overlay"] = view.overlay == Overlay::objects ? "objects" : "classes";
        json["labels"] = sheets.labels(view);
      }
    }
    views.push_back(json);
  }
  if (first == document.views.size()) {
    return {};
  }
  const bool hasSecond = document.secondView < document.views.size() && hasSlices(document.views[document.secondView]);
  std::string html = "<section id=\"slices\"><h2>Slices</h2>\n<div class=\"viewer\"><div class=\"sides\">\n" +
                     sideHtml(document, "left", "Before", first) +
                     sideHtml(document, "right", "After", hasSecond ? document.secondView : first) + "</div>\n";
  for (const char* axis : axes) {
    html += axisHtml(axis);
  }
  html +=
      "</div>\n<p class=\"hint\">Move a slider with the mouse or, once it has the focus, with the arrow keys; "
      "Page Up and Page Down take larger steps, Home and End go to the ends.</p>\n"
      "<noscript><p class=\"hint\">The slices need script, which this page does not fetch from "
      "anywhere.</p></noscript>\n";
  html += "<script type=\"application/json\" id=\"data\">" +
          scriptJson({{"views", views}, {"sheets", sheets.json()}, {"colours", numberOfColours}}) + "</script>\n";
  return html + "</section>\n";
}

std::string figuresSection(Session& session, const Document& document) {
  std::string html;
  for (const Figure& each : document.figures) {
    const Picture& picture = each.picture;
    if (picture.pixels.empty()) {
      continue;
    }
    html += "<figure class=\"figure\">";
    const std::string uri = pngUri(session, picture);
    const std::string size =
        " width=\"" + std::to_string(picture.width) + "\" height=\"" + std::to_string(picture.height) + "\"";
    html += picture.channels == 1 ? "<img src=\"" + uri + "\"" + size + " alt=\"" + escaped(each.title) + "\">"
                                  : "<canvas class=\"planes\"" + size + " data-planes=\"" + uri +
                                        "\" role=\"img\" aria-label=\"" + escaped(each.title) + "\"></canvas>";
    html += "<figcaption><strong>" + escaped(each.title) + "</strong> " + escaped(each.caption) +
            "</figcaption></figure>\n";
  }
  return html.empty()
             ? html
             : "<section id=\"figures\"><h2>Pictures</h2>\n<div class=\"figures\">" + html + "</div></section>\n";
}

}  // namespace NORV::TaviTool::Report
