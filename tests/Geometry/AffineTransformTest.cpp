#include "Geometry/AffineCases.hpp"
#include "support/FailingAllocation.hpp"

#include <Maximum.hpp>

#include <omp.h>

#include <atomic>
#include <random>
#include <thread>

namespace NORV::Tests {
namespace {

using namespace Affine;

struct Case {
  std::string name;
  Table matrix;
};

/// Matrices of all kinds. The extents of the volumes are about 10.
const std::vector<Case>& cases() {
  const double c = std::cos(0.7), s = std::sin(0.7), inf = std::numeric_limits<double>::infinity();
  static const std::vector<Case> all{
      {"identity", identity},
      {"whole translation", translation(2, -1, 1)},
      {"translation out of the volume", translation(1000, 0, 0)},
      {"translation beyond 64 bits", translation(1e20, -1e25, 3)},
      {"translation to the largest numbers", translation(1e308, 0, 0)},
      {"fractional translation", translation(0.3, -0.6, 0.5)},
      {"halves", translation(0.5, 0.5, -0.5)},
      {"just below a half", translation(-0.49999999999999994, 0, 0)},
      {"enlarged by whole numbers", scale(2, 3, 4)},
      {"reduced to every second voxel", scale(0.5, 1, 0.5)},
      {"flipped", {{-1, 0, 0, 8}, {0, 1, 0, 0}, {0, 0, -1, 4}, {0, 0, 0, 1}}},
      {"axes swapped", {{0, 1, 0, 0}, {0, 0, 1, -1}, {1, 0, 0, 0}, {0, 0, 0, 1}}},
      {"axes swapped and flipped", {{0, 0, -1, 6}, {0, -1, 0, 5}, {1, 0, 0, 1}, {0, 0, 0, 1}}},
      {"rotated about z", {{c, -s, 0, 1.5}, {s, c, 0, -2}, {0, 0, 1, 0}, {0, 0, 0, 1}}},
      {"rotated about y", {{c, 0, s, 0.25}, {0, 1, 0, 0}, {-s, 0, c, 2}, {0, 0, 0, 1}}},
      {"rotated and sheared", {{c, -s, 0.3, 1}, {s, c, -0.2, 0.7}, {0.1, 0.4, 0.9, -1}, {0, 0, 0, 1}}},
      {"sheared by whole numbers", {{1, 1, 0, 0}, {0, 1, 0, 0}, {0, 1, 1, -2}, {0, 0, 0, 1}}},
      {"scaled by w", {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 2}}},
      {"projective", {{1, 0.1, 0, 0.2}, {0, 1, 0, 0}, {0.05, 0, 1, 0}, {0.01, 0.02, 0.005, 1}}},
      {"w passes zero", {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0.25, 0, 0, 1}}},
      {"w is zero in the first column", {{0, 0, 0, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {1, 0, 0, 0}}},
      {"nearly singular", {{1, 0, 0, 0}, {1, 1e-12, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}},
      {"infinite", {{inf, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}},
      {"NaN", {{1, 0, 0, std::nan("")}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}};
  return all;
}

std::string pairName(const char* voxel, const char* matrix) {
  return std::string("NORV::TaviOperators::AffineTransform::Operator< ") + voxel + ", " + matrix + " >";
}

template <class Body>
void forEachPair(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    body.template operator()<T, float32>();
    body.template operator()<T, float64>();
  });
}

template <class M>
Table rounded(const Table& matrix) {
  Table result = matrix;
  for (auto& row : result) {
    for (double& value : row) {
      value = static_cast<double>(static_cast<M>(value));
    }
  }
  return result;
}

/// One run against the restatement.
template <class T, class M>
void expectCase(const Case& one, bool isLinear, const Extents& inputExtents, const Layout& inputLayout,
                const Extents& outputExtents, const Layout& outputLayout, int threads) {
  const TestVolume<T> input(inputExtents, inputLayout);
  const std::vector<T> values = mixedValues<T>(inputExtents[0] * inputExtents[1] * inputExtents[2]);
  input.fill(values);
  const TestVolume<T> output(outputExtents, outputLayout);
  const T outer = T(9);
  const TestVolume<M> matrix = matrixVolume<M>(one.matrix, inputLayout);
  const auto parameter = request<T>(input, matrix, outer, isLinear, output, threads);
  Frame().apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  const Source<T> source{inputExtents, values, outer};
  expectSame(output.voxels(), resampled(source, rounded<M>(one.matrix), isLinear, outputExtents),
             one.name + (isLinear ? ", linear, " : ", nearest, ") + inputLayout.name());
  output.expectUntouchedOutside();
  expectSameVoxels(input.voxels(), values);
}

TEST(AffineTransformParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::AffineTransform::Parameter");
  const std::vector<std::string> keys{"inputVolume",          "inputMatrixVolume",
                                      "inputOuterValue",      "inputLinearInterpolation",
                                      "inputNumberOfThreads", "outputVolume"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
  for (const char* key : {"inputVolume", "inputMatrixVolume", "inputOuterValue", "outputVolume"}) {
    EXPECT_TRUE(parameter->getValue(key) == nullptr) << key;
  }
  const SmartPointer<Tavi::Persistence::Data<bool>> isLinear(parameter->getValue("inputLinearInterpolation"));
  ASSERT_TRUE(isLinear != nullptr);
  EXPECT_TRUE(isLinear->getValue());
  const SmartPointer<Tavi::Persistence::Data<int32>> threads(parameter->getValue("inputNumberOfThreads"));
  ASSERT_TRUE(threads != nullptr);
  EXPECT_EQ(threads->getValue(), 0);
}

TEST(AffineTransformInstances, SixteenPairsAreRegisteredByTheirVoxelTypes) {
  const Frame frame;
  forEachPair([]<class T, class M>() {
    const std::string name = pairName(Tavi::typeName<T>, Tavi::typeName<M>);
    ASSERT_TRUE(isRegistered(name)) << name;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(name)->getType(), name);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::AffineTransform::Operator< "), 16u);
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::AffineTransform::Operator< NORV::uint8, NORV::float64 >"));
}

TEST(AffineTransform, EveryPairFollowsTheRuleForEveryKindOfMatrix) {
  const RuntimeSettings settings;
  forEachPair([]<class T, class M>() {
    for (const Case& one : cases()) {
      for (const bool isLinear : {true, false}) {
        expectCase<T, M>(one, isLinear, {9, 7, 6}, denseLayout, {21, 9, 5}, denseLayout, 2);
      }
    }
  });
}

TEST(AffineTransform, EveryVoxelTypeFollowsTheRuleInEveryLayout) {
  const RuntimeSettings settings;
  forEachVoxelType([]<class T>() {
    std::size_t number = 0;
    for (const Layout& layout : someLayouts()) {
      for (const Layout& outputLayout : someLayouts()) {
        for (const Case& one : cases()) {
          // Different in each combination, so that all of them meet.
          const bool isLinear = ++number % 2 == 0;
          expectCase<T, float64>(one, isLinear, {9, 5, 6}, layout, {13, 6, 7}, outputLayout, 1);
        }
        number += 1;
      }
    }
  });
}

TEST(AffineTransform, AllOrientationsOfTheInputAndOfTheMatrix) {
  const RuntimeSettings settings;
  for (const Layout& layout : allLayouts()) {
    for (const bool isLinear : {true, false}) {
      expectCase<uint16, float64>(cases()[15], isLinear, {9, 5, 6}, layout, {13, 6, 7}, denseLayout, 2);
      expectCase<uint8, float32>(cases()[11], isLinear, {9, 5, 6}, layout, {13, 6, 7}, layout, 2);
    }
  }
}

TEST(AffineTransform, OddSizesAndManySlices) {
  const RuntimeSettings settings;
  for (const Extents& input : {Extents{1, 1, 1}, Extents{2, 1, 1}, Extents{1, 5, 1}, Extents{1, 1, 9}, Extents{2, 2, 2},
                               Extents{3, 1, 2}, Extents{67, 3, 2}}) {
    for (const Extents& output : {Extents{1, 1, 1}, Extents{67, 1, 1}, Extents{130, 18, 3}, Extents{3, 2, 70}}) {
      for (const bool isLinear : {true, false}) {
        for (const std::size_t one : {0u, 5u, 10u, 15u, 18u}) {
          expectCase<uint8, float64>(cases()[one], isLinear, input, denseLayout, output, denseLayout, 2);
          expectCase<float32, float64>(cases()[one], isLinear, input, regionLayout, output, regionLayout, 2);
          expectCase<float64, float64>(cases()[one], isLinear, input, denseLayout, output, denseLayout, 2);
        }
      }
    }
  }
}

TEST(AffineTransform, LongRowsAndManySlicesInEveryLayout) {
  const RuntimeSettings settings;
  for (const Layout& layout : {denseLayout, someLayouts()[2], someLayouts()[3]}) {
    for (const bool isLinear : {true, false}) {
      for (const std::size_t one : {1u, 5u, 10u, 11u, 14u, 15u}) {
        expectCase<uint8, float64>(cases()[one], isLinear, {700, 3, 4}, layout, {1100, 2, 3}, layout, 2);
        expectCase<float32, float64>(cases()[one], isLinear, {5, 70, 4}, layout, {3, 530, 2}, layout, 2);
        expectCase<uint16, float64>(cases()[one], isLinear, {5, 3, 150}, layout, {20, 18, 140}, layout, 1);
      }
    }
  }
}

TEST(AffineTransform, WholeMatricesMapVoxelsToVoxels) {
  const RuntimeSettings settings;
  std::mt19937 random(7);
  std::uniform_int_distribution<int> any(-2, 2), offset(-9, 9);
  for (int attempt = 0; attempt < 300; ++attempt) {
    // The inverse of a matrix of determinant 1 or -1 is whole.
    Table matrix = translation(offset(random), offset(random), offset(random));
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) {
        matrix[i][j] = any(random);
      }
    }
    if (const double d = determinant(matrix); d == 1 || d == -1) {
      expectCase<int16, float64>({"whole", matrix}, attempt % 2 == 0, {9, 7, 6},
                                 someLayouts()[static_cast<std::size_t>(attempt) % 6], {11, 9, 8},
                                 someLayouts()[static_cast<std::size_t>(attempt) / 6 % 6], 1);
    }
  }
}

TEST(AffineTransform, EveryThreadCountGivesTheSameVoxels) {
  const RuntimeSettings settings;
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const int threads : {-5, 0, 1, 2, 5, 33, 100}) {
      expectCase<int16, float64>(cases()[15], true, {9, 7, 6}, denseLayout, {13, 6, 71}, denseLayout, threads);
      expectCase<int16, float64>(cases()[12], false, {9, 7, 6}, denseLayout, {13, 6, 71}, denseLayout, threads);
    }
  }
}

