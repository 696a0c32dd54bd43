#include <Catalogue.hpp>
#include <Commands.hpp>
#include <Mask.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <array>
#include <cstdio>

namespace NORV::TaviTool {
namespace {

constexpr std::array shapes{"box", "ball", "cross"};

bool isShape(const std::string& word) { return std::find(shapes.begin(), shapes.end(), word) != shapes.end(); }

SmartPointer<IVolume> makeBox(Session& session, const Dimension<SizeType>& dimension) {
  static const std::string builder = "NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::";
  auto& factory = Tavi::Factory::getClassFactory();
  const SmartPointer<IOperator> fill(
      factory.createInstance(builder + "Operator< " + Tavi::Volume<uint8>::identifier() + " >"));
  const SmartPointer<IComposite> parameter(factory.createInstance(builder + "Parameter"));
  const auto extents = parameter->getValue("inputDimension");
  parseInto("inputDimension", extents, toText(dimension));
  parameter->setValue("inputDimension", extents);
  parameter->setValue("inputForegroundValue", SmartPointer<IComposite>(new Tavi::Persistence::Data<uint8>(uint8{1})));
  session.run("CuboidMask", *fill, parameter, "mask");
  return SmartPointer<IVolume>(parameter->getValue("outputMask"));
}

/// The square of how far from the middle a voxel lies along one axis, where the end of the ball is 1.
double squareAlong(SizeType position, SizeType extent) {
  if (extent == 1) {
    return 0.0;
  }
  const double radius = static_cast<double>(extent - 1) / 2.0;
  const double share = (static_cast<double>(position) - radius) / radius;
  return share * share;
}

/// Calls `belongs(x, y, z)` for each voxel.
template <class Belongs>
SmartPointer<IVolume> draw(const Session& session, const Dimension<SizeType>& dimension, const Belongs& belongs) {
  const Tavi::VolumePtr<uint8> mask(new Tavi::Volume<uint8>(dimension));
  uint8* voxel = mask->getData();
  for (SizeType z = 0; z < dimension.tert; ++z) {
    session.checkInterrupt("mask");
    for (SizeType y = 0; y < dimension.sec; ++y) {
      for (SizeType x = 0; x < dimension.prim; ++x) {
        *voxel++ = belongs(x, y, z) ? 1 : 0;
      }
    }
  }
  return mask;
}

SizeType voxelsSet(const SmartPointer<IVolume>& mask) {
  const Tavi::VolumePtr<uint8> typed(mask);
  return static_cast<SizeType>(std::count(typed->getData(), typed->getData() + typed->getSize(), uint8{1}));
}

}  // namespace

MaskSpec parseMask(const std::string& argument, const std::string& shape, const std::string& dimension) {
  if (!isShape(shape)) {
    throw UsageError("\"" + shape + "\" is no shape of a mask; there are box, ball, cross");
  }
  const MaskSpec spec{shape, parseDimension(argument, dimension)};
  const auto& extents = spec.dimension;
  if (shape != "box" && (extents.prim % 2 == 0 || extents.sec % 2 == 0 || extents.tert % 2 == 0)) {
    throw UsageError(argument + "=" + dimension + ": a " + shape + " needs odd extents, so that a voxel is its middle");
  }
  return spec;
}

std::optional<MaskSpec> findMask(const std::string& key, const std::string& text) {
  const auto colon = text.find(':');
  if (colon == std::string::npos || !isShape(text.substr(0, colon))) {
    return std::nullopt;
  }
  return parseMask(key, text.substr(0, colon), text.substr(colon + 1));
}

bool mayBeMask(const KeyDescription& key) {
  return key.info.takes == Takes::mask || key.info.takes == Takes::volumeList;
}

bool isMiddle(const KeyDescription& key, const std::string& text) {
  return key.info.takes == Takes::position && (text == "center" || text == "centre");
}

SmartPointer<IVolume> makeMask(Session& session, const MaskSpec& spec) {
  const auto& extents = spec.dimension;
  if (spec.shape == "box") {
    return makeBox(session, extents);
  }
  if (spec.shape == "ball") {
    constexpr double rounding = 1e-12;  // voxels on the surface belong to the ball
    return draw(session, extents, [&](SizeType x, SizeType y, SizeType z) {
      return squareAlong(x, extents.prim) + squareAlong(y, extents.sec) + squareAlong(z, extents.tert) <=
             1.0 + rounding;
    });
  }
  const auto middle = middleOf(extents);
  return draw(session, extents, [&](SizeType x, SizeType y, SizeType z) {
    return (x == middle.prim ? 1 : 0) + (y == middle.sec ? 1 : 0) + (z == middle.tert ? 1 : 0) >= 2;
  });
}

Position<SizeType> middleOf(const Dimension<SizeType>& dimension) {
  return Position<SizeType>(dimension.prim / 2, dimension.sec / 2, dimension.tert / 2);
}

void maskCommand(Session& session, const MaskOptions& options) {
  const MaskSpec spec = parseMask("extents", options.shape, options.dimension);
  requireWritable(options.file);
  const auto mask = makeMask(session, spec);
  saveVolume(session, mask, options.file);
  const SizeType set = voxelsSet(mask);
  const auto middle = middleOf(spec.dimension);
  if (session.json) {
    Json json{{"file", options.file}, {"shape", spec.shape}};
    json.update(volumeJson(*mask));
    json["voxels"] = set;
    json["middle"] = {middle.prim, middle.sec, middle.tert};
    printJson(json);
    return;
  }
  std::printf("%s: %s of %llu voxels in %s; use it with inputMask=%s inputAnchor=%s\n", options.file.c_str(),
              spec.shape.c_str(), static_cast<unsigned long long>(set), toText(spec.dimension).c_str(),
              options.file.c_str(), toText(middle).c_str());
}

}  // namespace NORV::TaviTool
