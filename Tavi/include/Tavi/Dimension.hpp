#pragma once

#include <Tavi/Triple.hpp>

#include <stdexcept>
#include <string>
#include <type_traits>

namespace NORV::Tavi {

/// The extents of a volume along its axes: all above zero, or all zero for the empty volume.
template <class T>
class TAVI_EXPORT Dimension : public Triple<T> {
public:
  Dimension() = default;
  /// Throws `std::out_of_range` for extents that are no volume.
  Dimension(T p, T s, T t) : Triple<T>(p, s, t) { check(); }

  void check() const {
    const T zero{};
    const bool empty = this->prim == zero && this->sec == zero && this->tert == zero;
    if (!empty && !(this->prim > zero && this->sec > zero && this->tert > zero)) {
      throw std::out_of_range(std::string("NORV::Tavi::Dimension< ") + typeName<T> +
                              " >::check invalid values detected ( " + Persistence::Impl::toText(this->prim) + " , " +
                              Persistence::Impl::toText(this->sec) + " , " + Persistence::Impl::toText(this->tert) +
                              " ) ");
    }
  }

  /// The number of voxels; throws `std::overflow_error` where it exceeds 64 bits.
  auto size() const {
    if constexpr (std::is_floating_point_v<T>) {
      return this->prim * this->sec * this->tert;
    } else {
      SizeType slice = 0, volume = 0;
      if (__builtin_mul_overflow(this->prim, this->sec, &slice) || __builtin_mul_overflow(slice, this->tert, &volume)) {
        throw std::overflow_error(std::string("NORV::Tavi::Dimension< ") + typeName<T> +
                                  " >::size current size exceeds to boundarys of " + typeName<T>);
      }
      return volume;
    }
  }
};

template <class T>
class TAVI_EXPORT DimensionComposite final : public Impl::TripleNode<DimensionComposite<T>, Dimension<T>> {
public:
  using Impl::TripleNode<DimensionComposite<T>, Dimension<T>>::TripleNode;
  std::string getType() const override { return std::string("NORV::Tavi::DimensionComposite< ") + typeName<T> + " >"; }
};

}  // namespace NORV::Tavi
