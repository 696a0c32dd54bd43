#include "support/ExpectFailure.hpp"
#include "support/Operators.hpp"

#include <CombinedMatrix.hpp>
#include <EulerRotationMatrix.hpp>
#include <MatrixVolume.hpp>
#include <TranslationMatrix.hpp>

#include <cmath>
#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace TaviOperators;
using Rotation = EulerRotationMatrix<float64>;
using Translation = TranslationMatrix<float64>;
using Combined = CombinedMatrix<float64>;
using Transform = SmartPointer<IAffineTransformMatrix>;
using Number = Tavi::Persistence::Data<float64>;
using Rows = std::vector<std::vector<float64>>;

SmartPointer<IComposite> number(float64 value) { return SmartPointer<IComposite>(new Number(value)); }

/// Element (row, column) is the voxel at x = column, y = row.
Rows rowsOf(const IAffineTransformMatrix& transform) {
  const Tavi::VolumePtr<float64> volume = transform.getMatrix();
  EXPECT_TRUE(volume->getDimension() == Tavi::Dimension<SizeType>(4, 4, 1));
  Rows rows(4, std::vector<float64>(4));
  for (SizeType row = 0; row < 4; ++row) {
    for (SizeType column = 0; column < 4; ++column) {
      rows[row][column] = volume->getValueAt(Tavi::Position<SizeType>(column, row, 0));
    }
  }
  return rows;
}

Rows product(const Rows& a, const Rows& b) {
  Rows result(4, std::vector<float64>(4));
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      for (std::size_t k = 0; k < 4; ++k) {
        result[i][j] += a[i][k] * b[k][j];
      }
    }
  }
  return result;
}

const Rows identityRows{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

Rows translationRows(float64 x, float64 y, float64 z) {
  return {{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}};
}

Rows rotationRows(float64 heading, float64 attitude, float64 bank) {
  const auto turned = [](float64 angle) { return angle * 180 / 3.141592653589793 * 3.141592653589793 / 180; };
  const float64 h = turned(heading), a = turned(attitude), b = turned(bank);
  return {{std::cos(a) * std::cos(h), std::sin(b) * std::sin(h) - std::sin(a) * std::cos(h) * std::cos(b),
           std::sin(a) * std::cos(h) * std::sin(b) + std::cos(b) * std::sin(h), 0},
          {std::sin(a), std::cos(b) * std::cos(a), -std::cos(a) * std::sin(b), 0},
          {-std::sin(h) * std::cos(a), std::sin(a) * std::sin(h) * std::cos(b) + std::sin(b) * std::cos(h),
           std::cos(b) * std::cos(h) - std::sin(a) * std::sin(h) * std::sin(b), 0},
          {0, 0, 0, 1}};
}

void expectNear(const Rows& actual, const Rows& expected, float64 tolerance) {
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      EXPECT_NEAR(actual[i][j], expected[i][j], tolerance) << i << ", " << j;
    }
  }
}

void expectKeys(const IComposite& composite, const std::vector<std::string>& keys) {
  ASSERT_EQ(composite.getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(composite.getKey(i), keys[i]);
  }
}

TEST(TransformMatrices, TypesAreRegisteredUnderTheirNames) {
  for (const std::string name : {"TranslationMatrix", "EulerRotationMatrix", "CombinedMatrix"}) {
    const std::string identifier = "NORV::TaviOperators::" + name + "< NORV::float64 >";
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    const Transform made(Tavi::Factory::getClassFactory().createInstance(identifier));
    ASSERT_TRUE(made != nullptr);
    EXPECT_EQ(made->getType(), identifier);
    EXPECT_EQ(rowsOf(*made), identityRows);
  }
  EXPECT_EQ(AffineTransformMatrixPtr<float64>::identifier(),
            "NORV::TaviOperators::AffineTransformMatrixPtr< NORV::float64 >");
}

TEST(TransformMatrices, BothAccessorsGiveTheMatrix) {
  const AffineTransformMatrixPtr<float64> pointer(new Translation(1, 2, 3));
  const Tavi::VolumePtr<float64> volume(pointer->getMatrixVolume());
  ASSERT_TRUE(volume != nullptr);
  EXPECT_EQ(volume->getValueAt(Tavi::Position<SizeType>(3, 2, 0)), 3.0);
  EXPECT_FALSE(pointer->getMatrix() == pointer->getMatrix());
}

TEST(TranslationMatrix, HasItsFieldsInTheLastColumn) {
  Translation matrix;
  expectKeys(matrix, {"translationPrim", "translationSec", "translationTert"});
  matrix.setValue("translationPrim", number(1.5));
  matrix.setValue("translationSec", number(-2));
  matrix.setValue("translationTert", number(1e9));
  EXPECT_EQ(SmartPointer<Number>(matrix.getValue("translationSec"))->getValue(), -2.0);
  EXPECT_EQ(rowsOf(matrix), translationRows(1.5, -2, 1e9));
  EXPECT_EQ(rowsOf(Translation(1, 2, 3)), translationRows(1, 2, 3));
}

