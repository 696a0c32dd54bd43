#pragma once

#include <Common.hpp>
#include <FeatureTable.hpp>
#include <Session.hpp>

#include <array>
#include <optional>
#include <string>

namespace NORV::TaviTool {

/// One class of grey values that the segmentation has found.
struct GreyClass {
  SizeType label = 0;
  SizeType voxels = 0;
  double minimum = 0.0, maximum = 0.0, mean = 0.0;
};

/// The road from a scan to numbers, step by step in the order of the functions: dark objects inside the part are its
/// pores, bright ones its inclusions. Each step returns what it did in words.
class Analysis {
public:
  static constexpr SizeType numberOfClasses = 3;
  static constexpr SizeType smallestObject = 8;  ///< voxels; what is smaller cannot be told from noise

  Analysis(Session& session, SmartPointer<IVolume> scan) : _session(session), _scan(std::move(scan)) {}

  /// Removes noise: a median over the ball of radius 1. Voxels at the surface of the scan stay as they are.
  std::string filter();
  /// Divides the grey values into air, material and what is denser.
  std::string classify();
  /// Takes the voxels of the darkest and of the brightest class.
  std::string threshold();
  /// Leaves out dark objects at the border of the scan, such as the air around the part, and parts pores that touch.
  std::string separate();
  /// Finds the objects that the bright voxels form.
  std::string label();
  /// Removes objects that are too small and bright ones at the border of the scan.
  std::string select();
  /// Measures the grey values of the scan in each object.
  std::string measure();

  const SmartPointer<IVolume>& filtered() const { return _filtered; }
  const SmartPointer<IVolume>& classVolume() const { return _classVolume; }
  const std::vector<GreyClass>& classes() const { return _classes; }
  /// The filtered grey value from which on voxels belong to the part; absent where all are of the darkest class.
  std::optional<double> solidFrom() const;
  /// Voxels of all classes but the darkest.
  SizeType solidVoxels() const;
  /// Pores from 1 on, behind them the inclusions; `uint32`.
  const SmartPointer<IVolume>& objects() const { return _objects; }
  SizeType numberOfPores() const { return _counts[0]; }
  SizeType numberOfInclusions() const { return _counts[1]; }
  /// A row for each object.
  const FeatureTable& table() const { return *_table; }

private:
  SmartPointer<IVolume> inGreyLevels();
  SmartPointer<IVolume> binarize(SizeType label);
  SmartPointer<IVolume> withoutSmall(const SmartPointer<IVolume>& labels, SizeType& removed);

  Session& _session;
  SmartPointer<IVolume> _scan, _filtered, _classVolume, _objects;
  std::vector<GreyClass> _classes;
  std::array<SmartPointer<IVolume>, 2> _found;  // pores and inclusions: binary, later labelled
  std::array<SizeType, 2> _counts{};
  std::optional<FeatureTable> _table;
};

}  // namespace NORV::TaviTool
