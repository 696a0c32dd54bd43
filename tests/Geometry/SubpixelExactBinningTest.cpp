#include "Geometry/ReducedVolumes.hpp"

#include <DLL/SubpixelExactBinning.hpp>
#include <Inversion.hpp>
#include <SubpixelExactBinning.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace Reduced;
namespace Typed = TaviOperators::SubpixelExactBinning;
using Frame = TaviOperators::DLL::SubpixelExactBinning::Operator;

/// The voxels of one axis that a cell covers, with their weights.
struct Cover {
  SizeType first;
  std::vector<double> weights;
};

Cover coverOf(SizeType voxels, SizeType cells, SizeType index) {
  const double s = static_cast<double>(voxels) / static_cast<double>(cells);
  if (s == 1.0) {
    return {index, {1.0}};
  }
  const double a = static_cast<double>(index) * s, b = static_cast<double>(index + 1) * s;
  const auto first = static_cast<SizeType>(std::floor(a)), last = static_cast<SizeType>(std::ceil(b)) - 1;
  if (first == last) {
    return {first, {b - a}};
  }
  Cover cover{first, std::vector<double>(last - first + 1, 1.0)};
  cover.weights.front() = std::fmod(a, 1.0) == 0.0 ? 1.0 : std::ceil(a) - a;
  cover.weights.back() = std::fmod(b, 1.0) == 0.0 ? 1.0 : b - std::floor(b);
  cover.weights.resize(std::min(last + 1, voxels) - first);  // rounding may put the end behind the volume
  return cover;
}

/// The rule, as it is stated.
template <class T>
std::vector<T> averaged(const std::vector<T>& voxels, const Extents& from, const Extents& to) {
  const auto ratio = [&](std::size_t i) { return static_cast<double>(from[i]) / static_cast<double>(to[i]); };
  const double volume = ratio(0) * ratio(1) * ratio(2);
  std::vector<T> means;
  for (SizeType z = 0; z < to[2]; ++z) {
    for (SizeType y = 0; y < to[1]; ++y) {
      for (SizeType x = 0; x < to[0]; ++x) {
        const Cover inX = coverOf(from[0], to[0], x), inY = coverOf(from[1], to[1], y),
                    inZ = coverOf(from[2], to[2], z);
        double sum = 0.0;
        for (SizeType k = 0; k < inZ.weights.size(); ++k) {
          for (SizeType j = 0; j < inY.weights.size(); ++j) {
            for (SizeType i = 0; i < inX.weights.size(); ++i) {
              sum += inX.weights[i] * inY.weights[j] * inZ.weights[k] *
                     static_cast<double>(voxels[indexOf(from, inX.first + i, inY.first + j, inZ.first + k)]);
            }
          }
        }
        means.push_back(narrowed<T>(sum / volume));
      }
    }
  }
  return means;
}

SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output,
                                       int threads = 0) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class T>
std::vector<T> averageRow(const std::vector<T>& voxels, SizeType cells) {
  const TestVolume<T> input({voxels.size(), 1, 1}), output({cells, 1, 1});
  input.fill(voxels);
  Frame().apply(request(input, output));
  return output.voxels();
}

const std::string wrongParameter = "NORV::TaviOperators::SubpixelExactBinning: wrong parameter object!";
const std::string withoutInput = "NORV::TaviOperators::SubpixelExactBinning the InputVolume is NULL";
const std::string withoutOutput = "NORV::TaviOperators::SubpixelExactBinning the OuputVolume is NULL";
const std::string uint8Operator = typedIdentifier<uint8, uint8>("SubpixelExactBinning");

TEST(SubpixelExactBinningParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::SubpixelExactBinning::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::SubpixelExactBinning::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "outputVolume");
  EXPECT_EQ(parameter->getKey(2), "inputNumberOfThreads");
  EXPECT_TRUE(parameter->getValue("inputVolume") == nullptr);
  EXPECT_TRUE(parameter->getValue("outputVolume") == nullptr);
  EXPECT_EQ(SmartPointer<Tavi::Persistence::Data<int32>>(parameter->getValue("inputNumberOfThreads"))->getValue(), 0);
}

