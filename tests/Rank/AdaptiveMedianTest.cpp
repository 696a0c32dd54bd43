#include "Neighbourhoods.hpp"
#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <AdaptiveMedian.hpp>
#include <DLL/AdaptiveMedian.hpp>
#include <Saturation.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace NORV::Tests {
namespace {

using Neighbourhoods::ball;
using Neighbourhoods::Element;
using Neighbourhoods::fullBox;
using Neighbourhoods::scattered;
using Neighbourhoods::single;
using TaviOperators::AdaptiveMedian::Kernels;
using TaviOperators::AdaptiveMedian::Parameter;
using Frame = TaviOperators::DLL::AdaptiveMedian::Operator;
using Tavi::VolumePtr;

const std::string dispatch = "NORV::TaviOperators::DLL::AdaptiveMedian::getOperatorTypeFromParameterObject: ";
const std::string applying = "NORV::TaviOperators::AdaptiveLinearFilter::Operator::apply";

template <class In, class Index, class Kernel>
std::string identifier() {
  return std::string("NORV::TaviOperators::AdaptiveMedian::Operator< ") + Tavi::typeName<In> + " , " +
         Tavi::typeName<Index> + " , " + Tavi::typeName<Kernel> + " , " + Tavi::typeName<In> + " >";
}

template <class Kernel>
VolumePtr<Kernel> kernelOf(const Element& element, const Layout& layout = {}) {
  const TestVolume<Kernel> volume(element.extents, layout);
  std::vector<Kernel> voxels;
  for (const uint8 voxel : element.voxels) {
    // The value of a voxel that is set does not count, also where its lowest byte is 0.
    voxels.push_back(static_cast<Kernel>(voxel == 0 ? 0 : voxel % 2 == 0 ? Kernel(1) << (8 * sizeof(Kernel) - 1) : 1));
  }
  volume.fill(voxels);
  return volume.volume();
}

SmartPointer<Kernels> listOf(const std::vector<SmartPointer<IVolume>>& volumes) {
  const SmartPointer<Kernels> list(new Kernels);
  for (const SmartPointer<IVolume>& volume : volumes) {
    list->push_back(volume);
  }
  return list;
}

template <class Kernel>
SmartPointer<Kernels> kernelsOf(const std::vector<Element>& elements, const Layout& layout = {}) {
  std::vector<SmartPointer<IVolume>> volumes;
  for (const Element& element : elements) {
    volumes.push_back(kernelOf<Kernel>(element, layout));
  }
  return listOf(volumes);
}

SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& indices,
                                const SmartPointer<Kernels>& kernels, const SmartPointer<IVolume>& output = {},
                                SizeType threads = 0) {
  const auto parameter = makeParameter<Parameter>();
  parameter->inputVolume = input;
  parameter->inputIndexVolume = indices;
  parameter->inputKernelVolume = kernels;
  parameter->outputVolume = output;
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

/// The order of numbers, -0 below 0, a NaN beyond infinity on the side of its sign.
template <class T>
bool isBelow(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    const auto key = [](T x) {
      return std::tuple(std::isnan(x) ? (std::signbit(x) ? -1 : 1) : 0, std::isnan(x) ? T(0) : x, !std::signbit(x));
    };
    return key(a) < key(b);
  } else {
    return a < b;
  }
}

/// What the output holds after a run, voxel by voxel and position by position.
template <class T, class Index>
std::vector<T> plainlyFiltered(const TestVolume<T>& input, const TestVolume<Index>& indices, const Extents& size,
                               const std::vector<Element>& kernels, std::vector<T> before) {
  SizeType place = 0;
  for (SizeType z = 0; z < size[2]; ++z) {
    for (SizeType y = 0; y < size[1]; ++y) {
      for (SizeType x = 0; x < size[0]; ++x, ++place) {
        const Element& kernel = kernels.at(indices.at({x, y, z}));
        const Extents center{x, y, z};
        bool fits = true;
        for (unsigned i = 0; i < 3; ++i) {
          const SizeType half = kernel.extents[i] / 2;
          fits = fits && center[i] >= half && center[i] + half < size[i];
        }
        if (!fits) {
          continue;
        }
        std::vector<T> values;
        for (SizeType voxel = 0; voxel < kernel.voxels.size(); ++voxel) {
          if (kernel.voxels[voxel] != 0) {
            const SizeType width = kernel.extents[0], area = width * kernel.extents[1];
            values.push_back(
                input.at({x + voxel % width - kernel.extents[0] / 2, y + voxel % area / width - kernel.extents[1] / 2,
                          z + voxel / area - kernel.extents[2] / 2}));
          }
        }
        std::sort(values.begin(), values.end(), isBelow<T>);
        before[place] = values[(values.size() - 1) / 2];
      }
    }
  }
  return before;
}

