#pragma once

#include <Common.hpp>
#include <Picture.hpp>
#include <Session.hpp>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A report on a job as one HTML file: plain data in, a page out. The page holds its pictures, style and script itself
/// and forbids every access to a network, so it may be mailed, archived and opened anywhere. It is readable without
/// script; with it, sliders move through the volumes and the table sorts.
///
/// Every part is optional: what is empty has no section on the page. To use it, fill a `Document` and call `save`.
///
///     Report::Document document;
///     document.title = "Pores in a flange";
///     document.facts = {{"Volume", "flange.rek"}, {"Voxels", "uint16 256x256x128"}};
///     document.views = {{"Scan", "as loaded", scan}, {"Filtered", "median over a ball", filtered}};
///     document.steps = {step};
///     Report::save(session, document, "report.html");
namespace NORV::TaviTool::Report {

/// One run of an operator. Each parameter is a key and its value as text.
struct Run {
  std::string op;
  double seconds = 0.0;
  std::vector<std::pair<std::string, std::string>> parameters;
};

/// What an operator was given and what it returned, in the order of its keys: volumes as voxel type and extents. Absent
/// values and long lists are left out. `file` is the name of its file for the reader, where the operator works on
/// another one for it. Fits `Session::onRun`.
Run describeRun(const std::string& op, const SmartPointer<IComposite>& parameter, double seconds,
                const std::string& file = {});

/// A step of the job: one or more runs of operators, or work of the host.
struct Step {
  std::string name;
  std::string text;  ///< what it did
  double seconds = 0.0;
  double voxels = 0.0;  ///< that it worked on; 0 where a throughput says nothing
  double bytes = 0.0;   ///< read and written; 0 where a throughput says nothing
  std::vector<Run> runs;
};

/// What the labels of a view stand for.
enum class Overlay { none, objects, classes };

/// A volume to look through in slices. The page offers all views on both sides of its comparison, and begins with the
/// first on the left.
struct View {
  std::string title;
  std::string caption;
  SmartPointer<IVolume> volume;    ///< of any voxel type
  std::optional<GreyRange> range;  ///< black and white; the extremes if absent
  Overlay overlay = Overlay::none;
  SmartPointer<IVolume> labels;  ///< of the same extents and an integer voxel type; 0 is transparent
};

/// How often grey values occur, in bins of equal width.
struct Histogram {
  double from = 0.0, to = 0.0;  ///< of all bins; of whole numbers `to` lies behind the last
  std::vector<SizeType> counts;
};
/// NaNs and infinities are not counted.
Histogram histogramOf(Session& session, const SmartPointer<IVolume>& volume, std::size_t bins);

/// A class of grey values, in ascending order; its label is its place in the list from 1 on. One without voxels only
/// keeps its place.
struct Class {
  std::string name;
  SizeType voxels = 0;
  double minimum = 0.0, maximum = 0.0, mean = 0.0;
};

/// A column of the table of objects, after label, kind and voxels.
struct Column {
  std::string title;
  std::string unit;  ///< may be empty
  int decimals = 1;
};

/// A measured object. `label` is its voxel value in the labels of a view.
struct Object {
  SizeType label = 0;
  std::string kind;
  SizeType voxels = 0;
  std::array<double, 3> center{};  ///< in voxels of the view whose labels hold it
  std::vector<double> values;      ///< one for each column; NaN where there is none
};

/// A comparison with what is known to be true.
struct Check {
  std::string name;
  std::string text;
  bool holds = false;
};

/// A picture that is shown as it is.
struct Figure {
  std::string title;
  std::string caption;
  Picture picture;  ///< grey or coloured
};

struct Document {
  std::string title;
  std::string summary;                                     ///< a sentence or two
  std::vector<std::pair<std::string, std::string>> facts;  ///< name and value
  std::vector<Check> checks;
  std::vector<View> views;
  std::size_t secondView = 0;  ///< that the page begins with on the right
  std::vector<Figure> figures;
  std::string histogramCaption;
  Histogram histogram;
  std::vector<Class> classes;
  std::vector<Column> columns;
  std::vector<Object> objects;
  bool showsObjects = false;  ///< says that there are none where the list is empty
  std::vector<Step> steps;
  std::string footer;  ///< behind version and date
};

/// Slices are reduced to at most this many pixels along their longer side, and so many are taken of each axis, evenly
/// spread; so the page of a volume of any size has a few megabytes.
inline constexpr SizeType mostPixels = 224, mostSlices = 32;
/// The largest objects that the table lists.
inline constexpr std::size_t mostObjects = 1000;

/// The whole page in UTF-8. Throws Failure where a picture cannot be made or a volume has an unknown voxel type, and
/// Interrupted. Memory: two to three times the page; volumes are read where they are.
std::string html(Session& session, const Document& document);

/// Writes the page beside its target and puts it in place when it is complete.
void save(Session& session, const Document& document, const std::string& file);

}  // namespace NORV::TaviTool::Report
