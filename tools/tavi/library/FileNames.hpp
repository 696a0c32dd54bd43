#pragma once

#include <string>

namespace NORV::TaviTool {

/// Why the library's file name test refuses a name, in words for its user; empty for a name that it takes. The library
/// itself only says that the name is invalid.
std::string whyNameIsRefused(const std::string& name);

}  // namespace NORV::TaviTool
