#include <Matrix.hpp>
#include <MatrixVolume.hpp>
#include <Values.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numbers>

namespace NORV::TaviTool {
namespace {

using TaviOperators::TransformMatrix;
using Vector = std::array<double, 3>;

constexpr std::array words{"rotate", "scale", "flip", "translate", "about"};
constexpr std::size_t elements = TransformMatrix::order * TransformMatrix::order;

std::optional<double> toNumber(std::string_view text) {
  double value = 0.0;
  text.remove_prefix(text.starts_with('+') ? 1 : 0);
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return isWhole && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

/// The numbers between separators; nothing where a word is no number.
std::optional<std::vector<double>> toNumbers(const std::string& text, const char* separators) {
  std::vector<double> numbers;
  for (std::size_t at = text.find_first_not_of(separators); at != std::string::npos;) {
    const std::size_t end = std::min(text.find_first_of(separators, at), text.size());
    const auto number = toNumber(std::string_view(text).substr(at, end - at));
    if (!number) {
      return std::nullopt;
    }
    numbers.push_back(*number);
    at = text.find_first_not_of(separators, end);
  }
  return numbers;
}

TransformMatrix translation(const Vector& by) {
  TransformMatrix matrix = TransformMatrix::identity();
  for (std::size_t row = 0; row < by.size(); ++row) {
    matrix[row][3] = by[row];
  }
  return matrix;
}

TransformMatrix scaling(const Vector& factors) {
  TransformMatrix matrix = TransformMatrix::identity();
  for (std::size_t row = 0; row < factors.size(); ++row) {
    matrix[row][row] = factors[row];
  }
  return matrix;
}

/// Sine and cosine of degrees, exact for right angles: these then map voxels to voxels.
std::pair<double, double> sineAndCosine(double degrees) {
  const double turn = std::fmod(degrees, 360.0);
  const double quarters = turn / 90.0;
  if (quarters == std::trunc(quarters)) {
    constexpr std::array sines{0.0, 1.0, 0.0, -1.0};
    const auto quarter = static_cast<std::size_t>(quarters < 0.0 ? quarters + 4.0 : quarters);
    return {sines[quarter % 4], sines[(quarter + 1) % 4]};
  }
  const double radians = turn * std::numbers::pi / 180.0;
  return {std::sin(radians), std::cos(radians)};
}

/// About the axis by the right-hand rule, which is of length 1 (Rodrigues).
TransformMatrix rotation(const Vector& axis, double degrees) {
  const auto [sine, cosine] = sineAndCosine(degrees);
  TransformMatrix matrix = TransformMatrix::identity();
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      matrix[row][column] = axis[row] * axis[column] * (1.0 - cosine) + (row == column ? cosine : 0.0);
    }
  }
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t next = (i + 1) % 3, last = (i + 2) % 3;
    matrix[last][next] += axis[i] * sine;
    matrix[next][last] -= axis[i] * sine;
  }
  return matrix;
}

/// A transform in words, read operation by operation.
class Words {
public:
  Words(const std::string& key, const std::string& text, const std::optional<Dimension<SizeType>>& extents)
      : _key(key),
        _text(text),
        _extents(extents) {}

  TransformMatrix read() {
    for (std::size_t at = 0; at <= _text.size();) {
      const std::size_t end = std::min(_text.find(',', at), _text.size());
      readOne(_text.substr(at, end - at));
      at = end + 1;
    }
    return _last * _before;
  }

private:
  [[noreturn]] void refuse(const std::string& operation, const std::string& expected) const {
    throw UsageError(_key + "=" + _text + ": \"" + operation + "\": expected " + expected);
  }

  void readOne(const std::string& operation) {
    const std::size_t colon = operation.find(':');
    const std::string word = operation.substr(0, colon);
    const std::string rest = colon == std::string::npos ? std::string() : operation.substr(colon + 1);
    if (word == "about") {
      if (!_mayBeAbout) {
        refuse(operation, "a rotation, a scale or a flip before it");
      }
      const Vector centre = readCentre(operation, rest);
      _last = translation(centre) * _last * translation({-centre[0], -centre[1], -centre[2]});
      _mayBeAbout = false;
      return;
    }
    _before = _last * _before;
    _mayBeAbout = word != "translate";
    if (word == "rotate") {
      _last = readRotation(operation, rest);
    } else if (word == "scale") {
      _last = scaling(readFactors(operation, rest));
    } else if (word == "flip") {
      Vector factors{1.0, 1.0, 1.0};
      factors[readAxis(operation, rest)] = -1.0;
      _last = scaling(factors);
    } else if (word == "translate") {
      _last = translation(readTriple(operation, rest, "translate:AxBxC, such as translate:1x2.5x-3"));
    } else {
      refuse(operation, "rotate, scale, flip, translate or about, with a colon behind");
    }
  }

