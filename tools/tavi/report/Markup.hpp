#pragma once

#include <Common.hpp>

#include <string>

/// Text as HTML.
namespace NORV::TaviTool::Report {

/// Text that stands for itself between tags and in quoted attributes. Bytes that are no UTF-8 are replaced.
std::string escaped(const std::string& text);

/// JSON that may stand inside a script element.
std::string scriptJson(const Json& json);

/// "8 388 608" with narrow spaces that do not break.
std::string grouped(SizeType number);

/// With so many decimals, with groups and a minus sign; an en dash for NaN, and infinity as its sign.
std::string decimal(double number, int decimals);

/// "12.3 %"; "< 0.1 %" for what is little but not nothing.
std::string percent(double share);

/// A number as attribute: as short as it can be to be read back unchanged, in the C locale.
std::string plain(double number);

}  // namespace NORV::TaviTool::Report
