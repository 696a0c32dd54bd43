#pragma once

#include <IStruct.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/ContainerBase.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Triple.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Vector.hpp>

#include <string>

namespace NORV::TaviOperators::StandardFeaturesCalculation {

/// What is measured of one object of a label volume. Lengths are in voxels, positions count from the first voxel of the
/// view; `L` is the voxel type of the labels, `T` that of the values and `F` float64.
template <class L, class T, class F>
class TAVI_EXPORT Features final : public IStruct, private Tavi::Factory::StaticFactorySubscriber<Features<L, T, F>> {
public:
  StructProperty<L> label;
  StructProperty<uint64> size;                        ///< number of voxels
  StructProperty<Tavi::RegionOfInterest> roi;         ///< bounding box
  StructProperty<Tavi::Triple<F>> geometricCenter;    ///< mean position of the voxels
  StructProperty<Tavi::Triple<F>> centerOfGravity;    ///< the same weighted with the values, or NaN
  StructProperty<bool> centerOfGravityIsValid{true};  ///< no value is negative and their sum is positive
  StructProperty<T> minimum;
  StructProperty<T> maximum;
  StructProperty<F> mean;
  StructProperty<F> variance;     ///< of a sample; 0 for a single voxel
  StructProperty<F> fillFactor;   ///< share of the bounding box that is filled
  StructProperty<F> aspectRatio;  ///< middle by largest extent of the bounding box
  StructProperty<F> diameter;     ///< mean of the two extents that are most nearly equal

  Features() {
    reserve(13);
    append("label", label);
    append("size", size);
    append("roi", roi);
    append("geometricCenter", geometricCenter);
    append("centerOfGravity", centerOfGravity);
    append("centerOfGravityIsValid", centerOfGravityIsValid);
    append("minimum", minimum);
    append("maximum", maximum);
    append("mean", mean);
    append("variance", variance);
    append("fillFactor", fillFactor);
    append("aspectRatio", aspectRatio);
    append("diameter", diameter);
  }

  std::string getType() const override { return identifier(); }
  static std::string identifier() {
    return std::string("NORV::TaviOperators::StandardFeaturesCalculation::Features< ") + Tavi::typeName<L> + ", " +
           Tavi::typeName<T> + ", " + Tavi::typeName<F> + " >";
  }
};

/// The result of a run: a record for each label that occurs.
template <class L, class T>
using FeaturesVector = Tavi::Container::Vector<Tavi::SmartPointer<Features<L, T, float64>>>;

}  // namespace NORV::TaviOperators::StandardFeaturesCalculation

namespace NORV::Tavi::Container {

template <class L, class T, class F>
struct ElementName<SmartPointer<TaviOperators::StandardFeaturesCalculation::Features<L, T, F>>> {
  static std::string compose() { return TaviOperators::StandardFeaturesCalculation::Features<L, T, F>::identifier(); }
};

}  // namespace NORV::Tavi::Container
