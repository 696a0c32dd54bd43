#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Operator.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekHeader.hpp>
#include <Files/SliceTransfer.hpp>

#include <string>

/// The operators of the REK format. A `Form` is one way to store it: it names the operators and their parameter
/// objects, and the stream that holds the bytes.
namespace NORV::TaviOperators::Impl {

/// A REK file that is open at its first voxel. The plain form, whose size is known, settles the extents by it.
template <class Stream>
class RekInput {
public:
  RekInput(const std::string& name, const FileErrors& errors)
      : _errors(errors),
        _stream(errors.checkedName(name), ByteStream::Mode::read, errors),
        _start(readRekStart(_stream, errors)) {}

  const RecHeader_V260& header() const { return _start.header; }
  RekHeaderPtr composite() const { return RekHeaderPtr(new RekHeaderPtr::Pointee(_start.header)); }
  ByteStream& stream() { return _stream; }
  Dimension<SizeType> extents(SizeType voxelBytes, RekExtents rule) const {
    return resolveRekExtents(_start, voxelBytes, rule, _errors);
  }

private:
  const FileErrors& _errors;
  Stream _stream;
  decltype(readRekStart(std::declval<Stream&>(), std::declval<const FileErrors&>())) _start;
};

/// Looks into a file: voxel type, extents and header, but no voxel.
template <class Form>
class RekTypeReaderOperator final : public Operator<RekTypeReaderOperator<Form>> {
public:
  std::string getType() const override { return Form::typeReader.operatorType(); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<typename Form::TypeReaderParameter>(composite, Form::typeReader.inApply());
    const FileErrors errors(getType());
    const RekInput<typename Form::Stream> input(parameter->inputFilename.value(), errors);
    const auto type = findRekVoxelType(input.header().voxelTypeCode);
    errors.require(type.has_value(), " unknown voxel type");
    const auto extents = input.extents(type->bytes, RekExtents::nonZero);
    parameter->outputVoxelType = std::string(type->name);
    parameter->outputDimension = extents;
    parameter->outputHeader = input.composite();
  }
};

template <class Form, class OutputPtr>
class RekReaderOperator final : public Operator<RekReaderOperator<Form, OutputPtr>> {
  using T = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return typedIdentifier<OutputPtr>(Form::reader); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<typename Form::ReaderParameter>(composite, Form::reader.inApply());
    const FileErrors errors(getType());
    RekInput<typename Form::Stream> input(parameter->inputFilename.value(), errors);
    errors.require(input.header().voxelTypeCode == rekVoxelType<T>.code,
                   " operator specialization does not fit to the REK file (wrong voxel type)");
    const auto extents = input.extents(sizeof(T), RekExtents::positive);
    constexpr const char* failure = " could not read raw data";
    input.stream().requireRoomFor(bytesOf(extents), failure);

    const auto output = this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), extents);
    this->setTotal(extents.tert);
    transferSlices(*this, output, Direction::intoVolume,
                   [&](T* voxels, SizeType bytes) { input.stream().read(voxels, bytes, failure); });
    if (!this->isAborted()) {
      input.stream().checkEnd(failure);
    }
    parameter->outputVolume = output;
    parameter->outputHeader = input.composite();
  }

private:
  /// The largest number, if 64 bits cannot count them.
  static SizeType bytesOf(const Dimension<SizeType>& extents) {
    SizeType bytes = 0;
    const bool overflows = __builtin_mul_overflow(extents.size(), sizeof(T), &bytes);
    return overflows ? std::numeric_limits<SizeType>::max() : bytes;
  }
};

template <class Form, class InputPtr>
class RekWriterOperator final : public Operator<RekWriterOperator<Form, InputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return typedIdentifier<InputPtr>(Form::writer); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<typename Form::WriterParameter>(composite, Form::writer.inApply());
    const FileErrors errors(getType());
    const std::string name = errors.checkedName(parameter->inputFilename.value());
    const InputPtr input(parameter->inputVolume.value());
    if (input == nullptr) {
      errors.refuse(" missing input volume");
    }
    this->setTotal(input->getDimTert());

    typename Form::Stream stream(name, ByteStream::Mode::write, errors);
    const RekHeaderPtr given = parameter->inputHeader.value();
    RecHeader_V260 header = given != nullptr ? given->getHeader() : RecHeader_V260();
    header.voxelTypeCode = rekVoxelType<T>.code;
    storeRekExtents(header, input->getDimension(), extensionOf(name));
    stream.write(&header, sizeof header, " failed to write REK header");
    constexpr const char* failure = " could not write raw data";
    transferSlices(*this, input, Direction::outOfVolume,
                   [&](const T* voxels, SizeType bytes) { stream.write(voxels, bytes, failure); });
    stream.close(failure);
  }
};

/// The way of a reader's frame: the type reader looks into the file, its voxel type names the typed operator.
template <class Form>
SmartPointer<IOperator> createRekReader(const SmartPointer<IComposite>& composite) {
  const Names& names = Form::reader;
  const auto parameter =
      castParameter<typename Form::ReaderParameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<typename Form::TypeReaderParameter> type(new typename Form::TypeReaderParameter);
  type->inputFilename = parameter->inputFilename.value();
  createByIdentifier(Form::typeReader.operatorType())->apply(type);
  return createByIdentifier(composeIdentifier(names, composeVolumeIdentifier(type->outputVoxelType.value())));
}

/// The way of a writer's frame: the volume names the typed operator.
template <class Form>
SmartPointer<IOperator> createRekWriter(const SmartPointer<IComposite>& composite) {
  const Names& names = Form::writer;
  const auto parameter =
      castParameter<typename Form::WriterParameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  requireGiven(input, names.inFrame("inputVolume or outputVolume is NULL!"));
  return createOperator(names, input);
}

}  // namespace NORV::TaviOperators::Impl
