#include <Call.hpp>
#include <Catalogue.hpp>
#include <FeatureTable.hpp>
#include <Picture.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace NORV::TaviTool {
namespace {

constexpr std::array axes{"x", "y", "z"};

/// What the record tells of grey values.
bool needsValues(const std::string& key) {
  return key.starts_with("centerOfGravity") || key == "minimum" || key == "maximum" || key == "mean" ||
         key == "variance";
}

/// Calls `cell(name, value)` for each number of a record.
template <class Cell>
void flatten(const std::string& name, const Json& value, const Cell& cell) {
  if (value.is_object()) {
    for (const auto& [key, child] : value.items()) {
      flatten(name.empty() ? key : name + "." + key, child, cell);
    }
  } else if (value.is_array()) {
    for (std::size_t i = 0; i < axes.size(); ++i) {
      flatten(name + "." + axes[i], value.at(i), cell);
    }
  } else {
    cell(name, value);
  }
}

Json withoutValues(Json record) {
  Json kept = Json::object();
  for (const auto& [key, value] : record.items()) {
    if (!needsValues(key)) {
      kept[key] = value;
    }
  }
  return kept;
}

/// A record of the kind that the operator makes, which tells the columns where there is no object.
SmartPointer<IComposite> emptyRecord(const IVolume& labels, const IVolume& values) {
  return Tavi::Factory::getClassFactory().createInstance(
      "NORV::TaviOperators::StandardFeaturesCalculation::Features< " + labels.getVoxelType() + ", " +
      values.getVoxelType() + ", NORV::float64 >");
}

double asNumber(const Json& cell) {
  return cell.is_number()    ? cell.get<double>()
         : cell.is_boolean() ? (cell.get<bool>() ? 1.0 : 0.0)
         : cell == "inf"     ? std::numeric_limits<double>::infinity()
         : cell == "-inf"    ? -std::numeric_limits<double>::infinity()
                             : std::numeric_limits<double>::quiet_NaN();
}

std::string shortText(const Json& cell) {
  if (cell.is_number_float()) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.6g", cell.get<double>());
    return text.data();
  }
  return cell.is_string() ? cell.get<std::string>() : cell.dump();
}

std::string csvCell(const Json& cell) { return cell.is_string() ? cell.get<std::string>() : cell.dump(); }

std::string joined(const Json& triple, const char* separator) {
  return shortText(triple.at(0)) + separator + shortText(triple.at(1)) + separator + shortText(triple.at(2));
}

/// A cell for the eye: a region as the command line takes it, a position with commas.
std::string cellText(const Json& cell) {
  if (cell.is_object()) {
    return joined(cell.at("dim"), "x") + "+" + joined(cell.at("origin"), "+");
  }
  return cell.is_array() ? joined(cell, ",") : shortText(cell);
}

}  // namespace

FeatureTable::FeatureTable(Session& session, const SmartPointer<IVolume>& labels, const SmartPointer<IVolume>& values,
                           const std::string& doing) {
  const bool hasValues = values != nullptr;
  Call measure(session, "StandardFeaturesCalculation");
  measure.set("inputLabelVolume", labels)
      .set("inputValueVolume", hasValues ? values : labels)
      .set("inputMinimumLabel", greyValue(labels, 1))
      .set("inputMaximumLabel", extremesOf(session, labels).maximum)
      .run(doing);
  const auto jsonOf = [&](const SmartPointer<IComposite>& record) {
    return hasValues ? valueJson(record) : withoutValues(valueJson(record));
  };
  flatten("", jsonOf(emptyRecord(*labels, hasValues ? *values : *labels)),
          [this](const std::string& name, const Json&) { _columns.push_back(name); });
  const auto records = measure.value("outputFeaturesVector");
  const SizeType count = records->getNumberOfKeys();
  _rows.reserve(static_cast<std::size_t>(count));
  for (SizeType i = 0; i < count; ++i) {
    std::vector<Json> row;
    row.reserve(_columns.size());
    flatten("", jsonOf(records->getValue(records->getKey(i))),
            [&row](const std::string&, const Json& cell) { row.push_back(cell); });
    _rows.push_back(std::move(row));
  }
}

