#include <Impl/Frame/Dispatch.hpp>
#include <VtiTypeReader.hpp>

#include <Files/Vti/VtiDocument.hpp>
#include <Files/Vti/VtiFile.hpp>
#include <Files/Vti/VtiHead.hpp>
#include <Files/Vti/VtiImage.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <string>

namespace NORV::TaviOperators::VtiTypeReader {
namespace {

constexpr Impl::Names names{"VtiTypeReader"};
constexpr Impl::VtiImageReader reader{"VtiTypeReader"};

/// The file up to its first array as a document of its own.
std::string readHead(std::FILE* file) {
  Impl::VtiHead head;
  auto state = Impl::VtiHead::State::open;
  std::array<char, 16> piece{};
  while (state == Impl::VtiHead::State::open) {
    const auto count = std::fread(piece.data(), 1, piece.size(), file);
    reader.require(count > 0, "Format not supported!");
    for (std::size_t i = 0; i < count && state == Impl::VtiHead::State::open; ++i) {
      state = head.append(piece[i]);
    }
  }
  reader.require(state == Impl::VtiHead::State::complete, "Format not supported!");
  return head.completed();
}

class Operator final : public TaviOperators::Operator<Operator> {
public:
  std::string getType() const override { return names.operatorType(); }

  void apply(SmartPointer<IComposite> composite) override {
    beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::read);
    Impl::require(file != nullptr, names.inApply(" could not open file"));
    const std::string head = readHead(file.get());

    pugi::xml_document document;
    reader.require(Impl::isParsed(document.load_buffer(head.data(), head.size())), "Invalid VTI header");
    const Impl::VtiImage image = reader.read(document, Impl::VtiExtents::any);
    const char* const type = Impl::voxelTypeOfVti(image.array.attribute("type").value());
    reader.require(type != nullptr, "Format not supported!");
    parameter->outputVoxelType = std::string(type);
    parameter->outputDimension = image.extents;
  }
};

// Not a template: what could construct it has it registered.
[[maybe_unused]] __attribute__((used)) void construct() { static_cast<void>(Operator()); }

}  // namespace
}  // namespace NORV::TaviOperators::VtiTypeReader
