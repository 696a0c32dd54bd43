#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <CombinedMatrix.hpp>
#include <DLL/PrincipalComponentsAnalysis.hpp>
#include <Inversion.hpp>
#include <PrincipalComponentsAnalysis.hpp>

#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::PrincipalComponentsAnalysis;
using Frame = TaviOperators::DLL::PrincipalComponentsAnalysis::Operator;
using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;
using Point = std::array<double, 3>;
using Matrix = std::array<std::array<double, 4>, 4>;

const std::vector<int>& manyThreads() {
  static const std::vector<int> counts{1, 2, 5, 33};
  return counts;
}

template <class T>
std::string identifierFor() {
  return "NORV::TaviOperators::PrincipalComponentsAnalysis::Operator< " + volumeIdentifier<T>() +
         ", NORV::TaviOperators::AffineTransformMatrixPtr< NORV::float64 > >";
}

template <class T>
SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, T value, int threads = 0,
                                       bool isAffine = true) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputValue.setValue(value);
  parameter->inputNumberOfThreads = threads;
  parameter->inputEnableAffineTransform = isAffine;
  return parameter;
}

Matrix matrixOf(const TaviOperators::IAffineTransformMatrix& transform) {
  const auto volume = transform.getMatrix();
  Matrix matrix{};
  for (std::size_t i = 0; i < 16; ++i) {
    matrix[i / 4][i % 4] = volume->getData()[i];
  }
  return matrix;
}
Point transformed(const Matrix& m, const Point& p) {
  Point result{};
  for (std::size_t r = 0; r < 3; ++r) {
    result[r] = m[r][0] * p[0] + m[r][1] * p[1] + m[r][2] * p[2] + m[r][3];
  }
  return result;
}
double determinantOf(const Matrix& m) {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

/// Everything that a run gives, as numbers.
std::vector<double> resultsOf(const SmartPointer<Typed::Parameter>& parameter) {
  const Tavi::Triple<float64> values = parameter->outputEigenValues.value();
  const Dimension<SizeType> size = parameter->outputDimension.value();
  std::vector<double> all{values.prim,
                          values.sec,
                          values.tert,
                          static_cast<double>(size.prim),
                          static_cast<double>(size.sec),
                          static_cast<double>(size.tert)};
  for (const TaviOperators::IAffineTransformMatrix* transform :
       {static_cast<const TaviOperators::IAffineTransformMatrix*>(parameter->outputTranslationMatrix.value().get()),
        static_cast<const TaviOperators::IAffineTransformMatrix*>(parameter->outputRotationMatrix.value().get()),
        static_cast<const TaviOperators::IAffineTransformMatrix*>(
            parameter->outputAffineTransformMatrix.value().get())}) {
    for (const auto& row : matrixOf(*transform)) {
      all.insert(all.end(), row.begin(), row.end());
    }
  }
  return all;
}

/// Fills a volume with 1 where `isInside` holds and 0 elsewhere.
VolumePtr<uint8> makeObject(const Extents& extents, const std::function<bool(const Point&)>& isInside) {
  const VolumePtr<uint8> volume(new Volume<uint8>(Dimension<SizeType>(extents[0], extents[1], extents[2])));
  uint8* voxel = volume->getData();
  for (SizeType z = 0; z < extents[2]; ++z) {
    for (SizeType y = 0; y < extents[1]; ++y) {
      for (SizeType x = 0; x < extents[0]; ++x) {
        *voxel++ = isInside({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)}) ? 1 : 0;
      }
    }
  }
  return volume;
}
std::vector<Point> pointsOf(const VolumePtr<uint8>& volume) {
  std::vector<Point> points;
  const auto view = Tavi::viewOf(*volume);
  for (SizeType z = 0; z < view.dimTert; ++z) {
    for (SizeType y = 0; y < view.dimSec; ++y) {
      for (SizeType x = 0; x < view.dimPrim; ++x) {
        if (view.at(x, y, z) == 1) {
          points.push_back({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)});
        }
      }
    }
  }
  return points;
}