/// Runs of one index between voxels that change theirs.
template <class Index>
std::vector<Index> indicesBelow(SizeType kernels, SizeType count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<Index> indices;
  while (indices.size() < count) {
    const auto index = static_cast<Index>(random() % kernels);
    indices.insert(indices.end(), random() % 3 == 0 ? 1 + random() % 200 : 1, index);
  }
  return indices;
}

struct Layouts {
  Layout input, indices, kernels, output;
};

/// Runs the frame on one case and compares every voxel of the output and of what lies around it.
template <class T, class Index, class Kernel>
void check(const Extents& size, const std::vector<Element>& elements, const Layouts& layouts = {},
           SizeType threads = 1) {
  SCOPED_TRACE(std::string(Tavi::typeName<T>) + ", input: " + layouts.input.name() + ", output: " +
               layouts.output.name() + ", row of " + std::to_string(size[0]) + ", threads: " + std::to_string(threads));
  const SizeType count = size[0] * size[1] * size[2];
  const TestVolume<T> input(size, layouts.input), output(size, layouts.output);
  const TestVolume<Index> indices(size, layouts.indices);
  input.fill(mixedValues<T>(count, 3));
  output.fill(mixedValues<T>(count, 99));
  indices.fill(indicesBelow<Index>(elements.size(), count, 7));
  const std::vector<T> expected = plainlyFiltered(input, indices, size, elements, output.voxels());

  Frame frame;
  const auto parameter = request(input, indices, kernelsOf<Kernel>(elements, layouts.kernels), output, threads);
  frame.apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  expectSameVoxels(output.voxels(), expected);
  input.expectUntouchedOutside();
  output.expectUntouchedOutside();
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

/// `count` voxels set, spread over a box.
Element spread(const Extents& extents, SizeType count) {
  Element element = fullBox(extents, {0, 0, 0});
  std::mt19937 random(static_cast<unsigned>(count));
  std::fill(element.voxels.begin() + static_cast<std::ptrdiff_t>(count), element.voxels.end(), uint8(0));
  std::shuffle(element.voxels.begin(), element.voxels.end(), random);
  return element;
}

const std::vector<Element>& mixedKernels() {
  static const std::vector<Element> all{single({1, 1, 1}, {0, 0, 0}, {}),
                                        fullBox({3, 3, 3}, {}),
                                        single({3, 1, 5}, {2, 0, 4}, {}),
                                        fullBox({3, 1, 1}, {}),
                                        fullBox({1, 5, 1}, {}),
                                        ball(1),
                                        spread({3, 3, 1}, 4),
                                        ball(2),
                                        spread({5, 5, 3}, 50)};
  return all;
}

template <class Body>
void forEachUnsignedType(const Body& body) {
  body.template operator()<uint8>();
  body.template operator()<uint16>();
  body.template operator()<uint32>();
}

}  // namespace

