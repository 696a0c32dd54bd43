#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Position.hpp>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>

/// The axes of views in another order and sense, so that loops go through memory in storage order whatever a host
/// shows.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

template <class T>
std::array<SizeType, 3> axisExtents(const View<T>& view) {
  return {view.dimPrim, view.dimSec, view.dimTert};
}
template <class T>
std::array<int64, 3> axisStrides(const View<T>& view) {
  return {view.stridePrim, view.strideSec, view.strideTert};
}

/// Which axis of a view becomes prim, sec and tert, and which of these are reversed.
struct AxisOrder {
  std::array<std::size_t, 3> axes{0, 1, 2};
  std::array<bool, 3> isReversed{};

  friend bool operator==(const AxisOrder&, const AxisOrder&) = default;
};

/// What undoes an order.
inline AxisOrder inverse(const AxisOrder& order) {
  AxisOrder undone;
  for (std::size_t i = 0; i < 3; ++i) {
    undone.axes[order.axes[i]] = i;
    undone.isReversed[order.axes[i]] = order.isReversed[i];
  }
  return undone;
}

/// The same voxels along other axes.
template <class T>
View<T> arranged(const View<T>& view, const AxisOrder& order) {
  const auto extents = axisExtents(view);
  auto strides = axisStrides(view);
  T* data = view.data;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t axis = order.axes[i];
    if (order.isReversed[i] && view.size() != 0) {
      data += strides[axis] * (static_cast<int64>(extents[axis]) - 1);
      strides[axis] = -strides[axis];
    }
  }
  return {data,
          extents[order.axes[0]],
          extents[order.axes[1]],
          extents[order.axes[2]],
          strides[order.axes[0]],
          strides[order.axes[1]],
          strides[order.axes[2]]};
}

/// Where a position of a view of the given extents is seen along other axes.
inline Tavi::Position<SizeType> arranged(const Tavi::Position<SizeType>& position,
                                         const std::array<SizeType, 3>& extents, const AxisOrder& order) {
  const std::array<SizeType, 3> shown{position.prim, position.sec, position.tert};
  std::array<SizeType, 3> seen{};
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t axis = order.axes[i];
    seen[i] = order.isReversed[i] ? extents[axis] - 1 - shown[axis] : shown[axis];
  }
  return {seen[0], seen[1], seen[2]};
}

/// The order in which the strides of a view ascend and are positive. Views whose strides ascend already keep theirs.
template <class T>
AxisOrder storageOrder(const View<T>& view) {
  const auto strides = axisStrides(view);
  AxisOrder order;
  for (const std::size_t i : {0u, 1u, 0u}) {
    if (std::abs(strides[order.axes[i + 1]]) < std::abs(strides[order.axes[i]])) {
      std::swap(order.axes[i], order.axes[i + 1]);
    }
  }
  for (std::size_t i = 0; i < 3; ++i) {
    order.isReversed[i] = strides[order.axes[i]] < 0;
  }
  return order;
}

/// The axis along which the voxels of a view are neighbours in memory; 3 if there is none with more than one voxel.
template <class T>
std::size_t denseAxis(const View<T>& view) {
  const auto extents = axisExtents(view);
  const auto strides = axisStrides(view);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (extents[axis] > 1 && std::abs(strides[axis]) == 1) {
      return axis;
    }
  }
  return 3;
}

/// The order in which an output and its inputs are walked through together: rows are those of the output in memory. If
/// one of the inputs is dense along another axis, that one comes second, so that tiles of both can be transposed. An
/// axis with one voxel does not come first.
template <class Out, class... In>
AxisOrder commonOrder(const View<Out>& output, const View<In>&... inputs) {
  const auto extents = axisExtents(output);
  AxisOrder order = storageOrder(output);
  const auto swapAxes = [&](std::size_t a, std::size_t b) {
    std::swap(order.axes[a], order.axes[b]);
    std::swap(order.isReversed[a], order.isReversed[b]);
  };
  if (extents[order.axes[0]] == 1) {
    swapAxes(0, 1);
  }
  for (const std::size_t axis : std::array<std::size_t, sizeof...(In) + 1>{denseAxis(inputs)..., 3}) {
    if (axis < 3 && axis != order.axes[0]) {
      if (axis == order.axes[2]) {
        swapAxes(1, 2);
      }
      break;
    }
  }
  return order;
}

/// A view in storage order, for results that do not depend on the order of voxels.
template <class T>
View<T> inStorageOrder(const View<T>& view) {
  return arranged(view, commonOrder(view));
}

}  // namespace NORV::TaviOperators::Impl
