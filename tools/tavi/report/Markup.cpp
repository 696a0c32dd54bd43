#include <Markup.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace NORV::TaviTool::Report {
namespace {

constexpr const char* narrowSpace = "\u202F";

/// Digits in groups of three from the right.
std::string inGroups(const std::string& digits) {
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    text += i > 0 && (digits.size() - i) % 3 == 0 && digits.size() > 4 ? narrowSpace : "";
    text += digits[i];
  }
  return text;
}

/// The text with U+FFFD in place of each byte that begins or continues nothing.
std::string validUtf8(const std::string& text) {
  const std::string quoted = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
  return Json::parse(quoted).get<std::string>();
}

}  // namespace

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : validUtf8(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string scriptJson(const Json& json) {
  std::string result;
  for (const char c : json.dump(-1, ' ', false, Json::error_handler_t::replace)) {
    if (c == '<') {
      result += "\\u003c";  // no end of the script element, and no comment, can begin
    } else {
      result += c;
    }
  }
  return result;
}

std::string grouped(SizeType number) { return inGroups(std::to_string(number)); }

std::string decimal(double number, int decimals) {
  if (std::isnan(number)) {
    return "\u2013";
  }
  if (std::isinf(number)) {
    return number > 0.0 ? "\u221E" : "\u2212\u221E";
  }
  std::array<char, 400> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, std::abs(number));
  const std::string digits = text.data();
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const bool isZero = digits.find_first_not_of("0.") == std::string::npos;
  return (number < 0.0 && !isZero ? "\u2212" : "") + inGroups(digits.substr(0, point)) + digits.substr(point);
}

std::string percent(double share) {
  const double number = 100.0 * share;
  return number > 0.0 && number < 0.1 ? "< 0.1 %" : decimal(number, 1) + " %";
}

std::string plain(double number) {
  if (!std::isfinite(number)) {
    return {};
  }
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return {text.data(), end};
}

}  // namespace NORV::TaviTool::Report