TEST(SubpixelExactBinningInstances, SevenVoxelTypesAreRegistered) {
  const Frame frame;
  forEachBinnedType([]<class T>() {
    const std::string identifier = typedIdentifier<T, T>("SubpixelExactBinning");
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::SubpixelExactBinning::Operator< "), 7u);
}

TEST(SubpixelExactBinning, EveryVoxelTypeIsAveragedInAllOrientationsAndRegions) {
  const RuntimeSettings settings;
  const Extents from{11, 9, 6};
  const std::vector<Extents> targets{{11, 9, 6}, {7, 4, 5}, {11, 3, 3}, {1, 1, 1}, {22, 5, 6}, {3, 13, 4}, {5, 9, 17}};
  forEachBinnedType([&]<class T>() {
    const std::vector<T> values = plainValues<T>(countOf(from));
    std::size_t turn = 0;
    for (const Layout& layout : allLayouts()) {
      const Extents& to = targets[turn % targets.size()];
      SCOPED_TRACE(layout.name() + ", target " + std::to_string(turn % targets.size()));
      const int threads = static_cast<int>(manyThreads()[turn++ % manyThreads().size()]);
      const TestVolume<T> input(from, layout);
      input.fill(values);
      const std::vector<T> expected = averaged(values, from, to);
      for (const Layout& outputLayout : {denseLayout, layout}) {
        const TestVolume<T> output(to, outputLayout);
        const auto parameter = request(input, output, threads);
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
        expectSameVoxels(output.voxels(), expected);
        output.expectUntouchedOutside();
      }
      input.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), values);
    }
  });
}

TEST(SubpixelExactBinning, ManyRatiosAlongARow) {
  const RuntimeSettings settings;
  for (const SizeType voxels : {1u, 2u, 3u, 7u, 10u, 49u, 64u, 1031u}) {
    const std::vector<float32> values = plainValues<float32>(voxels, 3);
    const std::vector<uint16> whole = plainValues<uint16>(voxels, 4);
    for (const SizeType cells : {1u, 2u, 3u, 4u, 5u, 7u, 10u, 48u, 49u, 50u, 103u, 1031u, 1500u}) {
      SCOPED_TRACE(std::to_string(voxels) + " voxels, " + std::to_string(cells) + " cells");
      expectSameVoxels(averageRow(values, cells), averaged(values, {voxels, 1, 1}, {cells, 1, 1}));
      expectSameVoxels(averageRow(whole, cells), averaged(whole, {voxels, 1, 1}, {cells, 1, 1}));
    }
  }
}

TEST(SubpixelExactBinning, ThreeVoxelsToTwoShareTheMiddleOne) {
  EXPECT_EQ(averageRow<float32>({3.0f, 6.0f, 12.0f}, 2), (std::vector<float32>{4.0f, 10.0f}));
  EXPECT_EQ(averageRow<uint8>({1, 2, 4}, 2), (std::vector<uint8>{1, 3}));  // 4/3 and 10/3, cut
}

TEST(SubpixelExactBinning, EqualSizesReturnTheInput) {
  forEachBinnedType([]<class T>() {
    const TestVolume<T> input({5, 3, 4}), output({5, 3, 4});
    input.fill(plainValues<T>(60));
    Frame().apply(request(input, output));
    expectSameVoxels(output.voxels(), input.voxels());
  });
}

TEST(SubpixelExactBinning, AnEnlargedAxisRepeatsItsVoxels) {
  EXPECT_EQ(averageRow<float32>({3.0f, 7.0f}, 4), (std::vector<float32>{3.0f, 3.0f, 7.0f, 7.0f}));
  EXPECT_EQ(averageRow<uint8>({3, 7}, 4), (std::vector<uint8>{3, 3, 7, 7}));
  EXPECT_EQ(averageRow<float32>({4.0f, 8.0f}, 3), (std::vector<float32>{4.0f, 6.0f, 8.0f}));
}

/// There the product of the ratio and the number of cells exceeds the number of voxels.
TEST(SubpixelExactBinning, ACellThatRoundingEndsBehindTheVolumeReadsNothingThere) {
  int found = 0;
  for (SizeType voxels = 1; voxels < 200; ++voxels) {
    for (SizeType cells = 1; cells < 400; ++cells) {
      const double ratio = static_cast<double>(voxels) / static_cast<double>(cells);
      if (static_cast<double>(cells) * ratio > static_cast<double>(voxels)) {
        ++found;
        const std::vector<float32> ones(voxels, 1.0f);
        for (const float32 mean : averageRow(ones, cells)) {
          EXPECT_NEAR(mean, 1.0f, 1e-6f);
        }
      }
    }
  }
  RecordProperty("found", found);
}

