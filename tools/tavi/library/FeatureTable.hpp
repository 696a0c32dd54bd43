#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <string>
#include <vector>

namespace NORV::TaviTool {

/// What is measured of the objects of a label volume: a row for each, with the entries of the record that
/// StandardFeaturesCalculation makes, in its order. Columns are named by the way to a number: "size", "roi.origin.x".
class FeatureTable {
public:
  /// Measures all labels above 0. Where there are no values only what tells of places and shapes is kept.
  FeatureTable(Session& session, const SmartPointer<IVolume>& labels, const SmartPointer<IVolume>& values,
               const std::string& doing);

  std::size_t size() const { return _rows.size(); }
  double number(std::size_t row, const std::string& column) const;

  /// Rows that are equal in the column keep their order, NaNs come last. Throws UsageError for an unknown column.
  void sort(const std::string& column, bool reverse);

  /// A row as an object, where triples are arrays of three numbers.
  Json record(std::size_t row) const;
  /// The columns, and a row, with commas between.
  std::string csvHeader() const;
  std::string csv(std::size_t row) const;
  /// All rows in columns for the eye; triples share one.
  std::string text() const;

private:
  std::size_t find(const std::string& column) const;

  std::vector<std::string> _columns;
  std::vector<std::vector<Json>> _rows;
};

/// Records, or nodes of the same entries, as lines with commas between, the first one of names such as "roi.origin.x".
/// Empty for what is no list of records.
std::string csvOf(const SmartPointer<IComposite>& records);

/// How many objects there are from a size on, to just below twice that size.
struct SizeClass {
  SizeType from = 0, to = 0, objects = 0;
};
/// From the class of the smallest to that of the largest object.
std::vector<SizeClass> sizeClassesOf(const FeatureTable& table);

}  // namespace NORV::TaviTool
