#pragma once

#include <Tavi/Types.hpp>

#include <charconv>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <system_error>
#include <type_traits>

/// Numbers as text, as streams of the classic locale read and write them. 8-bit values are numbers, not characters.
namespace NORV::TaviOperators::Impl {

/// Reads one number after another. Between them stands white space, or nothing where a sign or a point begins the next.
class NumberReader {
public:
  NumberReader(const char* begin, const char* end) : _next(begin), _end(end) {}

  /// False where no number of the type follows; numbers beyond the range of the type count as none.
  template <class T>
  bool read(T& value) {
    while (_next != _end && isSpace(*_next)) {
      ++_next;
    }
    const char* begin = _next;
    if (begin != _end && *begin == '+') {
      ++begin;
      if (begin != _end && *begin == '-') {
        return false;
      }
    }
    const auto [end, error] = std::from_chars(begin, _end, value);
    if (error == std::errc::result_out_of_range && std::is_floating_point_v<T>) {
      return readTiny(begin, end, value);
    }
    _next = end;
    return error == std::errc();
  }

private:
  static bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  /// What is closer to zero than any other number of the type is read as zero; what is too large is none.
  template <class T>
  bool readTiny(const char* begin, const char* end, T& value) {
    std::istringstream stream(std::string(begin, end));
    stream.imbue(std::locale::classic());
    _next = end;
    return static_cast<bool>(stream >> value);
  }

  const char* _next;
  const char* _end;
};

/// The longest text of `writeNumber`.
inline constexpr std::size_t longestNumber = 24;

/// Writes a number as a stream of default precision does, and returns the end of the text.
template <class T>
char* writeNumber(char* text, T value) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::to_chars(text, text + longestNumber, value, std::chars_format::general, 6).ptr;
  } else {
    return std::to_chars(text, text + longestNumber, value).ptr;
  }
}

}  // namespace NORV::TaviOperators::Impl
