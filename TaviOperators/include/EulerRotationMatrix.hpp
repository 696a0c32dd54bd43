#pragma once

#include <AffineTransformMatrixComposite.hpp>
#include <MatrixVolume.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/Types.hpp>
#include <TranslationMatrix.hpp>

#include <cmath>
#include <string>

namespace NORV::TaviOperators {

/// A rotation about the point "referencePrim", "referenceSec", "referenceTert" by the angles "heading", "attitude" and
/// "bank", in radians.
template <class T>
class TAVI_EXPORT EulerRotationMatrix final : public AffineTransformMatrixComposite<T>,
                                              private Tavi::Factory::StaticFactorySubscriber<EulerRotationMatrix<T>> {
public:
  /// No rotation.
  EulerRotationMatrix() : EulerRotationMatrix(T(0), T(0), T(0), T(0), T(0), T(0)) {}
  EulerRotationMatrix(T referencePrim, T referenceSec, T referenceTert, T heading, T attitude, T bank)
      : _prim(referencePrim),
        _sec(referenceSec),
        _tert(referenceTert),
        _heading(heading),
        _attitude(attitude),
        _bank(bank) {
    this->append("referencePrim", _prim);
    this->append("referenceSec", _sec);
    this->append("referenceTert", _tert);
    this->append("heading", _heading);
    this->append("attitude", _attitude);
    this->append("bank", _bank);
  }

  Tavi::VolumePtr<float64> getMatrix() const override {
    const auto prim = static_cast<float64>(_prim), sec = static_cast<float64>(_sec), tert = static_cast<float64>(_tert);
    const TransformMatrix aboutOrigin = rotation() * makeTranslation(-prim, -sec, -tert);
    return makeMatrixVolume(makeTranslation(prim, sec, tert) * aboutOrigin);
  }
  std::string getType() const override {
    return std::string("NORV::TaviOperators::EulerRotationMatrix< ") + Tavi::typeName<T> + " >";
  }

private:
  /// The angle in degrees and back, with the rounding of each step: it is part of the matrix.
  static float64 roundedAngle(T angle) {
    constexpr float64 pi = 3.141592653589793;
    return static_cast<float64>(angle) * 180.0 / pi * pi / 180.0;
  }

  TransformMatrix rotation() const {
    const float64 h = roundedAngle(_heading), a = roundedAngle(_attitude), b = roundedAngle(_bank);
    const float64 cosH = std::cos(h), sinH = std::sin(h);
    const float64 cosA = std::cos(a), sinA = std::sin(a);
    const float64 cosB = std::cos(b), sinB = std::sin(b);
    TransformMatrix matrix = TransformMatrix::identity();
    matrix[0][0] = cosA * cosH;
    matrix[0][1] = sinB * sinH - sinA * cosH * cosB;
    matrix[0][2] = sinA * cosH * sinB + cosB * sinH;
    matrix[1][0] = sinA;
    matrix[1][1] = cosB * cosA;
    matrix[1][2] = -cosA * sinB;
    matrix[2][0] = -sinH * cosA;
    matrix[2][1] = sinA * sinH * cosB + sinB * cosH;
    matrix[2][2] = cosB * cosH - sinA * sinH * sinB;
    return matrix;
  }

  T _prim, _sec, _tert;
  T _heading, _attitude, _bank;
};

}  // namespace NORV::TaviOperators
