#pragma once

#include <Common.hpp>

#include <optional>
#include <string>

/// Transforms of positions in words: "rotate:z:30deg,about:center,translate:1x2x3".
namespace NORV::TaviTool {

/// Whether the text is a transform in words, 16 numbers or a text file of them, not the name of a volume file.
bool isMatrixText(const std::string& text);

/// The name of the text file that holds the matrix; empty where the text itself is the matrix.
std::string matrixFileOf(const std::string& text);

/// The 4 x 4 matrix of float64 that maps positions of the input to positions of the output. Operations are applied
/// from left to right:
///
///     rotate:<axis>:<angle>   axis x, y, z or a direction AxBxC; angle such as 30deg or 0.5rad, degrees if bare
///     scale:<factor>          or AxBxC for a factor along each axis
///     flip:<axis>             x, y or z
///     translate:AxBxC         in voxels
///     about:center            or about:AxBxC; the operation before it leaves this position where it is
///
/// "center" is the middle of a volume of the given extents. Sixteen numbers are rows, top to bottom, with commas
/// between; in a text file spaces and line ends separate as well. Throws UsageError, which names the key, for any other
/// text, and Failure for a text file that cannot be read.
SmartPointer<IVolume> parseMatrix(const std::string& key, const std::string& text,
                                  const std::optional<Dimension<SizeType>>& extents);

}  // namespace NORV::TaviTool
