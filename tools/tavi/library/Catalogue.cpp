#include <Catalogue.hpp>
#include <OperatorTable.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <map>
#include <numeric>
#include <sstream>

namespace NORV::TaviTool {
namespace {

const TaviOperators::OperatorEntry* findOperator(const std::string& name) {
  for (const auto& entry : TaviOperators::operatorTable()) {
    if (name == entry.name) {
      return &entry;
    }
  }
  return nullptr;
}

const TaviOperators::OperatorEntry& getOperator(const std::string& name) {
  requireOperator(name);
  return *findOperator(name);
}

std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
      const std::size_t replaced = diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row.back();
}

/// Whether the frame itself turns volumes of these types down, before any typed operator runs.
bool frameRefuses(const std::string& op, const std::vector<std::string>& inputTypes, const std::string& outputType) {
  const auto parameter = makeParameter(op);
  std::size_t input = 0;
  for (const KeyDescription& key : keysOf(parameter)) {
    if (isVoxelVolume(key)) {
      const std::string& type = isOutput(key.key) ? outputType : inputTypes[std::min(input++, inputTypes.size() - 1)];
      parameter->setValue(key.key, SmartPointer<IComposite>(makeVolume(type, Dimension<SizeType>(1, 1, 1))));
    } else if (key.info.takes == Takes::mask) {
      parameter->setValue(key.key, SmartPointer<IComposite>(makeVolume("uint8", Dimension<SizeType>(1, 1, 1))));
    } else if (key.info.takes == Takes::matrix) {
      parameter->setValue(key.key, SmartPointer<IComposite>(makeVolume("float64", Dimension<SizeType>(4, 4, 1))));
    }
  }
  const auto isFrameText = [](const std::string& text) {
    return text.find("::getOperatorTypeFromParameterObject") != std::string::npos ||
           text.find("No creationMethod for the identifier") != std::string::npos;
  };
  try {
    makeFrame(op)->apply(parameter);
    return false;
  } catch (const Exceptions::Exception&) {
    return false;  // the typed operator misses values
  } catch (const std::exception& e) {
    return isFrameText(e.what());
  }
}

/// Where several inputs choose freely among types: "(uint8, uint16) + (int8, uint8) -> that of the first"; empty where
/// they do not.
std::string productText(const std::vector<Instance>& instances, bool hasOutput) {
  const std::size_t types = instances.front().size();
  const std::size_t inputs = types - (hasOutput ? 1 : 0);
  const bool likeFirst = hasOutput && std::all_of(instances.begin(), instances.end(), [&](const Instance& instance) {
                           return instance.size() == types && instance.front() == instance.back();
                         });
  if (inputs < 2 || (hasOutput && !likeFirst)) {
    return {};
  }
  std::size_t combinations = 1;
  std::vector<std::string> choices;
  for (std::size_t i = 0; i < inputs; ++i) {
    std::vector<std::string> choice;
    for (const Instance& instance : instances) {
      if (instance.size() == types && std::find(choice.begin(), choice.end(), instance[i]) == choice.end()) {
        choice.push_back(instance[i]);
      }
    }
    combinations *= choice.size();
    choices.push_back("(" + join(choice) + ")");
  }
  return combinations == instances.size() ? join(choices, " + ") + (hasOutput ? " -> that of the first" : "")
                                          : std::string();
}

}  // namespace

std::vector<std::string> operatorNames() {
  std::vector<std::string> names;
  for (const auto& entry : TaviOperators::operatorTable()) {
    names.emplace_back(entry.name);
  }
  return names;
}

bool isOperator(const std::string& name) { return findOperator(name) != nullptr; }

std::string summaryOf(const std::string& op) { return getOperator(op).summary; }

Documentation documentationOf(const std::string& op) {
  Documentation documentation;
  std::istringstream lines(getOperator(op).documentation);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.starts_with("- ") ? line.find(": ") : std::string::npos;
    if (colon != std::string::npos) {
      documentation.parts.push_back({line.substr(2, colon - 2), line.substr(colon + 2)});
      continue;
    }
    std::string& text = documentation.parts.empty() ? documentation.text : documentation.parts.back().text;
    const std::size_t begin = line.find_first_not_of(' ');
    if (begin != std::string::npos) {
      text += (text.empty() ? "" : " ") + line.substr(begin);
    }
  }
  return documentation;
}

