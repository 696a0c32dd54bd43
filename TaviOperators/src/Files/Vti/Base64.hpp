#pragma once

#include <Tavi/Exceptions.hpp>

#include <Files/Vti/Base64Vectors.hpp>

#include <algorithm>
#include <array>
#include <cstring>

/// Base64 with the alphabet of RFC 4648 and padding: four characters, a quantum, for three bytes. Streams are decoded
/// from any byte on and encoded piece by piece, so that no copy of a whole volume is needed.
namespace NORV::TaviOperators::Impl::Base64 {

/// The length of the text for so many bytes.
constexpr SizeType encodedSize(SizeType bytes) { return bytes / 3 * 4 + (bytes % 3 != 0 ? 4 : 0); }

[[noreturn]] inline void fail(const char* words) {
  throw Exceptions::InvalidData("NORV::TaviOperators::Base64", words);
}

/// How many of the first `length` characters are of the alphabet, up to the first that is not.
inline SizeType alphabetRun(const char* text, SizeType length) {
  SizeType run = 0;
#ifdef TAVI_WIDE_VECTORS
  run = alphabetVectors(hn::ScalableTag<uint8>(), text, length);
#endif
  while (run < length && isInAlphabet(text[run])) {
    ++run;
  }
  return run;
}

/// The number of bytes that a stretch of whole quanta holds. Throws InvalidData unless it consists of the alphabet,
/// but for one or two "=" at its end. The first `known` characters are not looked at again.
inline SizeType measure(const char* encoded, SizeType length, SizeType known = 0) {
  if (encoded == nullptr) {
    fail("encoded is NULL!");
  }
  const SizeType begin = std::min(known, length);
  const SizeType run = begin + alphabetRun(encoded + begin, length - begin);
  const SizeType padding = length - run;
  if (length % 4 != 0 || padding > 2 ||
      !std::all_of(encoded + run, encoded + length, [](char c) { return c == '='; })) {
    fail("String is not base64 encoded!");
  }
  return length / 4 * 3 - padding;
}

inline void decodeQuantum(const char* quantum, char* bytes) {
  const auto value = [quantum](int i) { return uint32{sextets[static_cast<uint8>(quantum[i])]}; };
  const uint32 bits = value(0) << 18 | value(1) << 12 | value(2) << 6 | value(3);
  bytes[0] = static_cast<char>(bits >> 16);
  bytes[1] = static_cast<char>(bits >> 8);
  bytes[2] = static_cast<char>(bits);
}

/// Decodes whole quanta of a stretch that has been measured.
inline void decodeQuanta(const char* encoded, SizeType quanta, char* bytes) {
  SizeType done = 0;
#ifdef TAVI_WIDE_VECTORS
  done = decodeVectors(hn::ScalableTag<uint8>(), encoded, quanta, bytes);
  done += decodeVectors(hn::Full128<uint8>(), encoded + 4 * done, quanta - done, bytes + 3 * done);
#endif
  for (; done < quanta; ++done) {
    decodeQuantum(encoded + 4 * done, bytes + 3 * done);
  }
}

/// Decodes `count` bytes of a measured stretch, from its byte `first` on, which may stand at any phase of a quantum.
/// Writes these bytes and no others.
inline void decode(const char* encoded, SizeType first, SizeType count, void* data) {
  if (encoded == nullptr) {
    fail("encoded is NULL!");
  }
  if (data == nullptr) {
    fail("data is NULL!");
  }
  auto* bytes = static_cast<char*>(data);
  const char* text = encoded + first / 3 * 4;
  char quantum[3];
  if (const SizeType phase = first % 3; phase != 0 && count > 0) {
    decodeQuantum(text, quantum);
    const SizeType taken = std::min(3 - phase, count);
    std::memcpy(bytes, quantum + phase, taken);
    bytes += taken;
    count -= taken;
    text += 4;
  }
  decodeQuanta(text, count / 3, bytes);
  if (const SizeType rest = count % 3; rest != 0) {
    decodeQuantum(text + count / 3 * 4, quantum);
    std::memcpy(bytes + (count - rest), quantum, rest);
  }
}

inline void encodeQuantum(const char* bytes, char* text) {
  const auto byte = [bytes](int i) { return uint32{static_cast<uint8>(bytes[i])}; };
  const uint32 bits = byte(0) << 16 | byte(1) << 8 | byte(2);
  text[0] = alphabet[bits >> 18];
  text[1] = alphabet[bits >> 12 & 63];
  text[2] = alphabet[bits >> 6 & 63];
  text[3] = alphabet[bits & 63];
}

/// Encodes three bytes for each quantum.
inline void encodeQuanta(const char* bytes, SizeType quanta, char* text) {
  SizeType done = 0;
#ifdef TAVI_WIDE_VECTORS
  done = encodeVectors(hn::ScalableTag<uint8>(), bytes, quanta, text);
  done += encodeVectors(hn::Full128<uint8>(), bytes + 3 * done, quanta - done, text + 4 * done);
#endif
  for (; done < quanta; ++done) {
    encodeQuantum(bytes + 3 * done, text + 4 * done);
  }
}

/// Encodes one stream that arrives in pieces.
class Encoder {
public:
  /// Writes all quanta that are complete and returns the end of the text: four characters for each three bytes of this
  /// piece and of the two at the most that were kept from the one before.
  char* append(const char* bytes, SizeType count, char* text) {
    if (_kept > 0) {
      const SizeType taken = std::min(_bytes.size() - _kept, count);
      std::copy_n(bytes, taken, _bytes.data() + _kept);
      _kept += taken;
      bytes += taken;
      count -= taken;
      if (_kept < _bytes.size()) {
        return text;
      }
      encodeQuantum(_bytes.data(), text);
      text += 4;
    }
    encodeQuanta(bytes, count / 3, text);
    _kept = count % 3;
    std::copy_n(bytes + (count - _kept), _kept, _bytes.data());
    return text + count / 3 * 4;
  }

  /// Pads the last quantum, if it is not complete, and returns the end of the text. Begins another stream.
  char* finish(char* text) {
    if (_kept == 0) {
      return text;
    }
    std::fill(_bytes.data() + _kept, _bytes.data() + _bytes.size(), '\0');
    encodeQuantum(_bytes.data(), text);
    std::fill(text + _kept + 1, text + 4, '=');
    _kept = 0;
    return text + 4;
  }

private:
  std::array<char, 3> _bytes{};  // of a quantum that is not complete
  SizeType _kept = 0;
};

}  // namespace NORV::TaviOperators::Impl::Base64
