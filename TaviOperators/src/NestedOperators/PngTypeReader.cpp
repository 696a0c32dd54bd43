#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Names.hpp>
#include <Operator.hpp>
#include <PngTypeReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/Png/PngHandle.hpp>

namespace NORV::TaviOperators::PngTypeReader {
namespace {

constexpr Impl::Names names{"PngTypeReader"};
constexpr const char* function = "NORV::TaviOperators::PngTypeReader::Operator::apply";

class Operator final : public TaviOperators::Operator<Operator> {
public:
  std::string getType() const override { return names.operatorType(); }

  void apply(SmartPointer<IComposite> composite) override {
    beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const Impl::PngSource source(name, function);
    Impl::PngHandle handle(Impl::PngHandle::Use::reading, source.file(), function);
    Impl::PngSource::readInfo(handle);
    handle.require(png_get_color_type(handle.png(), handle.info()) == PNG_COLOR_TYPE_GRAY, "Unsupported png format!");
    const int bits = png_get_bit_depth(handle.png(), handle.info());
    handle.require(bits == 8 || bits == 16, "Bit depth not supported!");
    parameter->outputVoxelType = bits == 8 ? Tavi::typeName<uint8> : Tavi::typeName<uint16>;
    parameter->outputDim = Dimension<SizeType>(png_get_image_width(handle.png(), handle.info()),
                                               png_get_image_height(handle.png(), handle.info()), 1);
  }
};

// Not a template: whoever could construct it has it registered.
[[maybe_unused]] __attribute__((used)) void construct() { static_cast<void>(Operator()); }

}  // namespace
}  // namespace NORV::TaviOperators::PngTypeReader
