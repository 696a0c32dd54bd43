#pragma once

#include <Tavi/Types.hpp>

#include <Vectors/Lanes.hpp>

#include <array>

/// The tables of base64, and its inner loops on vectors: four characters and three bytes share a lane of 32 bits.
/// After W. Mula and D. Lemire, Faster Base64 Encoding and Decoding Using AVX2 Instructions, ACM Trans. Web 12, 2018.
namespace NORV::TaviOperators::Impl::Base64 {

using Tavi::SizeType;

inline constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The six-bit value of each character; `noSextet` for characters outside the alphabet.
inline constexpr uint8 noSextet = 64;
inline constexpr std::array<uint8, 256> sextetOrNone = [] {
  std::array<uint8, 256> table{};
  table.fill(noSextet);
  for (uint8 i = 0; i < 64; ++i) {
    table[static_cast<uint8>(alphabet[i])] = i;
  }
  return table;
}();
/// The same with 0 for all others, as padding counts.
inline constexpr std::array<uint8, 256> sextets = [] {
  std::array<uint8, 256> table = sextetOrNone;
  for (uint8& value : table) {
    value = value == noSextet ? uint8{0} : value;
  }
  return table;
}();

inline bool isInAlphabet(char c) { return sextetOrNone[static_cast<uint8>(c)] != noSextet; }

#ifdef TAVI_WIDE_VECTORS
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
auto table(D d, const std::array<uint8, 16>& values) {
  return hn::LoadDup128(d, values.data());
}

template <class D>
auto load(D d, const char* bytes) {
  return hn::LoadU(d, reinterpret_cast<const uint8*>(bytes));
}

/// Marks the characters that are outside the alphabet with a value other than zero: each half of a character has a bit
/// for every group of characters that it excludes.
template <class D, class V>
V outsiders(D d, V characters) {
  alignas(16) static constexpr std::array<uint8, 16> byLow{0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                                           0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};
  alignas(16) static constexpr std::array<uint8, 16> byHigh{0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                                            0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
  const auto low = hn::TableLookupBytes(table(d, byLow), hn::And(characters, hn::Set(d, uint8{15})));
  const auto high = hn::TableLookupBytes(table(d, byHigh), hn::ShiftRight<4>(characters));
  return hn::And(low, high);
}

/// The length of the text in whole vectors before the first with a character outside the alphabet.
template <class D>
SizeType alphabetVectors(D d, const char* text, SizeType length) {
  const SizeType lanes = hn::Lanes(d);
  SizeType done = 0;
  const auto isPlain = [d](auto marks) { return hn::AllTrue(d, hn::Eq(marks, hn::Zero(d))); };
  for (; length - done >= 4 * lanes; done += 4 * lanes) {
    const auto marksAt = [&](SizeType i) { return outsiders(d, load(d, text + done + i * lanes)); };
    if (!isPlain(hn::Or(hn::Or(marksAt(0), marksAt(1)), hn::Or(marksAt(2), marksAt(3))))) {
      break;
    }
  }
  for (; length - done >= lanes && isPlain(outsiders(d, load(d, text + done))); done += lanes) {
  }
  return done;
}

/// The distance from a character to its six bits depends on the character's upper half, and "/" differs from "+".
template <class D, class V>
V sextetsOf(D d, V characters) {
  alignas(16) static constexpr std::array<uint8, 16> distances{0, 16, 19, 4, 191, 191, 185, 185,
                                                               0, 0,  0,  0, 0,   0,   0,   0};
  const auto isSlash = hn::VecFromMask(d, hn::Eq(characters, hn::Set(d, uint8{'/'})));
  const auto group = hn::Add(hn::ShiftRight<4>(characters), isSlash);
  return hn::Add(characters, hn::TableLookupBytes(table(d, distances), group));
}

/// Three bytes out of each four times six bits, in the order of the text, at the beginning of each 16 bytes.
template <class D, class V>
V joined(D d, V values) {
  alignas(16) static constexpr std::array<uint8, 16> order{2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 15, 15, 15, 15};
  const hn::Repartition<uint16, D> d16;
  const hn::Repartition<uint32, D> d32;
  const auto in16 = hn::BitCast(d16, values);
  const auto twelve = hn::Or(hn::ShiftLeft<6>(hn::And(in16, hn::Set(d16, uint16{255}))), hn::ShiftRight<8>(in16));
  const auto in32 = hn::BitCast(d32, twelve);
  const auto all = hn::Or(hn::ShiftLeft<12>(hn::And(in32, hn::Set(d32, uint32{0xFFFF}))), hn::ShiftRight<16>(in32));
  return hn::TableLookupBytes(hn::BitCast(d, all), table(d, order));
}

/// What moves lanes of 32 bits: lane i of the result is lane `source(i)`.
template <class D, class Source>
auto laneIndices(D, Source source) {
  const hn::Repartition<uint32, D> d32;
  alignas(64) std::array<int32, hn::MaxLanes(d32)> lanes{};
  for (std::size_t i = 0; i < hn::Lanes(d32); ++i) {
    lanes[i] = static_cast<int32>(source(i) % hn::Lanes(d32));
  }
  return hn::SetTableIndices(d32, lanes.data());
}

template <class D, class V, class Indices>
V moved(D d, V bytes, Indices indices) {
  return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(hn::Repartition<uint32, D>(), bytes), indices));
}