TEST(SubpixelExactBinning, EmptyVolumes) {
  const VolumePtr<int16> empty(new Volume<int16>());
  const TestVolume<int16> some({2, 2, 2});
  EXPECT_NO_THROW(Frame().apply(request(empty, VolumePtr<int16>(new Volume<int16>()))));
  EXPECT_NO_THROW(Frame().apply(request(some, empty)));
  expectRefusal([&] { Frame().apply(request(empty, some)); },
                "NORV::TaviOperators::SubpixelExactBinning the InputVolume is empty");
}

TEST(SubpixelExactBinningOutput, TheInputItselfMayBeTheOutput) {
  forEachBinnedType([]<class T>() {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<T> volume({5, 6, 7}, layout);
      const std::vector<T> values = plainValues<T>(210);
      volume.fill(values);
      Frame().apply(request(volume, volume));
      expectSameVoxels(volume.voxels(), values);
      volume.expectUntouchedOutside();
    }
  });
}

TEST(SubpixelExactBinningOutput, AnOutputOverTheSameMemoryGetsTheVoxelsOfACopy) {
  const Extents from{8, 8, 8}, to{5, 7, 3};
  const std::vector<uint16> values = mixedValues<uint16>(512);
  for (const SizeType shift : {0u, 1u, 64u, 300u, 448u}) {
    SCOPED_TRACE(shift);
    std::vector<uint16> memory = values;
    memory.resize(1024);
    const VolumePtr<uint16> output = volumeAt(memory.data() + shift, to);
    Frame().apply(request(volumeAt(memory.data(), from), output, 2));
    expectSameVoxels(voxelsOf(output), averaged(values, from, to));
  }
}

TEST(SubpixelExactBinningProgress, EachOutputSliceIsAStep) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input({4, 4, 7}), output({3, 5, 4});
  const auto op = createTyped(uint8Operator);
  op->apply(request(input, output, 2));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TEST(SubpixelExactBinningAbort, SkipsTheRemainingSlicesAndReturnsNormally) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(200, 200, 100)));
  const VolumePtr<uint8> output(new Volume<uint8>(Dimension<SizeType>(130, 130, 70)));
  std::fill_n(input->getData(), input->getSize(), uint8{8});
  Frame frame;
  EXPECT_TRUE(abortSometime(frame, [&] {
    std::fill_n(output->getData(), output->getSize(), uint8{77});
    frame.apply(request(input, output, 1));
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    return std::count(output->getData(), output->getData() + output->getSize(), uint8{77}) != 0;
  }));
}

TEST(SubpixelExactBinningFailure, NullAndForeignParameters) {
  const auto other = makeParameter<TaviOperators::Inversion::Parameter>();
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::SubpixelExactBinning::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
  expectRefusal([&] { createTyped(uint8Operator)->apply(other); }, wrongParameter);
  expectRefusal([&] { createTyped(uint8Operator)->apply(nullptr); }, wrongParameter);
}

TEST(SubpixelExactBinningFailure, NoVolumeOrOneOfAnotherType) {
  const TestVolume<uint8> volume({4, 6, 2});
  const TestVolume<int8> other({4, 6, 2});
  const SmartPointer<IVolume> none;
  const auto typed = createTyped(uint8Operator);
  expectRefusal([&] { Frame().apply(request(none, volume)); }, withoutInput);
  expectRefusal([&] { Frame().apply(request(none, none)); }, withoutInput);
  expectRefusal([&] { Frame().apply(request(volume, none)); }, withoutOutput);
  expectRefusal([&] { typed->apply(request(none, volume)); }, withoutInput);
  expectRefusal([&] { typed->apply(request(other, volume)); }, withoutInput);
  expectRefusal([&] { typed->apply(request(volume, none)); }, withoutOutput);
  expectRefusal([&] { typed->apply(request(volume, other)); }, withoutOutput);
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(request(volume, other)); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<uint8, int8>("SubpixelExactBinning") + " is registered");
}

}  // namespace
}  // namespace NORV::Tests
