#pragma once

#include <Tavi/Export.hpp>

#include <string>
#include <vector>

namespace NORV::Tavi::Persistence {

/// What a key of a parameter object takes. `like` is a `Data<T>` of the voxel type of the volume under another key;
/// `object` is any composite that its meaning names.
enum class Takes {
  volume,
  mask,
  labelVolume,
  matrix,
  volumeList,
  like,
  count,
  number,
  text,
  flag,
  fileName,
  dimension,
  position,
  region,
  object
};

inline constexpr bool required = true;
inline constexpr bool optional = false;

/// What a host needs to know of a key beyond its name; whether it is read or written shows in the key's prefix.
/// Texts are string literals; an empty one means that there is nothing to say.
struct KeyInfo {
  Takes takes = Takes::object;
  bool required = false;
  const char* meaning = "";
  const char* range = "";      ///< values that are accepted, such as "1 to 10" or "above 0"
  const char* unit = "";       ///< such as "voxels", "mm", "grey values"
  const char* absent = "";     ///< what an absent or zero value means, such as "all processors"
  const char* likeKey = "";    ///< for Takes::like and some numbers: the key of the volume that gives the type
  const char* valueType = "";  ///< for Takes::number: the type name of the value where it is not of a fixed type
  const char* caution = "";    ///< for a count: what a value other than 1 does to the result

  constexpr KeyInfo within(const char* text) const { return with(&KeyInfo::range, text); }
  constexpr KeyInfo in(const char* text) const { return with(&KeyInfo::unit, text); }
  constexpr KeyInfo ifAbsent(const char* text) const { return with(&KeyInfo::absent, text); }
  constexpr KeyInfo cautioning(const char* text) const { return with(&KeyInfo::caution, text); }
  constexpr KeyInfo ofType(const char* text) const { return with(&KeyInfo::valueType, text); }

private:
  constexpr KeyInfo with(const char* KeyInfo::*member, const char* text) const {
    KeyInfo copy = *this;
    copy.*member = text;
    return copy;
  }
};

/// A value of the voxel type of the volume under `key`.
constexpr KeyInfo like(const char* key, bool isRequired, const char* meaning) {
  KeyInfo info{Takes::like, isRequired, meaning};
  info.likeKey = key;
  return info;
}

/// A number of type float64 where the volume under `key` is of float64, of type float32 elsewhere.
constexpr KeyInfo floatLike(const char* key, bool isRequired, const char* meaning) {
  KeyInfo info{Takes::number, isRequired, meaning};
  info.likeKey = key;
  return info;
}

/// The key that all operators with worker threads share.
constexpr KeyInfo threadCountKey() {
  return KeyInfo{Takes::count, optional, "worker threads"}.within("0 to 2147483647").ifAbsent("all processors");
}

struct KeyDescription {
  std::string key;
  KeyInfo info;
};

/// Hands out the keys of a parameter object in their order, with what they take.
class TAVI_EXPORT IDescribed {
public:
  virtual ~IDescribed() = default;
  virtual const std::vector<KeyDescription>& describe() const = 0;
};

}  // namespace NORV::Tavi::Persistence
