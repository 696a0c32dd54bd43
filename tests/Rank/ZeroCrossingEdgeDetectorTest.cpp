#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/ZeroCrossingEdgeDetector.hpp>
#include <ZeroCrossingEdgeDetector.hpp>

namespace NORV::Tests {
namespace {

using TaviOperators::ZeroCrossingEdgeDetector::Parameter;
using Frame = TaviOperators::DLL::ZeroCrossingEdgeDetector::Operator;

template <class In, class Out>
SmartPointer<Parameter> request(const TestVolume<In>& input, const TestVolume<Out>& output, Out edge = Out(200),
                                Out background = Out(3)) {
  const auto parameter = makeParameter<Parameter>();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  parameter->inputEdgeValue.setValue(edge);
  parameter->inputBackgroundValue.setValue(background);
  return parameter;
}

/// The rule voxel by voxel, in double; outside of the volume all is 0.
template <class In>
std::vector<bool> statedEdges(const std::vector<In>& voxels, const Extents& extents) {
  const auto at = [&](int64 x, int64 y, int64 z) {
    const bool isInside = x >= 0 && y >= 0 && z >= 0 && x < static_cast<int64>(extents[0]) &&
                          y < static_cast<int64>(extents[1]) && z < static_cast<int64>(extents[2]);
    return isInside ? static_cast<double>(
                          voxels[static_cast<std::size_t>(x) +
                                 extents[0] * (static_cast<std::size_t>(y) + extents[1] * static_cast<std::size_t>(z))])
                    : 0.0;
  };
  std::vector<bool> edges;
  for (int64 z = 0; z < static_cast<int64>(extents[2]); ++z) {
    for (int64 y = 0; y < static_cast<int64>(extents[1]); ++y) {
      for (int64 x = 0; x < static_cast<int64>(extents[0]); ++x) {
        const double c = at(x, y, z);
        bool isEdge = false;
        for (const double n :
             {at(x - 1, y, z), at(x + 1, y, z), at(x, y - 1, z), at(x, y + 1, z), at(x, y, z - 1), at(x, y, z + 1)}) {
          isEdge = isEdge || (!(c > 0.0) && n > 0.0 && n - c != 0.0);
        }
        edges.push_back(isEdge);
      }
    }
  }
  return edges;
}

template <class Out>
std::vector<Out> marked(const std::vector<bool>& edges, Out edge, Out background) {
  std::vector<Out> voxels;
  for (const bool isEdge : edges) {
    voxels.push_back(isEdge ? edge : background);
  }
  return voxels;
}

/// Mostly small values of both signs, and zeros.
template <class T>
std::vector<T> signedValues(std::size_t count) {
  std::vector<T> values = mixedValues<T>(count, 3);
  for (std::size_t i = 0; i < count; i += 3) {
    values[i] = static_cast<T>(static_cast<int>(i * 7 % 5) - 2);
  }
  return values;
}

template <class In, class Out>
void checkRun(const Extents& extents, const Layout& from, const Layout& to, SizeType threads) {
  SCOPED_TRACE(from.name() + " to " + to.name() + ", threads " + std::to_string(threads) + ", extents " +
               std::to_string(extents[0]) + " " + std::to_string(extents[1]) + " " + std::to_string(extents[2]));
  const auto values = signedValues<In>(extents[0] * extents[1] * extents[2]);
  const TestVolume<In> input(extents, from);
  input.fill(values);
  const TestVolume<Out> output(extents, to);
  const auto parameter = request(input, output);
  parameter->inputNumberOfThreads = threads;
  Frame().apply(parameter);
  expectSameVoxels(output.voxels(), marked(statedEdges(values, extents), Out(200), Out(3)));
  output.expectUntouchedOutside();
  EXPECT_EQ(parameter->outputVolume.value().get(), SmartPointer<IVolume>(output).get());
}

template <class Body>
void forEachInstance(const Body& body) {
  const auto one = [&body]<class In>() {
    SCOPED_TRACE(Tavi::typeName<In>);
    body.template operator()<In, uint8>();
    body.template operator()<In, uint16>();
  };
  one.template operator()<int8>();
  one.template operator()<int16>();
  one.template operator()<int32>();
  one.template operator()<float32>();
  one.template operator()<float64>();
}

TEST(ZeroCrossingEdgeDetector, KeysStandInTheirOrder) {
  const Parameter parameter;
  std::vector<std::string> keys;
  for (SizeType i = 0; i < parameter.getNumberOfKeys(); ++i) {
    keys.push_back(parameter.getKey(i));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"inputVolume", "inputEdgeValue", "inputBackgroundValue",
                                            "inputNumberOfThreads", "outputVolume"}));
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::ZeroCrossingEdgeDetector::Parameter");
  EXPECT_EQ(parameter.inputNumberOfThreads.value(), 0u);
}