/// An ellipsoid whose half axes are turned by a rotation.
VolumePtr<uint8> makeEllipsoid(const Point& half, const Matrix& rotation, const Extents& extents) {
  const Point centre{static_cast<double>(extents[0]) / 2, static_cast<double>(extents[1]) / 2,
                     static_cast<double>(extents[2]) / 2};
  return makeObject(extents, [&](const Point& p) {
    double sum = 0.0;
    const Point turned = transformed(rotation, {p[0] - centre[0], p[1] - centre[1], p[2] - centre[2]});
    for (std::size_t i = 0; i < 3; ++i) {
      sum += turned[i] / half[i] * (turned[i] / half[i]);
    }
    return sum <= 1.0;
  });
}

/// Checks all outputs against the voxels themselves: the turned object has its centre at the origin, a diagonal
/// covariance with the eigenvalues in descending order, and fits the box.
void expectPrincipalAxes(const VolumePtr<uint8>& volume, double tolerance = 1e-9) {
  const auto parameter = request<uint8>(volume, 1, 2);
  Frame().apply(parameter);
  const std::vector<Point> points = pointsOf(volume);
  const double count = static_cast<double>(points.size());
  const Matrix translation = matrixOf(*parameter->outputTranslationMatrix.value());
  const Matrix rotation = matrixOf(*parameter->outputRotationMatrix.value());
  EXPECT_NEAR(determinantOf(rotation), 1.0, 1e-12);

  std::array<std::array<double, 3>, 3> covariance{};
  Point mean{}, low{1e9, 1e9, 1e9}, high{-1e9, -1e9, -1e9};
  for (const Point& point : points) {
    const Point turned = transformed(rotation, transformed(translation, point));
    for (std::size_t r = 0; r < 3; ++r) {
      mean[r] += turned[r] / count;
      low[r] = std::min(low[r], turned[r]);
      high[r] = std::max(high[r], turned[r]);
      for (std::size_t c = 0; c < 3; ++c) {
        covariance[r][c] += turned[r] * turned[c] / (count - 1.0);
      }
    }
  }
  const Tavi::Triple<float64> values = parameter->outputEigenValues.value();
  const Point expected{values.prim, values.sec, values.tert};
  EXPECT_GE(values.prim, values.sec);
  EXPECT_GE(values.sec, values.tert);
  const Dimension<SizeType> box = parameter->outputDimension.value();
  const std::array<SizeType, 3> size{box.prim, box.sec, box.tert};
  for (std::size_t r = 0; r < 3; ++r) {
    EXPECT_NEAR(mean[r], 0.0, tolerance);
    for (std::size_t c = 0; c < 3; ++c) {
      EXPECT_NEAR(covariance[r][c], r == c ? expected[r] : 0.0, tolerance * (1.0 + values.prim));
    }
    const auto rounded = [](double v) { return std::floor(v * 1000.0 + 0.5) / 1000.0; };
    EXPECT_EQ(size[r], static_cast<SizeType>(std::ceil(rounded(high[r])) - std::floor(rounded(low[r])) + 1.0));
  }
  const Matrix whole = matrixOf(*parameter->outputAffineTransformMatrix.value());
  for (const Point& point : points) {
    const Point boxed = transformed(whole, point);
    for (std::size_t r = 0; r < 3; ++r) {
      ASSERT_GE(boxed[r], -0.001);
      ASSERT_LE(boxed[r], static_cast<double>(size[r] - 1) + 0.001);
    }
  }
}

/// A few voxels without any symmetry.
std::vector<uint8> unevenObject(std::size_t count) {
  std::vector<uint8> voxels(count);
  for (std::size_t i = 0; i < count; ++i) {
    voxels[i] = static_cast<uint8>((i * 2654435761u >> 9) % 5);
  }
  return voxels;
}

const std::string names = "NORV::TaviOperators::PrincipalComponentsAnalysis::Operator";

TEST(PrincipalComponentsAnalysisParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::PrincipalComponentsAnalysis::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::PrincipalComponentsAnalysis::Parameter");
  const std::vector<std::string> keys{"inputVolume",
                                      "inputValue",
                                      "inputNumberOfThreads",
                                      "inputEnableAffineTransform",
                                      "outputTranslationMatrix",
                                      "outputRotationMatrix",
                                      "outputEigenValues",
                                      "outputDimension",
                                      "outputAffineTransformMatrix"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
  for (const char* key : {"inputVolume", "inputValue", "outputTranslationMatrix", "outputRotationMatrix",
                          "outputAffineTransformMatrix"}) {
    EXPECT_TRUE(parameter->getValue(key) == nullptr) << key;
  }
  using Tavi::Persistence::Data;
  EXPECT_EQ(SmartPointer<Data<int32>>(parameter->getValue("inputNumberOfThreads"))->getValue(), 0);
  EXPECT_FALSE(SmartPointer<Data<bool>>(parameter->getValue("inputEnableAffineTransform"))->getValue());
}

TEST(PrincipalComponentsAnalysisParameter, TheResultsCanBeReadByKey) {
  const TestVolume<uint8> input({3, 4, 5});
  input.fill(unevenObject(60));
  const auto parameter = request<uint8>(input, 1);
  Frame().apply(parameter);
  EXPECT_EQ(parameter->getValue("outputTranslationMatrix")->getType(),
            "NORV::TaviOperators::TranslationMatrix< NORV::float64 >");
  EXPECT_EQ(parameter->getValue("outputRotationMatrix")->getType(),
            "NORV::TaviOperators::EulerRotationMatrix< NORV::float64 >");
  EXPECT_EQ(parameter->getValue("outputAffineTransformMatrix")->getType(),
            "NORV::TaviOperators::CombinedMatrix< NORV::float64 >");
  EXPECT_EQ(parameter->getValue("outputAffineTransformMatrix")->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getValue("outputEigenValues")->getType(), "NORV::Tavi::TripleComposite< NORV::float64 >");
  EXPECT_EQ(parameter->getValue("outputDimension")->getType(), "NORV::Tavi::DimensionComposite< NORV::uint64 >");
}

TEST(PrincipalComponentsAnalysisInstances, EveryVoxelTypeIsRegistered) {
  const Frame frame;
  forEachVoxelType([]<class T>() {
    ASSERT_TRUE(isRegistered(identifierFor<T>()));
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifierFor<T>())->getType(), identifierFor<T>());
  });
  EXPECT_EQ(countRegistered(names + "< "), 8u);
}

TEST(PrincipalComponentsAnalysis, EveryVoxelTypeAndViewGivesTheSameNumbers) {
  const RuntimeSettings settings;
  const Extents extents{70, 6, 5};
  const std::vector<uint8> labels = unevenObject(70 * 6 * 5);
  const TestVolume<uint8> plain(extents);
  plain.fill(labels);
  const auto expected = request<uint8>(plain, 3, 1);
  Frame().apply(expected);
  forEachVoxelType([&]<class T>() {
    std::vector<T> values(labels.begin(), labels.end());
    std::size_t turn = 0;
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<T> input(extents, layout, T(3));
      input.fill(values);
      const auto parameter = request<T>(input, T(3), manyThreads()[turn++ % manyThreads().size()]);
      Frame().apply(parameter);
      EXPECT_EQ(resultsOf(parameter), resultsOf(expected));
      input.expectUntouchedOutside();
    }
  });
}

TEST(PrincipalComponentsAnalysis, NoBitDependsOnTheNumberOfThreads) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input({31, 17, 40}, regionLayout);
  input.fill(unevenObject(31 * 17 * 40));
  std::vector<double> expected;
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const int threads : manyThreads()) {
      const auto parameter = request<uint8>(input, 2, threads);
      Frame().apply(parameter);
      if (expected.empty()) {
        expected = resultsOf(parameter);
      }
      EXPECT_EQ(resultsOf(parameter), expected) << threads;
    }
  }
}

