#include "VolumeInstances.hpp"

namespace NORV::Tavi {

template class Volume<int8>;
template class Volume<uint8>;
template class Volume<int16>;
template class Volume<uint16>;
template class Volume<int32>;
template class Volume<uint32>;
template class Volume<float32>;
template class Volume<float64>;
template class SmartPointer<Volume<int8>>;
template class SmartPointer<Volume<uint8>>;
template class SmartPointer<Volume<int16>>;
template class SmartPointer<Volume<uint16>>;
template class SmartPointer<Volume<int32>>;
template class SmartPointer<Volume<uint32>>;
template class SmartPointer<Volume<float32>>;
template class SmartPointer<Volume<float64>>;
template class SmartPointer<IVolume>;
template class SmartPointer<Persistence::IComposite>;

}  // namespace NORV::Tavi