TEST(AdaptiveMedianParameter, KeysStandInTheirOrder) {
  const std::string name = "NORV::TaviOperators::AdaptiveMedian::Parameter";
  ASSERT_TRUE(isRegistered(name));
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(name);
  EXPECT_EQ(parameter->getType(), name);
  const std::vector<std::string> keys{"inputVolume", "inputIndexVolume", "inputKernelVolume", "inputNumberOfThreads",
                                      "outputVolume"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
}

TEST(AdaptiveMedianInstances, OneForEachVoxelTypeTypeOfIndicesAndTypeOfKernels) {
  forEachVoxelType([]<class T>() {
    forEachUnsignedType([]<class Index>() {
      forEachUnsignedType([]<class Kernel>() { EXPECT_TRUE(isRegistered((identifier<T, Index, Kernel>()))); });
    });
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::AdaptiveMedian::Operator< "), 72u);
  EXPECT_TRUE(
      isRegistered("NORV::TaviOperators::AdaptiveMedian::Operator< NORV::float32 , NORV::uint16 , NORV::uint8 , "
                   "NORV::float32 >"));
}

TEST(AdaptiveMedian, EveryInstanceEqualsThePlainMedian) {
  const RuntimeSettings settings;
  forEachVoxelType([]<class T>() {
    forEachUnsignedType([]<class Index>() {
      forEachUnsignedType([]<class Kernel>() { check<T, Index, Kernel>({71, 7, 6}, mixedKernels()); });
    });
  });
}

TEST(AdaptiveMedian, EveryLayoutEqualsThePlainMedian) {
  const RuntimeSettings settings;
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    const Layout& other = allLayouts()[++turn * 31 % allLayouts().size()];
    check<uint8, uint8, uint8>({37, 6, 6}, mixedKernels(), {layout, other, layout, other}, 2);
    check<uint16, uint16, uint32>({19, 6, 6}, mixedKernels(), {other, layout, other, layout});
    check<float32, uint32, uint16>({19, 6, 6}, mixedKernels(), {{}, layout, other, {}});
    check<float64, uint8, uint8>({11, 6, 6}, mixedKernels(), {layout, {}, {}, other});
  }
}

TEST(AdaptiveMedian, EveryNumberOfSetVoxelsEqualsThePlainMedian) {
  const RuntimeSettings settings;
  for (SizeType count = 1; count <= 45; ++count) {
    const std::vector<Element> kernels{spread({5, 3, 3}, count)};
    check<uint8, uint8, uint8>({140, 3, 3}, kernels);
    check<int16, uint8, uint8>({70, 3, 3}, kernels);
    check<uint32, uint8, uint8>({40, 3, 3}, kernels);
    check<float64, uint8, uint8>({24, 3, 3}, kernels);
    check<int8, uint8, uint8>({140, 3, 3}, kernels, {regionLayout, {}, {}, {}});
  }
}

/// More voxels than a counter of their type holds are taken in parts.
TEST(AdaptiveMedian, LargeKernelsEqualThePlainMedian) {
  const RuntimeSettings settings;
  for (const SizeType count : {100u, 111u, 127u, 128u, 254u, 255u, 256u, 257u, 401u, 511u, 513u, 729u}) {
    const std::vector<Element> kernels{spread({9, 9, 9}, count), ball(1)};
    check<uint8, uint8, uint8>({75, 10, 9}, kernels);
    check<int8, uint8, uint8>({12, 10, 9}, kernels);
    check<uint16, uint8, uint8>({43, 10, 9}, kernels);
    check<int32, uint8, uint8>({27, 10, 9}, kernels);
    check<float32, uint8, uint8>({25, 9, 10}, kernels, {{{1, 2, 4}}, {}, {}, {}});
    check<float64, uint8, uint8>({18, 9, 9}, kernels);
  }
}

TEST(AdaptiveMedian, KernelsBeyondEveryGatheringEqualThePlainMedian) {
  const RuntimeSettings settings;
  const std::vector<Element> kernels{fullBox({27, 27, 23}, {}), fullBox({3, 3, 3}, {})};
  check<uint8, uint8, uint8>({30, 28, 24}, kernels, {{{1, 2, 4}}, {}, {}, {}}, 2);
  check<int16, uint8, uint8>({29, 28, 24}, kernels, {}, 2);
}

TEST(AdaptiveMedian, RowsOfAnyLengthEqualThePlainMedian) {
  const RuntimeSettings settings;
  for (SizeType length = 1; length <= 140; ++length) {
    check<uint8, uint8, uint8>({length, 3, 3}, {fullBox({3, 3, 3}, {}), single({1, 1, 1}, {0, 0, 0}, {})});
    check<float32, uint8, uint8>({length, 3, 1}, {fullBox({5, 3, 1}, {}), fullBox({3, 1, 1}, {})});
  }
}

TEST(AdaptiveMedian, AnyNumberOfThreadsGivesTheSame) {
  const RuntimeSettings settings;
  for (const SizeType threads : threadCounts()) {
    check<uint16, uint8, uint8>({70, 9, 8}, mixedKernels(), {}, threads);
  }
}

TEST(AdaptiveMedian, ASingleVoxelIsCopied) {
  const TestVolume<int32> input({1, 1, 1});
  input.fill({-5});
  const TestVolume<uint8> indices({1, 1, 1}, {}, 0);
  const auto parameter = request(input, indices, kernelsOf<uint8>({single({1, 1, 1}, {0, 0, 0}, {})}));
  Frame().apply(parameter);
  const VolumePtr<int32> output(parameter->outputVolume.value());
  ASSERT_TRUE(output != 0);
  EXPECT_EQ(voxelsOf(output), std::vector<int32>{-5});
}

TEST(AdaptiveMedian, OfFourVoxelsTheSecondSmallestIsTaken) {
  const TestVolume<uint8> input({5, 1, 1}), output({5, 1, 1});
  input.fill({9, 4, 0, 7, 5});
  const TestVolume<uint8> indices({5, 1, 1}, {}, 0);
  Element kernel = fullBox({5, 1, 1}, {});
  kernel.voxels[2] = 0;
  Frame().apply(request(input, indices, kernelsOf<uint8>({kernel}), output));
  EXPECT_EQ(output.voxels(), (std::vector<uint8>{77, 77, 5, 77, 77}));
}

TEST(AdaptiveMedian, VoxelsCloserToTheBorderThanHalfTheirKernelKeepTheirValue) {
  const TestVolume<uint8> input({8, 7, 6}, {}, 1), output({8, 7, 6}, {}, 200);
  const TestVolume<uint8> indices({8, 7, 6}, {}, 0);
  Frame().apply(request(input, indices, kernelsOf<uint8>({fullBox({3, 5, 1}, {})}), output));
  for (SizeType z = 0; z < 6; ++z) {
    for (SizeType y = 0; y < 7; ++y) {
      for (SizeType x = 0; x < 8; ++x) {
        const bool isWritten = x >= 1 && x < 7 && y >= 2 && y < 5;
        EXPECT_EQ(output.at({x, y, z}), isWritten ? 1 : 200) << x << " " << y << " " << z;
      }
    }
  }
}

TEST(AdaptiveMedian, AKernelLargerAlongOneAxisFitsNowhere) {
  const TestVolume<uint8> input({3, 9, 9}, {}, 1), output({3, 9, 9}, {}, 200);
  const TestVolume<uint8> indices({3, 9, 9}, {}, 0);
  indices.at({1, 4, 4}) = 1;
  Frame().apply(request(input, indices, kernelsOf<uint8>({fullBox({5, 5, 5}, {}), fullBox({3, 3, 3}, {})}), output));
  std::vector<uint8> expected(3 * 9 * 9, 200);
  expected[1 + 3 * (4 + 9 * 4)] = 1;
  EXPECT_EQ(output.voxels(), expected);
}

TEST(AdaptiveMedian, AnOutputIsMadeOrResized) {
  const TestVolume<uint8> input({4, 3, 2});
  input.fill(mixedValues<uint8>(24));
  const TestVolume<uint16> indices({4, 3, 2}, {}, 0);
  const auto copying = kernelsOf<uint8>({single({1, 1, 1}, {0, 0, 0}, {})});
  const auto parameter = request(input, indices, copying);
  Frame().apply(parameter);
  EXPECT_EQ(voxelsOf(VolumePtr<uint8>(parameter->outputVolume.value())), input.voxels());

  const TestVolume<uint8> output({7, 1, 1});
  Frame().apply(request(input, indices, copying, output));
  EXPECT_EQ(voxelsOf(output.volume()), input.voxels());
}

TEST(AdaptiveMedian, AnAbortEndsTheRunAtTheNextSliceAndReturnsNormally) {
  const Extents size{100, 100, 100};
  const TestVolume<uint16> input(size, {}, 1), output(size, {}, 200);
  const TestVolume<uint8> indices(size, {}, 0);
  const auto op = createTyped(identifier<uint16, uint8, uint8>());
  const auto parameter = request(input, indices, kernelsOf<uint8>({fullBox({11, 11, 11}, {})}), output, 1);
  std::thread stopper([&op] {
    while (op->getProgress().getProgress() < 0.1) {
      std::this_thread::yield();
    }
    op->abort();
  });
  op->apply(parameter);
  stopper.join();
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  EXPECT_EQ(output.at({5, 5, 5}), 1);
  if (op->getProgress().getProgress() < 1.0) {  // the run may end before the abort is seen
    EXPECT_EQ(output.at({50, 50, 94}), 200);
  }
  op->apply(parameter);
  EXPECT_EQ(output.at({50, 50, 94}), 1);
}

namespace {

struct AdaptiveMedianFailures : testing::Test {
  TestVolume<uint8> input{{7, 5, 4}}, output{{7, 5, 4}, {}, 200};
  TestVolume<uint8> indices{{7, 5, 4}, {}, 0};
  SmartPointer<Kernels> kernels = kernelsOf<uint8>({fullBox({3, 3, 3}, {})});
  SmartPointer<IOperator> typed = createTyped(identifier<uint8, uint8, uint8>());

  /// Requires the refusal from the frame and that no voxel was written.
  void expectRefused(const SmartPointer<Parameter>& parameter, const std::string& text) {
    parameter->outputVolume = output;
    expectRefusal([&] { Frame().apply(parameter); }, text);
    expectSameVoxels(output.voxels(), std::vector<uint8>(140, 200));
  }
};

}  // namespace

TEST_F(AdaptiveMedianFailures, AnotherParameterObjectOrNone) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  expectRefusal([] { Frame().apply({}); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { Frame().apply(other); }, dispatch + "invalid parameter object!");
  expectRefusal([&] { typed->apply(other); }, applying);
  expectRefusal([&] { typed->apply({}); }, applying);
}

TEST_F(AdaptiveMedianFailures, WhatIsMissingInTheFrame) {
  expectRefused(request({}, {}, {}), dispatch + "inputVolume is NULL!");
  expectRefused(request(input, {}, {}), dispatch + "indexVolume is NULL!");
  expectRefused(request(input, indices, {}), dispatch + "kernelVector is NULL!");
  expectRefused(request(input, indices, listOf({})), dispatch + "kernelVector is empty!");
}

TEST_F(AdaptiveMedianFailures, WhatIsMissingInTheTypedOperator) {
  const TestVolume<uint16> others({7, 5, 4});
  const auto refuse = [this](const SmartPointer<Parameter>& parameter, const std::string& text) {
    expectRefusal([&] { typed->apply(parameter); }, text);
  };
  refuse(request({}, {}, {}), applying + " input volume is NULL");
  refuse(request(others, indices, kernels), applying + " input volume is NULL");
  refuse(request(input, {}, kernels), applying + " input volume is NULL");
  refuse(request(input, others, kernels), applying + " input volume is NULL");
  refuse(request(input, TestVolume<uint8>({7, 5, 3}), {}), applying + " input volumes have different size");
  refuse(request(input, indices, {}), applying + " kernel vector is NULL");
  refuse(request(input, indices, listOf({})), applying + " kernel vector is empty");
}

TEST_F(AdaptiveMedianFailures, IndicesOfAnotherSize) {
  for (const Extents& size : {Extents{6, 5, 4}, Extents{7, 6, 4}, Extents{7, 5, 5}}) {
    expectRefused(request(input, TestVolume<uint8>(size, {}, 0), kernels),
                  applying + " input volumes have different size");
  }
}

TEST_F(AdaptiveMedianFailures, AKernelThatIsNoneOrOfAnotherType) {
  const SmartPointer<IVolume> box = kernelOf<uint8>(fullBox({3, 3, 3}, {}));
  expectRefused(request(input, indices, listOf({SmartPointer<IVolume>()})), applying + " invalid kernel volume");
  expectRefused(request(input, indices, listOf({box, SmartPointer<IVolume>()})), applying + " invalid kernel volume");
  expectRefused(request(input, indices, listOf({box, kernelOf<uint16>(fullBox({3, 3, 3}, {}))})),
                applying + " invalid kernel volume");
}

TEST_F(AdaptiveMedianFailures, AKernelLargerAlongAllAxes) {
  const std::string text = applying + " dataset is too small for this kernel!";
  expectRefused(request(input, indices, kernelsOf<uint8>({fullBox({9, 7, 5}, {})})), text);
  expectRefused(request(input, indices, kernelsOf<uint8>({fullBox({8, 6, 6}, {})})),
                text);  // before it is seen as even
  Frame().apply(request(input, indices, kernelsOf<uint8>({fullBox({7, 7, 5}, {})})));
}

TEST_F(AdaptiveMedianFailures, AKernelOfEvenExtents) {
  const std::string text = applying + " kernel dimensions must be odd";
  for (const Extents& size : {Extents{2, 3, 3}, Extents{3, 4, 1}, Extents{1, 1, 2}}) {
    expectRefused(request(input, indices, kernelsOf<uint8>({ball(1), fullBox(size, {})})), text);
  }
  expectRefused(request(input, indices, listOf({VolumePtr<uint8>(new Tavi::Volume<uint8>)})), text);
}

TEST_F(AdaptiveMedianFailures, AKernelWithoutAVoxel) {
  Element none = fullBox({3, 3, 3}, {});
  std::fill(none.voxels.begin(), none.voxels.end(), uint8(0));
  expectRefused(request(input, indices, kernelsOf<uint8>({ball(1), none})), applying + " kernel has no voxel set");
}

TEST_F(AdaptiveMedianFailures, AnIndexPastTheKernelsEvenWhereNoneWouldFit) {
  for (const SizeType threads : threadCounts()) {
    const RuntimeSettings settings;
    indices.at({0, 0, 0}) = 1;
    const auto parameter = request(input, indices, kernels, output, threads);
    try {
      Frame().apply(parameter);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Exceptions::IndexOutOfRange& failure) {
      EXPECT_STREQ(failure.getOrigin(), applying.c_str());
      EXPECT_STREQ(failure.getErrorMessage(), "The index 1 is out of the valid range (0 to 0)!");
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    }
  }
}

TEST_F(AdaptiveMedianFailures, TheLargestIndexOfEachType) {
  const auto check = [this]<class Index>() {
    const TestVolume<Index> wrong({7, 5, 4}, {}, 0);
    wrong.at({6, 4, 3}) = std::numeric_limits<Index>::max();
    EXPECT_THROW(Frame().apply(request(input, wrong, kernels, output)), Exceptions::IndexOutOfRange);
  };
  forEachUnsignedType(check);
}

TEST_F(AdaptiveMedianFailures, AnOutputOfAnotherVoxelType) {
  const TestVolume<uint16> other({2, 3, 4});
  const auto parameter = request(input, indices, kernels, other);
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectSameVoxels(voxelsOf(other.volume()), std::vector<uint16>(24, 77));
}

TEST_F(AdaptiveMedianFailures, AVoxelTypeOfIndicesOrKernelsWithoutInstance) {
  const std::string none =
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::AdaptiveMedian::Operator< ";
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(request(input, TestVolume<int8>({7, 5, 4}, {}, 0), kernels));
      },
      none + "NORV::uint8 , NORV::int8 , NORV::uint8 , NORV::uint8 > is registered");
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(request(input, indices, listOf({TestVolume<float32>({1, 1, 1})})));
      },
      none + "NORV::uint8 , NORV::uint8 , NORV::float32 , NORV::uint8 > is registered");
}

TEST_F(AdaptiveMedianFailures, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, request(input, indices, kernels));
}

TEST_F(AdaptiveMedianFailures, MemoryThatRunsOutLeavesAllObjectsUsable) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const auto parameter = request(input, indices, kernels, output, 1);
  const int failures = failEachAllocation([&] { typed->apply(parameter); },
                                          [&] { EXPECT_TRUE(parameter->outputVolume.value() == output.volume()); });
  EXPECT_GT(failures, 3);
  EXPECT_EQ(output.at({3, 2, 1}), 77);
}

}  // namespace NORV::Tests
