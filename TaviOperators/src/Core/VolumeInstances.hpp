#pragma once

#include <Tavi/Volume.hpp>

/// Part of the library's precompiled header: volumes and their pointers are compiled once, in VolumeInstances.cpp, and
/// not again in the source of every operator.
namespace NORV::Tavi {

extern template class Volume<int8>;
extern template class Volume<uint8>;
extern template class Volume<int16>;
extern template class Volume<uint16>;
extern template class Volume<int32>;
extern template class Volume<uint32>;
extern template class Volume<float32>;
extern template class Volume<float64>;

extern template class SmartPointer<Volume<int8>>;
extern template class SmartPointer<Volume<uint8>>;
extern template class SmartPointer<Volume<int16>>;
extern template class SmartPointer<Volume<uint16>>;
extern template class SmartPointer<Volume<int32>>;
extern template class SmartPointer<Volume<uint32>>;
extern template class SmartPointer<Volume<float32>>;
extern template class SmartPointer<Volume<float64>>;

extern template class SmartPointer<IVolume>;
extern template class SmartPointer<Persistence::IComposite>;

}  // namespace NORV::Tavi
