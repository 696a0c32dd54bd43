#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <ChessboardConnectedComponentsAnalysis.hpp>
#include <CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>

#include <map>
#include <numeric>

namespace NORV::Tests {
namespace {

struct Chessboard {
  using Parameter = TaviOperators::ChessboardConnectedComponentsAnalysis::Parameter;
  using Frame = TaviOperators::DLL::ChessboardConnectedComponentsAnalysis::Operator;
  static constexpr const char* name = "ChessboardConnectedComponentsAnalysis";
  static constexpr const char* file = "TaviOperators/include/DLL/../ChessboardConnectedComponentsAnalysis";
  static constexpr int line = 425;
  static constexpr bool touchesByCorners = true;
  static constexpr SizeType instances = 12;
};
struct Cityblock {
  using Parameter = TaviOperators::CityblockConnectedComponentsAnalysis::Parameter;
  using Frame = TaviOperators::DLL::CityblockConnectedComponentsAnalysis::Operator;
  static constexpr const char* name = "CityblockConnectedComponentsAnalysis";
  static constexpr const char* file = "TaviOperators/include/DLL/../CityblockConnectedComponentsAnalysis";
  static constexpr int line = 365;
  static constexpr bool touchesByCorners = false;
  static constexpr SizeType instances = 9;
};

template <class Op>
class ConnectedComponents : public testing::Test {};
using Both = testing::Types<Chessboard, Cityblock>;
TYPED_TEST_SUITE(ConnectedComponents, Both);
template <class Op>
class ConnectedComponentsFailure : public testing::Test {};
TYPED_TEST_SUITE(ConnectedComponentsFailure, Both);

/// The labels by joining the sets of every voxel with each of its neighbours; numbered as a scan meets them.
struct Stated {
  std::vector<uint64> labels;
  uint64 objects = 0;
  uint64 rawLabels = 0;  ///< voxels none of whose neighbours comes before them in the scan
};

template <class Op>
Stated state(const std::vector<bool>& isForeground, const Extents& extents) {
  const auto [nx, ny, nz] = extents;
  std::vector<std::size_t> parent(isForeground.size());
  std::iota(parent.begin(), parent.end(), std::size_t{0});
  const auto rootOf = [&](std::size_t i) {
    while (parent[i] != i) {
      i = parent[i];
    }
    return i;
  };
  Stated stated;
  stated.labels.resize(isForeground.size());
  for (std::size_t index = 0; index < isForeground.size(); ++index) {
    if (!isForeground[index]) {
      continue;
    }
    const auto x = static_cast<int64>(index % nx), y = static_cast<int64>(index / nx % ny),
               z = static_cast<int64>(index / nx / ny);
    bool isFirst = true;
    for (int64 dz = -1; dz <= 0; ++dz) {
      for (int64 dy = -1; dy <= 1; ++dy) {
        for (int64 dx = -1; dx <= 1; ++dx) {
          const int64 steps = std::abs(dx) + std::abs(dy) + std::abs(dz);
          const bool isBefore = dz < 0 || dy < 0 || (dy == 0 && dx < 0);
          const bool isInside = x + dx >= 0 && x + dx < static_cast<int64>(nx) && y + dy >= 0 &&
                                y + dy < static_cast<int64>(ny) && z + dz >= 0;
          if (steps == 0 || (steps > 1 && !Op::touchesByCorners) || !isBefore || !isInside) {
            continue;
          }
          const auto other = static_cast<std::size_t>(x + dx) +
                             nx * (static_cast<std::size_t>(y + dy) + ny * static_cast<std::size_t>(z + dz));
          if (isForeground[other]) {
            isFirst = false;
            parent[std::max(rootOf(index), rootOf(other))] = std::min(rootOf(index), rootOf(other));
          }
        }
      }
    }
    stated.rawLabels += isFirst ? 1u : 0u;
  }
  std::map<std::size_t, uint64> names;
  for (std::size_t index = 0; index < isForeground.size(); ++index) {
    if (isForeground[index]) {
      stated.labels[index] = names.try_emplace(rootOf(index), names.size() + 1).first->second;
    }
  }
  stated.objects = names.size();
  return stated;
}

/// Foreground with the probability of so many in 100, the same for the same seed.
std::vector<bool> randomMask(std::size_t count, unsigned percent, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<bool> mask(count);
  for (std::size_t i = 0; i < count; ++i) {
    mask[i] = random() % 100 < percent;
  }
  return mask;
}

template <class Op, class In, class Out>
SmartPointer<typename Op::Parameter> request(const TestVolume<In>& input, const TestVolume<Out>& output,
                                             In background) {
  const auto parameter = makeParameter<typename Op::Parameter>();
  parameter->inputFirstVolume = input;
  parameter->outputVolume = output;
  parameter->inputBackgroundValue.setValue(background);
  return parameter;
}

template <class Op, class In, class Out>
void checkRun(const std::vector<bool>& mask, const Extents& extents, const Layout& from = {}, const Layout& to = {},
              uint64 expected = 65536) {
  SCOPED_TRACE(from.name() + " to " + to.name() + ", extents " + std::to_string(extents[0]) + " " +
               std::to_string(extents[1]) + " " + std::to_string(extents[2]));
  const Stated stated = state<Op>(mask, extents);
  const In background = In(5);
  std::vector<In> values;
  for (std::size_t i = 0; i < mask.size(); ++i) {
    values.push_back(mask[i] ? static_cast<In>(6 + i % 3) : background);
  }
  const TestVolume<In> input(extents, from);
  input.fill(values);
  const TestVolume<Out> output(extents, to);
  const auto parameter = request<Op, In, Out>(input, output, background);
  parameter->inputExpectedNumberOfLabels = expected;
  typename Op::Frame frame;
  if (stated.rawLabels > std::numeric_limits<Out>::max()) {
    EXPECT_THROW(frame.apply(parameter), Exceptions::NumericalOverflow);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    return;
  }
  frame.apply(parameter);
  std::vector<Out> wanted;
  for (const uint64 label : stated.labels) {
    wanted.push_back(static_cast<Out>(label));
  }
  expectSameVoxels(output.voxels(), wanted);
  output.expectUntouchedOutside();
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), stated.objects + 1);
  EXPECT_EQ(parameter->outputVolume.value().get(), SmartPointer<IVolume>(output).get());
}

