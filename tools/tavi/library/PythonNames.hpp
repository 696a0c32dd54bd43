#pragma once

#include <Common.hpp>

#include <string>

/// The one rule by which operators and keys get their names in Python.
///
/// Words are parted at capitals and joined with underscores: "FixNaN" is "fix_nan". A key loses its role, and a count
/// its "NumberOf": "inputLowerLimit" is "lower_limit", "inputNumberOfThreads" is "threads".
namespace NORV::TaviTool {

std::string snakeCase(const std::string& name);

/// The argument of an input, or the field of a result.
std::string pythonName(const KeyDescription& key);

}  // namespace NORV::TaviTool
