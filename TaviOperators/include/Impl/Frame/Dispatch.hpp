#pragma once

#include <Impl/Frame/Names.hpp>
#include <Operator.hpp>
#include <Tavi/ClassFactory.hpp>

#include <string>

/// The steps between a parameter object and the typed operator that fits it. Each goes on or throws
/// InvalidParameterObjectException with the text given.
namespace NORV::TaviOperators::Impl {

template <class Parameter>
SmartPointer<Parameter> castParameter(const SmartPointer<IComposite>& composite, const std::string& otherwise) {
  const SmartPointer<Parameter> parameter(composite);
  if (parameter == nullptr) {
    throw IOperator::InvalidParameterObjectException(otherwise);
  }
  return parameter;
}

inline void require(bool condition, const std::string& otherwise) {
  if (!condition) {
    throw IOperator::InvalidParameterObjectException(otherwise);
  }
}

template <class T>
void requireGiven(const SmartPointer<T>& pointer, const std::string& otherwise) {
  require(pointer != nullptr, otherwise);
}

/// Refuses an output of another class as `checkOutputVolume` does, without a change to it: for what is to be checked
/// before a volume may be resized.
template <class OutputPtr>
void requireOutputClass(const SmartPointer<IVolume>& given) {
  if (given != nullptr) {
    static_cast<void>(
        Tavi::Impl::checkOutputVolume<OutputPtr>(given, given->getDimension(), "NORV::TaviOperators::Operator"));
  }
}

/// An absent `other` is no difference.
inline void requireSameVoxelType(const IVolume& volume, const SmartPointer<IVolume>& other,
                                 const std::string& otherwise) {
  require(other == nullptr || other->getVoxelType() == volume.getVoxelType(), otherwise);
}

inline SmartPointer<IVolume> orElse(const SmartPointer<IVolume>& volume, const SmartPointer<IVolume>& other) {
  return volume != nullptr ? volume : other;
}

inline std::string composeIdentifier(const Names& names, const std::string& volumes) {
  return names.operatorType() + "< " + volumes + " >";
}

/// The identifier of a volume of a voxel type that is known by name.
inline std::string composeVolumeIdentifier(const std::string& voxelType) {
  return "NORV::Tavi::Volume< " + voxelType + " , " + Tavi::Allocator::SingleBlockAllocator::identifier() + " >";
}

/// The identifier of a typed operator over one or two volume pointers.
template <class FirstPtr, class... OtherPtr>
std::string typedIdentifier(const Names& names) {
  return composeIdentifier(names, (FirstPtr::Pointee::identifier() + ... + (", " + OtherPtr::Pointee::identifier())));
}

/// The typed operator of that name; `std::invalid_argument` if there is none.
inline SmartPointer<IOperator> createByIdentifier(const std::string& identifier) {
  return SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(identifier));
}

/// The typed operator for the classes of the given volumes, none of which may be null.
template <class... Others>
SmartPointer<IOperator> createOperator(const Names& names, const SmartPointer<IVolume>& first,
                                       const Others&... others) {
  return createByIdentifier(composeIdentifier(names, (first->getType() + ... + (", " + others->getType()))));
}

/// The whole way of a frame that asks for the typed operator of "inputVolume" alone, whose output is of the same class.
template <class Parameter>
SmartPointer<IOperator> createForInput(const Names& names, const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return createOperator(names, input, input);
}

/// The whole way of a frame that asks for the typed operator of "inputVolume" and "outputVolume". An absent output,
/// where it is not required, is one of the input's class.
template <class Parameter>
SmartPointer<IOperator> createForInputAndOutput(const Names& names, const SmartPointer<IComposite>& composite,
                                                bool isOutputRequired) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  if (isOutputRequired) {
    require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  } else {
    requireGiven(input, names.inFrame("inputVolume is NULL!"));
  }
  return createOperator(names, input, orElse(output, input));
}

}  // namespace NORV::TaviOperators::Impl