template <class Op, class Body>
void forEachInstance(const Body& body) {
  const auto one = [&body]<class In>() {
    SCOPED_TRACE(Tavi::typeName<In>);
    body.template operator()<In, uint8>();
    body.template operator()<In, uint16>();
    body.template operator()<In, uint32>();
  };
  one.template operator()<uint8>();
  one.template operator()<uint16>();
  one.template operator()<uint32>();
  if constexpr (Op::touchesByCorners) {
    one.template operator()<int8>();
  }
}

TYPED_TEST(ConnectedComponents, KeysStandInTheirOrderWithTheirDefaults) {
  const typename TypeParam::Parameter parameter;
  std::vector<std::string> keys;
  for (SizeType i = 0; i < parameter.getNumberOfKeys(); ++i) {
    keys.push_back(parameter.getKey(i));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"inputFirstVolume", "inputBackgroundValue", "inputExpectedNumberOfLabels",
                                            "outputVolume", "outputNumberOfLabels"}));
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::" + std::string(TypeParam::name) + "::Parameter");
  EXPECT_EQ(parameter.inputExpectedNumberOfLabels.value(), 65536u);
  EXPECT_EQ(parameter.outputNumberOfLabels.value(), 0u);
}

TYPED_TEST(ConnectedComponents, EveryInstanceIsAsStated) {
  const typename TypeParam::Frame frame;
  const std::string beginning = "NORV::TaviOperators::" + std::string(TypeParam::name) + "::Operator< ";
  EXPECT_EQ(countRegistered(beginning), TypeParam::instances);
  EXPECT_TRUE(isRegistered(beginning + "NORV::uint8 , NORV::uint32 >"));
  forEachInstance<TypeParam>([]<class In, class Out>() {
    const Extents extents{67, 9, 5};
    for (const unsigned percent : {3u, 10u, 30u, 60u, 95u}) {
      checkRun<TypeParam, In, Out>(randomMask(67 * 9 * 5, percent, percent), extents);
    }
  });
}

TYPED_TEST(ConnectedComponents, EveryLayoutIsAsStated) {
  const Extents extents{11, 6, 5};
  for (const Layout& layout : allLayouts()) {
    checkRun<TypeParam, uint8, uint16>(randomMask(330, 35, 7), extents, layout, denseLayout);
    checkRun<TypeParam, uint16, uint32>(randomMask(330, 35, 8), extents, denseLayout, layout);
  }
}

TYPED_TEST(ConnectedComponents, ManyShapesAreAsStated) {
  unsigned seed = 0;
  for (const Extents& extents :
       {Extents{1, 1, 1}, Extents{1, 1, 9}, Extents{1, 9, 1}, Extents{9, 1, 1}, Extents{1, 7, 6}, Extents{7, 1, 6},
        Extents{6, 7, 1}, Extents{56, 3, 3}, Extents{57, 3, 3}, Extents{58, 2, 3}, Extents{64, 3, 2}, Extents{65, 2, 2},
        Extents{130, 3, 3}, Extents{300, 4, 2}}) {
    for (const unsigned percent : {20u, 50u, 80u, 99u, 100u}) {
      checkRun<TypeParam, uint8, uint32>(randomMask(extents[0] * extents[1] * extents[2], percent, ++seed), extents);
    }
  }
}

