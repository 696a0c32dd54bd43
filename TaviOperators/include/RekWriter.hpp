#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Operator.hpp>
#include <RekHeaderComposite.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekHeader.hpp>
#include <Files/SliceTransfer.hpp>

#include <string>

/// Writes the view of a volume to a REK file, which is created or truncated.
///
/// Throws `std::invalid_argument` for a file name that is none and for a missing volume, `std::runtime_error` for a
/// file that cannot be opened or written, and `std::overflow_error` for extents beyond 32 bits. What has been written
/// stays, also after an abort: whole slices. Extra memory: none for a view whose slices are dense, otherwise one slice.
/// Serial; one step of progress per slice.
namespace NORV::TaviOperators::RekWriter {

inline constexpr Impl::Names names{"RekWriter"};

/// One run. The extension of the file name decides which fields of the header hold the extents.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> inputVolume;
  Property<RekHeaderPtr> inputHeader;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
    append("inputVolume", inputVolume, {Takes::volume, required, "volume whose view is written"});
    append("inputHeader", inputHeader, {Takes::object, optional, "header to start from, as a reader hands it out"});
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const Impl::FileWords words(getType());
    const std::string name = words.checkedName(parameter->inputFilename.value());
    const InputPtr input(parameter->inputVolume.value());
    if (input == nullptr) {
      words.refuse(" missing input volume");
    }
    this->setTotal(input->getDimTert());

    Impl::File file(name, Impl::File::Mode::write, words);
    const RekHeaderPtr given = parameter->inputHeader.value();
    RecHeader_V260 header = given != nullptr ? given->getHeader() : RecHeader_V260();
    header.voxelTypeCode = Impl::rekVoxelType<T>.code;
    Impl::storeRekExtents(header, input->getDimension(), Impl::extensionOf(name));
    file.write(&header, sizeof header, " failed to write REK header");
    Impl::transferSlices(*this, input, Impl::Direction::outOfVolume, [&file](const T* voxels, SizeType bytes) {
      file.write(voxels, bytes, " could not write raw data");
    });
    file.close(" could not write raw data");
  }
};

}  // namespace NORV::TaviOperators::RekWriter
