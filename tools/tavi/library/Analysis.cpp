#include <Analysis.hpp>
#include <Call.hpp>
#include <Catalogue.hpp>
#include <Mask.hpp>
#include <Picture.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace NORV::TaviTool {
namespace {

constexpr std::array names{"pores", "inclusions"};

bool isFlush(const FeatureTable& table, std::size_t row, const Dimension<SizeType>& size) {
  const auto touches = [&](const std::string& axis, SizeType extent) {
    const double first = table.number(row, "roi.origin." + axis);
    return first == 0.0 || first + table.number(row, "roi.dim." + axis) == static_cast<double>(extent);
  };
  return touches("x", size.prim) || touches("y", size.sec) || touches("z", size.tert);
}

/// For each label the number of its object, from `first` on and in the same order; 0 for those at the border.
std::vector<uint32> numbersOf(const FeatureTable& table, const Dimension<SizeType>& size, SizeType first) {
  std::vector<uint32> numbers(1);
  for (std::size_t row = 0; row < table.size(); ++row) {
    const auto label = static_cast<std::size_t>(table.number(row, "label"));
    numbers.resize(label + 1);
    numbers[label] = isFlush(table, row, size) ? 0 : static_cast<uint32>(first++);
  }
  return numbers;
}

SizeType countOf(const std::vector<uint32>& numbers) {
  return static_cast<SizeType>(numbers.size()) -
         static_cast<SizeType>(std::count(numbers.begin(), numbers.end(), uint32{0}));
}

}  // namespace

/// What the filter and the segmentation take: the scan itself, or its grey values spread over those of 16 bits.
SmartPointer<IVolume> Analysis::inGreyLevels() {
  const std::string type = shortName(_scan->getVoxelType());
  if (type == "uint8" || type == "uint16") {
    return _scan;
  }
  const auto extremes = extremesOf(_session, _scan);
  const auto levels = makeVolume("uint16", _scan->getDimension());
  return Call(_session, "AdjustLinear")
      .set("inputVolume", _scan)
      .set("outputVolume", levels)
      .set("inputOriginalMinimumValue", extremes.minimum)
      .set("inputOriginalMaximumValue", extremes.maximum)
      .set("inputResultMinimumValue", greyValue(levels, 0))
      .set("inputResultMaximumValue", greyValue(levels, 65535))
      .run("grey levels")
      .volume("outputVolume");
}

std::string Analysis::filter() {
  const auto levels = inGreyLevels();
  const auto ball = makeMask(_session, {"ball", Dimension<SizeType>(3, 3, 3)});
  const auto middle = makeParameter("HistogramUpdateMedian")->getValue("inputAnchor");
  parseInto("inputAnchor", middle, "1x1x1");
  _filtered = Call(_session, "HistogramUpdateMedian")
                  .set("inputVolume", levels)
                  .set("inputMask", ball)
                  .set("inputAnchor", middle)
                  .set("outputVolume", copyOf(_session, levels, "filter"))
                  .run("filter")
                  .volume("outputVolume");
  return "median over a ball of 3x3x3 voxels";
}

std::string Analysis::classify() {
  _classVolume = Call(_session, "KMeansHistogramSegmentation")
                     .set("inputVolume", _filtered)
                     .setCount("inputNumberOfClasses", numberOfClasses)
                     .set("outputLabelVolume", makeVolume("uint8", _filtered->getDimension()))
                     .run("classes")
                     .volume("outputLabelVolume");
  const FeatureTable table(_session, _classVolume, _filtered, "classes");
  for (std::size_t row = 0; row < table.size(); ++row) {
    _classes.push_back({static_cast<SizeType>(table.number(row, "label")),
                        static_cast<SizeType>(table.number(row, "size")), table.number(row, "minimum"),
                        table.number(row, "maximum"), table.number(row, "mean")});
  }
  return "k-means found " + std::to_string(_classes.size()) + " classes of grey values";
}

