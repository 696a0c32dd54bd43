#pragma once

#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Operator.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/Property.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Volume.hpp>

#include <string>

/// Part of the precompiled headers: what the core consists of is compiled once per binary, in CoreInstances.cpp, and
/// not again in each of its sources. The same goes for its registrators, which every source would run otherwise.
#ifndef TAVI_INSTANTIATE
#define TAVI_INSTANTIATE extern template
#endif

#define TAVI_INSTANTIATE_SHARED(...)  \
  TAVI_INSTANTIATE class __VA_ARGS__; \
  TAVI_INSTANTIATE class SmartPointer<__VA_ARGS__>;
#define TAVI_INSTANTIATE_REGISTERED(...)                                \
  TAVI_INSTANTIATE class Factory::StaticFactorySubscriber<__VA_ARGS__>; \
  TAVI_INSTANTIATE class Factory::FactoryRegistrator<__VA_ARGS__>;
#define TAVI_INSTANTIATE_DATA(...)                                       \
  TAVI_INSTANTIATE_REGISTERED(Persistence::Data<__VA_ARGS__>)            \
  TAVI_INSTANTIATE_SHARED(Persistence::Data<__VA_ARGS__>)                \
  TAVI_INSTANTIATE class Persistence::Impl::KindOfProperty<__VA_ARGS__>; \
  TAVI_INSTANTIATE __VA_ARGS__ Persistence::Impl::readData(const SmartPointer<Persistence::IComposite>&);
#define TAVI_INSTANTIATE_VOLUME(...)                                                        \
  TAVI_INSTANTIATE class Allocator::Block<__VA_ARGS__>;                                     \
  TAVI_INSTANTIATE Allocator::Block<__VA_ARGS__> Allocator::SingleBlockAllocator::allocate( \
      const Dimension<SizeType>&);                                                          \
  TAVI_INSTANTIATE_REGISTERED(Volume<__VA_ARGS__>)                                          \
  TAVI_INSTANTIATE_SHARED(Volume<__VA_ARGS__>)

namespace NORV::Exceptions::Impl {

TAVI_INSTANTIATE class Member<BadCast, std::bad_cast>;
TAVI_INSTANTIATE class Member<IndexOutOfRange, std::out_of_range>;
TAVI_INSTANTIATE class Member<InvalidArg, std::invalid_argument>;
TAVI_INSTANTIATE class Member<InvalidState, std::runtime_error>;
TAVI_INSTANTIATE class Member<NULLPointer, std::invalid_argument>;
TAVI_INSTANTIATE class Member<OutOfRange, std::out_of_range>;

}  // namespace NORV::Exceptions::Impl

namespace NORV::Tavi {

TAVI_INSTANTIATE class SmartPointer<Persistence::IComposite>;
TAVI_INSTANTIATE class SmartPointer<Persistence::IData>;
TAVI_INSTANTIATE class SmartPointer<IVolume>;
TAVI_INSTANTIATE class SmartPointer<IOperator>;
TAVI_INSTANTIATE class SmartPointer<Factory::CompositeFactory::CreationMethod>;
TAVI_INSTANTIATE class Factory::ClassFactory<std::string, Persistence::IComposite>;

TAVI_INSTANTIATE_DATA(bool)
TAVI_INSTANTIATE_DATA(std::string)
TAVI_INSTANTIATE_DATA(int8)
TAVI_INSTANTIATE_DATA(uint8)
TAVI_INSTANTIATE_DATA(int16)
TAVI_INSTANTIATE_DATA(uint16)
TAVI_INSTANTIATE_DATA(int32)
TAVI_INSTANTIATE_DATA(uint32)
TAVI_INSTANTIATE_DATA(int64)
TAVI_INSTANTIATE_DATA(uint64)
TAVI_INSTANTIATE_DATA(float32)
TAVI_INSTANTIATE_DATA(float64)

TAVI_INSTANTIATE_REGISTERED(Orientation)
TAVI_INSTANTIATE_REGISTERED(Progress)
TAVI_INSTANTIATE_REGISTERED(RoiComposite)
TAVI_INSTANTIATE class Persistence::CompositeOfProperties<Progress>;
TAVI_INSTANTIATE class SmartPointer<Orientation>;
TAVI_INSTANTIATE class SmartPointer<RoiComposite>;
TAVI_INSTANTIATE_REGISTERED(DimensionComposite<SizeType>)
TAVI_INSTANTIATE_SHARED(DimensionComposite<SizeType>)
TAVI_INSTANTIATE_REGISTERED(PositionComposite<SizeType>)
TAVI_INSTANTIATE_SHARED(PositionComposite<SizeType>)
TAVI_INSTANTIATE_REGISTERED(Container::List<SmartPointer<RoiComposite>>)
TAVI_INSTANTIATE_SHARED(Container::List<SmartPointer<RoiComposite>>)

TAVI_INSTANTIATE_REGISTERED(Allocator::SingleBlockAllocator)
TAVI_INSTANTIATE class SmartPointer<Allocator::SingleBlockAllocator>;
TAVI_INSTANTIATE_VOLUME(int8)
TAVI_INSTANTIATE_VOLUME(uint8)
TAVI_INSTANTIATE_VOLUME(int16)
TAVI_INSTANTIATE_VOLUME(uint16)
TAVI_INSTANTIATE_VOLUME(int32)
TAVI_INSTANTIATE_VOLUME(uint32)
TAVI_INSTANTIATE_VOLUME(float32)
TAVI_INSTANTIATE_VOLUME(float64)

}  // namespace NORV::Tavi

namespace NORV::Tavi::Persistence::Impl {

TAVI_INSTANTIATE class KindOfProperty<SmartPointer<IVolume>>;
TAVI_INSTANTIATE class KindOfProperty<Position<SizeType>>;
TAVI_INSTANTIATE class KindOfProperty<Dimension<SizeType>>;

}  // namespace NORV::Tavi::Persistence::Impl
