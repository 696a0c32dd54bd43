#include <Catalogue.hpp>
#include <StepReport.hpp>
#include <Values.hpp>

namespace NORV::TaviTool {
namespace {

/// Records of very many objects belong into a file of their own.
constexpr SizeType mostEntries = 1000;

Json resultJson(const SmartPointer<IComposite>& value) {
  if (value != nullptr && value->getNumberOfKeys() > mostEntries) {
    return {{"entries", value->getNumberOfKeys()}};
  }
  return valueJson(value);
}

Json textsOf(const Items& items) {
  Json texts = Json::array();
  for (const Item& item : items) {
    texts.push_back(item.text);
  }
  return items.size() == 1 ? texts.front() : texts;
}

/// The volumes under a key: one, those of a list, or none.
std::vector<SmartPointer<IVolume>> volumesUnder(const SmartPointer<IComposite>& value) {
  const SmartPointer<IVolume> volume(value);
  std::vector<SmartPointer<IVolume>> volumes;
  if (volume != nullptr) {
    volumes.push_back(volume);
  } else if (value != nullptr) {
    for (SizeType i = 0; i < value->getNumberOfKeys(); ++i) {
      volumes.emplace_back(value->getValue(value->getKey(i)));
    }
  }
  return volumes;
}

}  // namespace

StepReport StepReport::of(const Step& step, const std::string& title, double seconds) {
  StepReport report{title, step.op(), seconds, Json::object(), Json::object(), Json::object(), {}, {}};
  for (const KeyDescription& key : step.keys()) {
    const auto value = step.parameter()->getValue(key.key);
    const bool isOfVolumes = isVolume(key) || key.info.takes == Takes::volumeList;
    if (!isOfVolumes) {
      (isOutput(key.key) ? report.results : report.parameters)[key.key] = resultJson(value);
    }
    if (isOutput(key.key) && step.has(key.key)) {
      report.targets[key.key] = textsOf(step.given().at(key.key));
    }
    if (!isOfVolumes) {
      continue;
    }
    Json sources = Json::array();
    for (const auto& volume : volumesUnder(value)) {
      (isOutput(key.key) ? report.outputs : report.inputs).emplace_back(key.key, volume);
      sources.push_back(volumeJson(*volume));
    }
    if (!isOutput(key.key) && step.has(key.key)) {
      const Items& items = step.given().at(key.key);
      for (std::size_t i = 0; i < sources.size() && i < items.size(); ++i) {
        Json source{{"from", items[i].text}};
        source.update(sources[i]);
        sources[i] = source;
      }
      report.parameters[key.key] = key.info.takes == Takes::volumeList ? sources : sources.at(0);
    }
  }
  return report;
}

}  // namespace NORV::TaviTool