TEST(AffineTransform, IdentityWithNearestNeighbourCopiesTheOverlapAndFillsTheRest) {
  const TestVolume<float32> input({3, 2, 2});
  input.fill({0.25f, 1.5f, -2.75f, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  const TestVolume<float32> output({4, 1, 3});
  Frame().apply(request<float32>(input, matrixVolume<float64>(identity), 0.5f, false, output));
  expectSameVoxels(output.voxels(), {0.25f, 1.5f, -2.75f, 0.5f, 7, 8, 9, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f});
}

TEST(AffineTransform, IdentityWithTrilinearInterpolationRoundsFloatsHalvesUpwards) {
  const TestVolume<float32> input({6, 1, 1});
  input.fill({0.5f, -0.5f, 1.49f, -1.5f, 2.75f, -2.51f});
  const TestVolume<float32> output({6, 1, 1});
  Frame().apply(request<float32>(input, matrixVolume<float64>(identity), 0.0f, true, output));
  expectSameVoxels(output.voxels(), {1.0f, 0.0f, 1.0f, -1.0f, 3.0f, -3.0f});
}

TEST(AffineTransform, APositionBeyondTheLastVoxelBlendsItWithTheOuterValue) {
  const TestVolume<uint8> input({3, 1, 1});
  input.fill({0, 0, 100});
  const TestVolume<uint8> output({4, 1, 1});
  Frame().apply(request<uint8>(input, matrixVolume<float64>(translation(-0.25, 0, 0)), 20, true, output));
  expectSameVoxels(output.voxels(), std::vector<uint8>{0, 25, 80, 20});
}

TEST(AffineTransform, APositionBelowTheFirstVoxelBlendsItWithTheOuterValue) {
  const TestVolume<uint8> input({3, 1, 1});
  input.fill({100, 0, 0});
  const TestVolume<uint8> output({4, 1, 1});
  Frame().apply(request<uint8>(input, matrixVolume<float64>(translation(0.25, 0, 0)), 20, true, output));
  expectSameVoxels(output.voxels(), std::vector<uint8>{80, 25, 0, 15});
}

TEST(AffineTransform, InfinitePositionsHaveTheOuterValue) {
  // w is x: zero in the first column.
  const TestVolume<uint8> input({3, 3, 3});
  input.fill({50});
  const TestVolume<uint8> output({3, 3, 3});
  for (const bool isLinear : {true, false}) {
    Frame().apply(request<uint8>(input, matrixVolume<float64>(cases()[20].matrix), 7, isLinear, output));
    for (SizeType z = 0; z < 3; ++z) {
      for (SizeType y = 0; y < 3; ++y) {
        EXPECT_EQ(output.at({0, y, z}), 7);
      }
    }
  }
}

TEST(AffineTransform, AFloatMatrixGivesTheSameAsADoubleOneOfItsValues) {
  const TestVolume<int32> input({9, 7, 6});
  input.fill(mixedValues<int32>(9 * 7 * 6));
  const Table matrix = rounded<float32>(cases()[15].matrix);
  const TestVolume<int32> single({8, 8, 8}), dual({8, 8, 8});
  Frame().apply(request<int32>(input, matrixVolume<float32>(matrix), 3, true, single));
  Frame().apply(request<int32>(input, matrixVolume<float64>(matrix), 3, true, dual));
  expectSameVoxels(single.voxels(), dual.voxels());
}

TEST(AffineTransform, OuterValuesThatAreNoNumberAreInTheBlend) {
  const double largest = std::numeric_limits<double>::max();
  for (const double outer : {std::numeric_limits<double>::infinity(), std::nan(""), largest, -largest, -0.0, 0.3}) {
    for (const bool isLinear : {true, false}) {
      for (const std::size_t one : {1u, 5u, 15u}) {
        const TestVolume<float64> input({5, 4, 3});
        const std::vector<float64> values = mixedValues<float64>(60);
        input.fill(values);
        const TestVolume<float64> output({20, 5, 4});
        Frame().apply(request<float64>(input, matrixVolume<float64>(cases()[one].matrix), outer, isLinear, output));
        const Source<float64> source{{5, 4, 3}, values, outer};
        expectSame(output.voxels(), resampled(source, cases()[one].matrix, isLinear, {20, 5, 4}), cases()[one].name);
      }
    }
  }
}

TEST(AffineTransform, ColumnsPassThroughSinglePrecision) {
  const SizeType columns = (SizeType{1} << 24) + 9;
  const VolumePtr<uint8> input(new Volume<uint8>(Tavi::Dimension<SizeType>(columns, 1, 1)));
  const VolumePtr<uint8> output(new Volume<uint8>(Tavi::Dimension<SizeType>(columns, 1, 1)));
  for (SizeType x = 0; x < columns; ++x) {
    input->getData()[x] = static_cast<uint8>(x % 251);
  }
  for (const bool isLinear : {true, false}) {
    Frame().apply(request<uint8>(input, matrixVolume<float64>(identity), 1, isLinear, output));
    SizeType wrong = 0;
    for (SizeType x = 0; x < columns; ++x) {
      const auto seen = static_cast<SizeType>(static_cast<float>(x));
      wrong += output->getData()[x] != (seen < columns ? seen % 251 : 1) ? 1u : 0u;
    }
    EXPECT_EQ(wrong, 0u);
  }
}

TEST(AffineTransform, EmptyVolumes) {
  const VolumePtr<uint8> empty(new Volume<uint8>());
  const TestVolume<uint8> output({3, 2, 2});
  for (const bool isLinear : {true, false}) {
    Frame().apply(request<uint8>(empty, matrixVolume<float64>(identity), 5, isLinear, output));
    expectSameVoxels(output.voxels(), std::vector<uint8>(12, 5));
    Frame().apply(request<uint8>(output, matrixVolume<float64>(identity), 5, isLinear, empty));
    EXPECT_EQ(empty->getSize(), 0u);
  }
}

TEST(AffineTransform, TheOutputMayBeTheInput) {
  forEachVoxelType([]<class T>() {
    for (const bool isLinear : {true, false}) {
      for (const std::size_t one : {1u, 10u, 11u, 15u}) {
        for (const Layout& layout : someLayouts()) {
          const TestVolume<T> volume({6, 5, 4}, layout);
          const std::vector<T> values = mixedValues<T>(120);
          volume.fill(values);
          Frame().apply(request<T>(volume, matrixVolume<float64>(cases()[one].matrix), T(9), isLinear, volume));
          const Source<T> source{{6, 5, 4}, values, T(9)};
          expectSame(volume.voxels(), resampled(source, cases()[one].matrix, isLinear, {6, 5, 4}), layout.name());
          volume.expectUntouchedOutside();
        }
      }
    }
  });
}

/// A volume over the memory of another one.
template <class T>
VolumePtr<T> viewInto(const VolumePtr<T>& owner, SizeType offset, const Extents& extents) {
  return VolumePtr<T>(new Volume<T>(Tavi::Dimension<SizeType>(extents[0], extents[1], extents[2]),
                                    owner->getData() + offset, [owner](T*) {}));
}

TEST(AffineTransform, InputAndOutputMayOverlap) {
  for (const bool isLinear : {true, false}) {
    for (const SizeType shift : {0u, 1u, 13u, 59u}) {
      const VolumePtr<uint16> memory(new Volume<uint16>(Tavi::Dimension<SizeType>(400, 1, 1)));
      const std::vector<uint16> values = mixedValues<uint16>(400);
      std::copy(values.begin(), values.end(), memory->getData());
      const auto input = viewInto<uint16>(memory, 60, {5, 4, 3});
      const auto output = viewInto<uint16>(memory, 60 + shift, {7, 3, 5});
      Frame().apply(request<uint16>(input, matrixVolume<float64>(cases()[15].matrix), 9, isLinear, output));
      const Source<uint16> source{{5, 4, 3}, {values.begin() + 60, values.begin() + 120}, 9};
      expectSame(voxelsOf(output), resampled(source, cases()[15].matrix, isLinear, {7, 3, 5}));
    }
  }
}

TEST(AffineTransform, TheOutputMayBeTheMatrixAndAllThreeMayBeOne) {
  for (const bool isLinear : {true, false}) {
    const TestVolume<float64> input({4, 4, 1});
    const std::vector<float64> values = mixedValues<float64>(16);
    input.fill(values);
    const TestVolume<float64> matrix = matrixVolume<float64>(cases()[5].matrix);
    Frame().apply(request<float64>(input, matrix, 9.0, isLinear, matrix));
    expectSame(matrix.voxels(),
               resampled(Source<float64>{{4, 4, 1}, values, 9.0}, cases()[5].matrix, isLinear, {4, 4, 1}));

    const TestVolume<float64> all = matrixVolume<float64>(cases()[5].matrix);
    const std::vector<float64> before = all.voxels();
    Frame().apply(request<float64>(all, all, 9.0, isLinear, all));
    expectSame(all.voxels(),
               resampled(Source<float64>{{4, 4, 1}, before, 9.0}, cases()[5].matrix, isLinear, {4, 4, 1}));
  }
}

TEST(AffineTransform, EachSliceIsOneStepOfProgress) {
  const TestVolume<uint8> input({4, 4, 4}), output({5, 5, 40});
  const auto op = createTyped(pairName("NORV::uint8", "NORV::float64"));
  op->apply(request<uint8>(input, matrixVolume<float64>(identity), 0, true, output));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  Frame frame;
  frame.apply(request<uint8>(input, matrixVolume<float64>(identity), 0, true, output));
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

TEST(AffineTransformAbort, SkippedSlicesKeepTheirContent) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input({64, 64, 64});
  input.fill({1});
  const VolumePtr<uint8> output(new Volume<uint8>(Tavi::Dimension<SizeType>(256, 256, 256)));
  const SizeType slice = 256 * 256;
  Frame frame;
  SizeType skipped = 0;
  for (int attempt = 0; attempt < 50 && skipped == 0; ++attempt) {
    std::fill_n(output->getData(), slice * 256, uint8{77});
    const auto parameter = request<uint8>(input, matrixVolume<float64>(translation(0.5, 0, 0)), 2, true, output, 1);
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        frame.abort();
      }
    });
    frame.apply(parameter);
    ended = true;
    other.join();
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    for (SizeType z = 0; z < 256; ++z) {
      const uint8* begin = output->getData() + z * slice;
      const auto untouched = std::count(begin, begin + slice, uint8{77});
      EXPECT_TRUE(untouched == 0 || untouched == static_cast<std::ptrdiff_t>(slice)) << z;
      skipped += untouched != 0 ? 1u : 0u;
    }
  }
  EXPECT_GT(skipped, 0u);
  frame.apply(request<uint8>(input, matrixVolume<float64>(identity), 2, true, output, 1));
  EXPECT_EQ(std::count(output->getData(), output->getData() + slice * 256, uint8{77}), 0);
}

