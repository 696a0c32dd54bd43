#pragma once

#include <Tavi/CompositeOfProperties.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/KeyInfo.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <string>

/// What the parameter object of an operator is declared with.
namespace NORV::TaviOperators {

using Tavi::Dimension;
using Tavi::DynamicCast;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Position;
using Tavi::Progress;
using Tavi::RegionOfInterest;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Triple;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Persistence::CompositeOfProperties;
using Tavi::Persistence::Data;
using Tavi::Persistence::DataPtr;
using Tavi::Persistence::floatLike;
using Tavi::Persistence::IComposite;
using Tavi::Persistence::IData;
using Tavi::Persistence::KeyInfo;
using Tavi::Persistence::like;
using Tavi::Persistence::optional;
using Tavi::Persistence::required;
using Tavi::Persistence::Takes;
using Tavi::Persistence::threadCountKey;

}  // namespace NORV::TaviOperators
