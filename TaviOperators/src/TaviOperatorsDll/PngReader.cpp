#include <DLL/PngReader.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <PngReader.hpp>
#include <PngTypeReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/Png/PngHandle.hpp>

#include <bit>
#include <vector>

namespace NORV::TaviOperators::PngReader {
namespace {

constexpr Impl::Names names{"PngReader"};
constexpr const char* function = "NORV::TaviOperators::PngReader::Operator::apply";

/// Deflate makes at most so many bytes of one, and libpng reads ahead a little.
constexpr SizeType largestExpansion = 1040, headRoom = 65536;

struct Resolution {
  png_uint_32 prim = 0, sec = 0;
};

Resolution resolutionOf(const Impl::PngHandle& handle) {
  Resolution resolution;
  int unit = PNG_RESOLUTION_UNKNOWN;
  const bool isKnown = png_get_pHYs(handle.png(), handle.info(), &resolution.prim, &resolution.sec, &unit) != 0;
  return isKnown && unit == PNG_RESOLUTION_METER ? resolution : Resolution();
}

template <class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<OutputPtr>> {
  using T = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    SmartPointer<InformationMap> texts = parameter->outputInformationMap.value();
    const Impl::PngSource source(name, function);
    Impl::PngHandle handle(Impl::PngHandle::Use::reading, source.file(), function);
    Impl::PngSource::readInfo(handle);
    const Dimension<SizeType> extents = checkImage(handle, name);
    const Resolution resolution = resolutionOf(handle);

    const OutputPtr output(new Volume<T>(extents));
    readRows(handle, *output, parameter->inputIncorrectByteOrder.value());
    if (texts == nullptr) {
      texts = SmartPointer<InformationMap>(new InformationMap);
    }
    addTexts(handle, *texts);
    parameter->outputVolume = output;
    parameter->outputPixelsPerMeterPrim = resolution.prim;
    parameter->outputPixelsPerMeterSec = resolution.sec;
    parameter->outputInformationMap = texts;
  }

private:
  static Dimension<SizeType> checkImage(const Impl::PngHandle& handle, const std::string& name) {
    png_uint_32 width = 0, height = 0;
    int bits = 0, colors = 0;
    const auto known =
        png_get_IHDR(handle.png(), handle.info(), &width, &height, &bits, &colors, nullptr, nullptr, nullptr);
    handle.require(known != 0, "Image related information nto available in png file!");
    handle.require(bits == int{8 * sizeof(T)} && colors == PNG_COLOR_TYPE_GRAY,
                   "Image data don't match the volume type!");
    handle.require(png_get_channels(handle.png(), handle.info()) == 1, "Image data must be single channel data!");
    const SizeType size = Impl::storedBytes(name);
    handle.require(SizeType{width} * sizeof(T) <= (size + headRoom) * largestExpansion / height,
                   "Couldn't set png jump buffer!");
    return {width, height, 1};
  }

  static void readRows(Impl::PngHandle& handle, Volume<T>& volume, bool keepsByteOrder) {
    const auto extents = volume.getDimension();
    std::vector<png_bytep> rows(extents.sec);
    for (SizeType row = 0; row < rows.size(); ++row) {
      rows[row] = reinterpret_cast<png_bytep>(volume.getData() + row * extents.prim);
    }
    auto* const png = handle.png();
    const bool keepsBytes = keepsByteOrder || std::endian::native == std::endian::big;
    auto* const first = rows.data();
    handle.guarded([png, keepsBytes, first] {
      if (sizeof(T) > 1 && !keepsBytes) {
        png_set_swap(png);
      }
      png_read_image(png, first);
    });
  }

  static void addTexts(const Impl::PngHandle& handle, InformationMap& texts) {
    png_textp chunks = nullptr;
    const int count = png_get_text(handle.png(), handle.info(), &chunks, nullptr);
    for (int i = 0; i < count; ++i) {
      texts.insert_or_assign(chunks[i].key, chunks[i].text != nullptr ? chunks[i].text : "");
    }
  }
};

using Instances = Impl::TypeList<uint8, uint16>;

}  // namespace
}  // namespace NORV::TaviOperators::PngReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::PngReader;
using Typed::names;

PngReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
PngReader::Operator::Operator(const Operator&) = default;
PngReader::Operator::~Operator() = default;
PngReader::Operator& PngReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> PngReader::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<PngTypeReader::Parameter> type(new PngTypeReader::Parameter);
  type->inputFilename = parameter->inputFilename.value();
  Impl::createByIdentifier(Impl::Names("PngTypeReader").operatorType())->apply(type);
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, Impl::composeVolumeIdentifier(type->outputVoxelType.value())));
}

}  // namespace NORV::TaviOperators::DLL
