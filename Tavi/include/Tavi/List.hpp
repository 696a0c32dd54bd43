#pragma once

#include <Tavi/ContainerBase.hpp>

#include <list>

namespace NORV::Tavi::Container {

namespace Impl {
struct ListWords {
  static constexpr const char* name = "NORV::Tavi::Container::List";
  static constexpr const char* inSetValue = "NORV::Tavi::Container::List::setValue";
  static constexpr const char* inGetValue = "NORV::Tavi::Container::List::getValue";
};
}  // namespace Impl

/// A `std::list` of composites as a node of the tree.
template <class T>
class TAVI_EXPORT List final : public ContainerBase<List<T>, std::list<T>, Impl::ListWords> {
public:
  using ContainerBase<List<T>, std::list<T>, Impl::ListWords>::ContainerBase;
};

template <class T>
class TAVI_EXPORT ListPtr : public SmartPointer<List<T>> {
public:
  using SmartPointer<List<T>>::SmartPointer;
  ListPtr() = default;
  ListPtr(const SmartPointer<List<T>>& other) : SmartPointer<List<T>>(other) {}
};

}  // namespace NORV::Tavi::Container