std::size_t FeatureTable::find(const std::string& column) const {
  const auto found = std::find(_columns.begin(), _columns.end(), column);
  if (found == _columns.end()) {
    throw UsageError("there is no column \"" + column + "\"; the nearest is " + nearest(column, _columns) +
                     ", all are " + join(_columns));
  }
  return static_cast<std::size_t>(found - _columns.begin());
}

double FeatureTable::number(std::size_t row, const std::string& column) const {
  return asNumber(_rows.at(row).at(find(column)));
}

void FeatureTable::sort(const std::string& column, bool reverse) {
  const std::size_t index = find(column);
  const auto isBefore = [&](const std::vector<Json>& a, const std::vector<Json>& b) {
    const double first = asNumber(a[index]), second = asNumber(b[index]);
    if (std::isnan(first) || std::isnan(second)) {
      return !std::isnan(first) && std::isnan(second);
    }
    return reverse ? first > second : first < second;
  };
  std::stable_sort(_rows.begin(), _rows.end(), isBefore);
}

Json FeatureTable::record(std::size_t row) const {
  Json record = Json::object();
  for (std::size_t column = 0; column < _columns.size(); ++column) {
    Json* node = &record;
    const std::string& name = _columns[column];
    for (std::size_t at = 0; at <= name.size();) {
      const std::size_t end = std::min(name.find('.', at), name.size());
      const std::string part = name.substr(at, end - at);
      const bool isAxis = end == name.size() && at > 0 && std::find(axes.begin(), axes.end(), part) != axes.end();
      if (isAxis) {
        node->push_back(nullptr);
        node = &node->back();
      } else {
        node = &(*node)[part];
      }
      at = end + 1;
    }
    *node = _rows.at(row)[column];
  }
  return record;
}

std::string FeatureTable::csvHeader() const { return join(_columns, ","); }

std::string FeatureTable::csv(std::size_t row) const {
  std::vector<std::string> cells;
  for (const Json& cell : _rows.at(row)) {
    cells.push_back(csvCell(cell));
  }
  return join(cells, ",");
}

std::string csvOf(const SmartPointer<IComposite>& records) {
  std::string lines;
  for (SizeType i = 0; i < records->getNumberOfKeys(); ++i) {
    const Json record = valueJson(records->getValue(records->getKey(i)));
    if (!record.is_object()) {
      return {};
    }
    std::vector<std::string> names, cells;
    flatten("", record, [&](const std::string& name, const Json& cell) {
      names.push_back(name);
      cells.push_back(csvCell(cell));
    });
    lines += (i == 0 ? join(names, ",") + "\n" : std::string()) + join(cells, ",") + "\n";
  }
  return lines;
}

std::string FeatureTable::text() const {
  // The columns of the first row stand for all; without one, those of an empty table.
  std::vector<std::vector<std::string>> lines(1);
  for (const std::string& column : _columns) {
    const std::string key = column.substr(0, column.find('.'));
    if (lines[0].empty() || lines[0].back() != key) {
      lines[0].push_back(key);
    }
  }
  for (std::size_t row = 0; row < _rows.size(); ++row) {
    std::vector<std::string> cells;
    const Json all = record(row);
    for (const auto& [key, cell] : all.items()) {
      cells.push_back(cellText(cell));
    }
    lines.push_back(std::move(cells));
  }
  std::vector<std::size_t> widths(lines[0].size());
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      widths[i] = std::max(widths[i], line[i].size());
    }
  }
  std::string text;
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      text += (i > 0 ? "  " : "") + std::string(widths[i] - line[i].size(), ' ') + line[i];
    }
    text += '\n';
  }
  return text;
}

std::vector<SizeClass> sizeClassesOf(const FeatureTable& table) {
  std::array<SizeType, 64> objects{};
  for (std::size_t row = 0; row < table.size(); ++row) {
    ++objects[static_cast<std::size_t>(std::ilogb(table.number(row, "size")))];
  }
  std::vector<SizeClass> classes;
  for (std::size_t i = 0; i < objects.size(); ++i) {
    if (objects[i] > 0 || !classes.empty()) {
      classes.push_back({SizeType{1} << i, (SizeType{2} << i) - 1, objects[i]});
    }
  }
  while (!classes.empty() && classes.back().objects == 0) {
    classes.pop_back();
  }
  return classes;
}

}  // namespace NORV::TaviTool