TEST(EulerRotationMatrix, FollowsTheProductOfTheThreeRotations) {
  const Rotation empty;
  expectKeys(empty, {"referencePrim", "referenceSec", "referenceTert", "heading", "attitude", "bank"});
  for (float64 heading = -3.2; heading < 3.3; heading += 0.4) {
    for (float64 attitude = -1.6; attitude < 1.7; attitude += 0.4) {
      for (float64 bank = -3.2; bank < 3.3; bank += 0.8) {
        const Rotation about(0, 0, 0, heading, attitude, bank);
        EXPECT_EQ(rowsOf(about), rotationRows(heading, attitude, bank));
        const Rotation matrix(10, -20, 30.5, heading, attitude, bank);
        EXPECT_EQ(rowsOf(matrix), product(translationRows(10, -20, 30.5), product(rotationRows(heading, attitude, bank),
                                                                                  translationRows(-10, 20, -30.5))));
      }
    }
  }
}

TEST(EulerRotationMatrix, TurnsAboutTheReferencePoint) {
  Rotation matrix;
  const std::vector<std::string> keys{"referencePrim", "referenceSec", "referenceTert", "heading", "attitude", "bank"};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    matrix.setValue(keys[i], number(static_cast<float64>(i) + 0.5));
    EXPECT_EQ(SmartPointer<Number>(matrix.getValue(keys[i]))->getValue(), static_cast<float64>(i) + 0.5);
  }
  const Rows rows = rowsOf(matrix);
  for (std::size_t row = 0; row < 3; ++row) {
    EXPECT_NEAR(rows[row][0] * 0.5 + rows[row][1] * 1.5 + rows[row][2] * 2.5 + rows[row][3],
                static_cast<float64>(row) + 0.5, 1e-12);
  }
}

TEST(EulerRotationMatrix, WithoutAnglesIsTheIdentity) {
  expectNear(rowsOf(Rotation(123.4, -5.6, 7e3, 0, 0, 0)), identityRows, 1e-11);
}

TEST(EulerRotationMatrix, QuarterTurnsMapAxesOntoAxes) {
  const float64 quarter = std::acos(0.0);
  expectNear(rowsOf(Rotation(0, 0, 0, quarter, 0, 0)), {{0, 0, 1, 0}, {0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}},
             1e-15);
  expectNear(rowsOf(Rotation(0, 0, 0, 0, quarter, 0)), {{0, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}},
             1e-15);
  expectNear(rowsOf(Rotation(0, 0, 0, 0, 0, quarter)), {{1, 0, 0, 0}, {0, 0, -1, 0}, {0, 1, 0, 0}, {0, 0, 0, 1}},
             1e-15);
}

TEST(CombinedMatrix, WithoutTransformsIsTheIdentity) {
  const Combined combined;
  EXPECT_EQ(rowsOf(combined), identityRows);
  expectKeys(combined, {});
}

TEST(CombinedMatrix, TheTransformAddedFirstIsAppliedFirst) {
  const Transform translation(new Translation(1, 2, 3)), rotation(new Rotation(0, 0, 0, 0.5, 0.25, -1));
  Combined first, second;
  first.addTransform(translation);
  first.addTransform(rotation);
  second.addTransform(rotation);
  second.addTransform(translation);
  EXPECT_EQ(rowsOf(first), product(rotationRows(0.5, 0.25, -1), translationRows(1, 2, 3)));
  EXPECT_EQ(rowsOf(second), product(translationRows(1, 2, 3), rotationRows(0.5, 0.25, -1)));
  EXPECT_NE(rowsOf(first), rowsOf(second));
}

