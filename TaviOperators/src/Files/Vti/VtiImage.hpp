#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/Triple.hpp>
#include <Tavi/Types.hpp>
#include <pugixml.hpp>

#include <Files/Vti/VtiFile.hpp>
#include <Files/Vti/VtiNumbers.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

/// What an XML document says of the one volume in it.
namespace NORV::TaviOperators::Impl {

inline constexpr const char* vtiCompressor = "vtkZLibDataCompressor";

struct VtiVoxelType {
  const char* inFile;
  const char* name;
};
/// The 64-bit integers can be recognised, but neither read nor written.
inline constexpr std::array vtiVoxelTypes{
    VtiVoxelType{"Int8", Tavi::typeName<int8>},       VtiVoxelType{"UInt8", Tavi::typeName<uint8>},
    VtiVoxelType{"Int16", Tavi::typeName<int16>},     VtiVoxelType{"UInt16", Tavi::typeName<uint16>},
    VtiVoxelType{"Int32", Tavi::typeName<int32>},     VtiVoxelType{"UInt32", Tavi::typeName<uint32>},
    VtiVoxelType{"Int64", Tavi::typeName<int64>},     VtiVoxelType{"UInt64", Tavi::typeName<uint64>},
    VtiVoxelType{"Float32", Tavi::typeName<float32>}, VtiVoxelType{"Float64", Tavi::typeName<float64>}};

/// The type's name in files.
template <class T>
const char* vtiTypeName() {
  const std::string_view name = Tavi::typeName<T>;
  return std::find_if(vtiVoxelTypes.begin(), vtiVoxelTypes.end(), [name](auto type) { return type.name == name; })
      ->inFile;
}

/// Null for a type that no volume has.
inline const char* voxelTypeOfVti(std::string_view inFile) {
  const auto* found = std::find_if(vtiVoxelTypes.begin(), vtiVoxelTypes.end(),
                                   [inFile](const VtiVoxelType& type) { return type.inFile == inFile; });
  return found != vtiVoxelTypes.end() ? found->name : nullptr;
}

struct VtiImage {
  Tavi::Dimension<SizeType> extents;
  Tavi::Triple<double> origin, spacing;
  bool isCompressed = false;
  pugi::xml_node array;
};

/// The elements of that name with all these attributes inside any of the parents, in the order of the document.
inline std::vector<pugi::xml_node> elementsIn(const std::vector<pugi::xml_node>& parents, const char* name,
                                              std::initializer_list<const char*> attributes) {
  std::vector<pugi::xml_node> found;
  for (const pugi::xml_node& parent : parents) {
    for (const pugi::xml_node& element : parent.children(name)) {
      if (std::all_of(attributes.begin(), attributes.end(), [&](const char* a) { return element.attribute(a); })) {
        found.push_back(element);
      }
    }
  }
  return found;
}

inline std::vector<pugi::xml_node> vtiRoots(const pugi::xml_document& xml) {
  return elementsIn({xml}, "VTKFile", {"type", "version", "byte_order"});
}

/// As many numbers as `Numbers` holds; what follows them is not looked at.
template <class Numbers>
std::optional<Numbers> readNumbers(const char* text) {
  NumberReader reader(text, text + std::strlen(text));
  Numbers numbers{};
  for (auto& number : numbers) {
    if (!reader.read(number)) {
      return std::nullopt;
    }
  }
  return numbers;
}

/// The extents between first and last indices of each axis: none where they are no volume or where 64 bits do not count
/// its bytes.
inline std::optional<Tavi::Dimension<SizeType>> extentsOf(const std::array<int64, 6>& range) {
  std::array<int64, 3> extents{};
  int64 bytes = sizeof(float64);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    int64& extent = extents[axis];
    if (__builtin_sub_overflow(range[2 * axis + 1], range[2 * axis], &extent) ||
        __builtin_add_overflow(extent, 1, &extent) || extent < 0 || __builtin_mul_overflow(bytes, extent, &bytes)) {
      return std::nullopt;
    }
  }
  const auto empty = std::count(extents.begin(), extents.end(), 0);
  if (empty != 0 && empty != 3) {
    return std::nullopt;
  }
  const auto count = [&](std::size_t axis) { return static_cast<SizeType>(extents[axis]); };
  return Tavi::Dimension<SizeType>(count(0), count(1), count(2));
}

