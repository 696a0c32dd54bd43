#include <Call.hpp>
#include <Lock.hpp>
#include <Operator.hpp>
#include <OperatorTable.hpp>
#include <PythonValues.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Values.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace NORV::TaviPython {
namespace {

Argument argumentOf(const py::handle& described, const std::vector<KeyDescription>& keys,
                    const SmartPointer<IComposite>& parameter) {
  const auto parts = py::reinterpret_borrow<py::tuple>(described);
  Argument argument;
  argument.name = parts[0].cast<std::string>();
  const auto name = parts[1].cast<std::string>();
  for (const KeyDescription& key : keys) {
    if (key.key == name) {
      argument.key = key;
    }
  }
  if (argument.key.key.empty()) {
    return argument;
  }
  const auto present = parameter->getValue(name);
  argument.dataType = TaviTool::dataTypeOf(present);
  argument.hasTriple = isTriple(present);
  argument.hasRange = std::sscanf(argument.key.info.range, "%lld to %lld", &argument.low, &argument.high) == 2;
  return argument;
}

}  // namespace

Operator::Operator(const std::string& op, const std::string& function, const py::list& arguments,
                   const py::object& resultType)
    : _op(op),
      _function(function),
      _resultType(resultType) {
  const auto parameter = TaviTool::makeParameter(op);
  for (const auto& entry : TaviOperators::operatorTable()) {
    if (op == entry.name) {
      _create = entry.create;
    }
  }
  _keys = TaviTool::keysOf(parameter);
  _parameterType = parameter->getType();
  _fileKey = TaviTool::fileNameKey(_keys);
  _firstInput = TaviTool::firstVolumeKey(_keys, {"input", "modify"});
  for (const py::handle argument : arguments) {
    _arguments.push_back(argumentOf(argument, _keys, parameter));
    _hasTypeArgument = _hasTypeArgument || _arguments.back().name == "dtype";
  }
  for (const KeyDescription& key : _keys) {
    if (key.info.takes == Takes::mask && _maskKey.empty()) {
      _maskKey = key.key;
    }
    _leavesVoxels = _leavesVoxels || key.info.takes == Takes::mask || key.info.takes == Takes::volumeList;
    if (!TaviTool::isInput(key.key)) {
      _results.push_back(key);
    }
  }
}

void Operator::bind(const py::dict& defaults) {
  for (Argument& argument : _arguments) {
    if (defaults.contains(argument.name)) {
      argument.standard = defaults[py::str(argument.name)];
    }
  }
}

py::object Operator::call(const py::args& values) const { return Call(*this, values).run(); }

double Operator::hostSeconds(int repetitions, const py::args& values) const {
  const auto filled = Call(*this, values).fill();
  std::vector<std::pair<std::string, SmartPointer<IComposite>>> given;
  for (std::size_t i = 0; i < _arguments.size(); ++i) {
    const std::string& key = _arguments[i].key.key;
    if (!key.empty() && !values[i].is_none() && values[i].ptr() != _arguments[i].standard.ptr()) {
      given.emplace_back(key, filled->getValue(key));
    }
  }
  const Unlocked unlocked;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < repetitions; ++i) {
    const auto parameter = Tavi::Factory::getClassFactory().createInstance(_parameterType);
    for (const auto& [key, value] : given) {
      parameter->setValue(key, value);
    }
    _create()->apply(parameter);
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / repetitions;
}

std::string Operator::resultTypeFor(const std::string& inputType) const {
  if (!_instances) {
    _instances = TaviTool::reachableInstances(_op);
  }
  std::string first;
  for (const TaviTool::Instance& instance : *_instances) {
    if (instance.front() == inputType) {
      if (instance.back() == inputType) {
        return inputType;
      }
      first = first.empty() ? instance.back() : first;
    }
  }
  return first;
}

}  // namespace NORV::TaviPython