TYPED_TEST(ConnectedComponents, OnlyBackgroundGivesZerosAndOneLabel) {
  checkRun<TypeParam, uint8, uint8>(std::vector<bool>(60, false), {5, 4, 3});
}

TYPED_TEST(ConnectedComponents, AnEmptyVolumeHasOneLabelAndIsDone) {
  const typename TypeParam::Frame frame;
  const auto op =
      createTyped("NORV::TaviOperators::" + std::string(TypeParam::name) + "::Operator< NORV::uint8 , NORV::uint8 >");
  const auto parameter = makeParameter<typename TypeParam::Parameter>();
  parameter->inputFirstVolume = Tavi::VolumePtr<uint8>(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(0, 0, 0)));
  parameter->inputBackgroundValue.setValue(uint8(0));
  op->apply(parameter);
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), 1u);
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TYPED_TEST(ConnectedComponents, ASingleVoxelIsLabel1) {
  std::vector<bool> mask(60, false);
  mask[33] = true;
  checkRun<TypeParam, uint8, uint8>(mask, {5, 4, 3});
}

TYPED_TEST(ConnectedComponents, VoxelsThatTouchAtACornerAreOneObjectOrTwo) {
  const TestVolume<uint8> input({2, 2, 2}), output({2, 2, 2});
  input.fill({1, 0, 0, 0, 0, 0, 0, 1});
  const auto parameter = request<TypeParam, uint8, uint8>(input, output, 0);
  typename TypeParam::Frame().apply(parameter);
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), TypeParam::touchesByCorners ? 2u : 3u);
}

TYPED_TEST(ConnectedComponents, AUWhoseArmsAreMetFirstIsOneObject) {
  const TestVolume<uint8> input({5, 3, 1}), output({5, 3, 1});
  input.fill({1, 0, 1, 0, 1, 1, 0, 1, 0, 0, 1, 1, 1, 0, 1});
  const auto parameter = request<TypeParam, uint8, uint8>(input, output, 0);
  typename TypeParam::Frame().apply(parameter);
  EXPECT_EQ(output.voxels(), (std::vector<uint8>{1, 0, 1, 0, 2, 1, 0, 1, 0, 0, 1, 1, 1, 0, 3}));
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), 4u);
}

TYPED_TEST(ConnectedComponents, TablesOfAnySizeGiveTheSameLabels) {
  for (const uint64 expected : {uint64{0}, uint64{1}, uint64{7}, uint64{100000}}) {
    checkRun<TypeParam, uint8, uint16>(randomMask(1000, 20, 4), {10, 10, 10}, {}, {}, expected);
  }
}

