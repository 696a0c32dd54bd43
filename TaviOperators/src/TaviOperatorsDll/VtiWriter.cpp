#include <DLL/VtiWriter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <VtiWriter.hpp>

#include <Files/Vti/VtiEncoding.hpp>
#include <Files/Vti/VtiFile.hpp>
#include <Files/Vti/VtiImage.hpp>

#include <optional>
#include <string>
#include <utility>

namespace NORV::TaviOperators::VtiWriter {
namespace {

constexpr Impl::Names names{"VtiWriter"};
constexpr const char* source = "VtiWriter";

template <class... Numbers>
std::string joinNumbers(Numbers... numbers) {
  std::string text;
  char number[Impl::longestNumber];
  const auto append = [&](auto value) {
    text += text.empty() ? "" : " ";
    text.append(number, Impl::writeNumber(number, value));
  };
  (append(numbers), ...);
  return text;
}

std::string joinNumbers(const Triple<double>& triple) { return joinNumbers(triple.prim, triple.sec, triple.tert); }

/// Stands for the payload while the document is built. No number has it.
constexpr char mark = '@';

void appendAttributes(pugi::xml_node& node, std::initializer_list<std::pair<const char*, std::string>> attributes) {
  for (const auto& [name, value] : attributes) {
    node.append_attribute(name).set_value(value.c_str());
  }
}

struct Form {
  bool isAscii, isAppended, isCompressed;
};

/// Throws InvalidParameterObjectException for a format or compression that is unknown.
Form checkedForm(const std::string& format, const std::string& compression) {
  Impl::require(format == "ascii" || format == "binary" || format == "appended", names.inApply(" unknown inputFormat"));
  Impl::require(compression.empty() || compression == Impl::vtiCompressor,
                names.inApply(" if compression is enabled, it must be vtkZLibDataCompressor"));
  return {format == "ascii", format == "appended", !compression.empty() && format != "ascii"};
}

void buildDocument(pugi::xml_document& document, const Parameter& parameter, const Dimension<SizeType>& extents,
                   const char* type, bool namesCompressor) {
  const std::string format = parameter.inputFormat.value();
  const auto last = [](SizeType extent) { return static_cast<int64>(extent) - 1; };
  const std::string range = joinNumbers(0, last(extents.prim), 0, last(extents.sec), 0, last(extents.tert));

  auto root = document.append_child("VTKFile");
  appendAttributes(root, {{"type", "ImageData"}, {"version", "0.1"}, {"byte_order", "LittleEndian"}});
  if (namesCompressor) {
    appendAttributes(root, {{"compressor", Impl::vtiCompressor}});
  }
  auto image = root.append_child("ImageData");
  appendAttributes(image, {{"WholeExtent", range},
                           {"Origin", joinNumbers(parameter.inputOrigin.value())},
                           {"Spacing", joinNumbers(parameter.inputSpacing.value())}});
  auto piece = image.append_child("Piece");
  appendAttributes(piece, {{"Extent", range}});
  auto points = piece.append_child("PointData");
  appendAttributes(points, {{"Scalars", "Volume"}});
  auto array = points.append_child("DataArray");
  appendAttributes(array, {{"type", type}, {"Name", "Volume"}, {"NumberOfComponents", "1"}, {"format", format}});
  piece.append_child("CellData");
  if (format == "appended") {
    appendAttributes(array, {{"offset", "0"}});
    auto appended = root.append_child("AppendedData");
    appendAttributes(appended, {{"encoding", "base64"}});
    appended.text().set((std::string("_") + mark).c_str());
  } else {
    array.text().set(std::string(1, mark).c_str());
  }
}

/// The texts before and behind the payload.
std::pair<std::string, std::string> aroundPayload(const pugi::xml_document& document) {
  struct Writer final : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
  } writer;
  document.save(writer, "\t", pugi::format_indent);
  const auto at = writer.text.find(mark);
  return {writer.text.substr(0, at), writer.text.substr(at + 1)};
}

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
  using T = VoxelOf<InputPtr>;
  using Bytes = Impl::VoxelBytes<const char>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const Form form = checkedForm(parameter->inputFormat.value(), parameter->inputCompression.value());

    pugi::xml_document document;
    buildDocument(document, *parameter, input->getDimension(), Impl::vtiTypeName<T>(), form.isCompressed);
    const auto [head, tail] = aroundPayload(document);
    const auto view = Impl::inputViewOf(*input);
    this->setTotal(2 * view.dimTert);
    std::optional<Impl::CompressedSlices> slices;
    if (form.isCompressed) {
      slices.emplace(Bytes(view));
      slices->compress(*this);
      if (this->isAborted()) {
        return;
      }
    } else if (!form.isAscii) {
      Tavi::checkedCast<uint32>(view.size() * sizeof(T));
    }

    Impl::VtiOutput output(source, name);
    output.write(head);
    if (slices) {
      slices->write(*this, output);
    } else if (form.isAscii) {
      writeNumbers(view, output);
    } else {
      writeBytes(Bytes(view), output);
    }
    if (!this->isAborted()) {
      output.write(tail);
    }
    output.close();
  }

private:
  void countSlice() {
    this->advance();
    this->advance();
  }

  template <class View>
  void writeNumbers(const View& view, Impl::VtiOutput& output) {
    bool isFirst = true;
    for (SizeType tert = 0; tert < view.dimTert && !this->isAborted(); ++tert) {
      for (SizeType sec = 0; sec < view.dimSec; ++sec) {
        for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
          char* text = output.room(Impl::longestNumber + 1);
          if (!isFirst) {
            *text++ = ' ';
          }
          isFirst = false;
          output.filled(Impl::writeNumber(text, view.at(prim, sec, tert)));
        }
      }
      countSlice();
    }
  }

  void writeBytes(const Bytes& volume, Impl::VtiOutput& output) {
    const auto bytes = static_cast<uint32>(volume.voxels() * volume.voxelBytes());
    output.encode(&bytes, sizeof bytes);
    const auto encode = [&output](const char* some, SizeType count) { output.encode(some, count); };
    for (SizeType slice = 0; slice < volume.slices() && !this->isAborted(); ++slice) {
      volume.read(slice * volume.sliceVoxels(), volume.sliceVoxels(), encode);
      countSlice();
    }
    output.endStream();
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::VtiWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::VtiWriter;
using Typed::names;

VtiWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
VtiWriter::Operator::Operator(const Operator&) = default;
VtiWriter::Operator::~Operator() = default;
VtiWriter::Operator& VtiWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> VtiWriter::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