SmartPointer<IVolume> Analysis::binarize(SizeType label) {
  GreyClass wanted;
  wanted.minimum = 1.0;  // limits in the wrong order find nothing
  for (const GreyClass& each : _classes) {
    wanted = each.label == label ? each : wanted;
  }
  const auto binary = makeVolume("uint8", _filtered->getDimension());
  return Call(_session, "RangeBinarization")
      .set("inputVolume", _filtered)
      .set("outputVolume", binary)
      .set("inputMinimumThreshold", greyValue(_filtered, wanted.minimum))
      .set("inputMaximumThreshold", greyValue(_filtered, wanted.maximum))
      .set("inputBackgroundValue", greyValue(binary, 0))
      .set("inputForegroundValue", greyValue(binary, 1))
      .run("threshold")
      .volume("outputVolume");
}

std::string Analysis::threshold() {
  _found = {binarize(1), binarize(numberOfClasses)};
  return "took the darkest class for pores, the brightest for inclusions";
}

std::string Analysis::label() {
  std::vector<std::string> words;
  for (std::size_t i = 0; i < _found.size(); ++i) {
    Call analysis(_session, "ChessboardConnectedComponentsAnalysis");
    analysis.set("inputFirstVolume", _found[i])
        .set("inputBackgroundValue", greyValue(_found[i], 0))
        .set("outputVolume", makeVolume("uint32", _found[i]->getDimension()))
        .run("label");
    _found[i] = analysis.volume("outputVolume");
    words.push_back(std::to_string(analysis.count("outputNumberOfLabels") - 1) + (i == 0 ? " dark" : " bright"));
  }
  return join(words, " and ") + " objects";
}

SmartPointer<IVolume> Analysis::withoutSmall(const SmartPointer<IVolume>& labels, SizeType& removed) {
  Call remover(_session, "SmallObjectsRemover");
  remover.set("inputVolume", labels)
      .set("inputLabelVolume", labels)
      .setCount("inputThreshold", smallestObject)
      .setFlag("inputBackgroundLabelEnabled", true)
      .set("inputBackgroundLabel", greyValue(labels, 0))
      .set("inputSubstitutionValue", greyValue(labels, 0))
      .run("clean");
  removed += remover.count("outputNumberOfRemovedObjects");
  return remover.volume("outputVolume");
}

std::string Analysis::clean() {
  const auto size = _scan->getDimension();
  std::array<std::vector<uint32>, 2> numbers;
  SizeType removed = 0, kept = 0, all = 0;
  for (std::size_t i = 0; i < _found.size(); ++i) {
    _found[i] = withoutSmall(_found[i], removed);
    const FeatureTable table(_session, _found[i], {}, "clean");
    numbers[i] = numbersOf(table, size, kept + 1);
    _counts[i] = countOf(numbers[i]);
    kept += _counts[i];
    all += table.size();
  }
  const Tavi::VolumePtr<uint32> pores(_found[0]), inclusions(_found[1]);
  const Tavi::VolumePtr<uint32> objects(new Tavi::Volume<uint32>(size));
  for (SizeType i = 0; i < objects->getSize(); ++i) {
    const uint32 pore = numbers[0][pores->getData()[i]];
    objects->getData()[i] = pore != 0 ? pore : numbers[1][inclusions->getData()[i]];
  }
  _objects = objects;
  _found = {};
  return "removed " + std::to_string(removed) + " objects below " + std::to_string(smallestObject) + " voxels and " +
         std::to_string(all - kept) + " at the border of the scan";
}

std::string Analysis::measure() {
  _table.emplace(_session, _objects, _scan, "measure");
  std::vector<std::string> words;
  for (std::size_t i = 0; i < _counts.size(); ++i) {
    SizeType voxels = 0;
    for (std::size_t row = 0; row < _table->size(); ++row) {
      const bool isPore = _table->number(row, "label") <= static_cast<double>(_counts[0]);
      voxels += isPore == (i == 0) ? static_cast<SizeType>(_table->number(row, "size")) : 0;
    }
    words.push_back(std::to_string(_counts[i]) + " " + names[i] + " of " + std::to_string(voxels) + " voxels in all");
  }
  return join(words);
}

}  // namespace NORV::TaviTool
