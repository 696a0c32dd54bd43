#pragma once

#include <Tavi/Allocators.hpp>
#include <Tavi/Types.hpp>
#include <pugixml.hpp>

#include <Files/Vti/Base64.hpp>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// The content of a file, in memory of the kind that volumes have: the first touch of small pages takes longer than
/// reading the file.
using FileBytes = Tavi::Allocator::Block<char>;

/// The text of an element. The characters from `plainBegin` to `plainEnd` are known to be of the base64 alphabet.
struct VtiText {
  const char* data = nullptr;
  SizeType size = 0;
  SizeType plainBegin = 0, plainEnd = 0;

  bool isEmpty() const { return size == 0; }
  /// What follows the first `count` characters; empty if there are not so many.
  VtiText from(SizeType count) const {
    const SizeType cut = std::min(count, size);
    const auto moved = [cut](SizeType position) { return position - std::min(position, cut); };
    return {data + cut, size - cut, moved(plainBegin), moved(plainEnd)};
  }
  VtiText withoutSpace() const {
    const auto length = std::string_view(data, size).find_first_not_of(" \t\r\n");
    return from(length == std::string_view::npos ? size : length);
  }
  /// How many characters at the beginning are known to be of the alphabet.
  SizeType known() const { return plainBegin == 0 ? plainEnd : 0; }
};

/// Whether the parser has accepted a document; `std::bad_alloc` where memory ran out.
inline bool isParsed(const pugi::xml_parse_result& result) {
  if (result.status == pugi::status_out_of_memory) {
    throw std::bad_alloc();
  }
  return static_cast<bool>(result);
}

/// An XML file in memory. Long base64 texts are not shown to the parser, which takes several times as long for them as
/// their decoder does: it gets a copy of the file in which each such text is a mark of a few characters.
class VtiDocument {
public:
  /// The bytes of the whole file.
  VtiDocument(FileBytes bytes, SizeType size) : _bytes(std::move(bytes)), _size(size) { cutLongTexts(); }

  /// False for what is no XML document.
  bool parse() {
    if (!_cuts.empty() && !_hasDeclarations && parseInPlace(_short.data(), _short.size())) {
      const char* const name = _document.first_child().name();
      if (std::less_equal<>()(_short.data(), name) && std::less<>()(name, _short.data() + _short.size())) {
        return true;
      }
      // The parser has converted another encoding into memory of its own, where marks cannot be found.
    }
    _cuts.clear();
    return parseInPlace(_bytes.getData(), _size);
  }

  const pugi::xml_document& xml() const { return _document; }

  /// The first text in an element.
  VtiText textOf(const pugi::xml_node& element) const {
    const char* const text = element.child_value();
    const auto cut =
        std::find_if(_cuts.begin(), _cuts.end(), [&](const Cut& c) { return _short.data() + c.mark == text; });
    if (cut == _cuts.end()) {
      return {text, std::strlen(text)};
    }
    return cut->text;
  }

private:
  struct Cut {
    SizeType mark;  // where it stands in the short copy
    VtiText text;
  };

  static constexpr SizeType shortest = 4096;  // of the texts that are cut

  bool parseInPlace(char* bytes, SizeType size) { return isParsed(_document.load_buffer_inplace(bytes, size)); }

  /// The text behind a tag as far as it consists of characters that mean nothing to a parser, wherever they stand.
  VtiText plainTextAt(const char* begin, const char* end) const {
    const char* next = begin;
    const auto isSpace = [&] { return next != end && (*next == ' ' || *next == '\n' || *next == '\t'); };
    while (isSpace()) {
      ++next;
    }
    if (next != end && *next == '_') {
      ++next;
    }
    const char* const plain = next;
    next += Base64::alphabetRun(next, static_cast<SizeType>(end - next));
    VtiText text{begin, 0, static_cast<SizeType>(plain - begin), static_cast<SizeType>(next - begin)};
    for (SizeType run = 1; run > 0;) {
      const char* const stop = next;
      while (isSpace() || (next != end && *next == '=')) {
        ++next;
      }
      next += Base64::alphabetRun(next, static_cast<SizeType>(end - next));
      run = static_cast<SizeType>(next - stop);
    }
    text.size = static_cast<SizeType>(next - begin);
    return text;
  }

  void cutLongTexts() {
    const char* const end = _bytes.getData() + _size;
    const char* kept = _bytes.getData();  // all before it is in the short copy
    const char* next = kept;
    const auto find = [end](const char* from, char c) {
      return static_cast<const char*>(std::memchr(from, c, static_cast<std::size_t>(end - from)));
    };
    while (next != end && (next = find(next, '>')) != nullptr) {
      const VtiText text = plainTextAt(++next, end);
      next += text.size;
      if (next == end || *next != '<' || text.plainEnd - text.plainBegin < shortest) {
        continue;
      }
      _short.append(kept, text.data);
      _cuts.push_back({_short.size(), text});
      _short += '_' + std::to_string(_cuts.size());
      kept = next;
    }
    if (!_cuts.empty()) {
      _short.append(kept, end);
      // Inside comments and CDATA, the text is not markup.
      const auto instruction = _short.rfind("<?");
      _hasDeclarations = _short.find("<!") != std::string::npos ||
                         (instruction != std::string::npos && instruction != _short.find('<'));
    }
  }

  FileBytes _bytes;
  SizeType _size;
  std::string _short;
  std::vector<Cut> _cuts;
  bool _hasDeclarations = false;
  pugi::xml_document _document;
};

}  // namespace NORV::TaviOperators::Impl
