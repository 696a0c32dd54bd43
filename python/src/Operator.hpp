#pragma once

#include <Catalogue.hpp>
#include <Host.hpp>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviPython {

/// One argument of an operator's function: a key of the parameter object, or "dtype" or "progress".
struct Argument {
  std::string name;
  KeyDescription key;      ///< with an empty name where the argument is no key
  std::string dataType;    ///< of the property, where it is of one
  bool hasTriple = false;  ///< whether the value is one number for each axis
  bool hasRange = false;
  long long low = 0, high = 0;
  py::object standard;  ///< the default in the signature
};

/// An operator as Python calls it: filled from values in the order of its arguments.
class Operator {
public:
  /// Each argument is (name, key); `resultType` makes a result of several values, or is None.
  Operator(const std::string& op, const std::string& function, const py::list& arguments, const py::object& resultType);

  /// The defaults in the signature by name. A value that is one of them is not set: the parameter object has it.
  void bind(const py::dict& defaults);

  py::object call(const py::args& values) const;

  /// The mean seconds that a host of C++ needs for a call with these values: a parameter object, its values, a frame
  /// and a run.
  double hostSeconds(int repetitions, const py::args& values) const;

private:
  friend class Call;

  bool isReader() const { return !_fileKey.empty(); }
  /// Where an element does not fit, the operator leaves the voxels of its result as they were.
  bool leavesVoxels() const { return _leavesVoxels; }
  /// The voxel type of a result for an input of a type; empty where the operator takes no such input.
  std::string resultTypeFor(const std::string& inputType) const;

  std::string _op;
  std::string _function;
  std::unique_ptr<IOperator> (*_create)() = nullptr;
  std::vector<KeyDescription> _keys;
  std::vector<Argument> _arguments;
  std::vector<KeyDescription> _results;
  std::string _parameterType;
  std::string _fileKey;
  std::string _maskKey;
  std::string _firstInput;
  bool _leavesVoxels = false;
  bool _hasTypeArgument = false;
  py::object _resultType;
  mutable std::optional<std::vector<TaviTool::Instance>> _instances;  ///< found when a result needs a type
};

}  // namespace NORV::TaviPython