  Vector readTriple(const std::string& operation, const std::string& text, const char* expected) const {
    const auto numbers = toNumbers(text, "x");
    if (!numbers || numbers->size() != 3) {
      refuse(operation, expected);
    }
    return {(*numbers)[0], (*numbers)[1], (*numbers)[2]};
  }

  Vector readFactors(const std::string& operation, const std::string& text) const {
    const auto number = toNumber(text);
    return number ? Vector{*number, *number, *number}
                  : readTriple(operation, text, "scale:<factor> or scale:AxBxC, such as scale:2x2x1");
  }

  std::size_t readAxis(const std::string& operation, const std::string& text) const {
    if (text != "x" && text != "y" && text != "z") {
      refuse(operation, "an axis: x, y or z");
    }
    return static_cast<std::size_t>(text.front() - 'x');
  }

  TransformMatrix readRotation(const std::string& operation, const std::string& text) const {
    static constexpr const char* expected = "rotate:<axis>:<angle>, such as rotate:z:30deg or rotate:1x1x0:0.5rad";
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) {
      refuse(operation, expected);
    }
    const std::string axisText = text.substr(0, colon);
    Vector axis{0.0, 0.0, 0.0};
    if (axisText.size() == 1) {
      axis[readAxis(operation, axisText)] = 1.0;
    } else {
      axis = readTriple(operation, axisText, expected);
      const double length = std::hypot(axis[0], axis[1], axis[2]);
      if (!(length > 0.0) || !std::isfinite(length)) {
        refuse(operation, "a direction that is not 0");
      }
      for (double& component : axis) {
        component /= length;
      }
    }
    std::string_view angle = std::string_view(text).substr(colon + 1);
    const bool isRadians = angle.ends_with("rad");
    if (isRadians || angle.ends_with("deg")) {
      angle.remove_suffix(3);
    }
    const auto number = toNumber(angle);
    if (!number) {
      refuse(operation, expected);
    }
    return rotation(axis, isRadians ? *number * 180.0 / std::numbers::pi : *number);
  }

  Vector readCentre(const std::string& operation, const std::string& text) const {
    if (text != "center" && text != "centre") {
      return readTriple(operation, text, "about:center or about:AxBxC");
    }
    if (!_extents) {
      refuse(operation, "a position, as there is no volume that has a center");
    }
    const auto middle = [](SizeType extent) { return (static_cast<double>(extent) - 1.0) / 2.0; };
    return {middle(_extents->prim), middle(_extents->sec), middle(_extents->tert)};
  }

  const std::string& _key;
  const std::string& _text;
  const std::optional<Dimension<SizeType>>& _extents;
  TransformMatrix _before = TransformMatrix::identity();  ///< of all operations but the last
  TransformMatrix _last = TransformMatrix::identity();
  bool _mayBeAbout = false;
};

/// Longer files are no matrices; they are not read to their end.
constexpr std::streamsize longestFile = 65536;

std::string readTextFile(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string text(static_cast<std::size_t>(longestFile), '\0');
  stream.read(text.data(), longestFile);
  text.resize(static_cast<std::size_t>(stream.gcount()));
  if (stream.bad() || (text.empty() && !stream.eof())) {
    throw Failure(file + ": cannot be read", std::strerror(errno));
  }
  return text;
}

bool beginsWithWord(const std::string& text) {
  return std::any_of(words.begin(), words.end(),
                     [&](const char* word) { return text.starts_with(word + std::string(":")); });
}

}  // namespace

std::string matrixFileOf(const std::string& text) { return text.ends_with(".txt") ? text : std::string(); }

bool isMatrixText(const std::string& text) {
  return beginsWithWord(text) || text.ends_with(".txt") ||
         (text.find(',') != std::string::npos && toNumbers(text, ","));
}

SmartPointer<IVolume> parseMatrix(const std::string& key, const std::string& text,
                                  const std::optional<Dimension<SizeType>>& extents) {
  TransformMatrix matrix;
  if (beginsWithWord(text)) {
    matrix = Words(key, text, extents).read();
  } else {
    const std::string file = matrixFileOf(text);
    const auto numbers = toNumbers(file.empty() ? text : readTextFile(file), file.empty() ? "," : ", ;\t\r\n");
    if (!numbers || numbers->size() != elements) {
      throw UsageError(key + "=" + text + ": expected 16 numbers, row by row");
    }
    for (std::size_t i = 0; i < elements; ++i) {
      matrix[i / TransformMatrix::order][i % TransformMatrix::order] = (*numbers)[i];
    }
  }
  return TaviOperators::makeMatrixVolume(matrix);
}

}  // namespace NORV::TaviTool
