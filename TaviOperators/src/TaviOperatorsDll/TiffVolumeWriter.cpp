#include <DLL/TiffVolumeWriter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Exceptions.hpp>
#include <TiffImageInformation.hpp>
#include <TiffVolumeWriter.hpp>

#include <Files/FileStream.hpp>
#include <Files/SliceTransfer.hpp>
#include <Files/Tiff/TiffDirectories.hpp>
#include <Files/Tiff/TiffFile.hpp>
#include <Files/Tiff/TiffMetaInformation.hpp>

#include <algorithm>

namespace NORV::TaviOperators::TiffVolumeWriter {
namespace {

constexpr Impl::Names names{"TiffVolumeWriter"};

/// The tags that all slices share, but for the extents.
void describe(TiffImageInformation& image, const Parameter& parameter) {
  const Triple<float32> size = parameter.inputVoxelSize_mm;
  const float32 x = Impl::pixelsPerCentimetreOf(size.prim), y = Impl::pixelsPerCentimetreOf(size.sec);
  image.compression = parameter.inputCompression.value();
  image.description = Impl::writeMetaInformation({size, parameter.inputDescription.value()});
  image.photometricInterpretation = uint16{1};
  image.pixelsPerResolutionUnitX = x;
  image.pixelsPerResolutionUnitY = y;
  image.resolutionUnit = x > 0.0f && y > 0.0f ? uint16{3} : uint16{1};
  image.samplesPerPixel = uint16{1};
  image.software = parameter.inputSoftware.value();
}

/// Offsets have 32 bits. Throws `std::overflow_error` if it is certain that the file would need more: compressed slices
/// may become small enough.
void requireOffsets(const TiffImageInformation& image, const Dimension<SizeType>& extents, SizeType voxelBytes) {
  constexpr SizeType header = 8, entries = 2 + 12 * 12 + 4;
  const SizeType voxels = image.compression.value() == 1 ? extents.prim * extents.sec * voxelBytes : 0;
  const SizeType slice = voxels + entries + image.description.value().size() + image.software.value().size();
  SizeType bytes = 0;
  if (__builtin_mul_overflow(extents.tert, slice, &bytes) || __builtin_add_overflow(bytes, header, &bytes)) {
    bytes = std::numeric_limits<SizeType>::max();
  }
  static_cast<void>(Tavi::checkedCast<uint32>(bytes));
}

/// Writes each slice as the one strip of a directory. The last directory is left for the end of the file.
template <class VolumePointer>
void writeImages(OperatorBase& self, const Impl::TiffTarget& file, const VolumePointer& input,
                 const TiffImageInformation& image) {
  using T = VoxelOf<VolumePointer>;
  TIFF* const tiff = file.handle();
  SizeType left = input->getDimTert();
  Impl::transferSlices(self, input, Impl::Direction::outOfVolume, [&](const T* voxels, SizeType bytes) {
    image.write(tiff);
    const auto size = Tavi::checkedCast<int64>(bytes);
    // Not changed: the bytes of a strip are swapped only for the other order, which no file is written in.
    void* const strip = const_cast<T*>(voxels);
    file.require<Exceptions::FileWrite>(TIFFWriteEncodedStrip(tiff, 0, strip, size) == size);
    file.require<Exceptions::FileWrite>(--left == 0 || TIFFWriteDirectory(tiff) == 1);
  });
}

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
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    TiffImageInformation image;
    describe(image, *parameter);
    image.bitsPerSample = static_cast<uint16>(8 * sizeof(T));

    Impl::TiffTarget file(name, names.inApply());
    const Dimension<SizeType> extents = input->getDimension();
    if (extents.tert > 0) {  // no slice has no tags that could be wrong
      image.width = Tavi::checkedCast<uint32>(extents.prim);
      image.height = Tavi::checkedCast<uint32>(extents.sec);
      image.check();
      requireOffsets(image, extents, sizeof(T));
    }
    file.begin();
    this->setTotal(std::max<SizeType>(extents.tert, 1));
    writeImages(*this, file, input, image);
    file.end();
    this->setDone(std::max<SizeType>(extents.tert, 1));
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::TiffVolumeWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::TiffVolumeWriter;
using Typed::names;

TiffVolumeWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::UnsignedVoxelTypes>(); }
TiffVolumeWriter::Operator::Operator(const Operator&) = default;
TiffVolumeWriter::Operator::~Operator() = default;
TiffVolumeWriter::Operator& TiffVolumeWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> TiffVolumeWriter::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inApply(" input volume is NULL"));  // the same words as in the typed operator
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
