#pragma once

#include <IAffineTransformMatrix.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <string>

namespace NORV::TaviOperators {

/// A transform whose parameters are numbers of the type `T`.
template <class T>
class TAVI_EXPORT AffineTransformMatrix : public IAffineTransformMatrix {
public:
  using Element = T;

  Tavi::SmartPointer<Tavi::IVolume> getMatrixVolume() const override { return this->getMatrix(); }
};

/// The pointer that operators name in their identifiers.
template <class T>
class TAVI_EXPORT AffineTransformMatrixPtr : public Tavi::SmartPointer<AffineTransformMatrix<T>> {
public:
  using Tavi::SmartPointer<AffineTransformMatrix<T>>::SmartPointer;
  AffineTransformMatrixPtr() = default;
  AffineTransformMatrixPtr(const Tavi::SmartPointer<AffineTransformMatrix<T>>& other)
      : Tavi::SmartPointer<AffineTransformMatrix<T>>(other) {}

  static std::string identifier() {
    return std::string("NORV::TaviOperators::AffineTransformMatrixPtr< ") + Tavi::typeName<T> + " >";
  }
};

}  // namespace NORV::TaviOperators
