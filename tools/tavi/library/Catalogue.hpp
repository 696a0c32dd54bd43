#pragma once

#include <Common.hpp>

#include <memory>
#include <string>
#include <vector>

/// What the library says of its operators: the generated list, the key tables of their parameter objects, and the
/// identifiers in the class factory.
namespace NORV::TaviTool {

/// Names of the voxel types that one typed operator takes, without their namespace.
using Instance = std::vector<std::string>;

inline const std::vector<std::string>& allVoxelTypes() {
  static const std::vector<std::string> types{"int8",  "uint8",  "int16",   "uint16",
                                              "int32", "uint32", "float32", "float64"};
  return types;
}

std::vector<std::string> operatorNames();
bool isOperator(const std::string& name);

/// One sentence on what the operator does.
std::string summaryOf(const std::string& op);

/// What the header of an operator says beyond its summary.
struct Documentation {
  struct Part {
    std::string name;  ///< "Border", "NaN", "Failures", "Memory", "Threads", "Cost", "Paper"
    std::string text;
  };
  std::string text;
  std::vector<Part> parts;
};
Documentation documentationOf(const std::string& op);

/// Throws UsageError with the nearest names where there is no such operator.
void requireOperator(const std::string& name);

std::unique_ptr<IOperator> makeFrame(const std::string& op);
SmartPointer<IComposite> makeParameter(const std::string& op);

/// The keys of a parameter object with what they take, in their order.
std::vector<KeyDescription> keysOf(const SmartPointer<IComposite>& parameter);

bool isInput(const std::string& key);
bool isOutput(const std::string& key);
bool isModify(const std::string& key);
/// A volume of grey values or labels, whose voxel type chooses among the instances.
bool isVoxelVolume(const KeyDescription& key);
/// Any volume, also a mask or a matrix.
bool isVolume(const KeyDescription& key);

/// The first key that takes a volume and whose name begins with one of the roles; empty if there is none.
std::string firstVolumeKey(const std::vector<KeyDescription>& keys, const std::vector<std::string>& roles);
/// The first key that takes the name of a file; empty if there is none.
std::string fileNameKey(const std::vector<KeyDescription>& keys);

/// The typed operators in the factory.
std::vector<Instance> registeredInstances(const std::string& op);
/// Those of them that the exported frame reaches: some frames demand more than the factory does. Types of what is no
/// volume of a key, such as the records of a result, are left out.
std::vector<Instance> reachableInstances(const std::string& op);

/// Whether a result of the operator is a volume; in its instances that one comes last.
bool hasOutputVolume(const std::string& op);

/// "int8, uint8 -> uint16; ...": the instances in few words. `separator` stands between the groups.
std::string instancesText(const std::vector<Instance>& instances, bool hasOutput, const std::string& separator = "; ");

/// "NORV::uint8" becomes "uint8".
std::string shortName(const std::string& typeName);

/// Of all candidates the one with the fewest differing letters.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates);

const char* takesText(Takes takes);

}  // namespace NORV::TaviTool
