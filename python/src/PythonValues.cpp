#include <Arrays.hpp>
#include <Catalogue.hpp>
#include <IAffineTransformMatrix.hpp>
#include <MatrixVolume.hpp>
#include <Numbers.hpp>
#include <PythonValues.hpp>
#include <RGB.hpp>
#include <RekHeaderComposite.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Map.hpp>
#include <Values.hpp>

#include <cmath>
#include <limits>
#include <type_traits>

namespace NORV::TaviPython {
namespace {

using Tavi::Persistence::Data;
using TextMap = Tavi::Container::Map<std::string, std::string>;
constexpr py::ssize_t order = TaviOperators::TransformMatrix::order;

[[noreturn]] void refuse(const Where& where, py::handle value, const std::string& expected) {
  throw py::value_error(where.text() + "=" + shown(value) + ": expected " + expected);
}

[[noreturn]] void refuseType(const Where& where, py::handle value, const std::string& expected) {
  throw py::type_error(where.text() + "=" + shown(value) + ": expected " + expected + ", not " +
                       textOf(py::type::of(value).attr("__name__")));
}

template <class T>
std::string rangeText() {
  return "a whole number from " + std::to_string(std::numeric_limits<T>::min()) + " to " +
         std::to_string(std::numeric_limits<T>::max());
}

/// Numbers pass through __index__ or __float__, as those of NumPy do. Flags are no numbers, nor is an array one.
void requireNumber(py::handle value, const Where& where) {
  PyObject* const object = value.ptr();
  const bool isNumber = PyIndex_Check(object) != 0 || (Py_TYPE(object)->tp_as_number != nullptr &&
                                                       Py_TYPE(object)->tp_as_number->nb_float != nullptr);
  const bool isArray = py::isinstance<py::array>(value) && py::reinterpret_borrow<py::array>(value).ndim() != 0;
  if (!isNumber || isArray || PyBool_Check(object)) {
    refuseType(where, value, "a number");
  }
}

template <class T>
T integerOf(py::handle value, const Where& where, const std::string& type) {
  const auto expected = [&] { return rangeText<T>() + " (" + TaviTool::shortName(type) + ")"; };
  py::object whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!whole) {
    PyErr_Clear();
    const double number = PyFloat_AsDouble(value.ptr());
    if (PyErr_Occurred() != nullptr) {
      PyErr_Clear();
      refuseType(where, value, expected());
    }
    if (!std::isfinite(number) || number != std::floor(number)) {
      refuse(where, value, expected());
    }
    whole = py::reinterpret_steal<py::object>(PyLong_FromDouble(number));
  }
  bool fits = true;
  T result{};
  if constexpr (std::is_same_v<T, uint64>) {
    result = PyLong_AsUnsignedLongLong(whole.ptr());
    fits = PyErr_Occurred() == nullptr;
  } else {
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
    fits = overflow == 0 && std::in_range<T>(number);
    result = static_cast<T>(number);
  }
  if (!fits) {
    PyErr_Clear();
    refuse(where, value, expected());
  }
  return result;
}

template <class T>
T floatOf(py::handle value, const Where& where, const std::string& type) {
  const double number = PyFloat_AsDouble(value.ptr());
  const bool isLost = PyErr_Occurred() != nullptr ||
                      (std::isfinite(number) && std::abs(number) > static_cast<double>(std::numeric_limits<T>::max()));
  if (isLost) {
    PyErr_Clear();
    refuse(where, value, "a number that " + TaviTool::shortName(type) + " can hold");
  }
  return static_cast<T>(number);
}

py::object decoded(const std::string& text) {
  PyObject* const object = PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "surrogateescape");
  if (object == nullptr) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::object>(object);
}

/// Elements in the opposite order of axes: rows and columns x, y, z, w become z, y, x, w.
SizeType turned(SizeType axis) { return axis < 3 ? 2 - axis : axis; }

py::object matrixArray(const SmartPointer<IVolume>& volume) {
  py::array_t<float64> array({order, order});
  auto elements = array.mutable_unchecked<2>();
  const Tavi::VolumePtr<float64> matrix(volume);
  if (matrix == nullptr || !TaviOperators::hasMatrixExtents(*matrix)) {
    return py::none();
  }
  const auto view = Tavi::viewOf(*matrix);
  for (SizeType row = 0; row < order; ++row) {
    for (SizeType column = 0; column < order; ++column) {
      elements(static_cast<py::ssize_t>(turned(row)), static_cast<py::ssize_t>(turned(column))) =
          view.at(column, row, 0);
    }
  }
  return array;
}

