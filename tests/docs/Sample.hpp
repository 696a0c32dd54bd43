#pragma once

#include <Parameter.hpp>

#include <functional>
#include <string>
#include <vector>

/// The C++ samples of the operator pages, in one table.
namespace NORV::Documentation {

using Tavi::IVolume;
using Tavi::SmartPointer;

using Volumes = std::vector<SmartPointer<IVolume>>;

struct Sample {
  std::string operatorName;
  std::vector<std::string> inputs;  ///< files of the volumes that it takes
  std::string output;               ///< file of the result that the same command gave; empty for none
  std::string written;              ///< file that it writes itself; empty for none
  bool random;                      ///< whether two runs differ in the labels that they give
  std::function<SmartPointer<IVolume>(const Volumes&)> run;
};

/// Each generated source adds its samples while the program starts.
inline std::vector<Sample>& samples() {
  static std::vector<Sample> all;
  return all;
}

}  // namespace NORV::Documentation
