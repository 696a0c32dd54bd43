#include <DLL/TiffVolumeReader.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>
#include <TiffVolumeReader.hpp>
#include <TiffVolumeTypeReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/SliceTransfer.hpp>
#include <Files/Tiff/TiffDirectories.hpp>
#include <Files/Tiff/TiffFile.hpp>
#include <Files/Tiff/TiffMetaInformation.hpp>

#include <algorithm>

namespace NORV::TaviOperators::TiffVolumeReader {
namespace {

constexpr Impl::Names names{"TiffVolumeReader"};

/// Decodes the strips of the current directory one behind the other. They must fill the slice exactly.
template <class T>
void readStrips(const Impl::TiffSource& file, T* voxels, SizeType bytes) {
  TIFF* const tiff = file.handle();
  T* const end = voxels + bytes / sizeof(T);
  const uint32 strips = TIFFNumberOfStrips(tiff);
  for (uint32 strip = 0; strip < strips; ++strip) {
    const auto room = static_cast<tmsize_t>(end - voxels) * static_cast<tmsize_t>(sizeof(T));
    const tmsize_t decoded = room > 0 ? TIFFReadEncodedStrip(tiff, strip, voxels, room) : -1;
    file.require<Exceptions::FileRead>(decoded > 0);
    voxels += decoded / static_cast<tmsize_t>(sizeof(T));
  }
  file.require<Exceptions::FileRead>(voxels == end);
}

/// Reads the image of each directory into a slice, from the first directory on.
template <class VolumePointer>
void readImages(OperatorBase& self, const Impl::TiffSource& file, const VolumePointer& output) {
  using T = VoxelOf<VolumePointer>;
  file.require<Exceptions::FileRead>(TIFFSetDirectory(file.handle(), 0) == 1);
  bool isFirst = true;
  Impl::transferSlices(self, output, Impl::Direction::intoVolume, [&](T* voxels, SizeType bytes) {
    file.require<Exceptions::FileRead>(isFirst || TIFFReadDirectory(file.handle()) == 1);
    isFirst = false;
    readStrips(file, voxels, bytes);
  });
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
    Impl::TiffSource file(name, names.inApply());
    const Impl::TiffSlices slices = Impl::readSlices(file);
    const TiffImageInformation& first = *slices.first;
    Impl::require(first.samplesPerPixel.value() == 1 && first.bitsPerSample.value() == 8 * sizeof(T),
                  names.inApply(" Voxel type of file is not equal to operator's voxel type"));
    if (!slices.areAlike || !slices.canBeHeld) {
      Impl::failAsNoVolume(file, names);
    }
    const Impl::TiffMetaInformation meta = Impl::readMetaInformation(first);

    const auto output = this->template checkOutputVolume<OutputPtr>(
        parameter->outputVolume.value(), Dimension<SizeType>(first.width.value(), first.height.value(), slices.count));
    this->setTotal(slices.count);
    file.allowReading();
    readImages(*this, file, output);
    this->setDone(slices.count);
    parameter->outputVolume = output;
    parameter->outputVoxelSize_mm = meta.voxelSizeInMm;
    parameter->outputDescription = meta.description;
    parameter->outputSoftware = first.software.value();
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::TiffVolumeReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::TiffVolumeReader;
using Typed::names;

TiffVolumeReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::UnsignedVoxelTypes>(); }
TiffVolumeReader::Operator::Operator(const Operator&) = default;
TiffVolumeReader::Operator::~Operator() = default;
TiffVolumeReader::Operator& TiffVolumeReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> TiffVolumeReader::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<TiffVolumeTypeReader::Parameter> type(new TiffVolumeTypeReader::Parameter);
  type->inputFilename = parameter->inputFilename.value();
  Impl::createByIdentifier(Impl::Names("TiffVolumeTypeReader").operatorType())->apply(type);
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, Impl::composeVolumeIdentifier(type->outputVoxelType.value())));
}

}  // namespace NORV::TaviOperators::DLL
