#include <Call.hpp>
#include <PythonValues.hpp>
#include <Raise.hpp>
#include <Run.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Vector.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>

namespace NORV::TaviPython {
namespace {

using Tavi::Persistence::Data;

constexpr SizeType fewVoxels = 32768;  // volumes up to this size are worked on without a look at signals

SizeType voxelsOf(const SmartPointer<IVolume>& volume) { return volume != nullptr ? volume->getRoiSize() : 0; }

}  // namespace

Call::Call(const Operator& op, const py::args& values)
    : _op(op),
      _values(values),
      _parameter(Tavi::Factory::getClassFactory().createInstance(op._parameterType)) {
  if (values.size() != op._arguments.size()) {
    throw py::type_error(op._function + "(): expected " + std::to_string(op._arguments.size()) + " arguments, got " +
                         std::to_string(values.size()));
  }
}

const SmartPointer<IComposite>& Call::fill() {
  setVolumes();
  setOutputs();
  setValues();
  return _parameter;
}

py::object Call::run() {
  std::optional<FailedRun> failed;
  try {
    fill();
    const auto frame = _op._create();
    failed = TaviPython::run(*frame, _parameter, isShort(), _progress);
  } catch (const py::builtin_exception&) {
    throw;
  } catch (const py::error_already_set&) {
    throw;
  } catch (const TaviTool::UsageError&) {
    throw;
  } catch (...) {
    failed = FailedRun{std::current_exception(), 0};
  }
  if (failed) {
    raise(*failed, _op._op, _parameter, _file);
  }
  return results();
}

/// Volumes first: they decide the types of the values.
void Call::setVolumes() {
  for (std::size_t i = 0; i < _op._arguments.size(); ++i) {
    const Argument& argument = _op._arguments[i];
    const py::handle value = _values[i].ptr();
    if (argument.key.key.empty()) {
      if (argument.name == "progress") {
        _progress = value.ptr() == Py_False ? py::none() : py::reinterpret_borrow<py::object>(value);
      } else if (!value.is_none()) {
        _askedType = py::str(py::dtype::from_args(py::reinterpret_borrow<py::object>(value)).attr("name"));
      }
    } else if (value.is_none() && argument.key.info.required && !TaviTool::isOutput(argument.key.key)) {
      throw py::type_error(where(argument).text() + " is missing: " + argument.key.info.meaning);
    } else if (!value.is_none() && !TaviTool::isOutput(argument.key.key)) {
      setVolume(argument, value);
    }
  }
  _firstInput = volumeOf(_op._firstInput);
}

void Call::setVolume(const Argument& argument, py::handle value) {
  const Takes takes = argument.key.info.takes;
  if (takes == Takes::volumeList) {
    setList(argument, value);
  } else if (takes == Takes::matrix) {
    _parameter->setValue(argument.key.key, SmartPointer<IComposite>(matrixOf(value, where(argument))));
  } else if (takes == Takes::volume || takes == Takes::labelVolume || takes == Takes::mask) {
    py::array array = requireArray(value, where(argument));
    if (takes == Takes::mask && array.dtype().kind() == 'b') {
      // 255 is a selected voxel for every operator.
      array = py::module_::import("numpy").attr("multiply")(array, 255, py::arg("dtype") = "uint8");
    }
    const bool isModified = TaviTool::isModify(argument.key.key);
    const ArrayVolume over = isModified ? targetOver(array, where(argument)) : volumeOver(array, where(argument));
    if (takes == Takes::mask && voxelTypeOf(array) != "uint8") {
      throw py::type_error(where(argument).text() + ": a mask is of uint8 or bool, not " + textOf(array.dtype()) +
                           "; array != 0 makes one");
    }
    _voxels += voxelsOf(over.volume);
    if (isModified) {
      _targets.push_back({argument.key.key, array, over});
    }
    _parameter->setValue(argument.key.key, SmartPointer<IComposite>(over.volume));
  }
}

void Call::setList(const Argument& argument, py::handle value) {
  using Vector = Tavi::Container::Vector<SmartPointer<IVolume>>;
  using List = Tavi::Container::List<SmartPointer<IVolume>>;
  if (!py::isinstance<py::list>(value) && !py::isinstance<py::tuple>(value)) {
    throw py::type_error(where(argument).text() + ": expected a list of arrays");
  }
  const SmartPointer<Vector> vector(new Vector);
  const SmartPointer<List> list(new List);
  for (const py::handle each : value) {
    py::array array = requireArray(each, where(argument));
    array = array.dtype().kind() == 'b' ? py::array(array.attr("view")("uint8")) : array;
    const auto volume = volumeOver(array, where(argument)).volume;
    _voxels += voxelsOf(volume);
    vector->push_back(volume);
    list->push_back(volume);
  }
  // A property empties itself for the kind of container that it does not hold.
  _parameter->setValue(argument.key.key, SmartPointer<IComposite>(vector));
  if (_parameter->getValue(argument.key.key) == nullptr) {
    _parameter->setValue(argument.key.key, SmartPointer<IComposite>(list));
  }
}

void Call::setOutputs() {
  for (std::size_t i = 0; i < _op._arguments.size(); ++i) {
    const Argument& argument = _op._arguments[i];
    if (TaviTool::isOutput(argument.key.key)) {
      setOutput(argument, _values[i].ptr());
    }
  }
}

void Call::setOutput(const Argument& argument, py::handle value) {
  if (py::isinstance<py::array>(value)) {
    setTarget(argument, requireArray(value, where(argument)));
    return;
  }
  std::optional<Dimension<SizeType>> extents;
  if (!value.is_none()) {
    if (!py::isinstance<py::tuple>(value)) {
      throw py::type_error(where(argument).text() + "=" + shown(value) +
                           ": expected an array to fill, or the shape (z, y, x) of the result");
    }
    const SmartPointer<Tavi::DimensionComposite<SizeType>> node(new Tavi::DimensionComposite<SizeType>);
    fillTriple(node, value, true, where(argument));
    try {
      extents = node->value();
      static_cast<void>(extents->size());
    } catch (const std::exception&) {
      throw py::value_error(where(argument).text() + "=" + shown(value) + ": no shape of a volume");
    }
  }
  const auto volume = makeOutput(argument, extents ? &*extents : nullptr);
  _voxels += voxelsOf(volume);
  if (volume != nullptr) {
    _parameter->setValue(argument.key.key, SmartPointer<IComposite>(volume));
  }
}

void Call::setTarget(const Argument& argument, const py::array& array) {
  const Target target{argument.key.key, array, targetOver(array, where(argument))};
  if (!_askedType.empty() && _askedType != TaviTool::shortName(target.over.volume->getVoxelType())) {
    throw py::type_error(_op._function + "(): dtype is " + _askedType + ", and " + argument.name + " is an array of " +
                         TaviTool::shortName(target.over.volume->getVoxelType()) + "; leave dtype away");
  }
  _parameter->setValue(argument.key.key, SmartPointer<IComposite>(target.over.volume));
  _voxels += voxelsOf(target.over.volume);
  _targets.push_back(target);
}

/// The count that is asked for; 0 for none. Whether it is one is checked with the other values.
int Call::askedThreads() const {
  for (std::size_t i = 0; i < _op._arguments.size(); ++i) {
    if (_op._arguments[i].name == "threads" && PyLong_Check(_values[i].ptr()) != 0) {
      int overflow = 0;
      const long count = PyLong_AsLongAndOverflow(_values[i].ptr(), &overflow);
      return count > 0 && count < 1024 ? static_cast<int>(count) : 0;
    }
  }
  return 0;
}

/// A dense copy of the view, by an operator of the core. It has no frame.
SmartPointer<IVolume> Call::copyOf(const SmartPointer<IVolume>& volume) const {
  auto& factory = Tavi::Factory::getClassFactory();
  const std::string type = volume->getType();
  const SmartPointer<IOperator> copy(
      factory.createInstance("NORV::Tavi::Copy::Operator< " + type + ", " + type + " >"));
  const SmartPointer<IComposite> parameter(factory.createInstance("NORV::Tavi::Copy::Parameter"));
  parameter->setValue("inputVolume", SmartPointer<IComposite>(volume));
  if (const auto failed =
          TaviPython::run(*copy, parameter, voxelsOf(volume) <= fewVoxels, py::none(), askedThreads())) {
    raise(*failed, _op._op, parameter, {});
  }
  return SmartPointer<IVolume>(parameter->getValue("outputVolume"));
}

SmartPointer<IVolume> Call::makeOutput(const Argument& argument, const Dimension<SizeType>* extents) const {
  const auto input = firstInput();
  const bool isFree = _askedType.empty() && extents == nullptr && !argument.key.info.required && makesResultItself();
  if (isFree && (input == nullptr || !_op.leavesVoxels())) {
    return {};
  }
  if (isFree) {
    return copyOf(input);
  }
  const std::string type = outputType();
  if (input == nullptr && extents == nullptr && !_op.isReader()) {
    return TaviTool::makeVolume(type, Dimension<SizeType>());
  }
  if (input == nullptr && extents == nullptr) {
    return {};
  }
  const auto dimension = extents != nullptr ? *extents : input->getDimension();
  const auto volume = TaviTool::makeVolume(type, dimension);
  if (_op.leavesVoxels()) {
    TaviTool::clear(volume);
  }
  return volume;
}

/// Without an output an operator makes one of the input's voxel type, which some do not have for each input.
bool Call::makesResultItself() const {
  if (!_op._hasTypeArgument || _firstInput == nullptr) {
    return true;
  }
  const std::string input = TaviTool::shortName(_firstInput->getVoxelType());
  const std::string result = _op.resultTypeFor(input);
  return result.empty() || result == input;
}

std::string Call::outputType() const {
  if (!_askedType.empty()) {
    const auto& known = TaviTool::allVoxelTypes();
    if (std::find(known.begin(), known.end(), _askedType) == known.end()) {
      throw py::type_error(_op._function + "(): dtype=" + _askedType + " is no voxel type (" + TaviTool::join(known) +
                           ")");
    }
    return _askedType;
  }
  const std::string input = firstInput() != nullptr ? TaviTool::shortName(firstInput()->getVoxelType()) : "float32";
  const std::string result = _op.resultTypeFor(input);
  return result.empty() ? input : result;  // the operator says what it takes
}

void Call::setValues() {
  for (std::size_t i = 0; i < _op._arguments.size(); ++i) {
    const Argument& argument = _op._arguments[i];
    const py::handle value = _values[i].ptr();
    const bool isValue = !argument.key.key.empty() && !TaviTool::isOutput(argument.key.key) &&
                         !TaviTool::isVolume(argument.key) && argument.key.info.takes != Takes::volumeList;
    if (isValue && !value.is_none() && value.ptr() != argument.standard.ptr()) {
      setValue(argument, value);
    }
  }
}

void Call::setValue(const Argument& argument, py::handle value) {
  const std::string& key = argument.key.key;
  switch (argument.key.info.takes) {
    case Takes::like:
      _parameter->setValue(key, dataOf(greyValueType(argument), value, where(argument)));
      return;
    case Takes::fileName:
      _file = fileNameOf(value, where(argument));
      _parameter->setValue(key, SmartPointer<IComposite>(new Data<std::string>(_file)));
      return;
    case Takes::number:
      _parameter->setValue(key, dataOf(numberType(argument), value, where(argument)));
      return;
    default:
      break;
  }
  if (argument.hasTriple) {
    setPosition(argument, value);
    return;
  }
  if (argument.dataType.empty()) {
    _parameter->setValue(key, objectOf(value, where(argument)));
    if (_parameter->getValue(key) == nullptr) {
      throw py::type_error(where(argument).text() + "=" + shown(value) + ": expected " + argument.key.info.meaning);
    }
    return;
  }
  checkRange(argument, value);
  _parameter->setValue(key, dataOf(argument.dataType, value, where(argument)));
}

void Call::checkRange(const Argument& argument, py::handle value) const {
  if (!argument.hasRange || PyIndex_Check(value.ptr()) == 0 || PyBool_Check(value.ptr())) {
    return;
  }
  int overflow = 0;
  const py::object whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!whole) {
    throw py::error_already_set();
  }
  const long long number = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
  if (overflow != 0 || number < argument.low || number > argument.high) {
    throw py::value_error(where(argument).text() + "=" + shown(value) + ": expected " + argument.key.info.range);
  }
}