void requireOperator(const std::string& name) {
  if (!isOperator(name)) {
    throw UsageError("there is no operator \"" + name + "\"; the nearest name is " + nearest(name, operatorNames()) +
                     ", \"tavi list\" shows all");
  }
}

std::unique_ptr<IOperator> makeFrame(const std::string& op) { return getOperator(op).create(); }

SmartPointer<IComposite> makeParameter(const std::string& op) {
  requireOperator(op);
  return Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + op + "::Parameter");
}

std::vector<KeyDescription> keysOf(const SmartPointer<IComposite>& parameter) {
  const SmartPointer<Tavi::Persistence::IDescribed> described(parameter);
  if (described == nullptr) {
    throw Failure(parameter->getType() + " does not describe its keys");
  }
  return described->describe();
}

bool isInput(const std::string& key) { return key.starts_with("input"); }
bool isOutput(const std::string& key) { return key.starts_with("output"); }
bool isModify(const std::string& key) { return key.starts_with("modify"); }

bool isVoxelVolume(const KeyDescription& key) {
  return key.info.takes == Takes::volume || key.info.takes == Takes::labelVolume;
}

bool isVolume(const KeyDescription& key) {
  return isVoxelVolume(key) || key.info.takes == Takes::mask || key.info.takes == Takes::matrix;
}

std::string firstVolumeKey(const std::vector<KeyDescription>& keys, const std::vector<std::string>& roles) {
  for (const std::string& role : roles) {
    for (const KeyDescription& key : keys) {
      if (isVoxelVolume(key) && key.key.starts_with(role)) {
        return key.key;
      }
    }
  }
  return {};
}

std::string fileNameKey(const std::vector<KeyDescription>& keys) {
  const auto found =
      std::find_if(keys.begin(), keys.end(), [](const auto& key) { return key.info.takes == Takes::fileName; });
  return found != keys.end() ? found->key : std::string();
}

