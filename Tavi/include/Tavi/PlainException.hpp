#pragma once

#include <Tavi/Export.hpp>

#include <exception>
#include <string>
#include <utility>

namespace NORV::Tavi {

/// A `std::exception` that carries a text and belongs to no narrower standard class.
class TAVI_EXPORT PlainException : public std::exception {
public:
  explicit PlainException(std::string text) : _text(std::move(text)) {}
  const char* what() const noexcept override { return _text.c_str(); }

private:
  std::string _text;
};

}  // namespace NORV::Tavi
