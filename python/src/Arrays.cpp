#include <Arrays.hpp>
#include <Catalogue.hpp>
#include <Lock.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

namespace NORV::TaviPython {
namespace {

using TaviTool::withVoxels;

constexpr std::array<std::array<std::size_t, 3>, 6> storageOrders{
    {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}};

/// The extents of a block whose axes have these extents and steps, in voxels; the step of an axis with one voxel says
/// nothing.
std::optional<std::array<SizeType, 3>> blockOf(const std::array<SizeType, 3>& extents,
                                               const std::array<SizeType, 3>& steps) {
  if (extents[0] > 1 && steps[0] != 1) {
    return std::nullopt;
  }
  std::array<SizeType, 3> block{extents};
  if (extents[1] > 1) {
    block[0] = steps[1];
  } else if (extents[2] > 1 && steps[2] % extents[0] != 0) {
    block[0] = steps[2];
  }
  if (block[0] < extents[0] || block[0] == 0) {
    return std::nullopt;
  }
  if (extents[2] > 1) {
    block[1] = steps[2] / block[0];
    if (steps[2] % block[0] != 0 || block[1] < extents[1]) {
      return std::nullopt;
    }
  }
  SizeType voxels = 0;
  if (__builtin_mul_overflow(block[0], block[1], &voxels) || __builtin_mul_overflow(voxels, block[2], &voxels) ||
      voxels > static_cast<SizeType>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(double)) {
    return std::nullopt;
  }
  return block;
}

/// Extents and steps of an array along prim, sec and tert.
std::pair<std::array<SizeType, 3>, std::array<std::ptrdiff_t, 3>> geometryOf(const py::array& array) {
  std::array<SizeType, 3> extents{};
  std::array<std::ptrdiff_t, 3> steps{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    extents[axis] = static_cast<SizeType>(array.shape(static_cast<py::ssize_t>(2 - axis)));
    steps[axis] = array.strides(static_cast<py::ssize_t>(2 - axis));
  }
  return {extents, steps};
}

std::optional<Layout> layoutOf(const py::array& array) {
  const auto [extents, steps] = geometryOf(array);
  const std::ptrdiff_t bytes = array.itemsize();
  const bool isAligned = reinterpret_cast<std::uintptr_t>(array.data()) % static_cast<std::uintptr_t>(bytes) == 0;
  return isAligned ? findLayout(extents, steps, bytes) : std::nullopt;
}

template <class T>
SmartPointer<IVolume> makeVolume(const py::array& array, const Layout& layout) {
  PyObject* const owner = py::object(array).release().ptr();
  // Inputs are never written to; outputs have been checked to be writable.
  void* const begin = const_cast<void*>(array.data());
  T* const lowest = reinterpret_cast<T*>(static_cast<char*>(begin) + layout.lowest);
  const auto& block = layout.allocated;
  const auto& region = layout.region;
  const auto& codes = layout.orientation;
  const Tavi::VolumePtr<T> volume(new Tavi::Volume<T>(Dimension<SizeType>(block[0], block[1], block[2]), lowest,
                                                      [owner](T*) { releaseReference(owner); }));
  if (block != region) {
    volume->setRoi(RegionOfInterest(Dimension<SizeType>(region[0], region[1], region[2])));
  }
  if (codes != std::array<uint8, 3>{0, 2, 4}) {
    volume->setOrientation(Tavi::Orientation(codes[0], codes[1], codes[2]));
  }
  return volume;
}

/// Whether an element of that kind and size is a voxel of type T.
template <class T>
bool isVoxel(char kind, py::ssize_t bytes) {
  constexpr char own = std::is_floating_point_v<T> ? 'f' : std::is_signed_v<T> ? 'i' : 'u';
  return kind == own && bytes == static_cast<py::ssize_t>(sizeof(T));
}

/// Calls `use` with a voxel of the array's type; returns whether it is one.
template <class Use>
bool withVoxelType(const py::array& array, const Use& use) {
  const py::dtype type = array.dtype();
  const char kind = type.kind();
  const py::ssize_t bytes = type.itemsize();
  const auto tryOne = [&]<class T>(T sample) {
    if (isVoxel<T>(kind, bytes)) {
      use(sample);
      return true;
    }
    return false;
  };
  const auto tryEach = [&]<class... T>(T... types) { return (tryOne(types) || ...); };
  return tryEach(uint8(), uint16(), float32(), int8(), int16(), int32(), uint32(), float64());
}

SmartPointer<IVolume> makeVolumeOf(const py::array& array, const Layout& layout) {
  SmartPointer<IVolume> volume;
  withVoxelType(array, [&]<class T>(T) { volume = makeVolume<T>(array, layout); });
  return volume;
}

[[noreturn]] void refuseType(const py::array& array, const Where& where) {
  const auto name = textOf(array.dtype());
  const char kind = array.dtype().kind();
  std::string advice = "convert it with .astype, such as .astype('float32')";
  if (kind == 'b') {
    advice = "see it as numbers with .view('uint8')";
  } else if (kind == 'i' || kind == 'u') {
    advice = std::string("if its values fit, convert it with .astype('") + (kind == 'i' ? "int32" : "uint32") + "')";
  } else if (kind == 'c') {
    advice = "take its real part or its magnitude";
  } else if (kind == 'O' || kind == 'V' || kind == 'U' || kind == 'S') {
    advice = "volumes hold numbers";
  }
  throw py::type_error(where.text() + ": " + name + " is no voxel type (" + TaviTool::join(TaviTool::allVoxelTypes()) +
                       "); " + advice);
}

/// Copies also where the layout does not suit.
template <class Suits>
ArrayVolume volumeOver(const py::array& array, const Where& where, const Suits& suits) {
  requireVoxelType(array, where);
  if (array.size() == 0) {
    return {TaviTool::makeVolume(voxelTypeOf(array), Dimension<SizeType>()), array, false};
  }
  const auto layout = layoutOf(array);
  if (layout && suits(*layout)) {
    return {makeVolumeOf(array, *layout), array, false};
  }
  const py::array copy = py::module_::import("numpy").attr("array")(array, py::arg("order") = "C");
  const auto dense = layoutOf(copy);
  if (!dense) {
    throw py::value_error(where.text() + ": the array cannot be copied into a dense block");
  }
  return {makeVolumeOf(copy, *dense), copy, true};
}

}  // namespace

std::optional<Layout> findLayout(const std::array<SizeType, 3>& extents, const std::array<std::ptrdiff_t, 3>& steps,
                                 std::ptrdiff_t voxelBytes) {
  std::array<SizeType, 3> magnitudes{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (extents[axis] > 1 && (steps[axis] % voxelBytes != 0 || steps[axis] == 0)) {
      return std::nullopt;
    }
    const std::ptrdiff_t step = steps[axis] / voxelBytes;
    magnitudes[axis] = step < 0 ? SizeType{0} - static_cast<SizeType>(step) : static_cast<SizeType>(step);
  }
  for (const auto& order : storageOrders) {
    const auto ordered = [&](const std::array<SizeType, 3>& values) {
      return std::array<SizeType, 3>{values[order[0]], values[order[1]], values[order[2]]};
    };
    const auto block = blockOf(ordered(extents), ordered(magnitudes));
    if (!block) {
      continue;
    }
    Layout layout{*block, ordered(extents), {}, 0};
    for (std::size_t storage = 0; storage < 3; ++storage) {
      const std::size_t axis = order[storage];
      const bool reversed = extents[axis] > 1 && steps[axis] < 0;
      layout.orientation[axis] = static_cast<uint8>(2 * storage + (reversed ? 1 : 0));
      layout.lowest += reversed ? steps[axis] * static_cast<std::ptrdiff_t>(extents[axis] - 1) : 0;
    }
    return layout;
  }
  return std::nullopt;
}

std::string voxelTypeOf(const py::array& array) {
  std::string name;
  withVoxelType(array, [&]<class T>(T) { name = TaviTool::shortName(Tavi::typeName<T>); });
  return name;
}

void requireVoxelType(const py::array& array, const Where& where) {
  if (!withVoxelType(array, [](auto) {})) {
    refuseType(array, where);
  }
  const char order = array.dtype().byteorder();
  if (order != '=' && order != '|') {
    throw py::type_error(where.text() + ": " + textOf(array.dtype()) +
                         " is of the other byte order; convert it with .astype(array.dtype.newbyteorder('='))");
  }
}

py::array requireArray(py::handle value, const Where& where) {
  if (!py::isinstance<py::array>(value)) {
    const auto name = textOf(py::type::of(value).attr("__name__"));
    throw py::type_error(where.text() + ": expected a numpy.ndarray [z, y, x], not " + name +
                         "; make one with numpy.asarray");
  }
  // Almost always a plain array; only what derives from it may hide a mask of invalid elements.
  if (Py_TYPE(value.ptr()) != py::detail::npy_api::get().PyArray_Type_ && py::hasattr(value, "mask")) {
    throw py::type_error(where.text() + ": a masked array; fill it first, with array.filled(value)");
  }
  const auto array = py::reinterpret_borrow<py::array>(value);
  if (array.ndim() != 3) {
    throw py::value_error(where.text() + ": an array of " + std::to_string(array.ndim()) +
                          " axes; a volume has three, [z, y, x]" +
                          (array.ndim() == 2 ? ": array[numpy.newaxis] makes a volume of one slice" : ""));
  }
  const bool isEmpty = array.shape(0) == 0 && array.shape(1) == 0 && array.shape(2) == 0;
  if (array.size() == 0 && !isEmpty) {
    throw py::value_error(where.text() + ": an array of the shape " + shown(array.attr("shape")) +
                          "; extents are all above 0, or all 0");
  }
  return array;
}

bool sharesMemory(const py::array& array) { return array.size() == 0 || layoutOf(array).has_value(); }

ArrayVolume volumeOver(const py::array& array, const Where& where) {
  return volumeOver(array, where, [](const Layout&) { return true; });
}

ArrayVolume targetOver(const py::array& array, const Where& where) {
  if (!array.writeable()) {
    throw py::value_error(where.text() + ": the array is read-only; give a writable one, such as array.copy()");
  }
  return volumeOver(array, where, [](const Layout& layout) { return layout.allocated == layout.region; });
}

py::object arrayOf(const SmartPointer<IVolume>& volume) {
  py::object array = py::none();
  withVoxels(volume, [&](const auto& view) {
    using T = std::remove_pointer_t<decltype(view.data)>;
    constexpr auto bytes = static_cast<py::ssize_t>(sizeof(T));
    const std::array<py::ssize_t, 3> shape{static_cast<py::ssize_t>(view.dimTert),
                                           static_cast<py::ssize_t>(view.dimSec),
                                           static_cast<py::ssize_t>(view.dimPrim)};
    const std::array<py::ssize_t, 3> strides{view.strideTert * bytes, view.strideSec * bytes, view.stridePrim * bytes};
    if (view.size() == 0) {
      array = py::array_t<T>(shape);
      return;
    }
    auto owner = std::make_unique<SmartPointer<IVolume>>(volume);
    const py::capsule base(owner.get(), [](void* pointer) { delete static_cast<SmartPointer<IVolume>*>(pointer); });
    static_cast<void>(owner.release());
    array = py::array(py::dtype::of<T>(), shape, strides, view.data, base);
  });
  return array;
}

const void* firstVoxel(const SmartPointer<IVolume>& volume) {
  const void* first = nullptr;
  withVoxels(volume, [&](const auto& view) { first = view.size() != 0 ? view.data : nullptr; });
  return first;
}

}  // namespace NORV::TaviPython
