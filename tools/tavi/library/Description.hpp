#pragma once

#include <Common.hpp>

#include <string>

/// The table of an operator in words and as JSON: what `tavi describe` prints and the Python package is made from.
namespace NORV::TaviTool {

/// "input", "output" or "modify".
const char* roleOf(const std::string& key);

/// "1 to 10 voxels; absent: 1", or nothing.
std::string limitsText(const KeyInfo& info);

/// The smallest calls of an operator from C++, on the command line and from Python, as blocks of Markdown.
std::string callsText(const std::string& op);

/// Summary, documentation, keys and voxel types of an operator.
Json descriptionOf(const std::string& op);

}  // namespace NORV::TaviTool
