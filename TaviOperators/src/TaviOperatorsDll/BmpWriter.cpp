#include <BmpWriter.hpp>
#include <DLL/BmpWriter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Exceptions.hpp>

#include <Files/Bmp/BmpHeaders.hpp>
#include <Files/FileStream.hpp>

#include <cstdio>
#include <vector>

namespace NORV::TaviOperators::BmpWriter {
namespace {

constexpr Impl::Names names{"BmpWriter"};
constexpr SizeType mostColors = 256;

/// The 256 entries of the palette, four bytes each: blue, green, red, 0. What the table lacks is black.
std::vector<uint8> encodeColors(const ColorTablePtr& table) {
  std::vector<uint8> bytes(4 * mostColors);
  const bool isGrey = table == nullptr || table->empty();
  Impl::require(isGrey || table->size() <= mostColors, names.inApply(" color table is too big"));
  const SizeType count = isGrey ? mostColors : table->size();
  for (SizeType i = 0; i < count; ++i) {
    const auto grey = static_cast<uint8>(i);
    if (!isGrey) {
      Impl::requireGiven((*table)[i], names.inApply(" color table has an empty entry"));
    }
    bytes[4 * i] = isGrey ? grey : (*table)[i]->blue.value();
    bytes[4 * i + 1] = isGrey ? grey : (*table)[i]->green.value();
    bytes[4 * i + 2] = isGrey ? grey : (*table)[i]->red.value();
  }
  return bytes;
}

/// Throws `std::overflow_error` for what 32 bits do not count.
Impl::BmpHeaders headersOf(const Dimension<SizeType>& extents, const Parameter& parameter) {
  Impl::BmpHeaders headers;
  headers.width = Tavi::checkedCast<uint32>(extents.prim);
  headers.height = Tavi::checkedCast<uint32>(extents.sec);
  const SizeType imageBytes = Impl::bmpImageBytes(extents.prim, extents.sec);
  headers.fileBytes = Tavi::checkedCast<uint32>(imageBytes + headers.dataOffset);
  headers.imageBytes = static_cast<uint32>(imageBytes);
  headers.pixelsPerMeterPrim = parameter.inputPixelsPerMeterPrim.value();
  headers.pixelsPerMeterSec = parameter.inputPixelsPerMeterSec.value();
  return headers;
}

/// Writes the rows, the last of the image first, each with its padding.
template <class Write>
void writeRows(const Impl::View<uint8>& view, const Write& write) {
  std::vector<uint8> row(view.dimPrim + Impl::bmpPadding(view.dimPrim));
  for (SizeType sec = view.dimSec; sec-- > 0;) {
    for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
      row[prim] = view.at(prim, sec, 0);
    }
    write(row.data(), row.size());
  }
}

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    Impl::require(input->getDimTert() == 1, names.inApply(" input volume dim tert must be 1"));
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const std::vector<uint8> colors = encodeColors(parameter->inputColorTable.value());
    const std::string headers = headersOf(input->getDimension(), *parameter).encode();

    Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::write);
    if (file == nullptr) {
      throw Exceptions::FileCreate(names.inApply().c_str(), name);
    }
    const auto require = [&name](bool condition) {
      if (!condition) {
        throw Exceptions::FileWrite(names.inApply().c_str(), name);
      }
    };
    const auto write = [&](const void* bytes, SizeType count) {
      require(std::fwrite(bytes, 1, count, file.get()) == count);
    };
    this->setTotal(1);
    write(headers.data(), headers.size());
    write(colors.data(), colors.size());
    if (!this->isAborted()) {
      writeRows(Impl::viewOf(*input), write);
      this->advance();
    }
    require(std::fclose(file.release()) == 0);
  }
};

using Instances = Impl::TypeList<uint8>;

}  // namespace
}  // namespace NORV::TaviOperators::BmpWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::BmpWriter;
using Typed::names;

BmpWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
BmpWriter::Operator::Operator(const Operator&) = default;
BmpWriter::Operator::~Operator() = default;
BmpWriter::Operator& BmpWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BmpWriter::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inApply(" input volume is NULL"));  // the same words as in the typed operator
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
