#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Failures.hpp>
#include <Picture.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace NORV::TaviTool {
namespace {

double asDouble(const SmartPointer<IComposite>& data) {
  const SmartPointer<Tavi::Persistence::IData> value(data);
  double number = 0.0;
  static_cast<void>(Tavi::Persistence::Impl::fromText(value->toString(), number));
  return number;
}

GreyRange parseRange(const std::string& text) {
  const auto colon = text.find(':');
  const auto number = [&](const std::string& part) {
    double value = 0.0;
    const auto result = std::from_chars(part.data(), part.data() + part.size(), value);
    if (colon == std::string::npos || result.ec != std::errc() || result.ptr != part.data() + part.size() ||
        !std::isfinite(value)) {
      throw UsageError("--range " + text + ": expected <low>:<high>, such as 0:255");
    }
    return value;
  };
  const GreyRange range{number(text.substr(0, colon)), number(text.substr(std::min(colon, text.size() - 1) + 1))};
  if (!(range.black < range.white)) {
    throw UsageError("--range " + text + ": the low value must be below the high one");
  }
  return range;
}

SizeType extentAlong(const Dimension<SizeType>& dimension, char axis) {
  return axis == 'x' ? dimension.prim : axis == 'y' ? dimension.sec : dimension.tert;
}

/// Copies a picture into a larger one of the same channels.
void paste(const Picture& picture, SizeType left, SizeType top, Picture& all) {
  const SizeType row = picture.width * picture.channels;
  for (SizeType down = 0; down < picture.height; ++down) {
    std::copy_n(picture.pixels.begin() + static_cast<std::ptrdiff_t>(down * row), static_cast<std::ptrdiff_t>(row),
                all.pixels.begin() + static_cast<std::ptrdiff_t>(((top + down) * all.width + left) * picture.channels));
  }
}

/// Of extents along and across the direction in which pictures are put together, which `along` and `across` choose.
Picture together(const std::vector<Picture>& pictures, SizeType gap, SizeType Picture::*along,
                 SizeType Picture::*across) {
  Picture all;
  for (const Picture& picture : pictures) {
    all.*along += picture.*along + (all.*along > 0 ? gap : 0);
    all.*across = std::max(all.*across, picture.*across);
    all.channels = picture.channels;
  }
  all.pixels.assign(all.width * all.height * all.channels, 0);
  SizeType at = 0;
  for (const Picture& picture : pictures) {
    const bool isRow = along == &Picture::width;
    paste(picture, isRow ? at : 0, isRow ? 0 : at, all);
    at += picture.*along + gap;
  }
  return all;
}

}  // namespace

uint8 greyOf(double value, const GreyRange& range) {
  if (!(value > range.black)) {
    return 0;  // NaN too
  }
  if (value >= range.white) {
    return 255;
  }
  return static_cast<uint8>(std::lround((value - range.black) / (range.white - range.black) * 255.0));
}

Extremes extremesOf(Session& session, const SmartPointer<IVolume>& volume) {
  const auto parameter = makeParameter("ExtremeValueCalculation");
  parameter->setValue("inputVolume", SmartPointer<IComposite>(volume));
  session.run("ExtremeValueCalculation", parameter, "extreme values");
  return {parameter->getValue("outputMinimumValue"), parameter->getValue("outputMaximumValue")};
}

GreyRange greyRangeOf(Session& session, const SmartPointer<IVolume>& volume) {
  const auto extremes = extremesOf(session, volume);
  return {asDouble(extremes.minimum), asDouble(extremes.maximum)};
}