constexpr const char* inApply = "NORV::TaviOperators::AffineTransform::Operator::apply";

SmartPointer<Typed::Parameter> completeRequest() {
  return request<uint8>(TestVolume<uint8>({3, 3, 3}), matrixVolume<float64>(identity), 1, true,
                        TestVolume<uint8>({3, 3, 3}));
}

TEST(AffineTransformFailure, AParameterObjectOfAnotherClass) {
  const auto other = makeParameter<TaviOperators::Maximum::Parameter>();
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::AffineTransform::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
  const auto op = createTyped(pairName("NORV::uint8", "NORV::float64"));
  expectRefusal([&] { op->apply(other); }, inApply);
  expectRefusal([&] { op->apply(nullptr); }, inApply);
  expectRefusal([&] { Frame().apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
}

TEST(AffineTransformFailure, AMissingVolume) {
  const auto op = createTyped(pairName("NORV::uint8", "NORV::float64"));
  const std::string inFrame =
      "NORV::TaviOperators::DLL::AffineTransform::Operator::getOperatorTypeFromParameterObject: inputVolume or "
      "inputMatrixVolume is NULL!";
  for (const char* key : {"inputVolume", "inputMatrixVolume", "outputVolume"}) {
    const auto parameter = completeRequest();
    parameter->inputOuterValue = SmartPointer<IComposite>();  // is looked at later
    parameter->setValue(key, SmartPointer<IComposite>());
    expectRefusal([&] { op->apply(parameter); }, std::string(inApply) + " volume is NULL");
    expectRefusal([&] { Frame().apply(parameter); },
                  std::string(key) == "outputVolume" ? std::string(inApply) + " volume is NULL" : inFrame);
  }
}

TEST(AffineTransformFailure, AVolumeOfAnotherVoxelType) {
  const auto parameter = completeRequest();
  parameter->outputVolume = TestVolume<int8>({3, 3, 3});
  expectRefusal([&] { Frame().apply(parameter); }, std::string(inApply) + " volume is NULL");
  const auto op = createTyped(pairName("NORV::uint16", "NORV::float64"));
  expectRefusal([&] { op->apply(completeRequest()); }, std::string(inApply) + " volume is NULL");
  const auto single = createTyped(pairName("NORV::uint8", "NORV::float32"));
  expectRefusal([&] { single->apply(completeRequest()); }, std::string(inApply) + " volume is NULL");
  const auto integers = completeRequest();
  integers->inputMatrixVolume = TestVolume<int32>({4, 4, 1});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(integers); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::AffineTransform::Operator< NORV::uint8, NORV::int32 > is registered");
}

TEST(AffineTransformFailure, AMatrixVolumeOfOtherExtents) {
  for (const Extents& extents :
       {Extents{4, 4, 2}, Extents{3, 4, 1}, Extents{4, 5, 1}, Extents{16, 1, 1}, Extents{1, 4, 4}}) {
    const auto parameter = completeRequest();
    const TestVolume<float64> matrix(extents);
    parameter->inputMatrixVolume = matrix;
    expectRefusal([&] { Frame().apply(parameter); }, std::string(inApply) + " matrix volume has invalid dimension");
  }
  const auto parameter = completeRequest();
  parameter->inputMatrixVolume = VolumePtr<float64>(new Volume<float64>());
  expectRefusal([&] { Frame().apply(parameter); }, std::string(inApply) + " matrix volume has invalid dimension");
}

TEST(AffineTransformFailure, ASingularMatrixLeavesTheOutput) {
  const TestVolume<uint8> output({3, 3, 3});
  output.fill({42});
  for (const Table& matrix : {scale(1, 0, 1), Table{{1, 2, 3, 4}, {2, 4, 6, 8}, {0, 0, 1, 0}, {0, 0, 0, 1}},
                              Table{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}}}) {
    const auto parameter = completeRequest();
    parameter->outputVolume = output;
    parameter->inputMatrixVolume = matrixVolume<float64>(matrix);
    expectFailure<Exceptions::InvalidArg>([&] { Frame().apply(parameter); }, "Matrix is not invertible!",
                                          "Matrix::Invert");
    expectSameVoxels(output.voxels(), std::vector<uint8>(27, 42));
  }
}

TEST(AffineTransformFailure, AMissingOrWrongOuterValueComesBeforeTheMatrix) {
  const auto parameter = completeRequest();
  parameter->inputMatrixVolume = TestVolume<float64>({4, 4, 2});
  parameter->inputOuterValue = SmartPointer<IComposite>();
  expectMissingValue([&] { Frame().apply(parameter); });
  parameter->inputOuterValue.setValue(float64{1});
  expectWrongValueType<uint8>([&] { Frame().apply(parameter); });
}

TEST(AffineTransformFailure, AThreadCountBeyond32Bits) {
  const auto parameter = completeRequest();
  expectStandard<std::overflow_error>(
      [&] {
        parameter->setValue("inputNumberOfThreads",
                            SmartPointer<IComposite>(new Tavi::Persistence::Data<SizeType>(SizeType{1} << 31)));
      },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
  const RuntimeSettings settings;
  parameter->inputNumberOfThreads = 2147483647;
  Frame().apply(parameter);
}

TEST(AffineTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const RuntimeSettings settings;
  const TestVolume<uint8> volume({7, 3, 5});
  const std::vector<uint8> values = mixedValues<uint8>(105);
  volume.fill(values);
  Frame frame;
  const auto parameter = request<uint8>(volume, matrixVolume<float64>(cases()[15].matrix), 1, true, volume, 1);
  const int failures =
      failEachAllocation([&] { frame.apply(parameter); }, [&] { expectSameVoxels(volume.voxels(), values); });
  EXPECT_GT(failures, 3);
  expectSame(volume.voxels(), resampled(Source<uint8>{{7, 3, 5}, values, 1}, cases()[15].matrix, true, {7, 3, 5}));
}

}  // namespace
}  // namespace NORV::Tests
