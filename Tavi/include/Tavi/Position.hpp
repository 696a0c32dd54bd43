#pragma once

#include <Tavi/Triple.hpp>

namespace NORV::Tavi {

/// A place in a volume, counted from 0 along each axis.
template <class T>
class TAVI_EXPORT Position : public Triple<T> {
public:
  using Triple<T>::Triple;
};

template <class T>
class TAVI_EXPORT PositionComposite final : public Impl::TripleNode<PositionComposite<T>, Position<T>> {
public:
  using Impl::TripleNode<PositionComposite<T>, Position<T>>::TripleNode;
  std::string getType() const override { return std::string("NORV::Tavi::PositionComposite< ") + typeName<T> + " >"; }
};

}  // namespace NORV::Tavi
