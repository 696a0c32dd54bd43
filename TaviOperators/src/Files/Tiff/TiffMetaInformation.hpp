#pragma once

#include <Tavi/Triple.hpp>
#include <Tavi/Types.hpp>
#include <TiffImageInformation.hpp>
#include <pugixml.hpp>

#include <locale.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

/// Voxel size and description of a volume, in the image description and the resolution of a TIFF file.
namespace NORV::TaviOperators::Impl {

struct TiffMetaInformation {
  Tavi::Triple<float32> voxelSizeInMm;
  std::string description;
};

inline constexpr std::array tiffVoxelSizeNames{"pixelSizePrim_mm", "pixelSizeSec_mm", "pixelSizeTert_mm"};

/// With nine digits, from which each number is read back. Independent of the host's locale.
inline std::string textOf(float32 value) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 9).ptr;
  return {text.data(), end};
}

/// What `strtod` makes of the text in the "C" locale, whatever the host's is.
inline float32 numberOf(const char* text) {
  static const locale_t plain = newlocale(LC_NUMERIC_MASK, "C", nullptr);
  return static_cast<float32>(plain != nullptr ? strtod_l(text, nullptr, plain) : std::strtod(text, nullptr));
}

/// What pugixml saves, as a string.
class XmlText final : public pugi::xml_writer {
public:
  void write(const void* bytes, std::size_t count) override { text.append(static_cast<const char*>(bytes), count); }

  std::string text;
};

inline std::string writeMetaInformation(const TiffMetaInformation& meta) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("MetaInformation");
  const auto add = [&root](const char* name, const std::string& value) {
    pugi::xml_node node = root.append_child("Information");
    if (!node.append_attribute("name").set_value(name) || !node.append_attribute("value").set_value(value.c_str())) {
      throw std::bad_alloc();  // nothing else fails here
    }
  };
  add(tiffVoxelSizeNames[0], textOf(meta.voxelSizeInMm.prim));
  add(tiffVoxelSizeNames[1], textOf(meta.voxelSizeInMm.sec));
  add(tiffVoxelSizeNames[2], textOf(meta.voxelSizeInMm.tert));
  add("description", meta.description);
  XmlText saved;
  document.save(saved, "\t");
  return std::move(saved.text);
}

/// The first value of that name in a document of meta-information; null if there is none.
inline pugi::xml_attribute findInformation(const pugi::xml_document& document, const std::string& name) {
  const std::string path = "/MetaInformation/Information[@name='" + name + "' and @value]/@value";
  return document.select_node(path.c_str()).attribute();
}

/// Converts a resolution to the pixel size in millimetres.
inline float32 pixelSizeOf(float32 pixelsPerUnit, uint16 unit) {
  const float64 unit_mm = unit == 2 ? 25.4 : unit == 3 ? 10.0 : 0.0;
  return pixelsPerUnit > 0.0f ? static_cast<float32>(unit_mm / static_cast<float64>(pixelsPerUnit)) : 0.0f;
}

/// The resolution in pixels per centimetre that pixels of a length have; 0 if they have none.
inline float32 pixelsPerCentimetreOf(float32 sizeInMm) { return sizeInMm <= 0.0f ? 0.0f : 10.0f / sizeInMm; }

/// From the document in the image description; without one, the description is the whole text and the size comes from
/// the resolution.
inline TiffMetaInformation readMetaInformation(const TiffImageInformation& image) {
  const std::string& text = image.description.value();
  pugi::xml_document document;
  TiffMetaInformation meta;
  const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size());
  if (parsed.status == pugi::status_out_of_memory) {
    throw std::bad_alloc();
  }
  if (!parsed || !document.child("MetaInformation")) {
    const uint16 unit = image.resolutionUnit;
    meta.voxelSizeInMm.prim = pixelSizeOf(image.pixelsPerResolutionUnitX, unit);
    meta.voxelSizeInMm.sec = pixelSizeOf(image.pixelsPerResolutionUnitY, unit);
    meta.description = text;
    return meta;
  }
  const auto readSize = [&](const char* name, float32& size) {
    const pugi::xml_attribute found = findInformation(document, name);
    size = found ? numberOf(found.value()) : size;
  };
  readSize(tiffVoxelSizeNames[0], meta.voxelSizeInMm.prim);
  readSize(tiffVoxelSizeNames[1], meta.voxelSizeInMm.sec);
  readSize(tiffVoxelSizeNames[2], meta.voxelSizeInMm.tert);
  meta.description = findInformation(document, "description").value();
  return meta;
}

}  // namespace NORV::TaviOperators::Impl
