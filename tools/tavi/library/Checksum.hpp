#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <string>

namespace NORV::TaviTool {

/// The SHA-256 of a file in hexadecimal digits, as the command sha256sum prints it. Throws Failure for a file that
/// cannot be read.
std::string sha256Of(Session& session, const std::string& file);

/// {"file": ..., "bytes": ..., "sha256": ...}; without the latter two for what is no regular file.
Json fileJson(Session& session, const std::string& file);

}  // namespace NORV::TaviTool
