#pragma once

#include <AffineTransformMatrix.hpp>
#include <MatrixVolume.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace NORV::TaviOperators {

/// A sequence of transforms; the one added first is applied first to a point. Its keys are the decimal texts of the
/// indices. It shares its transforms with the caller, so a change of one shows in `getMatrix`.
template <class T>
class TAVI_EXPORT CombinedMatrix final : public AffineTransformMatrix<T>,
                                         private Tavi::Factory::StaticFactorySubscriber<CombinedMatrix<T>> {
  using IComposite = Tavi::Persistence::IComposite;
  using Transform = Tavi::SmartPointer<IAffineTransformMatrix>;

public:
  /// Throws NULLPointer for an empty pointer and InvalidArg for a transform that contains this one.
  void addTransform(const Transform& transform) {
    static constexpr const char* here = "CombinedMatrix::addTransform";
    if (transform == nullptr) {
      throw Exceptions::NULLPointer(here, "affineTransformMatrix");
    }
    requireAcyclic(*transform, here);
    _transforms.push_back(transform);
  }

  /// The identity if there is no transform. Throws InvalidData for a transform without a 4 x 4 x 1 matrix.
  Tavi::VolumePtr<float64> getMatrix() const override {
    TransformMatrix all = TransformMatrix::identity();
    for (const Transform& transform : _transforms) {
      const Tavi::VolumePtr<float64> matrix = transform->getMatrix();
      if (matrix == nullptr || !hasMatrixExtents(*matrix)) {
        throw Exceptions::InvalidData("CombinedMatrix::getMatrix");
      }
      all = readMatrix(*matrix) * all;
    }
    return makeMatrixVolume(all);
  }

  /// Replaces a transform. Throws InvalidArg for an unknown key and for a value that is no transform or contains this
  /// one.
  void setValue(const std::string& key, Tavi::SmartPointer<IComposite> value) override {
    static constexpr const char* here = "CombinedMatrix::setValue";
    const std::size_t index = find(key, here);
    const Transform transform(value);
    if (transform == nullptr) {
      throw Exceptions::InvalidArg(here, invalid);
    }
    requireAcyclic(*transform, here);
    _transforms[index] = transform;
  }
  /// The transform itself, not a copy; throws InvalidArg for an unknown key.
  Tavi::SmartPointer<IComposite> getValue(const std::string& key) const override {
    return _transforms[find(key, "CombinedMatrix::getValue")];
  }
  /// Throws IndexOutOfRange at or past the end.
  std::string getKey(Tavi::SizeType index) const override {
    if (index >= _transforms.size()) {
      throw Exceptions::IndexOutOfRange("CombinedMatrix::getKey", index, 0, _transforms.size() - Tavi::SizeType{1});
    }
    return std::to_string(index);
  }
  Tavi::SizeType getNumberOfKeys() const override { return _transforms.size(); }
  std::string getType() const override {
    return std::string("NORV::TaviOperators::CombinedMatrix< ") + Tavi::typeName<T> + " >";
  }

private:
  static constexpr const char* invalid = "Invalid composite!";

  std::size_t find(const std::string& key, const Exceptions::Origin& origin) const {
    for (std::size_t index = 0; index < _transforms.size(); ++index) {
      if (key == std::to_string(index)) {
        return index;
      }
    }
    throw Exceptions::InvalidArg(origin, "Unknown key '%s'", key.c_str());
  }

  /// A transform that contained itself would have no matrix, and its computation would not end.
  void requireAcyclic(const IAffineTransformMatrix& transform, const Exceptions::Origin& origin) const {
    if (isIn(transform)) {
      throw Exceptions::InvalidArg(origin, invalid);
    }
  }
  bool isIn(const IAffineTransformMatrix& transform) const {
    const auto* combined = dynamic_cast<const CombinedMatrix*>(&transform);
    return combined != nullptr &&
           (combined == this || std::any_of(combined->_transforms.begin(), combined->_transforms.end(),
                                            [this](const Transform& inner) { return isIn(*inner); }));
  }

  std::vector<Transform> _transforms;
};

}  // namespace NORV::TaviOperators
