#pragma once

#include <RekHeaderComposite.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Dimension.hpp>

#include <Files/FileStream.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

/// The rules of the REK header, whatever the stream that holds it.
namespace NORV::TaviOperators::Impl {

/// A voxel type that a file can name. The 64-bit integers can be recognised, but neither read nor written.
struct RekVoxelType {
  uint16 code;
  const char* name;
  SizeType bytes;
};

/// The code is the number of value bits, floating-point types counting the mantissa.
template <class T>
inline constexpr RekVoxelType rekVoxelType{std::numeric_limits<T>::digits, Tavi::typeName<T>, sizeof(T)};

inline constexpr std::array rekVoxelTypes{
    rekVoxelType<int8>,   rekVoxelType<uint8>, rekVoxelType<int16>,  rekVoxelType<uint16>,  rekVoxelType<int32>,
    rekVoxelType<uint32>, rekVoxelType<int64>, rekVoxelType<uint64>, rekVoxelType<float32>, rekVoxelType<float64>};

inline std::optional<RekVoxelType> findRekVoxelType(uint16 code) {
  const auto* found = std::find_if(rekVoxelTypes.begin(), rekVoxelTypes.end(),
                                   [code](const RekVoxelType& type) { return type.code == code; });
  return found != rekVoxelTypes.end() ? std::optional(*found) : std::nullopt;
}

/// The next 2048 bytes of a stream.
inline RecHeader_V260 readRekHeader(ByteStream& stream) {
  RecHeader_V260 header;
  stream.read(&header, sizeof header, " failed to read REK header");
  return header;
}

/// The beginning of a plain file, and how many bytes follow it.
struct RekFileStart {
  RecHeader_V260 header;
  SizeType dataBytes = 0;
};
/// The beginning of a compressed file, whose content is of unknown size.
struct RekStreamStart {
  RecHeader_V260 header;
};

/// Reads the header of a file that must hold at least one byte more. The size is asked for once: all rules see the same
/// one, also if the file changes meanwhile.
inline RekFileStart readRekStart(File& file, const FileErrors& errors) {
  const SizeType size = file.size();
  errors.require(size > sizeof(RecHeader_V260), " file is smaller than the REK header");
  return {readRekHeader(file), size - sizeof(RecHeader_V260)};
}
inline RekStreamStart readRekStart(ByteStream& stream, const FileErrors&) { return {readRekHeader(stream)}; }

/// When a description of the extents counts: readers of voxels take positive fields only; the type reader takes
/// whatever is not zero, so that it reports negative fields.
enum class RekExtents { positive, nonZero };

/// One description of the extents, if it counts; the empty volume otherwise.
inline Dimension<SizeType> rekCandidate(int64 x, int64 y, int64 z, RekExtents rule) {
  const bool counts = rule == RekExtents::positive ? x > 0 && y > 0 && z > 0 : x != 0 && y != 0 && z != 0;
  if (!counts) {
    return {};
  }
  Dimension<int64>(x, y, z).check();
  return {static_cast<SizeType>(x), static_cast<SizeType>(y), static_cast<SizeType>(z)};
}

/// The descriptions in the header: short, long, and that of a single image.
inline std::array<Dimension<SizeType>, 3> rekCandidates(const RecHeader_V260& header, RekExtents rule) {
  return {rekCandidate(header.shortX, header.shortY, header.shortZ, rule),
          rekCandidate(header.longX, header.longY, header.longZ, rule),
          rekCandidate(header.imageWidth, header.imageHeight, 1, rule)};
}

/// The extents of the volume: those descriptions count whose voxels fill the `dataBytes` behind the header exactly, and
/// they must agree.
inline Dimension<SizeType> resolveRekExtents(const RekFileStart& start, SizeType voxelBytes, RekExtents rule,
                                             const FileErrors& errors) {
  const auto candidates = rekCandidates(start.header, rule);
  std::array<bool, candidates.size()> fits{};
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    SizeType bytes = 0;  // what 64 bits cannot count fits no file
    fits[i] = !__builtin_mul_overflow(candidates[i].size(), voxelBytes, &bytes) && bytes == start.dataBytes;
  }
  const auto first = static_cast<std::size_t>(std::find(fits.begin(), fits.end(), true) - fits.begin());
  errors.require(first < candidates.size(), " file size does not fit to the dimensions specified in the header");
  for (std::size_t i = first + 1; i < candidates.size(); ++i) {
    errors.require(!fits[i] || candidates[i] == candidates[first],
                   " the dimensions specified in the header are ambiguous");
  }
  return candidates[first];
}

/// The extents where no size decides: the long description if it holds a voxel, else the short one, else the image.
inline Dimension<SizeType> resolveRekExtents(const RekStreamStart& start, SizeType, RekExtents rule,
                                             const FileErrors& errors) {
  const auto candidates = rekCandidates(start.header, rule);
  for (const std::size_t i : {1u, 0u, 2u}) {
    if (candidates[i].size() != 0) {
      return candidates[i];
    }
  }
  errors.fail(" cannot read volume dimensions");
}

/// The lower-cased text behind the last dot; empty if there is none.
inline std::string extensionOf(const std::string& name) {
  const auto dot = name.rfind('.');
  std::string extension = dot == std::string::npos ? std::string() : name.substr(dot + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return extension;
}

/// Writes the extents of a volume into the fields that belong to the kind of file. The other fields keep what they
/// hold, stale or not: a reader settles them by the size of the file.
inline void storeRekExtents(RecHeader_V260& header, const Dimension<SizeType>& extents, const std::string& extension) {
  constexpr auto shortest = static_cast<SizeType>(std::numeric_limits<int16>::max());
  const bool fitsShort = extents.prim <= shortest && extents.sec <= shortest && extents.tert <= shortest;
  const bool raw = extension == "raw";
  if (!raw) {
    header.longX = Tavi::checkedCast<int32>(extents.prim);
    header.longY = Tavi::checkedCast<int32>(extents.sec);
    header.longZ = Tavi::checkedCast<int32>(extents.tert);
  }
  if (fitsShort) {
    header.shortX = static_cast<int16>(extents.prim);
    header.shortY = static_cast<int16>(extents.sec);
    header.shortZ = static_cast<int16>(extents.tert);
  } else if (raw || (extension != "rek" && extents.tert == 1)) {
    header.imageWidth = Tavi::checkedCast<int32>(extents.prim);
    header.imageHeight = Tavi::checkedCast<int32>(extents.sec);
  }
}

}  // namespace NORV::TaviOperators::Impl