TEST(ZeroCrossingEdgeDetector, EveryInstanceIsAsStatedInEveryLayout) {
  forEachInstance([]<class In, class Out>() {
    for (const Layout& from : someLayouts()) {
      for (const Layout& to : someLayouts()) {
        checkRun<In, Out>({19, 5, 4}, from, to, 2);
      }
    }
    for (const SizeType threads : threadCounts()) {
      checkRun<In, Out>({67, 3, 5}, denseLayout, denseLayout, threads);
    }
  });
}

TEST(ZeroCrossingEdgeDetector, EveryOrientationIsAsStated) {
  for (const Layout& layout : allLayouts()) {
    checkRun<float32, uint8>({5, 4, 3}, layout, denseLayout, 1);
    checkRun<int16, uint16>({5, 4, 3}, denseLayout, layout, 2);
  }
}

TEST(ZeroCrossingEdgeDetector, FlatAndThinVolumesAreAsStated) {
  for (const Extents& extents :
       {Extents{7, 5, 1}, Extents{7, 1, 5}, Extents{1, 7, 5}, Extents{9, 1, 1}, Extents{1, 9, 1}, Extents{1, 1, 9},
        Extents{1, 1, 1}, Extents{2, 2, 2}, Extents{2, 1, 2}}) {
    for (const Layout& layout : someLayouts()) {
      checkRun<int8, uint8>(extents, layout, denseLayout, 2);
      checkRun<float64, uint16>(extents, denseLayout, layout, 1);
    }
  }
}

TEST(ZeroCrossingEdgeDetector, ConstantVolumesHaveNoEdge) {
  for (const int8 value : {int8(0), int8(5), int8(-5)}) {
    const TestVolume<int8> input({4, 3, 2});
    input.fill({value});
    const TestVolume<uint8> output({4, 3, 2});
    Frame().apply(request(input, output));
    EXPECT_EQ(output.voxels(), std::vector<uint8>(24, 3)) << +value;
  }
}

TEST(ZeroCrossingEdgeDetector, TheZeroBesideAPositiveVoxelIsTheEdgeNotThePositiveOne) {
  const TestVolume<int16> input({4, 1, 1});
  input.fill({0, 0, 7, -2});
  const TestVolume<uint8> output({4, 1, 1});
  Frame().apply(request(input, output));
  EXPECT_EQ(output.voxels(), (std::vector<uint8>{3, 200, 3, 200}));
}

TEST(ZeroCrossingEdgeDetector, TheOutsideIsNoCrossingForANegativeVoxelAtTheBorder) {
  const TestVolume<int32> input({3, 3, 3});
  input.fill({-1});
  const TestVolume<uint8> output({3, 3, 3});
  Frame().apply(request(input, output));
  EXPECT_EQ(output.voxels(), std::vector<uint8>(27, 3));
}

TEST(ZeroCrossingEdgeDetector, APositiveVoxelAtTheBorderIsNoEdge) {
  const TestVolume<int32> input({3, 3, 3});
  input.fill({-1});
  input.at({0, 0, 0}) = 4;
  const TestVolume<uint8> output({3, 3, 3});
  Frame().apply(request(input, output));
  EXPECT_EQ(output.at({0, 0, 0}), 3);
  EXPECT_EQ(output.at({1, 0, 0}), 200);
  EXPECT_EQ(output.at({0, 1, 0}), 200);
  EXPECT_EQ(output.at({0, 0, 1}), 200);
  EXPECT_EQ(output.at({1, 1, 0}), 3);
}

TEST(ZeroCrossingEdgeDetector, ANaNBesideIsNoCrossing) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  const TestVolume<float32> input({5, 1, 1});
  input.fill({-1.0f, nan, -1.0f, nan, 2.0f});
  const TestVolume<uint8> output({5, 1, 1});
  Frame().apply(request(input, output));
  EXPECT_EQ(output.voxels(), (std::vector<uint8>{3, 3, 3, 200, 3}));
}