TEST(PrincipalComponentsAnalysis, ASphereHasThreeEqualEigenvalues) {
  const auto volume = makeEllipsoid({9, 9, 9}, {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}}, {20, 20, 20});
  const auto parameter = request<uint8>(volume, 1);
  Frame().apply(parameter);
  const Tavi::Triple<float64> values = parameter->outputEigenValues.value();
  EXPECT_NEAR(values.prim, values.tert, 1e-9);
  EXPECT_NEAR(values.prim, 81.0 / 5.0, 0.5);
  expectPrincipalAxes(volume);
}

TEST(PrincipalComponentsAnalysis, ALineAlongEachAxisHasOneEigenvalue) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Extents extents{1, 1, 1};
    extents[axis] = 9;
    const TestVolume<int16> input(extents);
    input.fill({5});
    const auto parameter = request<int16>(input, 5);
    Frame().apply(parameter);
    const Tavi::Triple<float64> values = parameter->outputEigenValues.value();
    EXPECT_DOUBLE_EQ(values.prim, 7.5);  // n (n + 1) / 12
    EXPECT_EQ(values.sec, 0.0);
    EXPECT_EQ(values.tert, 0.0);
    const Matrix rotation = matrixOf(*parameter->outputRotationMatrix.value());
    EXPECT_NEAR(std::abs(rotation[0][axis]), 1.0, 1e-15);
    EXPECT_NEAR(determinantOf(rotation), 1.0, 1e-12);
    EXPECT_TRUE(parameter->outputDimension.value() == Dimension<SizeType>(9, 1, 1));
    const Matrix translation = matrixOf(*parameter->outputTranslationMatrix.value());
    EXPECT_EQ(translation[axis][3], -4.0);
  }
}

TEST(PrincipalComponentsAnalysis, BoxesInAllAxisOrders) {
  std::array<SizeType, 3> sides{3, 5, 9};
  std::sort(sides.begin(), sides.end());
  do {
    const auto volume = makeObject({12, 12, 12}, [&](const Point& p) {
      return p[0] >= 1 && p[1] >= 2 && p[2] >= 3 && p[0] < 1.0 + static_cast<double>(sides[0]) &&
             p[1] < 2.0 + static_cast<double>(sides[1]) && p[2] < 3.0 + static_cast<double>(sides[2]);
    });
    const auto parameter = request<uint8>(volume, 1);
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputDimension.value() == Dimension<SizeType>(9, 5, 3));
    const Tavi::Triple<float64> values = parameter->outputEigenValues.value();
    const double n = 3 * 5 * 9;
    EXPECT_DOUBLE_EQ(values.prim, 80.0 / 12.0 * n / (n - 1.0));
    EXPECT_DOUBLE_EQ(values.sec, 24.0 / 12.0 * n / (n - 1.0));
    EXPECT_DOUBLE_EQ(values.tert, 8.0 / 12.0 * n / (n - 1.0));
    expectPrincipalAxes(volume);
  } while (std::next_permutation(sides.begin(), sides.end()));
}

TEST(PrincipalComponentsAnalysis, EllipsoidsTurnedByKnownRotationsAreTurnedBack) {
  constexpr double pi = 3.141592653589793;
  for (int h = -3; h <= 3; ++h) {
    for (int a = -2; a <= 2; ++a) {
      for (int b = -1; b <= 2; ++b) {
        SCOPED_TRACE(testing::Message() << h << " " << a << " " << b);
        const Matrix rotation =
            matrixOf(TaviOperators::EulerRotationMatrix<float64>(0, 0, 0, h * pi / 4, a * pi / 4, b * pi / 3));
        const auto volume = makeEllipsoid({12, 7, 4}, rotation, {26, 26, 26});
        expectPrincipalAxes(volume);
        const auto parameter = request<uint8>(volume, 1, 2, false);
        Frame().apply(parameter);
        const Matrix found = matrixOf(*parameter->outputRotationMatrix.value());
        for (std::size_t r = 0; r < 3; ++r) {
          double along = 0.0;
          for (std::size_t c = 0; c < 3; ++c) {
            along += rotation[r][c] * found[r][c];
          }
          EXPECT_NEAR(std::abs(along), 1.0, 1e-3);
        }
      }
    }
  }
}

