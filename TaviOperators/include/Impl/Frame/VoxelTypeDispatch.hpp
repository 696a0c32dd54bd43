#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Names.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>

#include <string>

/// Dispatch of the operators whose identifiers name voxel types only, not the classes of the volumes.
namespace NORV::TaviOperators::Impl {

/// The identifier of a typed operator over an input and an output volume.
template <class InputPtr, class OutputPtr>
std::string voxelTypeIdentifier(const Names& names) {
  return composeIdentifier(names,
                           std::string(Tavi::typeName<VoxelOf<InputPtr>>) + " , " + Tavi::typeName<VoxelOf<OutputPtr>>);
}

/// The typed operator that fits an input and an output volume; without an output volume, the one whose output is of the
/// input's voxel type.
inline SmartPointer<IOperator> createByVoxelTypes(const Names& names, const SmartPointer<IVolume>& input,
                                                  const SmartPointer<IVolume>& output) {
  requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return createByIdentifier(
      composeIdentifier(names, input->getVoxelType() + " , " + orElse(output, input)->getVoxelType()));
}

/// The same for the volumes of a parameter object that names them as most do.
template <class Parameter>
SmartPointer<IOperator> createByVoxelTypes(const Names& names, const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  return createByVoxelTypes(names, parameter->inputVolume.value(), parameter->outputVolume.value());
}

}  // namespace NORV::TaviOperators::Impl