TEST(CombinedMatrix, ListsItsTransformsByIndex) {
  const Transform translation(new Translation(1, 2, 3)), rotation(new Rotation(0, 0, 0, 0.5, 0, 0));
  Combined combined;
  for (int i = 0; i < 11; ++i) {
    combined.addTransform(translation);
  }
  expectKeys(combined, {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"});
  combined.setValue("10", rotation);
  EXPECT_TRUE(combined.getValue("10") == rotation);
  EXPECT_TRUE(combined.getValue("0") == translation);
  // Nested, and a change of a transform shows.
  const SmartPointer<Combined> outer(new Combined);
  const SmartPointer<Combined> inner(new Combined);
  outer->addTransform(inner);
  inner->addTransform(translation);
  EXPECT_EQ(rowsOf(*outer), translationRows(1, 2, 3));
  translation->setValue("translationSec", number(5));
  EXPECT_EQ(rowsOf(*outer), translationRows(1, 5, 3));
}

TEST(CombinedMatrixFailure, ATransformThatContainsTheCombinationItself) {
  const SmartPointer<Combined> outer(new Combined), inner(new Combined);
  outer->addTransform(inner);
  expectFailure<Exceptions::InvalidArg>([&] { inner->addTransform(outer); }, "Invalid composite!",
                                        "CombinedMatrix::addTransform");
  expectFailure<Exceptions::InvalidArg>([&] { inner->addTransform(inner); }, "Invalid composite!",
                                        "CombinedMatrix::addTransform");
  inner->addTransform(Transform(new Translation));
  expectFailure<Exceptions::InvalidArg>([&] { inner->setValue("0", outer); }, "Invalid composite!",
                                        "CombinedMatrix::setValue");
  EXPECT_EQ(rowsOf(*outer), identityRows);
}

TEST(CombinedMatrixFailure, WrongKeysAndValues) {
  Combined combined;
  expectFailure<Exceptions::NULLPointer>([&] { combined.addTransform(Transform()); },
                                         "The pointer variable 'affineTransformMatrix' is a NULL pointer",
                                         "CombinedMatrix::addTransform");
  expectFailure<Exceptions::IndexOutOfRange>([&] { static_cast<void>(combined.getKey(0)); },
                                             "The index 0 is out of the valid range (0 to -1)!",
                                             "CombinedMatrix::getKey");
  const Transform translation(new Translation(1, 2, 3));
  combined.addTransform(translation);
  expectFailure<Exceptions::IndexOutOfRange>([&] { static_cast<void>(combined.getKey(1)); },
                                             "The index 1 is out of the valid range (0 to 0)!",
                                             "CombinedMatrix::getKey");
  for (const std::string key : {"1", "", "-1", "00", "0 ", "0x0", "zero", "99999999999999999999"}) {
    expectFailure<Exceptions::InvalidArg>([&] { static_cast<void>(combined.getValue(key)); },
                                          "Unknown key '" + key + "'", "CombinedMatrix::getValue");
    expectFailure<Exceptions::InvalidArg>([&] { combined.setValue(key, translation); }, "Unknown key '" + key + "'",
                                          "CombinedMatrix::setValue");
  }
  for (const SmartPointer<IComposite>& value : {SmartPointer<IComposite>(), number(1)}) {
    expectFailure<Exceptions::InvalidArg>([&] { combined.setValue("0", value); }, "Invalid composite!",
                                          "CombinedMatrix::setValue");
  }
  EXPECT_TRUE(combined.getValue("0") == translation);
}

TEST(AffineTransformMatrixCompositeFailure, WrongNamesAndValues) {
  Translation matrix(1, 2, 3);
  float64 field = 4;
  expectFailure<Exceptions::InvalidArg>([&] { matrix.append("translationSec", field); },
                                        "Name 'translationSec' was already used!",
                                        "AffineTransformMatrixComposite::append");
  expectFailure<Exceptions::IndexOutOfRange>([&] { static_cast<void>(matrix.getKey(3)); },
                                             "The index 3 is out of the valid range (0 to 2)!",
                                             "AffineTransformMatrixComposite::getKey");
  expectFailure<Exceptions::InvalidArg>([&] { static_cast<void>(matrix.getValue("translation")); },
                                        "Unknown key 'translation'!", "AffineTransformMatrixComposite::getValue");
  // The name is looked up before the value.
  expectFailure<Exceptions::InvalidArg>([&] { matrix.setValue("heading", SmartPointer<IComposite>()); },
                                        "Unknown key 'heading'!", "AffineTransformMatrixComposite::setValue");
  expectFailure<Exceptions::NULLPointer>([&] { matrix.setValue("translationPrim", SmartPointer<IComposite>()); },
                                         "The pointer variable 'value' is a NULL pointer",
                                         "AffineTransformMatrixComposite::setValue");
  for (const SmartPointer<IComposite>& value :
       {SmartPointer<IComposite>(new Tavi::Persistence::Data<float32>(1.0f)),
        SmartPointer<IComposite>(new Tavi::Persistence::Data<int32>(1)), SmartPointer<IComposite>(new Translation)}) {
    expectFailure<Exceptions::InvalidArg>([&] { matrix.setValue("translationPrim", value); },
                                          "composite has an invalid type!", "AffineTransformMatrixComposite::setValue");
  }
  EXPECT_EQ(rowsOf(matrix), translationRows(1, 2, 3));
}

TEST(AffineTransformMatrixComposite, AppendedFieldsAreReachableByName) {
  Translation matrix(1, 2, 3);
  float64 field = 4;
  matrix.append("more", field);
  expectKeys(matrix, {"translationPrim", "translationSec", "translationTert", "more"});
  matrix.setValue("more", number(5));
  EXPECT_EQ(field, 5.0);
}

}  // namespace
}  // namespace NORV::Tests
