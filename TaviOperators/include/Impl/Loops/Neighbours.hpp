#pragma once

namespace NORV::TaviOperators::Impl {

/// Which voxels touch each other: those with a common face, or those with a common face, edge or corner.
enum class Neighbours { faces, all };

}  // namespace NORV::TaviOperators::Impl