SmartPointer<IComposite> paletteOf(py::handle value, const Where& where) {
  static const char* const expected = "rows of three numbers from 0 to 255 (red, green, blue)";
  py::object rows = py::reinterpret_borrow<py::object>(value);
  const SmartPointer<TaviOperators::ColorTable> table(new TaviOperators::ColorTable);
  for (const py::handle row : rows) {
    if (!PySequence_Check(row.ptr()) && !py::hasattr(row, "__getitem__")) {
      refuse(where, value, expected);
    }
    const auto colours =
        py::list(py::hasattr(row, "item") ? row.attr("item")() : py::reinterpret_borrow<py::object>(row));
    if (colours.size() != 3) {
      refuse(where, value, expected);
    }
    const auto share = [&](std::size_t i) { return integerOf<uint8>(colours[i], where, "uint8"); };
    table->push_back(SmartPointer<TaviOperators::RGB>(new TaviOperators::RGB(share(0), share(1), share(2))));
  }
  return table;
}

}  // namespace

std::string shown(py::handle value) {
  PyObject* const representation = PyObject_Repr(value.ptr());
  if (representation == nullptr) {
    PyErr_Clear();
    return "<object>";
  }
  auto text = textOf(py::reinterpret_steal<py::object>(representation));
  constexpr std::size_t longest = 60;
  return text.size() > longest ? text.substr(0, longest) + "..." : text;
}

SmartPointer<IComposite> dataOf(const std::string& type, py::handle value, const Where& where) {
  if (type == Tavi::typeName<std::string>) {
    if (!py::isinstance<py::str>(value)) {
      refuseType(where, value, "a str");
    }
    return SmartPointer<IComposite>(new Data<std::string>(value.cast<std::string>()));
  }
  if (type == Tavi::typeName<bool>) {
    const bool isFlag = PyBool_Check(value.ptr()) || py::isinstance(value, py::module_::import("numpy").attr("bool_"));
    if (!isFlag) {
      refuseType(where, value, "True or False");
    }
    return SmartPointer<IComposite>(new Data<bool>(PyObject_IsTrue(value.ptr()) == 1));
  }
  requireNumber(value, where);
  SmartPointer<IComposite> result;
  const bool isKnown = withNumberType(type, [&]<class T>(T) {
    if constexpr (std::is_floating_point_v<T>) {
      result = SmartPointer<IComposite>(new Data<T>(floatOf<T>(value, where, type)));
    } else {
      result = SmartPointer<IComposite>(new Data<T>(integerOf<T>(value, where, type)));
    }
  });
  if (!isKnown) {
    throw py::type_error(where.text() + ": values of the type " + type + " cannot be given from Python");
  }
  return result;
}

bool isTriple(const SmartPointer<IComposite>& node) {
  return node != nullptr && node->getNumberOfKeys() == 3 && node->getKey(0) == "prim" && node->getKey(1) == "sec" &&
         node->getKey(2) == "tert";
}

void fillTriple(const SmartPointer<IComposite>& node, py::handle value, bool isSpatial, const Where& where) {
  const std::string type = TaviTool::dataTypeOf(node->getValue("prim"));
  std::array<SmartPointer<IComposite>, 3> components;
  const bool isText = py::isinstance<py::str>(value) || py::isinstance<py::bytes>(value);
  const bool isSequence = !isText && PySequence_Check(value.ptr()) != 0 &&
                          !(py::isinstance<py::array>(value) && py::reinterpret_borrow<py::array>(value).ndim() == 0);
  if (isText) {
    refuseType(where, value, isSpatial ? "three numbers (z, y, x)" : "three numbers");
  }
  if (isSequence) {
    const py::ssize_t size = PySequence_Size(value.ptr());
    if (size != 3) {
      PyErr_Clear();
      refuse(where, value, isSpatial ? "three numbers (z, y, x)" : "three numbers");
    }
    for (std::size_t i = 0; i < 3; ++i) {
      const py::object item =
          py::reinterpret_steal<py::object>(PySequence_GetItem(value.ptr(), static_cast<py::ssize_t>(i)));
      if (!item) {
        throw py::error_already_set();
      }
      components[isSpatial ? 2 - i : i] = dataOf(type, item, where);
    }
  } else {
    components.fill(dataOf(type, value, where));
  }
  for (std::size_t i = 0; i < 3; ++i) {
    node->setValue(node->getKey(i), components[i]);
  }
}