TEST(PrincipalComponentsAnalysis, RandomObjects) {
  std::mt19937_64 random(4);
  for (int i = 0; i < 200; ++i) {
    const SizeType density = 2 + random() % 30;
    const Extents extents{1 + random() % 20, 1 + random() % 15, 2 + random() % 10};
    const auto volume = makeObject(extents, [&](const Point&) { return random() % density == 0; });
    if (pointsOf(volume).size() >= 2) {
      expectPrincipalAxes(volume);
    }
  }
}

TEST(PrincipalComponentsAnalysis, AMirrorImageIsTurnedByAProperRotation) {
  for (const Codes& codes : allOrientations()) {
    const VolumePtr<uint8> volume = makeObject({9, 8, 7}, [](const Point& p) {
      return (p[1] == 0 && p[2] == 0) || (p[0] == 0 && p[2] == 0 && p[1] < 5) || (p[0] == 0 && p[1] == 0 && p[2] < 3);
    });
    volume->setOrientation(Tavi::Orientation(codes[0], codes[1], codes[2]));
    expectPrincipalAxes(volume);
  }
}

TEST(PrincipalComponentsAnalysis, TheValueMustBeEqualExactly) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  const TestVolume<float32> input({4, 1, 1});
  input.fill({0.0f, -0.0f, nan, std::nextafter(0.0f, 1.0f)});
  const auto parameter = request<float32>(input, 0.0f);
  Frame().apply(parameter);
  EXPECT_DOUBLE_EQ(parameter->outputEigenValues.value().prim, 0.5);
  const auto none = request<float32>(input, nan);
  Frame().apply(none);
  EXPECT_TRUE(std::isnan(none->outputEigenValues.value().prim));
}

TEST(PrincipalComponentsAnalysis, WithoutAVoxelAllNumbersAreNaN) {
  const RuntimeSettings settings;
  const SmartPointer<IVolume> empty(VolumePtr<uint8>(new Volume<uint8>()));
  const TestVolume<uint8> some({3, 4, 5});
  for (const SmartPointer<IVolume>& volume : {empty, SmartPointer<IVolume>(some)}) {
    const auto parameter = request<uint8>(volume, 1, 2);
    Frame().apply(parameter);
    const Tavi::Triple<float64> values = parameter->outputEigenValues.value();
    EXPECT_TRUE(std::isnan(values.prim) && std::isnan(values.sec) && std::isnan(values.tert));
    EXPECT_TRUE(std::isnan(matrixOf(*parameter->outputTranslationMatrix.value())[0][3]));
    EXPECT_TRUE(std::isnan(matrixOf(*parameter->outputRotationMatrix.value())[0][0]));
    EXPECT_TRUE(std::isnan(matrixOf(*parameter->outputAffineTransformMatrix.value())[0][0]));
    EXPECT_TRUE(parameter->outputDimension.value() == Dimension<SizeType>(0, 0, 0));
  }
}

TEST(PrincipalComponentsAnalysis, OneVoxelHasACentreAndNoAxes) {
  const TestVolume<uint8> input({3, 4, 5});
  input.at({2, 1, 4}) = 1;
  const auto parameter = request<uint8>(input, 1);
  Frame().apply(parameter);
  const Matrix translation = matrixOf(*parameter->outputTranslationMatrix.value());
  EXPECT_EQ(translation[0][3], -2.0);
  EXPECT_EQ(translation[1][3], -1.0);
  EXPECT_EQ(translation[2][3], -4.0);
  EXPECT_TRUE(std::isnan(parameter->outputEigenValues.value().prim));
  EXPECT_TRUE(std::isnan(matrixOf(*parameter->outputRotationMatrix.value())[0][0]));
  EXPECT_TRUE(parameter->outputDimension.value() == Dimension<SizeType>(0, 0, 0));
}

