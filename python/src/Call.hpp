#pragma once

#include <Arrays.hpp>
#include <Operator.hpp>

#include <string>
#include <vector>

namespace NORV::TaviPython {

/// One run of an operator.
class Call {
public:
  Call(const Operator& op, const py::args& values);

  /// The parameter object with all that is given, before a run.
  const SmartPointer<IComposite>& fill();

  py::object run();

private:
  /// An array of the caller's that is an output.
  struct Target {
    std::string key;
    py::array given;  ///< what is returned
    ArrayVolume over;

    /// Where the voxels begin, as long as the operator has not given the volume a block of its own.
    const void* first() const { return over.array.size() != 0 ? over.array.data() : nullptr; }
  };

  void setVolumes();
  void setOutputs();
  void setValues();
  void setVolume(const Argument& argument, py::handle value);
  void setList(const Argument& argument, py::handle value);
  void setOutput(const Argument& argument, py::handle value);
  void setTarget(const Argument& argument, const py::array& array);
  void setValue(const Argument& argument, py::handle value);
  void setPosition(const Argument& argument, py::handle value);
  void checkRange(const Argument& argument, py::handle value) const;

  /// An output that the operator does not make, or is not to make.
  SmartPointer<IVolume> makeOutput(const Argument& argument, const Dimension<SizeType>* extents) const;
  SmartPointer<IVolume> copyOf(const SmartPointer<IVolume>& volume) const;
  int askedThreads() const;
  std::string outputType() const;
  bool makesResultItself() const;
  std::string greyValueType(const Argument& argument) const;
  std::string numberType(const Argument& argument) const;

  py::object result(const KeyDescription& key) const;
  py::object results() const;
  bool isShort() const;

  SmartPointer<IVolume> volumeOf(const std::string& key) const;
  const SmartPointer<IVolume>& firstInput() const { return _firstInput; }
  Where where(const Argument& argument) const { return {_op._function, argument.name}; }

  const Operator& _op;
  const py::args& _values;
  SmartPointer<IComposite> _parameter;
  SmartPointer<IVolume> _firstInput;
  std::string _file;
  std::string _askedType;  ///< "dtype"; empty if the default holds
  py::object _progress = py::none();
  std::vector<Target> _targets;
  SizeType _voxels = 0;
};

}  // namespace NORV::TaviPython
