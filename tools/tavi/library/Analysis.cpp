#include <Analysis.hpp>
#include <Call.hpp>
#include <Catalogue.hpp>
#include <Mask.hpp>
#include <ObjectNumbers.hpp>
#include <Picture.hpp>
#include <Separation.hpp>
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

std::optional<double> Analysis::solidFrom() const {
  std::optional<double> from;
  for (const GreyClass& each : _classes) {
    if (each.label > 1 && each.voxels > 0) {
      from = from ? std::min(*from, each.minimum) : each.minimum;
    }
  }
  return from;
}

SizeType Analysis::solidVoxels() const {
  SizeType voxels = 0;
  for (const GreyClass& each : _classes) {
    voxels += each.label > 1 ? each.voxels : 0;
  }
  return voxels;
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

std::string Analysis::separate() {
  const InnerObjects inner = innerObjectsOf(_session, _found[0], "separate");
  const std::string removed = "left out " + std::to_string(inner.removed) + " at the border, ";
  if (inner.objects == 0) {
    _found[0] = makeVolume("uint32", inner.binary->getDimension());
    clear(_found[0]);
    return removed + "found none inside";
  }
  SizeType pores = 0;
  _found[0] = separated(_session, inner.binary, pores);
  return removed + "divided " + std::to_string(inner.objects) + " inside into " + std::to_string(pores) +
         " by distance, H-maxima and watershed";
}

std::string Analysis::label() {
  Call analysis(_session, "ChessboardConnectedComponentsAnalysis");
  analysis.set("inputFirstVolume", _found[1])
      .set("inputBackgroundValue", greyValue(_found[1], 0))
      .set("outputVolume", makeVolume("uint32", _found[1]->getDimension()))
      .run("label");
  _found[1] = analysis.volume("outputVolume");
  return std::to_string(analysis.count("outputNumberOfLabels") - 1) + " bright objects";
}

SmartPointer<IVolume> Analysis::withoutSmall(const SmartPointer<IVolume>& labels, SizeType& removed) {
  Call remover(_session, "SmallObjectsRemover");
  remover.set("inputVolume", labels)
      .set("inputLabelVolume", labels)
      .setCount("inputThreshold", smallestObject)
      .setFlag("inputBackgroundLabelEnabled", true)
      .set("inputBackgroundLabel", greyValue(labels, 0))
      .set("inputSubstitutionValue", greyValue(labels, 0))
      .run("select");
  removed += remover.count("outputNumberOfRemovedObjects");
  return remover.volume("outputVolume");
}

std::string Analysis::select() {
  const auto size = _scan->getDimension();
  std::array<std::vector<uint32>, 2> numbers;
  SizeType removed = 0, kept = 0, all = 0;
  for (std::size_t i = 0; i < _found.size(); ++i) {
    _found[i] = withoutSmall(_found[i], removed);
    const FeatureTable table(_session, _found[i], {}, "select");
    numbers[i] = innerNumbersOf(table, size, kept + 1);
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
