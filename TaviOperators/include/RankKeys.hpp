#pragma once

#include <Parameter.hpp>

/// The keys that the filters by a structuring element share.
namespace NORV::TaviOperators {

inline constexpr KeyInfo rankInputKey{Takes::volume, required, "volume to filter"};
inline constexpr KeyInfo rankOutputKey{Takes::volume, optional, "target of the same voxel type; made if absent"};
inline constexpr KeyInfo rankMaskKey{Takes::mask, required,
                                     "structuring element: voxels of this uint8 volume that are "
                                     "not zero"};
inline constexpr KeyInfo rankAnchorKey{Takes::position, optional, "voxel of the mask that lies at the output voxel"};

}  // namespace NORV::TaviOperators
