#pragma once

#include <Tavi/ContainerBase.hpp>

#include <vector>

namespace NORV::Tavi::Container {

namespace Impl {
struct VectorWords {
  static constexpr const char* name = "NORV::Tavi::Container::Vector";
  static constexpr const char* inSetValue = "NORV::Tavi::Container::Vector::setValue";
  static constexpr const char* inGetValue = "NORV::Tavi::Container::Vector::getValue";
};
}  // namespace Impl

/// A `std::vector` of composites as a node of the tree.
template <class T>
class TAVI_EXPORT Vector final : public ContainerBase<Vector<T>, std::vector<T>, Impl::VectorWords> {
public:
  using ContainerBase<Vector<T>, std::vector<T>, Impl::VectorWords>::ContainerBase;
};

template <class T>
class TAVI_EXPORT VectorPtr : public SmartPointer<Vector<T>> {
public:
  using SmartPointer<Vector<T>>::SmartPointer;
  VectorPtr() = default;
  VectorPtr(const SmartPointer<Vector<T>>& other) : SmartPointer<Vector<T>>(other) {}
};

}  // namespace NORV::Tavi::Container
