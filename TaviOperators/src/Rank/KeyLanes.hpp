#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#if !HWY_HAVE_SCALABLE
#define TAVI_VECTOR_KEYS  // vectors that may stand in arrays
#endif
#endif

/// The order of voxels of any type as that of integers of their size, one at a time or as vectors: what only compares
/// and moves voxels is compiled once per size.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

template <std::size_t bytes>
struct KeyOfSize;
template <>
struct KeyOfSize<1> {
  using type = uint8;
};
template <>
struct KeyOfSize<2> {
  using type = int16;
};
template <>
struct KeyOfSize<4> {
  using type = int32;
};
template <>
struct KeyOfSize<8> {
  using type = int64;
};
/// The integer by whose order voxels of type `T` are told; of each size the one that vectors compare fastest.
template <class T>
using KeyOf = typename KeyOfSize<sizeof(T)>::type;

/// How the bits of a voxel and its key come from each other, in both directions. Floating-point voxels are in the order
/// of their numbers, -0 below 0, a NaN beyond infinity on the side of its sign.
template <class Key>
struct KeyBits {
  Key flip = 0;       ///< to be inverted in all voxels
  Key magnitude = 0;  ///< to be inverted in negative ones

  template <class T>
  static constexpr KeyBits of() {
    static_assert(std::is_same_v<Key, KeyOf<T>>);
    constexpr auto signBit = static_cast<Key>(uint64{1} << (8 * sizeof(Key) - 1));
    if constexpr (std::is_floating_point_v<T>) {
      return {0, static_cast<Key>(~signBit)};
    } else {
      return {std::is_signed_v<T> == std::is_signed_v<Key> ? Key{0} : signBit, 0};
    }
  }

  Key operator()(Key bits) const {
    return static_cast<Key>(bits ^ flip ^ (hasMagnitudes && bits < 0 ? magnitude : Key{0}));
  }

  static constexpr bool hasMagnitudes = sizeof(Key) >= 4;
};

/// The bits of the voxel at an address.
template <class Key>
Key readBits(const std::byte* from) {
  Key bits;
  std::memcpy(&bits, from, sizeof bits);
  return bits;
}

#ifdef TAVI_VECTOR_KEYS

template <class K>
struct KeyLanes {
  using Key = K;
  using Tag = hwy::HWY_NAMESPACE::ScalableTag<Key>;
  using V = hwy::HWY_NAMESPACE::Vec<Tag>;

  static constexpr SizeType count = hwy::HWY_NAMESPACE::MaxLanes(Tag());

  static V set(Key value) { return hwy::HWY_NAMESPACE::Set(Tag(), value); }
  /// Keys, aligned to a vector.
  static V load(const Key* from) { return hwy::HWY_NAMESPACE::Load(Tag(), from); }
  static V loadUnaligned(const Key* from) { return hwy::HWY_NAMESPACE::LoadU(Tag(), from); }
  static void store(V keys, Key* to) { hwy::HWY_NAMESPACE::Store(keys, Tag(), to); }
  /// Voxels, from and to any address.
  static V loadVoxels(const std::byte* from, const KeyBits<Key>& bits) {
    return convert(hwy::HWY_NAMESPACE::LoadU(Tag(), reinterpret_cast<const Key*>(from)), bits);
  }
  static void storeVoxels(V keys, const KeyBits<Key>& bits, std::byte* to) {
    hwy::HWY_NAMESPACE::StoreU(convert(keys, bits), Tag(), reinterpret_cast<Key*>(to));
  }
  static V min(V a, V b) { return hwy::HWY_NAMESPACE::Min(a, b); }
  static V max(V a, V b) { return hwy::HWY_NAMESPACE::Max(a, b); }
  static V invert(V a, V bits) { return hwy::HWY_NAMESPACE::Xor(a, bits); }
  static V add(V a, V b) { return hwy::HWY_NAMESPACE::Add(a, b); }
  /// `counter + (a < b ? 1 : 0)`
  static V countLess(V counter, V a, V b) {
    namespace hn = hwy::HWY_NAMESPACE;
    return hn::Sub(counter, hn::VecFromMask(Tag(), hn::Lt(a, b)));
  }
  /// `a < b ? yes : no`
  static V ifLess(V a, V b, V yes, V no) {
    return hwy::HWY_NAMESPACE::IfThenElse(hwy::HWY_NAMESPACE::Lt(a, b), yes, no);
  }

private:
  static V convert(V voxels, const KeyBits<Key>& bits) {
    namespace hn = hwy::HWY_NAMESPACE;
    const V flipped = hn::Xor(voxels, set(bits.flip));
    if constexpr (KeyBits<Key>::hasMagnitudes) {
      return hn::Xor(flipped, hn::And(hn::ShiftRight<8 * sizeof(Key) - 1>(voxels), set(bits.magnitude)));
    } else {
      return flipped;
    }
  }
};

#else

template <class K>
struct KeyLanes {
  using Key = K;
  static constexpr SizeType count = 16 / sizeof(Key);
  using V = std::array<Key, count>;

  static V set(Key value) {
    V all;
    all.fill(value);
    return all;
  }
  static V load(const Key* from) {
    V keys;
    std::copy_n(from, count, keys.begin());
    return keys;
  }
  static V loadUnaligned(const Key* from) { return load(from); }
  static void store(const V& keys, Key* to) { std::copy_n(keys.begin(), count, to); }
  static V loadVoxels(const std::byte* from, const KeyBits<Key>& bits) {
    V voxels;
    std::memcpy(voxels.data(), from, sizeof voxels);
    return map(voxels, voxels, [&](Key a, Key) { return bits(a); });
  }
  static void storeVoxels(const V& keys, const KeyBits<Key>& bits, std::byte* to) {
    const V voxels = map(keys, keys, [&](Key a, Key) { return bits(a); });
    std::memcpy(to, voxels.data(), sizeof voxels);
  }
  static V min(const V& a, const V& b) {
    return map(a, b, [](Key x, Key y) { return std::min(x, y); });
  }
  static V max(const V& a, const V& b) {
    return map(a, b, [](Key x, Key y) { return std::max(x, y); });
  }
  static V invert(const V& a, const V& bits) {
    return map(a, bits, [](Key x, Key y) { return static_cast<Key>(x ^ y); });
  }
  static V add(const V& a, const V& b) {
    return map(a, b, [](Key x, Key y) { return static_cast<Key>(x + y); });
  }
  static V countLess(const V& counter, const V& a, const V& b) {
    return add(counter, map(a, b, [](Key x, Key y) { return static_cast<Key>(x < y); }));
  }
  static V ifLess(const V& a, const V& b, const V& yes, const V& no) {
    V chosen;
    for (SizeType i = 0; i < count; ++i) {
      chosen[i] = a[i] < b[i] ? yes[i] : no[i];
    }
    return chosen;
  }

private:
  template <class Rule>
  static V map(const V& a, const V& b, const Rule& rule) {
    V results;
    for (SizeType i = 0; i < count; ++i) {
      results[i] = rule(a[i], b[i]);
    }
    return results;
  }
};

#endif

}  // namespace NORV::TaviOperators::Impl