/// Three numbers, or the middle of the mask that the position is one of.
void Call::setPosition(const Argument& argument, py::handle value) {
  const bool isSpatial = argument.key.info.takes != Takes::object;
  const auto node = _parameter->getValue(argument.key.key);
  const bool isText = py::isinstance<py::str>(value) && argument.key.info.takes == Takes::position;
  if (isText && (value.cast<std::string>() == "center" || value.cast<std::string>() == "centre")) {
    const auto mask = volumeOf(_op._maskKey);
    if (mask == nullptr) {
      throw py::value_error(where(argument).text() + "=" + shown(value) + ": there is no mask that has a middle");
    }
    const auto extents = mask->getDimension();
    fillTriple(node, py::make_tuple(extents.tert / 2, extents.sec / 2, extents.prim / 2), isSpatial, where(argument));
  } else {
    fillTriple(node, value, isSpatial, where(argument));
  }
  _parameter->setValue(argument.key.key, node);
}

std::string Call::greyValueType(const Argument& argument) const {
  const auto volume = volumeOf(argument.key.info.likeKey);
  // An output that is made takes the voxel type of the input.
  const auto& like = volume != nullptr ? volume : firstInput();
  if (like == nullptr) {
    throw py::type_error(where(argument).text() + " takes the voxel type of a volume, and none is given");
  }
  return like->getVoxelType();
}

