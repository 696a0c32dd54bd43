#pragma once

#include <Tavi/Export.hpp>

#include <string>
#include <vector>

namespace NORV::Tavi::Persistence {

/// What a key of a parameter object takes. `likeInput` and `likeOutput` are `Data<T>` of the voxel type of the input or
/// the output volume; `object` is any composite that its meaning names.
enum class Takes {
  volume,
  mask,
  volumeList,
  likeInput,
  likeOutput,
  count,
  number,
  text,
  flag,
  fileName,
  dimension,
  region,
  object
};

inline constexpr bool required = true;
inline constexpr bool optional = false;

/// What a host needs to know of a key beyond its name; whether it is read or written shows in the key's prefix.
struct KeyInfo {
  Takes takes = Takes::object;
  bool required = false;
  const char* meaning = "";
};

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
