#pragma once

#include <AffineTransformMatrixComposite.hpp>
#include <MatrixVolume.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/Types.hpp>

#include <string>

namespace NORV::TaviOperators {

/// The matrix that moves points by so many voxels along the axes.
inline TransformMatrix makeTranslation(float64 prim, float64 sec, float64 tert) {
  TransformMatrix matrix = TransformMatrix::identity();
  matrix[0][3] = prim;
  matrix[1][3] = sec;
  matrix[2][3] = tert;
  return matrix;
}

/// A translation by "translationPrim", "translationSec", "translationTert", in voxels.
template <class T>
class TAVI_EXPORT TranslationMatrix final : public AffineTransformMatrixComposite<T>,
                                            private Tavi::Factory::StaticFactorySubscriber<TranslationMatrix<T>> {
public:
  /// No translation.
  TranslationMatrix() : TranslationMatrix(T(0), T(0), T(0)) {}
  TranslationMatrix(T prim, T sec, T tert) : _prim(prim), _sec(sec), _tert(tert) {
    this->append("translationPrim", _prim);
    this->append("translationSec", _sec);
    this->append("translationTert", _tert);
  }

  Tavi::VolumePtr<float64> getMatrix() const override {
    return makeMatrixVolume(
        makeTranslation(static_cast<float64>(_prim), static_cast<float64>(_sec), static_cast<float64>(_tert)));
  }
  std::string getType() const override {
    return std::string("NORV::TaviOperators::TranslationMatrix< ") + Tavi::typeName<T> + " >";
  }

private:
  T _prim, _sec, _tert;
};

}  // namespace NORV::TaviOperators
