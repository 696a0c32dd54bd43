#include <DLL/VtiReader.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <VtiReader.hpp>
#include <VtiTypeReader.hpp>

#include <Files/Vti/VtiDecoding.hpp>
#include <Files/Vti/VtiDocument.hpp>
#include <Files/Vti/VtiFile.hpp>
#include <Files/Vti/VtiImage.hpp>

#include <optional>
#include <string>

namespace NORV::TaviOperators::VtiReader {
namespace {

constexpr Impl::Names names{"VtiReader"};
constexpr const char* source = "VtiReader";
constexpr Impl::VtiImageReader reader{source};

/// The whole file, unless the run is aborted.
Impl::FileBytes readFile(OperatorBase& self, const std::string& name, SizeType& size) {
  constexpr SizeType pieces = 100, steps = 300;
  const Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::read);
  if (file == nullptr) {
    throw Exceptions::FileOpen(source, name);
  }
  size = Impl::sizeOf(file.get());
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  auto bytes = Tavi::Allocator::SingleBlockAllocator::allocate<char>(Dimension<SizeType>(size + 1, 1, 1));
  const auto read = [&](SizeType begin, SizeType count) {
    if (std::fread(bytes.getData() + begin, 1, count, file.get()) != count) {
      throw Exceptions::FileRead(source, name);
    }
  };
  SizeType done = 0;
  if (size >= pieces) {
    self.setTotal(steps);
    const SizeType piece = size / pieces;
    for (SizeType i = 0; i < pieces; ++i, done += piece) {
      if (self.isAborted()) {
        return {};
      }
      read(done, piece);
      self.advance();
    }
  }
  read(done, size - done);
  return bytes;
}

/// The base64 behind the underscore and the offset of the array.
Impl::VtiText appendedText(const Impl::VtiDocument& document, const Impl::VtiImage& image) {
  const auto offset = image.array.attribute("offset");
  reader.require(offset, "offset attribute is missing");
  const auto sections = Impl::elementsIn(Impl::vtiRoots(document.xml()), "AppendedData", {"encoding"});
  reader.require(sections.size() == 1, "There must be exactly 1 AppendedData section");
  reader.require(sections.front().attribute("encoding").value() == std::string_view("base64"),
                 "Only base64 encoding is supported");
  const Impl::VtiText text = document.textOf(sections.front());
  reader.require(!text.isEmpty(), "Missing AppendedData content");
  const auto underscore = std::string_view(text.data, text.size).find('_');
  reader.require(underscore != std::string_view::npos, "AppendedData section doesn't start with '_' symbol");
  const auto skipped = Impl::readNumbers<std::array<uint64, 1>>(offset.value());
  reader.require(skipped.has_value(), "offset attribute is invalid");
  return text.from(underscore + 1).from((*skipped)[0]);
}

/// Voxels as numbers.
class AsciiPayload {
public:
  AsciiPayload(const Impl::VtiText& text, SizeType voxels) : _text(text) {
    // Each number but the first has a character before it that is not of the number before.
    requireNumber(_text.size / 2 + _text.size % 2 >= voxels);
  }

  /// Reads all numbers, so that a volume of the host is not touched where one of them is none.
  template <class T>
  void check(SizeType voxels) const {
    Impl::NumberReader numbers(_text.data, _text.data + _text.size);
    T ignored{};
    for (SizeType i = 0; i < voxels; ++i) {
      requireNumber(numbers.read(ignored));
    }
  }

  template <class T>
  void decode(OperatorBase& self, const Impl::View<T>& view) const {
    Impl::VtiProgress progress(self, view.dimTert, 2 * view.dimTert);
    Impl::NumberReader numbers(_text.data, _text.data + _text.size);
    for (SizeType tert = 0; tert < view.dimTert && !self.isAborted(); ++tert) {
      for (SizeType sec = 0; sec < view.dimSec; ++sec) {
        for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
          requireNumber(numbers.read(view.at(prim, sec, tert)));
        }
      }
      progress.add(1);
    }
  }

private:
  static void requireNumber(bool condition) { reader.require(condition, "DataArray content is invalid"); }

  Impl::VtiText _text;
};

template <class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<OutputPtr>> {
  using T = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    SizeType size = 0;
    auto bytes = readFile(*this, Impl::checkedName(parameter->inputFilename.value(), names), size);
    if (bytes.getData() == nullptr) {
      return;
    }
    Impl::VtiDocument document(std::move(bytes), size);
    reader.require(document.parse(), "Invalid VTI header");
    const Impl::VtiImage image = reader.read(document.xml(), Impl::VtiExtents::equal);
    Impl::require(image.array.attribute("type").value() == std::string_view(Impl::vtiTypeName<T>()),
                  names.inApply(" operator type and file type don't match"));
    const SmartPointer<IVolume> given = parameter->outputVolume.value();
    if (given != nullptr && OutputPtr(given) == nullptr) {
      this->template checkOutputVolume<OutputPtr>(given, image.extents);  // which reports it
    }
    parameter->outputVolume = decode(document, image, given);
    parameter->outputSpacing = image.spacing;
    parameter->outputOrigin = image.origin;
  }

private:
  OutputPtr decode(const Impl::VtiDocument& document, const Impl::VtiImage& image, const SmartPointer<IVolume>& given) {
    const std::string_view format = image.array.attribute("format").value();
    if (format == "appended") {
      return decodeBase64(appendedText(document, image), image, given);
    }
    reader.require(format == "ascii" || format == "binary", "Unknown DataArray format");
    const Impl::VtiText text = document.textOf(image.array);
    reader.require(!text.isEmpty(), "Missing DataArray content");
    if (format == "binary") {
      return decodeBase64(text.withoutSpace(), image, given);
    }
    const AsciiPayload payload(text, image.extents.size());
    if (given != nullptr) {
      payload.check<T>(image.extents.size());
    }
    const auto output = outputFor(given, image);
    payload.decode(*this, Impl::viewOf(*output));
    return output;
  }

  OutputPtr decodeBase64(const Impl::VtiText& text, const Impl::VtiImage& image, const SmartPointer<IVolume>& given) {
    const SizeType bytes = image.extents.size() * sizeof(T);
    if (image.isCompressed) {
      return decodePayload(Impl::CompressedPayload(text, bytes, sizeof(T)), image, given);
    }
    return decodePayload(Impl::UncompressedPayload(text, bytes), image, given);
  }

  template <class Payload>
  OutputPtr decodePayload(const Payload& payload, const Impl::VtiImage& image, const SmartPointer<IVolume>& given) {
    const auto output = outputFor(given, image);
    payload.decode(*this, Impl::VoxelBytes<char>(Impl::viewOf(*output)));
    return output;
  }

  OutputPtr outputFor(const SmartPointer<IVolume>& given, const Impl::VtiImage& image) const {
    return this->template checkOutputVolume<OutputPtr>(given, image.extents);
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::VtiReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::VtiReader;
using Typed::names;

VtiReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
VtiReader::Operator::Operator(const Operator&) = default;
VtiReader::Operator::~Operator() = default;
VtiReader::Operator& VtiReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> VtiReader::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<VtiTypeReader::Parameter> type(new VtiTypeReader::Parameter);
  type->inputFilename = parameter->inputFilename.value();
  Impl::createByIdentifier("NORV::TaviOperators::VtiTypeReader::Operator")->apply(type);
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, Impl::composeVolumeIdentifier(type->outputVoxelType.value())));
}

}  // namespace NORV::TaviOperators::DLL