/// Whether the extent of the piece must be that of the volume.
enum class VtiExtents { any, equal };

/// Checks the documents of one operator, which its failures name.
class VtiImageReader {
public:
  constexpr explicit VtiImageReader(const char* source) : _source(source) {}

  /// Throws BadFile for a document that is no image or one of a kind that is not supported.
  VtiImage read(const pugi::xml_document& xml, VtiExtents rule) const {
    const auto roots = vtiRoots(xml);
    require(!roots.empty(), "Invalid VTI header");
    VtiImage image;
    image.isCompressed = checkRoot(roots.front());
    const auto images = elementsIn(roots, "ImageData", {"WholeExtent", "Origin", "Spacing"});
    require(!images.empty(), "Invalid VTI file");
    const auto range = readGeometry(images.front(), image);
    const auto pieces = elementsIn(images, "Piece", {"Extent"});
    require(pieces.size() == 1, "VTI file must have exactly 1 piece");
    if (rule == VtiExtents::equal) {
      const auto extent = readNumbers<Range>(pieces.front().attribute("Extent").value());
      require(extent == range, "Extent of piece does not match whole extent");
    }
    image.array = findArray(pieces.front());
    return image;
  }

  void require(bool condition, const char* words) const {
    if (!condition) {
      failBadFile(_source, words);
    }
  }

private:
  using Range = std::array<int64, 6>;

  /// Returns whether the volume is compressed.
  bool checkRoot(const pugi::xml_node& root) const {
    const auto value = [&root](const char* name) { return std::string_view(root.attribute(name).value()); };
    const bool isCompressed = root.attribute("compressor");
    require(!isCompressed || value("compressor") == vtiCompressor, "Unknown compression class");
    require(value("type") == "ImageData", "No VTI image data file");
    require(value("version") == "0.1", "File version not supported");
    require(value("byte_order") == "LittleEndian" || value("byte_order") == "BigEndian", "Invalid byte_order");
    require(value("byte_order") == "LittleEndian", "Only little endian byte order is supported");
    return isCompressed;
  }

  Range readGeometry(const pugi::xml_node& node, VtiImage& image) const {
    const char* const words = "Invalid VTI file";
    const auto range = readNumbers<Range>(node.attribute("WholeExtent").value());
    require(range.has_value(), words);
    const auto extents = extentsOf(*range);
    require(extents.has_value(), words);
    image.extents = *extents;
    const auto triple = [&](const char* name) {
      const auto numbers = readNumbers<std::array<double, 3>>(node.attribute(name).value());
      require(numbers.has_value(), words);
      return Tavi::Triple<double>((*numbers)[0], (*numbers)[1], (*numbers)[2]);
    };
    image.origin = triple("Origin");
    image.spacing = triple("Spacing");
    return *range;
  }

  pugi::xml_node findArray(const pugi::xml_node& piece) const {
    const auto points = elementsIn({piece}, "PointData", {"Scalars"});
    require(!points.empty(), "VTI file has no scalars as point data");
    const std::string_view name = points.front().attribute("Scalars").value();
    const auto arrays = elementsIn({points.front()}, "DataArray", {"type", "Name", "format"});
    const auto array = std::find_if(arrays.begin(), arrays.end(), [name](const pugi::xml_node& candidate) {
      return candidate.attribute("Name").value() == name;
    });
    require(array != arrays.end(), "VTI DataArray is missing or invalid");
    if (const auto components = array->attribute("NumberOfComponents")) {
      require(readNumbers<std::array<int64, 1>>(components.value()) == std::array<int64, 1>{1},
              "VTI DataArray with more than 1 component are not supported");
    }
    return *array;
  }

  const char* _source;
};

}  // namespace NORV::TaviOperators::Impl
