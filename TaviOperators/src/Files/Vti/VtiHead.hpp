#pragma once

#include <Tavi/Types.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// The beginning of an XML file up to the tag of its first array, as it arrives character by character. It can be
/// completed to a small document without the data that follow.
class VtiHead {
public:
  enum class State { open, complete, unsupported };

  State append(char c) {
    if (_text.size() < declaration.size()) {
      return begin(c);
    }
    _text += c;
    switch (_markup) {
      case Markup::none:
        if (c == '<') {
          startMarkup();
        }
        break;
      case Markup::unknown:
        classify(c);
        break;
      case Markup::opening:
        return continueOpening(c);
      case Markup::closing:
        if (c == '>') {
          endMarkup();
          if (!_open.empty()) {
            _open.pop_back();
          }
        }
        break;
      case Markup::instruction:
        if (_text.ends_with("?>")) {
          endMarkup();
        }
        break;
      case Markup::declaration:
        continueDeclaration(c);
        break;
    }
    return State::open;
  }

  /// The text with the end tags of all elements that are open.
  std::string completed() const {
    std::string document = _text;
    for (auto tag = _open.rbegin(); tag != _open.rend(); ++tag) {
      document.append("</").append(_text, tag->first, tag->second).append(">");
    }
    return document;
  }

private:
  enum class Markup { none, unknown, opening, closing, instruction, declaration };

  static constexpr std::string_view declaration = "<?xml";
  static constexpr std::string_view array = "DataArray";

  /// White space before the declaration is skipped; anything else is no XML file.
  State begin(char c) {
    if (_text.empty() && (c == ' ' || c == '\t' || c == '\r' || c == '\n')) {
      return State::open;
    }
    if (c != declaration[_text.size()]) {
      return State::unsupported;
    }
    _text += c;
    _markup = Markup::instruction;
    return State::open;
  }

  void startMarkup() {
    _markup = Markup::unknown;
    _begin = _text.size();
    _quote = '\0';
    _depth = 1;
  }
  void endMarkup() { _markup = Markup::none; }
  std::string_view markup() const { return std::string_view(_text).substr(_begin); }

  /// By the character behind the "<".
  void classify(char c) {
    _markup = c == '?'   ? Markup::instruction
              : c == '!' ? Markup::declaration
              : c == '/' ? Markup::closing
                         : Markup::opening;
    if (c == '>') {
      endMarkup();
    }
  }

  State continueOpening(char c) {
    if (_quote != '\0') {
      _quote = c == _quote ? '\0' : _quote;
    } else if (c == '"' || c == '\'') {
      _quote = c;
    } else if (c == '>') {
      if (!markup().ends_with("/>")) {
        _open.emplace_back(_begin, markup().find_first_of(" \t\r\n>"));
      }
      endMarkup();
      return markup().starts_with(array) ? State::complete : State::open;
    }
    return State::open;
  }

  /// Comments and character data end with signs of their own, all others with the ">" of the first "<".
  void continueDeclaration(char c) {
    if (markup().starts_with("!--")) {
      if (markup().size() >= 6 && markup().ends_with("-->")) {
        endMarkup();
      }
    } else if (markup().starts_with("![CDATA[")) {
      if (markup().ends_with("]]>")) {
        endMarkup();
      }
    } else {
      _depth += c == '<' ? 1 : c == '>' ? -1 : 0;
      if (_depth == 0) {
        endMarkup();
      }
    }
  }

  std::string _text;
  std::vector<std::pair<std::size_t, std::size_t>> _open;  // begin and length of the names of open elements
  Markup _markup = Markup::none;
  std::size_t _begin = 0;  // of the present markup, behind its "<"
  char _quote = '\0';
  int64 _depth = 0;
};

}  // namespace NORV::TaviOperators::Impl
