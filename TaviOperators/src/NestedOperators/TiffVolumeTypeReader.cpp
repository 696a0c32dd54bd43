#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Names.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>
#include <TiffVolumeTypeReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/Tiff/TiffDirectories.hpp>
#include <Files/Tiff/TiffFile.hpp>

namespace NORV::TaviOperators::TiffVolumeTypeReader {
namespace {

constexpr Impl::Names names{"TiffVolumeTypeReader"};

class Operator final : public TaviOperators::Operator<Operator> {
public:
  std::string getType() const override { return names.operatorType(); }

  void apply(SmartPointer<IComposite> composite) override {
    beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const Impl::TiffSource file(name, names.inApply());
    const Impl::TiffSlices slices = Impl::readSlices(file);
    Impl::require(slices.first->samplesPerPixel.value() == 1,
                  names.inApply(" Voxel type of file is not equal to operator's voxel type"));
    if (!slices.areAlike) {
      Impl::failAsNoVolume(file, names);
    }
    parameter->outputVoxelType = voxelTypeOf(slices.first->bitsPerSample.value());
  }

private:
  static std::string voxelTypeOf(uint16 bits) {
    switch (bits) {
      case 8:
        return Tavi::typeName<uint8>;
      case 16:
        return Tavi::typeName<uint16>;
      case 32:
        return Tavi::typeName<uint32>;
      default:
        throw Exceptions::InvalidData("NORV::TaviOperators::TiffVolumeTypeReader::Operator::apply",
                                      "Format not supported!");
    }
  }
};

// Not a template: whoever could construct it has it registered.
[[maybe_unused]] __attribute__((used)) void construct() { static_cast<void>(Operator()); }

}  // namespace
}  // namespace NORV::TaviOperators::TiffVolumeTypeReader