std::vector<Instance> registeredInstances(const std::string& op) {
  const std::string prefix = "NORV::TaviOperators::" + op + "::Operator< ";
  std::vector<Instance> instances;
  for (const std::string& identifier : Tavi::Factory::getClassFactory().getIdentifiers()) {
    if (!identifier.starts_with(prefix)) {
      continue;
    }
    Instance instance;
    for (std::size_t at = prefix.size(); at < identifier.size();) {
      const std::size_t end = std::min(identifier.find_first_of(" ,<>", at), identifier.size());
      const std::string word = shortName(identifier.substr(at, end - at));
      if (std::find(allVoxelTypes().begin(), allVoxelTypes().end(), word) != allVoxelTypes().end()) {
        instance.push_back(word);
      }
      at = end + 1;
    }
    if (!instance.empty()) {
      instances.push_back(instance);
    }
  }
  const auto rank = [](const Instance& instance) {
    std::vector<std::ptrdiff_t> ranks;
    for (const std::string& type : instance) {
      ranks.push_back(std::find(allVoxelTypes().begin(), allVoxelTypes().end(), type) - allVoxelTypes().begin());
    }
    return ranks;
  };
  std::sort(instances.begin(), instances.end(), [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
  return instances;
}

std::vector<Instance> reachableInstances(const std::string& op) {
  const auto keys = keysOf(makeParameter(op));
  const auto isVolumeOf = [](bool output) {
    return [output](const KeyDescription& key) { return isVoxelVolume(key) && isOutput(key.key) == output; };
  };
  const auto inputs = std::count_if(keys.begin(), keys.end(), isVolumeOf(false));
  const auto outputs = std::count_if(keys.begin(), keys.end(), isVolumeOf(true));
  const auto matrices =
      std::count_if(keys.begin(), keys.end(), [](const auto& key) { return key.info.takes == Takes::matrix; });
  std::vector<Instance> instances = registeredInstances(op);
  for (Instance& instance : instances) {
    // The type of a matrix comes last, where the result is of the type of an input.
    if (matrices > 0 && static_cast<std::ptrdiff_t>(instance.size()) == inputs + matrices) {
      instance.resize(static_cast<std::size_t>(inputs));
    }
  }
  std::erase_if(instances, [&](const Instance& instance) {
    // Only where it is plain which type belongs to which key.
    const auto types = static_cast<std::ptrdiff_t>(instance.size());
    if (outputs != 1 || types < 2 || (types != 2 && types != inputs + 1)) {
      return false;
    }
    const std::vector<std::string> inputTypes(instance.begin(), instance.end() - 1);
    return frameRefuses(op, inputTypes, instance.back());
  });
  const auto lists =
      std::count_if(keys.begin(), keys.end(), [](const auto& key) { return key.info.takes == Takes::volumeList; });
  const auto volumes = static_cast<std::size_t>(inputs + lists + outputs);
  for (Instance& instance : instances) {
    instance.resize(std::min(instance.size(), std::max<std::size_t>(1, volumes)));
  }
  instances.erase(std::unique(instances.begin(), instances.end()), instances.end());
  return instances;
}

bool hasOutputVolume(const std::string& op) { return !firstVolumeKey(keysOf(makeParameter(op)), {"output"}).empty(); }

std::string instancesText(const std::vector<Instance>& instances, bool hasOutput, const std::string& separator) {
  const auto isPlain = [](const Instance& instance) { return instance.size() == 1; };
  const auto isSame = [](const Instance& instance) {
    return std::all_of(instance.begin(), instance.end(), [&](const auto& type) { return type == instance.front(); });
  };
  if (std::all_of(instances.begin(), instances.end(), isSame)) {
    std::vector<std::string> types;
    for (const Instance& instance : instances) {
      types.push_back(instance.front());
    }
    const bool several = !std::all_of(instances.begin(), instances.end(), isPlain);
    return join(types) + (several ? " (the same for all volumes)" : "");
  }
  const std::string product = productText(instances, hasOutput);
  if (!product.empty()) {
    return product;
  }
  // Inputs that have the same outputs share a group.
  std::vector<std::string> order;
  std::map<std::string, std::vector<std::string>> outputsOf;
  for (const Instance& instance : instances) {
    const std::string inputs = join({instance.begin(), instance.end() - 1}, " + ");
    if (!outputsOf.contains(inputs)) {
      order.push_back(inputs);
    }
    outputsOf[inputs].push_back(instance.back());
  }
  std::vector<std::string> groups;
  while (!order.empty()) {
    const auto outputs = outputsOf[order.front()];
    std::vector<std::string> inputs;
    std::erase_if(order, [&](const std::string& input) {
      const bool alike = outputsOf[input] == outputs;
      if (alike) {
        inputs.push_back(input);
      }
      return alike;
    });
    groups.push_back(join(inputs) + (hasOutput ? " -> " : " + ") + join(outputs));
  }
  return join(groups, separator);
}

std::string shortName(const std::string& typeName) {
  static const std::string space = "NORV::";
  return typeName.starts_with(space) ? typeName.substr(space.size()) : typeName;
}

std::string nearest(const std::string& word, const std::vector<std::string>& candidates) {
  const auto found = std::min_element(candidates.begin(), candidates.end(), [&](const auto& a, const auto& b) {
    return distance(word, a) < distance(word, b);
  });
  return found != candidates.end() ? *found : std::string();
}

const char* takesText(Takes takes) {
  switch (takes) {
    case Takes::volume:
      return "volume";
    case Takes::mask:
      return "mask volume";
    case Takes::volumeList:
      return "list of volumes";
    case Takes::like:
      return "grey value";
    case Takes::labelVolume:
      return "label volume";
    case Takes::matrix:
      return "matrix";
    case Takes::position:
      return "position";
    case Takes::count:
      return "count";
    case Takes::number:
      return "number";
    case Takes::text:
      return "text";
    case Takes::flag:
      return "flag";
    case Takes::fileName:
      return "file name";
    case Takes::dimension:
      return "dimension";
    case Takes::region:
      return "region";
    case Takes::object:
      break;
  }
  return "object";
}

}  // namespace NORV::TaviTool