/// Decodes quanta while a whole vector can be stored, of which three quarters count. Returns how many.
template <class D>
SizeType decodeVectors(D d, const char* text, SizeType quanta, char* bytes) {
  const SizeType lanes = hn::Lanes(d);
  const auto dense = laneIndices(d, [](std::size_t i) { return i / 3 * 4 + i % 3; });
  SizeType done = 0;
  for (; 3 * (quanta - done) >= lanes; done += lanes / 4) {
    const auto packed = joined(d, sextetsOf(d, load(d, text + 4 * done)));
    hn::StoreU(moved(d, packed, dense), d, reinterpret_cast<uint8*>(bytes + 3 * done));
  }
  return done;
}

/// The six bits of each character out of three bytes in each lane of 32 bits, which stand there as 1, 0, 2, 1.
template <class D, class V>
V parted(D d, V bytes) {
  const hn::Repartition<uint16, D> d16;
  const hn::Repartition<uint32, D> d32;
  const auto in32 = hn::BitCast(d32, bytes);
  const auto odd = hn::BitCast(d16, hn::And(in32, hn::Set(d32, uint32{0x0FC0FC00})));
  const auto even = hn::BitCast(d16, hn::And(in32, hn::Set(d32, uint32{0x003F03F0})));
  // Products shift each half of a lane by its own count.
  const auto down = hn::MulHigh(odd, hn::BitCast(d16, hn::Set(d32, uint32{0x04000040})));
  const auto up = hn::Mul(even, hn::BitCast(d16, hn::Set(d32, uint32{0x01000010})));
  return hn::BitCast(d, hn::Or(down, up));
}

template <class D, class V>
V charactersOf(D d, V values) {
  // For a to z, ten digits, +, / and A to Z.
  alignas(16) static constexpr std::array<uint8, 16> distances{'a' - 26, 252, 252, 252, 252, 252, 252, 252,
                                                               252,      252, 252, 237, 240, 'A', 0,   0};
  const auto isUpper = hn::VecFromMask(d, hn::Lt(values, hn::Set(d, uint8{26})));
  const auto group = hn::Or(hn::SaturatedSub(values, hn::Set(d, uint8{51})), hn::And(isUpper, hn::Set(d, uint8{13})));
  return hn::Add(values, hn::TableLookupBytes(table(d, distances), group));
}

/// Encodes quanta while a whole vector can be loaded, of which three quarters count. Returns how many.
template <class D>
SizeType encodeVectors(D d, const char* bytes, SizeType quanta, char* text) {
  alignas(16) static constexpr std::array<uint8, 16> order{1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
  const SizeType lanes = hn::Lanes(d);
  const auto spread = laneIndices(d, [](std::size_t i) { return i / 4 * 3 + i % 4; });
  SizeType done = 0;
  for (; 3 * (quanta - done) >= lanes; done += lanes / 4) {
    const auto parts = moved(d, load(d, bytes + 3 * done), spread);
    const auto values = parted(d, hn::TableLookupBytes(parts, table(d, order)));
    hn::StoreU(charactersOf(d, values), d, reinterpret_cast<uint8*>(text + 4 * done));
  }
  return done;
}
#endif

}  // namespace NORV::TaviOperators::Impl::Base64