TYPED_TEST(ConnectedComponents, AnOperatorCanBeUsedAgain) {
  typename TypeParam::Frame frame;
  const auto op =
      createTyped("NORV::TaviOperators::" + std::string(TypeParam::name) + "::Operator< NORV::uint8 , NORV::uint8 >");
  for (int run = 0; run < 3; ++run) {
    const TestVolume<uint8> input({3, 1, 1}), output({3, 1, 1});
    input.fill({1, 0, 1});
    const auto parameter = request<TypeParam, uint8, uint8>(input, output, 0);
    parameter->inputExpectedNumberOfLabels = run == 2 ? 10u : 65536u;
    op->apply(parameter);
    EXPECT_EQ(output.voxels(), (std::vector<uint8>{1, 0, 2}));
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
}

TYPED_TEST(ConnectedComponents, InPlace) {
  const TestVolume<uint8> volume({4, 2, 1});
  volume.fill({0, 9, 9, 0, 7, 0, 0, 3});
  const auto parameter = request<TypeParam, uint8, uint8>(volume, volume, 0);
  typename TypeParam::Frame().apply(parameter);
  EXPECT_EQ(volume.voxels(), TypeParam::touchesByCorners ? (std::vector<uint8>{0, 1, 1, 0, 1, 0, 0, 1})
                                                         : (std::vector<uint8>{0, 1, 1, 0, 2, 0, 0, 3}));
}

TYPED_TEST(ConnectedComponents, AnAbsentOutputIsMadeOfTheInputsType) {
  const TestVolume<uint16> input({3, 1, 1});
  input.fill({4, 0, 4});
  const auto parameter = makeParameter<typename TypeParam::Parameter>();
  parameter->inputFirstVolume = input;
  parameter->inputBackgroundValue.setValue(uint16(0));
  typename TypeParam::Frame().apply(parameter);
  EXPECT_EQ(voxelsOf(Tavi::VolumePtr<uint16>(parameter->outputVolume.value())), (std::vector<uint16>{1, 0, 2}));
}

TYPED_TEST(ConnectedComponentsFailure, The256thProvisionalLabelOverflowsUint8) {
  for (const bool overflows : {false, true}) {
    // Voxels two apart; the last row joins them all, so that the objects would not be many.
    std::vector<uint8> values(2 * 511, 0);
    for (std::size_t i = 0; i < 2 * (overflows ? 256u : 255u); i += 2) {
      values[i] = 1;
    }
    std::fill(values.begin() + 511, values.end(), uint8(1));
    const TestVolume<uint8> input({511, 2, 1}), output({511, 2, 1});
    input.fill(values);
    const auto parameter = request<TypeParam, uint8, uint8>(input, output, 0);
    typename TypeParam::Frame frame;
    if (!overflows) {
      frame.apply(parameter);
      EXPECT_EQ(parameter->outputNumberOfLabels.value(), 2u);
      continue;
    }
    try {
      frame.apply(parameter);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Exceptions::NumericalOverflow& failure) {
      EXPECT_STREQ(failure.getErrorMessage(), "Numercial overflow!");
      EXPECT_STREQ(failure.getOrigin(), "ConnectedComponentAnalysis::ExecuteLinear");
      EXPECT_STREQ(failure.getFile(), TypeParam::file);
      EXPECT_EQ(failure.getLine(), TypeParam::line);
    }
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    EXPECT_EQ(output.at({508, 0, 0}), 255);
  }
}

TYPED_TEST(ConnectedComponentsFailure, AWrongParameterObject) {
  const std::string name = TypeParam::name;
  expectRefusal(
      [] {
        typename TypeParam::Frame().apply(TestVolume<uint8>({1, 1, 1}).volume());
      },
      "NORV::TaviOperators::DLL::" + name +
          "::Operator::getOperatorTypeFromParameterObject: invalid parameter object!");
  expectRefusal(
      [&] { createTyped("NORV::TaviOperators::" + name + "::Operator< NORV::uint8 , NORV::uint8 >")->apply({}); },
      "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Operator::apply");
}

TYPED_TEST(ConnectedComponentsFailure, NoInput) {
  const std::string name = TypeParam::name;
  const auto parameter = makeParameter<typename TypeParam::Parameter>();
  expectRefusal(
      [&] { typename TypeParam::Frame().apply(parameter); },
      "NORV::TaviOperators::DLL::" + name + "::Operator::getOperatorTypeFromParameterObject: inputVolume is NULL!");
  expectRefusal(
      [&] {
        createTyped("NORV::TaviOperators::" + name + "::Operator< NORV::uint8 , NORV::uint8 >")->apply(parameter);
      },
      "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Operator::apply input volume is NULL");
}

TYPED_TEST(ConnectedComponentsFailure, AMissingOrWrongBackgroundValue) {
  const auto parameter =
      request<TypeParam, uint8, uint8>(TestVolume<uint8>({1, 1, 1}), TestVolume<uint8>({1, 1, 1}), 0);
  typename TypeParam::Frame frame;
  parameter->inputBackgroundValue.setValue(uint16(0));
  expectWrongValueType<uint8>([&] { frame.apply(parameter); });
  const auto without = makeParameter<typename TypeParam::Parameter>();
  without->inputFirstVolume = TestVolume<uint8>({1, 1, 1});
  expectMissingValue([&] { frame.apply(without); });
}

TYPED_TEST(ConnectedComponentsFailure, FloatVolumesHaveNoInstance) {
  const auto parameter = makeParameter<typename TypeParam::Parameter>();
  parameter->inputFirstVolume = TestVolume<float32>({1, 1, 1});
  expectStandard<std::invalid_argument>([&] { typename TypeParam::Frame().apply(parameter); },
                                        "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the "
                                        "identifier NORV::TaviOperators::" +
                                            std::string(TypeParam::name) +
                                            "::Operator< NORV::float32 , NORV::float32 > is registered");
}

TYPED_TEST(ConnectedComponentsFailure, AnOutputOfAnotherClass) {
  const auto parameter =
      request<TypeParam, uint8, uint16>(TestVolume<uint8>({1, 1, 1}), TestVolume<uint16>({1, 1, 1}), 0);
  expectRefusal(
      [&] {
        createTyped("NORV::TaviOperators::" + std::string(TypeParam::name) + "::Operator< NORV::uint8 , NORV::uint8 >")
            ->apply(parameter);
      },
      "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

}  // namespace
}  // namespace NORV::Tests