Picture sliceOf(const SmartPointer<IVolume>& volume, char axis, SizeType index, const GreyRange& range) {
  const auto dimension = volume->getDimension();
  Picture picture;
  picture.width = axis == 'x' ? dimension.sec : dimension.prim;
  picture.height = axis == 'z' ? dimension.sec : dimension.tert;
  picture.pixels.resize(picture.width * picture.height);
  withVoxels(volume, [&](const auto& view) {
    auto pixel = picture.pixels.begin();
    for (SizeType down = 0; down < picture.height; ++down) {
      for (SizeType right = 0; right < picture.width; ++right) {
        const auto voxel = axis == 'z'   ? view.at(right, down, index)
                           : axis == 'y' ? view.at(right, index, down)
                                         : view.at(index, right, down);
        *pixel++ = greyOf(static_cast<double>(voxel), range);
      }
    }
  });
  return picture;
}

Picture sideBySide(const std::vector<Picture>& pictures, SizeType gap) {
  return together(pictures, gap, &Picture::width, &Picture::height);
}

Picture stacked(const std::vector<Picture>& pictures, SizeType gap) {
  return together(pictures, gap, &Picture::height, &Picture::width);
}

Picture threeSlices(const SmartPointer<IVolume>& volume, const GreyRange& range) {
  const auto dimension = volume->getDimension();
  return sideBySide({sliceOf(volume, 'z', dimension.tert / 2, range), sliceOf(volume, 'y', dimension.sec / 2, range),
                     sliceOf(volume, 'x', dimension.prim / 2, range)},
                    4);
}

void savePicture(Session& session, const Picture& picture, const std::string& file) {
  if (file.ends_with(picture.channels == 1 ? ".pgm" : ".ppm")) {
    const std::string header = std::string(picture.channels == 1 ? "P5" : "P6") + "\n" + std::to_string(picture.width) +
                               " " + std::to_string(picture.height) + "\n255\n";
    writeText(session, header + std::string(picture.pixels.begin(), picture.pixels.end()), file);
    return;
  }
  if (picture.channels != 1) {
    throw UsageError(file + ": the name of a coloured picture ends in .ppm");
  }
  const auto volume = makeVolume("uint8", Dimension<SizeType>(picture.width, picture.height, 1));
  std::copy(picture.pixels.begin(), picture.pixels.end(), Tavi::VolumePtr<uint8>(volume)->getData());
  saveVolume(session, volume, file);
}

void sliceCommand(Session& session, const SliceOptions& options) {
  if (options.axis != "x" && options.axis != "y" && options.axis != "z") {
    throw UsageError("--axis " + options.axis + ": expected x, y or z");
  }
  if (!options.picture.ends_with(".pgm") && !isWritableVolumeName(options.picture)) {
    throw UsageError("-o " + options.picture + ": the name of a picture ends in .png, .bmp or .pgm");
  }
  const std::optional<GreyRange> given =
      options.range.empty() ? std::nullopt : std::optional<GreyRange>(parseRange(options.range));
  const auto volume = loadVolume(session, options.file);
  const char axis = options.axis.front();
  const SizeType extent = extentAlong(volume->getDimension(), axis);
  const SizeType index = options.index.value_or(extent / 2);
  if (index >= extent) {
    throw UsageError("--index " + std::to_string(index) + ": " + options.file + " has slices 0 to " +
                     std::to_string(extent - 1) + " along " + axis);
  }
  const GreyRange range = given ? *given : greyRangeOf(session, volume);
  const Picture picture = sliceOf(volume, axis, index, range);
  savePicture(session, picture, options.picture);
  if (session.json) {
    printJson({{"file", options.file},
               {"axis", options.axis},
               {"index", index},
               {"picture", options.picture},
               {"width", picture.width},
               {"height", picture.height},
               {"black", numberJson(range.black)},
               {"white", numberJson(range.white)}});
  } else {
    std::printf("%s: slice %llu across %c, %llux%llu, grey values %.10g (black) to %.10g (white)\n",
                options.picture.c_str(), static_cast<unsigned long long>(index), axis,
                static_cast<unsigned long long>(picture.width), static_cast<unsigned long long>(picture.height),
                range.black, range.white);
  }
}

}  // namespace NORV::TaviTool