std::string Call::numberType(const Argument& argument) const {
  if (*argument.key.info.likeKey != '\0') {
    const auto volume = volumeOf(argument.key.info.likeKey);
    const bool isWide = volume != nullptr && volume->getVoxelType() == Tavi::typeName<float64>;
    return isWide ? Tavi::typeName<float64> : Tavi::typeName<float32>;
  }
  if (!argument.dataType.empty()) {
    return argument.dataType;
  }
  return *argument.key.info.valueType != '\0' ? argument.key.info.valueType : Tavi::typeName<float64>;
}

bool Call::isShort() const { return _file.empty() && _voxels <= fewVoxels; }

SmartPointer<IVolume> Call::volumeOf(const std::string& key) const {
  return key.empty() ? SmartPointer<IVolume>() : SmartPointer<IVolume>(_parameter->getValue(key));
}

py::object Call::result(const KeyDescription& key) const {
  const auto value = _parameter->getValue(key.key);
  for (const Target& target : _targets) {
    if (target.key != key.key) {
      continue;
    }
    // A volume that was resized has a block of its own now.
    const SmartPointer<IVolume> volume(value);
    const bool isFilled = volume != nullptr && volume.get() == target.over.volume.get() &&
                          firstVoxel(volume) == target.first() &&
                          voxelsOf(volume) == static_cast<SizeType>(target.given.size());
    const py::object made = isFilled || volume == nullptr ? py::none() : arrayOf(volume);
    if (!isFilled && (made.is_none() || !made.attr("shape").equal(target.given.attr("shape")))) {
      throw py::value_error(_op._function + "(): out has the shape " + shown(target.given.attr("shape")) +
                            ", the result " + (made.is_none() ? "is absent" : "has " + shown(made.attr("shape"))) +
                            "; give an array of that shape");
    }
    if (!made.is_none()) {  // some operators make a volume of their own in any case
      py::module_::import("numpy").attr("copyto")(target.given, made, py::arg("casting") = "no");
    }
    if (target.over.copied) {
      target.given[py::ellipsis()] = target.over.array;
    }
    return target.given;
  }
  return pythonOf(value, key.info.takes == Takes::dimension || key.info.takes == Takes::position);
}

py::object Call::results() const {
  if (_op._results.empty()) {
    return py::none();
  }
  if (_op._resultType.is_none()) {
    return result(_op._results.front());
  }
  py::tuple all(_op._results.size());
  for (std::size_t i = 0; i < _op._results.size(); ++i) {
    all[i] = result(_op._results[i]);
  }
  return _op._resultType(*all);
}

}  // namespace NORV::TaviPython