TEST(ZeroCrossingEdgeDetector, AnOutputOfAnotherSizeIsResized) {
  const TestVolume<int8> input({4, 3, 2});
  input.fill({-1});
  const TestVolume<uint16> output({2, 2, 2});
  const auto parameter = request(input, output);
  Frame().apply(parameter);
  EXPECT_EQ(voxelsOf(Tavi::VolumePtr<uint16>(parameter->outputVolume.value())), std::vector<uint16>(24, 3));
}

TEST(ZeroCrossingEdgeDetector, AnEmptyVolumeGivesAnEmptyOne) {
  const auto parameter = makeParameter<Parameter>();
  parameter->inputVolume = Tavi::VolumePtr<int8>(new Tavi::Volume<int8>(Tavi::Dimension<SizeType>(0, 0, 0)));
  parameter->outputVolume = TestVolume<uint8>({2, 2, 2});
  parameter->inputEdgeValue.setValue(uint8(1));
  parameter->inputBackgroundValue.setValue(uint8(0));
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(ZeroCrossingEdgeDetector, CountsSlicesOrTheRowsOfAPlane) {
  const Frame frame;
  const auto op = createTyped("NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< NORV::int8 , NORV::uint8 >");
  for (const Extents& extents : {Extents{3, 3, 3}, Extents{3, 4, 1}, Extents{5, 1, 1}, Extents{1, 1, 1}}) {
    op->apply(request(TestVolume<int8>(extents), TestVolume<uint8>(extents)));
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
}

TEST(ZeroCrossingEdgeDetector, IsRegisteredForTenPairs) {
  const Frame frame;
  EXPECT_EQ(countRegistered("NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< "), 10u);
}

TEST(ZeroCrossingEdgeDetectorFailure, AWrongParameterObject) {
  expectRefusal(
      [] {
        Frame().apply(TestVolume<int8>({1, 1, 1}).volume());
      },
      "NORV::TaviOperators::DLL::ZeroCrossingEdgeDetector::Operator::getOperatorTypeFromParameterObject: "
      "invalid parameter object!");
  expectRefusal(
      [] {
        createTyped("NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< NORV::int16 , NORV::uint8 >")->apply({});
      },
      "NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< NORV::int16 , NORV::uint8 >::apply parameter is NULL");
}

TEST(ZeroCrossingEdgeDetectorFailure, NoInput) {
  const auto parameter = makeParameter<Parameter>();
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::DLL::ZeroCrossingEdgeDetector::Operator::getOperatorTypeFromParameterObject: "
                "inputVolume is NULL!");
  const auto typed =
      createTyped("NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< NORV::int16 , NORV::uint8 >");
  expectMissingValue([&] { typed->apply(parameter); });
  parameter->inputEdgeValue.setValue(uint8(1));
  parameter->inputBackgroundValue.setValue(uint8(0));
  expectRefusal([&] { typed->apply(parameter); },
                "NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator::apply inputVolume is NULL");
}

TEST(ZeroCrossingEdgeDetectorFailure, WithoutAnOutputThereIsNoInstance) {
  const auto parameter = request(TestVolume<int8>({2, 2, 2}), TestVolume<uint8>({2, 2, 2}));
  parameter->outputVolume = SmartPointer<IVolume>();
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< NORV::int8 , NORV::int8 > is registered");
}

TEST(ZeroCrossingEdgeDetectorFailure, AnOutputOfAnotherType) {
  const auto parameter = request(TestVolume<int8>({2, 2, 2}), TestVolume<uint16>({2, 2, 2}));
  parameter->inputEdgeValue.setValue(uint8(1));
  parameter->inputBackgroundValue.setValue(uint8(0));
  expectRefusal(
      [&] {
        createTyped("NORV::TaviOperators::ZeroCrossingEdgeDetector::Operator< NORV::int8 , NORV::uint8 >")
            ->apply(parameter);
      },
      "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(ZeroCrossingEdgeDetectorFailure, ValuesOfAnotherTypeThanTheOutput) {
  const auto parameter = request(TestVolume<int8>({2, 2, 2}), TestVolume<uint8>({2, 2, 2}));
  parameter->inputBackgroundValue.setValue(uint16(0));
  expectWrongValueType<uint8>([&] { Frame().apply(parameter); });
}

TEST(ZeroCrossingEdgeDetectorFailure, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, request(TestVolume<int8>({2, 2, 2}), TestVolume<uint8>({2, 2, 2})));
}

}  // namespace
}  // namespace NORV::Tests