SmartPointer<IVolume> matrixOf(py::handle value, const Where& where) {
  const auto array = py::array_t<float64, py::array::c_style | py::array::forcecast>::ensure(value);
  if (!array) {
    PyErr_Clear();
    refuseType(where, value, "a matrix of 4 x 4 numbers");
  }
  if (array.ndim() != 2 || array.shape(0) != order || array.shape(1) != order) {
    refuse(where, value, "a matrix of 4 x 4 numbers, from (z, y, x, 1) to (z, y, x, 1)");
  }
  TaviOperators::TransformMatrix matrix;
  const auto elements = array.unchecked<2>();
  for (std::size_t row = 0; row < order; ++row) {
    for (std::size_t column = 0; column < order; ++column) {
      matrix[row][column] = elements(static_cast<py::ssize_t>(turned(row)), static_cast<py::ssize_t>(turned(column)));
    }
  }
  return TaviOperators::makeMatrixVolume(matrix);
}

SmartPointer<IComposite> objectOf(py::handle value, const Where& where) {
  if (py::isinstance<py::bytes>(value)) {
    const SmartPointer<IComposite> header(new TaviOperators::RekHeaderComposite<RecHeader_V260>);
    const auto bytes = value.cast<std::string>();
    if (bytes.size() != sizeof(RecHeader_V260)) {
      refuse(where, value, std::to_string(sizeof(RecHeader_V260)) + " bytes, as a reader returns them");
    }
    header->setValue("header", SmartPointer<IComposite>(new Data<std::string>(bytes)));
    return header;
  }
  if (py::isinstance<py::dict>(value)) {
    const SmartPointer<TextMap> texts(new TextMap);
    for (const auto& [key, text] : py::reinterpret_borrow<py::dict>(value)) {
      if (!py::isinstance<py::str>(key) || !py::isinstance<py::str>(text)) {
        refuseType(where, value, "a dict of texts by keyword");
      }
      texts->insert_or_assign(key.cast<std::string>(), text.cast<std::string>());
    }
    return texts;
  }
  if (py::isinstance<py::list>(value) || py::isinstance<py::tuple>(value) || py::isinstance<py::array>(value)) {
    return paletteOf(value, where);
  }
  refuseType(where, value, "bytes of a header, a dict of texts, or rows of colours");
}

std::string fileNameOf(py::handle value, const Where& where) {
  const py::object path = py::reinterpret_steal<py::object>(PyOS_FSPath(value.ptr()));
  if (!path) {
    PyErr_Clear();
    refuseType(where, value, "a str or a path");
  }
  if (py::isinstance<py::bytes>(path)) {
    return path.cast<std::string>();
  }
  const py::object bytes = py::reinterpret_steal<py::object>(PyUnicode_EncodeFSDefault(path.ptr()));
  if (!bytes) {
    throw py::error_already_set();
  }
  return bytes.cast<std::string>();
}

py::object pythonOf(const SmartPointer<IComposite>& value, bool isSpatial) {
  if (value == nullptr) {
    return py::none();
  }
  py::object result = py::none();
  if (withNumber(*value, [&](auto number) { result = py::cast(number); })) {
    return result;
  }
  if (const auto* text = dynamic_cast<const Data<std::string>*>(value.get())) {
    return decoded(text->getValue());
  }
  if (const SmartPointer<IVolume> volume(value); volume != nullptr) {
    return arrayOf(volume);
  }
  if (isTriple(value)) {
    const auto component = [&](const char* key) { return pythonOf(value->getValue(key), false); };
    return isSpatial ? py::make_tuple(component("tert"), component("sec"), component("prim"))
                     : py::make_tuple(component("prim"), component("sec"), component("tert"));
  }
  if (const auto* matrix = dynamic_cast<const TaviOperators::IAffineTransformMatrix*>(value.get())) {
    return matrixArray(matrix->getMatrixVolume());
  }
  if (const auto* texts = dynamic_cast<const TextMap*>(value.get())) {
    py::dict dictionary;
    for (const auto& [key, text] : *texts) {
      dictionary[decoded(key)] = decoded(text);
    }
    return dictionary;
  }
  if (value->getNumberOfKeys() == 1 && value->getKey(0) == "header") {
    const Tavi::Persistence::DataPtr<std::string> header(value->getValue("header"));
    return py::bytes(header != nullptr ? header->getValue() : std::string());
  }
  return recordsOf(value);
}

}  // namespace NORV::TaviPython