TEST(PrincipalComponentsAnalysis, WithoutTheAffineTransformItsOutputsAreNotTouched) {
  const TestVolume<uint8> input({3, 4, 5});
  input.fill(unevenObject(60));
  const auto parameter = request<uint8>(input, 1, 0, false);
  parameter->outputDimension = Dimension<SizeType>(7, 8, 9);
  Frame().apply(parameter);
  EXPECT_TRUE(parameter->outputDimension.value() == Dimension<SizeType>(7, 8, 9));
  EXPECT_TRUE(parameter->outputAffineTransformMatrix.value() == nullptr);
  EXPECT_TRUE(parameter->outputRotationMatrix.value() != nullptr);
}

TEST(PrincipalComponentsAnalysis, TheTransformIsTheChainOfItsParts) {
  const TestVolume<uint8> input({13, 14, 15});
  input.fill(unevenObject(13 * 14 * 15));
  const auto parameter = request<uint8>(input, 1);
  Frame().apply(parameter);
  const Matrix translation = matrixOf(*parameter->outputTranslationMatrix.value());
  const Matrix rotation = matrixOf(*parameter->outputRotationMatrix.value());
  const Matrix whole = matrixOf(*parameter->outputAffineTransformMatrix.value());
  const Point turned = transformed(rotation, transformed(translation, {1, 2, 3}));
  const Point boxed = transformed(whole, {1, 2, 3});
  for (std::size_t r = 0; r < 3; ++r) {
    const double shift = boxed[r] - turned[r];
    EXPECT_NEAR(shift, std::round(shift), 1e-12);
  }
  // The results stay as they are when the host changes one of them.
  parameter->outputTranslationMatrix.value()->setValue(
      "translationPrim", SmartPointer<IComposite>(new Tavi::Persistence::Data<float64>(100.0)));
  EXPECT_EQ(matrixOf(*parameter->outputAffineTransformMatrix.value()), whole);
}

TEST(PrincipalComponentsAnalysisProgress, BothPassesCountTheirSlices) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input({3, 4, 5});
  const auto op = createTyped(identifierFor<uint8>());
  op->apply(request<uint8>(input, 77, 2));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TEST(PrincipalComponentsAnalysisAbort, LeavesTheOutputs) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(128, 128, 128)));
  std::fill_n(input->getData(), input->getSize(), uint8{3});
  Frame frame;
  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        frame.abort();
      }
    });
    const auto parameter = request<uint8>(input, 3, 1);
    frame.apply(parameter);
    ended = true;
    other.join();
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    seen = parameter->outputRotationMatrix.value() == nullptr;
  }
  EXPECT_TRUE(seen);
}

TEST(PrincipalComponentsAnalysisFailure, NullAndForeignParameters) {
  const auto other = makeParameter<TaviOperators::Inversion::Parameter>();
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::PrincipalComponentsAnalysis::Operator::getOperatorTypeFromParameterObject: "
                "invalid parameter object!");
  expectRefusal([&] { createTyped(identifierFor<uint8>())->apply(other); }, names + "::apply");
  expectRefusal([&] { createTyped(identifierFor<uint8>())->apply(nullptr); }, names + "::apply");
}

TEST(PrincipalComponentsAnalysisFailure, NoVolumeOrOneOfAnotherType) {
  const TestVolume<int8> other({4, 6, 2});
  const SmartPointer<IVolume> none;
  const std::string text = names + "::apply input volume is NULL";
  expectRefusal([&] { Frame().apply(request<uint8>(none, 1)); }, text);
  expectRefusal([&] { createTyped(identifierFor<uint8>())->apply(request<uint8>(none, 1)); }, text);
  expectRefusal([&] { createTyped(identifierFor<uint8>())->apply(request<uint8>(other, 1)); }, text);
}

TEST(PrincipalComponentsAnalysisFailure, AValueThatIsMissingOrOfAnotherType) {
  const TestVolume<uint8> input({4, 6, 2});
  expectWrongValueType<uint8>([&] { Frame().apply(request<int8>(input, 1)); });
  const auto parameter = request<uint8>(input, 1);
  parameter->inputValue = SmartPointer<IComposite>();
  expectMissingValue([&] { Frame().apply(parameter); });
  EXPECT_TRUE(parameter->outputRotationMatrix.value() == nullptr);
}

}  // namespace
}  // namespace NORV::Tests
