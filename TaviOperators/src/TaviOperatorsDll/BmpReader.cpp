#include <BmpReader.hpp>
#include <DLL/BmpReader.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>

#include <Files/Bmp/BmpHeaders.hpp>
#include <Files/FileStream.hpp>

#include <array>
#include <cstdio>
#include <vector>

namespace NORV::TaviOperators::BmpReader {
namespace {

constexpr Impl::Names names{"BmpReader"};

void require(bool condition, const char* otherwise) {
  if (!condition) {
    throw Exceptions::InvalidData("NORV::TaviOperators::BmpReader::Operator::apply", "%s", otherwise);
  }
}

SizeType sizeOf(std::FILE* file) {
  const auto end = fseeko(file, 0, SEEK_END) == 0 ? ftello(file) : 0;
  std::rewind(file);
  return end > 0 ? static_cast<SizeType>(end) : 0;
}

/// The headers of a file that holds what they promise. What a short file lacks is zero, and refused as such.
Impl::BmpHeaders readHeaders(std::FILE* file) {
  const SizeType fileBytes = sizeOf(file);
  std::array<unsigned char, Impl::BmpHeaders::bytes> text{};
  [[maybe_unused]] const std::size_t count = std::fread(text.data(), 1, text.size(), file);
  const auto headers = Impl::BmpHeaders::decode(text);
  require(
      headers.signature == 19778 && headers.fileBytes == fileBytes && headers.reserved == 0 && headers.dataOffset != 0,
      "Invalid BMP header!");
  require(headers.infoBytes == 40 && headers.width != 0 && headers.height != 0, "Invalid BMP info block!");
  require(headers.planes == 1 && headers.bitsPerPixel == 8, "Unsupported voxel type!");
  require(headers.compression == 0, "Compression is not supported!");
  const SizeType imageBytes = Impl::bmpImageBytes(headers.width, headers.height);
  require(headers.imageBytes == 0 || headers.imageBytes == imageBytes, "Invalid BMP info block!");
  // Before memory is asked for. The padding of the last row may be missing.
  require(headers.dataOffset <= fileBytes &&
              imageBytes - Impl::bmpPadding(headers.width) <= fileBytes - headers.dataOffset &&
              SizeType{headers.colorsUsed} * 4 + text.size() <= fileBytes,
          "Invalid BMP info block!");
  return headers;
}

/// The palette, four bytes a colour: blue, green, red, 0. Where the file ends before it, the rest is black.
ColorTable readColors(std::FILE* file, SizeType count) {
  std::vector<uint8> bytes(4 * count);
  [[maybe_unused]] const std::size_t read = std::fread(bytes.data(), 1, bytes.size(), file);
  ColorTable colors;
  colors.reserve(count);
  for (SizeType i = 0; i < count; ++i) {
    colors.emplace_back(new RGB(bytes[4 * i + 2], bytes[4 * i + 1], bytes[4 * i]));
  }
  return colors;
}

/// Reads the rows, the last of the image first. Returns whether all were there.
bool readRows(std::FILE* file, const Impl::View<uint8>& view, SizeType offset) {
  if (fseeko(file, static_cast<off_t>(offset), SEEK_SET) != 0) {
    return false;
  }
  std::vector<uint8> row(view.dimPrim + Impl::bmpPadding(view.dimPrim));
  for (SizeType sec = view.dimSec; sec-- > 0;) {
    if (std::fread(row.data(), 1, row.size(), file) < view.dimPrim) {
      return false;
    }
    for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
      view.at(prim, sec, 0) = row[prim];
    }
  }
  return true;
}

template <class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<OutputPtr>> {
public:
  std::string getType() const override { return Impl::typedIdentifier<OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    ColorTablePtr table = parameter->outputColorTable.value();
    if (table == nullptr) {
      table = ColorTablePtr(new ColorTable);
    }
    const Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::read);
    if (file == nullptr) {
      throw Exceptions::FileOpen(names.inApply().c_str(), name);
    }
    const Impl::BmpHeaders headers = readHeaders(file.get());

    const auto output = this->template checkOutputVolume<OutputPtr>(
        parameter->outputVolume.value(), Dimension<SizeType>(headers.width, headers.height, 1));
    this->setTotal(1);
    ColorTable colors = readColors(file.get(), headers.colorsUsed == 0 ? 256 : headers.colorsUsed);
    if (!this->isAborted()) {
      if (!readRows(file.get(), Impl::viewOf(*output), headers.dataOffset)) {
        throw Exceptions::FileRead(names.inApply().c_str(), name);
      }
      this->advance();
    }
    table->swap(colors);
    parameter->outputVolume = output;
    parameter->outputPixelsPerMeterPrim = headers.pixelsPerMeterPrim;
    parameter->outputPixelsPerMeterSec = headers.pixelsPerMeterSec;
    parameter->outputColorTable = table;
  }
};

using Instances = Impl::TypeList<uint8>;

}  // namespace
}  // namespace NORV::TaviOperators::BmpReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::BmpReader;
using Typed::names;

BmpReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
BmpReader::Operator::Operator(const Operator&) = default;
BmpReader::Operator::~Operator() = default;
BmpReader::Operator& BmpReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BmpReader::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  return Impl::createByIdentifier(Impl::typedIdentifier<VolumePtr<uint8>>(names));
}

}  // namespace NORV::TaviOperators::DLL
