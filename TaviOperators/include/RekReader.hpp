#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Operator.hpp>
#include <RekHeaderComposite.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekHeader.hpp>
#include <Files/SliceTransfer.hpp>

#include <string>

/// Reads a REK file into a volume.
///
/// Fails as `RekTypeReader` does, and with `std::runtime_error` for a file of another voxel type and for voxels that
/// cannot be read; a volume of the host is untouched until the header has been accepted. After an abort the volume is
/// filled in part. Extra memory: none for an output whose slices are dense, otherwise one slice. Serial; one step of
/// progress per slice.
namespace NORV::TaviOperators::RekReader {

inline constexpr Impl::Names names{"RekReader"};

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<RekHeaderPtr> outputHeader;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the file's voxel type; made if absent"});
    append("outputHeader", outputHeader, {Takes::object, optional, "the 2048 bytes before the voxels"});
    outputHeader = RekHeaderPtr(new RekHeaderPtr::Pointee);
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<OutputPtr>> {
  using T = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const Impl::FileWords words(getType());
    Impl::File file(words.checkedName(parameter->inputFilename.value()), Impl::File::Mode::read, words);
    const Impl::RekFileStart start = Impl::readRekFileStart(file, words);
    words.require(start.header.voxelTypeCode == Impl::rekVoxelType<T>.code,
                  " operator specialization does not fit to the REK file (wrong voxel type)");
    const auto extents = Impl::resolveRekExtents(start, sizeof(T), Impl::RekExtents::positive, words);

    const auto output = this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), extents);
    this->setTotal(extents.tert);
    Impl::transferSlices(*this, output, Impl::Direction::intoVolume,
                         [&file](T* voxels, SizeType bytes) { file.read(voxels, bytes, " could not read raw data"); });
    parameter->outputVolume = output;
    parameter->outputHeader = RekHeaderPtr(new RekHeaderPtr::Pointee(start.header));
  }
};

}  // namespace NORV::TaviOperators::RekReader
