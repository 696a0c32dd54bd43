#include <Call.hpp>
#include <MemoryFile.hpp>
#include <Report.hpp>
#include <Sheets.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace NORV::TaviTool::Report {
namespace {

constexpr std::array axes{'z', 'y', 'x'};

std::string base64(const std::string& bytes) {
  static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    uint32 bits = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (k < count ? static_cast<uint8>(bytes[i + k]) : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? digits[bits >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

/// At most `most` indices below the extent, evenly spread, the first and the last among them; of one, the middle.
std::vector<SizeType> spread(SizeType extent, SizeType most) {
  const SizeType count = std::min(extent, most);
  std::vector<SizeType> indices;
  for (SizeType i = 0; i < count; ++i) {
    indices.push_back(count == 1 ? extent / 2 : i * (extent - 1) / (count - 1));
  }
  return indices;
}

/// The extents of a slice as pixels: x or y to the right, y or z down.
std::array<SizeType, 3> slicesAndPixels(const Dimension<SizeType>& size, char axis) {
  return axis == 'z'   ? std::array<SizeType, 3>{size.tert, size.prim, size.sec}
         : axis == 'y' ? std::array<SizeType, 3>{size.sec, size.prim, size.tert}
                       : std::array<SizeType, 3>{size.prim, size.sec, size.tert};
}

/// Fills the tiles of a sheet: `pixel(voxels, from, to)` turns the box of voxels of one pixel into a value, where
/// `voxels(right, down)` is a voxel of the slice.
template <class Pixel>
Sheet sheetOf(Session& session, const SmartPointer<IVolume>& volume, char axis, const Pixel& pixel) {
  const auto [extent, right, down] = slicesAndPixels(volume->getDimension(), axis);
  Sheet sheet;
  sheet.extent = extent;
  sheet.slices = spread(extent, mostSlices);
  const SizeType longer = std::max<SizeType>(1, std::max(right, down));
  const SizeType bound = std::min(longer, mostPixels);
  sheet.width = std::max<SizeType>(1, right * bound / longer);
  sheet.height = std::max<SizeType>(1, down * bound / longer);
  sheet.columns = static_cast<SizeType>(std::ceil(std::sqrt(static_cast<double>(sheet.slices.size()))));
  const SizeType rows = (sheet.slices.size() + sheet.columns - 1) / sheet.columns;
  Picture all{sheet.columns * sheet.width, rows * sheet.height, 1, {}};
  all.pixels.assign(all.width * all.height, 0);
  withVoxels(volume, [&, width = right, height = down](const auto& view) {
    for (SizeType tile = 0; tile < sheet.slices.size(); ++tile) {
      session.checkInterrupt("report");
      const SizeType index = sheet.slices[tile];
      const auto voxels = [&](SizeType x, SizeType y) {
        return static_cast<double>(axis == 'z'   ? view.at(x, y, index)
                                   : axis == 'y' ? view.at(x, index, y)
                                                 : view.at(index, x, y));
      };
      auto* const first =
          all.pixels.data() + tile % sheet.columns * sheet.width + tile / sheet.columns * sheet.height * all.width;
      for (SizeType y = 0; y < sheet.height; ++y) {
        for (SizeType x = 0; x < sheet.width; ++x) {
          first[x + y * all.width] = pixel(voxels, std::array{x * width / sheet.width, (x + 1) * width / sheet.width},
                                           std::array{y * height / sheet.height, (y + 1) * height / sheet.height});
        }
      }
    }
  });
  sheet.uri = pngUri(session, all);
  return sheet;
}

using Span = std::array<SizeType, 2>;  ///< from one voxel to before another

/// As many planes of a coloured picture below each other as it has channels.
SmartPointer<IVolume> planesOf(const Picture& picture) {
  const SizeType pixels = picture.width * picture.height;
  const Tavi::VolumePtr<uint8> planes(
      new Tavi::Volume<uint8>(Dimension<SizeType>(picture.width, picture.height * picture.channels, 1)));
  for (SizeType channel = 0; channel < picture.channels; ++channel) {
    for (SizeType i = 0; i < pixels; ++i) {
      planes->getData()[channel * pixels + i] = picture.pixels[i * picture.channels + channel];
    }
  }
  return planes;
}

}  // namespace

Sheets greySheets(Session& session, const SmartPointer<IVolume>& volume, const GreyRange& range) {
  Sheets sheets;
  std::transform(axes.begin(), axes.end(), sheets.begin(), [&](char axis) {
    return sheetOf(session, volume, axis, [&](const auto& voxels, const Span& x, const Span& y) {
      double sum = 0.0;
      for (SizeType down = y[0]; down < y[1]; ++down) {
        for (SizeType right = x[0]; right < x[1]; ++right) {
          sum += voxels(right, down);
        }
      }
      return static_cast<uint8>(greyOf(sum / static_cast<double>((x[1] - x[0]) * (y[1] - y[0])), range) | 1u);
    });
  });
  return sheets;
}

Sheets labelSheets(Session& session, const SmartPointer<IVolume>& labels, SizeType colours) {
  Sheets sheets;
  std::transform(axes.begin(), axes.end(), sheets.begin(), [&](char axis) {
    return sheetOf(session, labels, axis, [&](const auto& voxels, const Span& x, const Span& y) {
      const double label = voxels((x[0] + x[1]) / 2, (y[0] + y[1]) / 2);
      return label >= 1.0 ? static_cast<uint8>(1 + (static_cast<SizeType>(label) - 1) % colours) : uint8{0};
    });
  });
  return sheets;
}

std::string pngUri(Session& session, const Picture& picture) {
  constexpr uint8 paeth = 128, up = 32, sub = 16, none = 8;
  MemoryFile file;
  Call(session, "PngWriter")
      .set("inputVolume", planesOf(picture))
      .set("inputFilename", SmartPointer<IComposite>(new Tavi::Persistence::Data<std::string>(file.name())))
      .setCount("inputFilters", paeth + up + sub + none)
      .setCount("inputCompressionLevel", 6)
      .run("report");
  return "data:image/png;base64," + base64(file.content());
}

}  // namespace NORV::TaviTool::Report
