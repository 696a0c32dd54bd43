#include <Alignment.hpp>
#include <Call.hpp>
#include <Catalogue.hpp>
#include <CombinedMatrix.hpp>
#include <EulerRotationMatrix.hpp>
#include <IAffineTransformMatrix.hpp>
#include <Picture.hpp>
#include <Separation.hpp>
#include <TranslationMatrix.hpp>
#include <Values.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <cmath>

namespace NORV::TaviTool {
namespace {

using TaviOperators::IAffineTransformMatrix;

SmartPointer<IVolume> matrixOf(const SmartPointer<IComposite>& transform) {
  const SmartPointer<IAffineTransformMatrix> matrix(transform);
  return matrix != nullptr ? matrix->getMatrixVolume() : SmartPointer<IVolume>();
}

/// An element of a matrix volume.
double element(const SmartPointer<IVolume>& matrix, std::size_t row, std::size_t column) {
  return Tavi::VolumePtr<float64>(matrix)->getData()[4 * row + column];
}

}  // namespace

SmartPointer<IVolume> partOf(Session& session, const SmartPointer<IVolume>& scan,
                             const SmartPointer<IComposite>& solid) {
  const auto inner = [&](double dark, double bright) {
    const auto binary = makeVolume("uint8", scan->getDimension());
    return Call(session, "RangeBinarization")
        .set("inputVolume", scan)
        .set("outputVolume", binary)
        .set("inputMinimumThreshold", solid)
        .set("inputMaximumThreshold", extremesOf(session, scan).maximum)
        .set("inputBackgroundValue", greyValue(binary, dark))
        .set("inputForegroundValue", greyValue(binary, bright))
        .run("axes")
        .volume("outputVolume");
  };
  const auto pores = innerObjectsOf(session, inner(1, 0), "axes").binary;
  const auto part = inner(0, 1);
  return Call(session, "Maximum")
      .set("inputFirstVolume", part)
      .set("inputSecondVolume", pores)
      .set("outputVolume", part)
      .run("axes")
      .volume("outputVolume");
}

PrincipalAxes principalAxesOf(Session& session, const SmartPointer<IVolume>& part) {
  Call analysis(session, "PrincipalComponentsAnalysis");
  analysis.set("inputVolume", part)
      .set("inputValue", greyValue(part, 1))
      .setFlag("inputEnableAffineTransform", true)
      .run("axes");
  PrincipalAxes result;
  const Json variances = valueJson(analysis.value("outputEigenValues"));
  const auto rotation = matrixOf(analysis.value("outputRotationMatrix"));
  result.matrix = matrixOf(analysis.value("outputAffineTransformMatrix"));
  const Json extents = valueJson(analysis.value("outputDimension"));
  result.exist = rotation != nullptr && result.matrix != nullptr && extents.is_array() &&
                 std::all_of(extents.begin(), extents.end(), [](const Json& each) { return each != 0; });
  for (std::size_t i = 0; result.exist && i < 3; ++i) {
    result.variances[i] = variances[i].is_number() ? variances[i].get<double>() : 0.0;
    for (std::size_t column = 0; column < 3; ++column) {
      result.axes[i][column] = element(rotation, i, column);
      result.exist = result.exist && std::isfinite(result.axes[i][column]);
    }
  }
  if (result.exist) {
    result.box =
        Dimension<SizeType>(extents[0].get<SizeType>(), extents[1].get<SizeType>(), extents[2].get<SizeType>());
  }
  return result;
}

SmartPointer<IVolume> resampled(Session& session, const SmartPointer<IVolume>& volume,
                                const SmartPointer<IVolume>& matrix, const Dimension<SizeType>& size, double outer,
                                const std::string& doing) {
  return Call(session, "AffineTransform")
      .set("inputVolume", volume)
      .set("inputMatrixVolume", matrix)
      .set("inputOuterValue", greyValue(volume, outer))
      .set("outputVolume", makeVolume(shortName(volume->getVoxelType()), size))
      .run(doing)
      .volume("outputVolume");
}

Turn turnAbout(const Dimension<SizeType>& size, double heading, double attitude, double bank) {
  using Tavi::SmartPointer;
  using TaviOperators::CombinedMatrix;
  using TaviOperators::EulerRotationMatrix;
  using TaviOperators::TranslationMatrix;
  constexpr double degree = 0.017453292519943295;
  const SmartPointer<EulerRotationMatrix<float64>> rotation(
      new EulerRotationMatrix<float64>(0.0, 0.0, 0.0, heading * degree, attitude * degree, bank * degree));
  const auto turn = rotation->getMatrixVolume();
  const Direction from{static_cast<double>(size.prim), static_cast<double>(size.sec), static_cast<double>(size.tert)};
  Turn result;
  Direction to{};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      to[row] += std::abs(element(turn, row, column)) * from[column];
      result.axes[column][row] = element(turn, row, column);
    }
    to[row] = std::ceil(to[row]);
  }
  const auto middle = [](const Direction& extents, double sign) {
    return SmartPointer<TaviOperators::IAffineTransformMatrix>(new TranslationMatrix<float64>(
        sign * 0.5 * (extents[0] - 1.0), sign * 0.5 * (extents[1] - 1.0), sign * 0.5 * (extents[2] - 1.0)));
  };
  CombinedMatrix<float64> all;
  all.addTransform(middle(from, -1.0));
  all.addTransform(rotation);
  all.addTransform(middle(to, 1.0));
  result.matrix = all.getMatrixVolume();
  result.size =
      Dimension<SizeType>(static_cast<SizeType>(to[0]), static_cast<SizeType>(to[1]), static_cast<SizeType>(to[2]));
  return result;
}

}  // namespace NORV::TaviTool
