#include <DLL/PngWriter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <PngWriter.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Exceptions.hpp>

#include <Files/FileStream.hpp>
#include <Files/Png/PngHandle.hpp>
#include <Files/SliceTransfer.hpp>

#include <bit>
#include <cstdio>
#include <vector>

namespace NORV::TaviOperators::PngWriter {
namespace {

constexpr Impl::Names names{"PngWriter"};
constexpr const char* function = "NORV::TaviOperators::PngWriter::Operator::apply";

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    const auto extents = input->getDimension();
    Impl::require(extents.tert == 1, names.inApply(" input volume dim tert must be 1"));
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const auto width = Tavi::checkedCast<uint32>(extents.prim), height = Tavi::checkedCast<uint32>(extents.sec);

    Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::write);
    if (file == nullptr) {
      throw Exceptions::FileCreate(function, name);
    }
    {
      Impl::PngHandle handle(Impl::PngHandle::Use::writing, file.get(), function);
      writeHead(handle, *parameter, width, height);
      writeRows(handle, input, parameter->inputIncorrectByteOrder.value());
    }
    if (std::fclose(file.release()) != 0) {
      throw Exceptions::FileWrite(function, name);
    }
  }

private:
  static void writeHead(Impl::PngHandle& handle, const Parameter& parameter, uint32 width, uint32 height) {
    std::vector<png_text> texts = textsOf(parameter.inputInformationMap.value());
    auto* const png = handle.png();
    auto* const info = handle.info();
    const int filters = parameter.inputFilters.value(), level = parameter.inputCompressionLevel.value();
    const uint32 prim = parameter.inputPixelsPerMeterPrim.value(), sec = parameter.inputPixelsPerMeterSec.value();
    auto* const firstText = texts.data();
    const int count = Tavi::checkedCast<int>(texts.size());
    handle.guarded([=] {
      png_set_filter(png, PNG_FILTER_TYPE_BASE, filters);
      png_set_compression_level(png, level);
      png_set_IHDR(png, info, width, height, 8 * sizeof(T), PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                   PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
      if (prim != 0) {
        png_set_pHYs(png, info, prim, sec, PNG_RESOLUTION_METER);
      }
      if (count != 0) {
        png_set_text(png, info, firstText, count);
      }
      png_write_info(png, info);
    });
  }

  /// The texts stay in the map: libpng copies them.
  static std::vector<png_text> textsOf(const SmartPointer<InformationMap>& map) {
    std::vector<png_text> texts;
    if (map == nullptr) {
      return texts;
    }
    for (auto& [keyword, text] : *map) {
      png_text chunk{};
      chunk.compression = PNG_TEXT_COMPRESSION_NONE;
      chunk.key = const_cast<png_charp>(keyword.c_str());
      chunk.text = const_cast<png_charp>(text.c_str());
      chunk.text_length = text.size();
      texts.push_back(chunk);
    }
    return texts;
  }

  static void writeRows(Impl::PngHandle& handle, const InputPtr& input, bool keepsByteOrder) {
    const auto extents = input->getDimension();
    auto* const png = handle.png();
    auto* const info = handle.info();
    const bool keepsBytes = keepsByteOrder || std::endian::native == std::endian::big;
    Impl::Unstoppable unstoppable;
    Impl::transferSlices(unstoppable, input, Impl::Direction::outOfVolume, [&](const void* slice, SizeType) {
      std::vector<png_bytep> rows(extents.sec);
      for (SizeType row = 0; row < rows.size(); ++row) {
        rows[row] = const_cast<png_bytep>(static_cast<png_const_bytep>(slice)) + row * extents.prim * sizeof(T);
      }
      auto* const first = rows.data();
      handle.guarded([png, info, keepsBytes, first] {
        if (sizeof(T) > 1 && !keepsBytes) {
          png_set_swap(png);
        }
        png_write_image(png, first);
        png_write_end(png, info);
      });
    });
  }
};

using Instances = Impl::TypeList<uint8, uint16>;

}  // namespace
}  // namespace NORV::TaviOperators::PngWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::PngWriter;
using Typed::names;

PngWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
PngWriter::Operator::Operator(const Operator&) = default;
PngWriter::Operator::~Operator() = default;
PngWriter::Operator& PngWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> PngWriter::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  // The typed operator reports an absent volume.
  return input == nullptr ? Impl::createByIdentifier(Impl::typedIdentifier<VolumePtr<uint8>>(names))
                          : Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
