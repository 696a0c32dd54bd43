#pragma once

#include <AffineTransformMatrix.hpp>
#include <EulerRotationMatrix.hpp>
#include <Parameter.hpp>
#include <TranslationMatrix.hpp>

/// Finds the centre and the principal axes of the voxels of one grey value.
///
/// The axes are the eigenvectors of the covariance of the voxel positions, in descending order of the eigenvalues. They
/// form a right-handed basis. The translation moves the centre to the origin and the rotation turns the axes onto the
/// coordinate axes. The affine transform is both and a translation into a box that holds the turned object.
///
/// - Border: positions count from the first voxel of the view.
/// - NaN: equals no value, so it is never selected.
/// - Failures: InvalidParameterObjectException without inputVolume; NULLPointer without inputValue, BadCast for one of
///   another voxel type. Fewer than two selected voxels are no failure: numbers that do not exist are NaN then, and
///   outputDimension is empty.
/// - Halo: whole volume.
/// - Memory: 24 bytes per selected voxel, 40 per slice. A copy of each input whose rows are not dense.
/// - Threads: parallel over slices, two steps of progress each; the result does not depend on the number of threads.
/// - Cost: two passes at the speed of memory, and one over the selected positions, or two with the box.
/// - Paper: K. Pearson, On lines and planes of closest fit to systems of points in space, Philosophical Magazine 2,
///   1901; J. Kopp, Efficient numerical diagonalization of hermitian 3x3 matrices, Int. J. Mod. Phys. C 19, 2008.
namespace NORV::TaviOperators::PrincipalComponentsAnalysis {

/// One run. Positions and lengths are in voxels.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputValue;
  Property<int32> inputNumberOfThreads;
  Property<bool> inputEnableAffineTransform;
  Property<SmartPointer<TranslationMatrix<float64>>> outputTranslationMatrix;
  Property<SmartPointer<EulerRotationMatrix<float64>>> outputRotationMatrix;
  Property<Triple<float64>> outputEigenValues;
  Property<Dimension<SizeType>> outputDimension;
  Property<AffineTransformMatrixPtr<float64>> outputAffineTransformMatrix;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume with the object"});
    append("inputValue", inputValue, like("inputVolume", required, "grey value of the voxels of the object"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("inputEnableAffineTransform", inputEnableAffineTransform,
           {Takes::flag, optional, "whether the box and the affine transform are computed"});
    append("outputTranslationMatrix", outputTranslationMatrix,
           {Takes::object, optional, "translation that moves the centre to the origin"});
    append("outputRotationMatrix", outputRotationMatrix,
           {Takes::object, optional, "rotation that turns the axes onto the coordinate axes"});
    append("outputEigenValues", outputEigenValues,
           KeyInfo{Takes::object, optional, "variances along the axes, in descending order"}.in("voxels squared"));
    append("outputDimension", outputDimension,
           KeyInfo{Takes::dimension, optional, "extents of the box that holds the turned object"}.in("voxels"));
    append("outputAffineTransformMatrix", outputAffineTransformMatrix,
           {Takes::object, optional, "transform that brings the object into its box"});
  }
  std::string getType() const override { return "NORV::TaviOperators::PrincipalComponentsAnalysis::Parameter"; }
};

}  // namespace NORV::TaviOperators::PrincipalComponentsAnalysis
