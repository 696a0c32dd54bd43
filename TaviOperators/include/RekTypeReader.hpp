#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Operator.hpp>
#include <RekHeaderComposite.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekHeader.hpp>

#include <string>

/// Looks into a REK file: voxel type, extents and header, but no voxel. It has no exported frame.
///
/// Throws `std::invalid_argument` for a file name that is none, `std::runtime_error` for a file that cannot be opened
/// or is no REK file, `std::out_of_range` for negative extents and `std::overflow_error` for extents beyond 64 bits.
namespace NORV::TaviOperators::RekTypeReader {

inline constexpr Impl::Names names{"RekTypeReader"};

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<std::string> outputVoxelType;
  Property<Dimension<SizeType>> outputDimension;
  Property<RekHeaderPtr> outputHeader;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to look into"});
    append("outputVoxelType", outputVoxelType, {Takes::text, optional, "name of the voxel type, as \"NORV::uint8\""});
    append("outputDimension", outputDimension, {Takes::dimension, optional, "extents of the volume in voxels"});
    append("outputHeader", outputHeader, {Takes::object, optional, "the 2048 bytes before the voxels"});
    outputHeader = RekHeaderPtr(new RekHeaderPtr::Pointee);
  }
  std::string getType() const override { return names.parameterType(); }
};

class Operator final : public TaviOperators::Operator<Operator> {
public:
  std::string getType() const override { return names.operatorType(); }

  void apply(SmartPointer<IComposite> composite) override {
    beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const Impl::FileWords words(getType());
    Impl::File file(words.checkedName(parameter->inputFilename.value()), Impl::File::Mode::read, words);
    const Impl::RekFileStart start = Impl::readRekFileStart(file, words);
    const auto type = Impl::findRekVoxelType(start.header.voxelTypeCode);
    words.require(type.has_value(), " unknown voxel type");
    const auto extents = Impl::resolveRekExtents(start, type->bytes, Impl::RekExtents::nonZero, words);
    parameter->outputVoxelType = std::string(type->name);
    parameter->outputDimension = extents;
    parameter->outputHeader = RekHeaderPtr(new RekHeaderPtr::Pointee(start.header));
  }
};

}  // namespace NORV::TaviOperators::RekTypeReader
