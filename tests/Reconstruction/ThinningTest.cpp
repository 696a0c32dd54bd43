#include "Reconstruction/Reliefs.hpp"
#include "Reconstruction/StatedThinning.hpp"
#include "Reconstruction/Topology.hpp"
#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/RekReader.hpp>
#include <DLL/Thinning.hpp>
#include <RekReader.hpp>
#include <Tavi/Volume.hpp>
#include <Thinning.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::Thinning;
using Frame = TaviOperators::DLL::Thinning::Operator;
using Tavi::Dimension;
using Tavi::Position;
using Tavi::RegionOfInterest;
using Tavi::Volume;
using Tavi::VolumePtr;
using Object = std::vector<bool>;

template <class Body>
void forEachInstance(const Body& body) {
  const auto one = [&body]<class T>() {
    const testing::ScopedTrace trace(__FILE__, __LINE__, Tavi::typeName<T>);
    body.template operator()<T>();
  };
  one.template operator()<uint8>();
  one.template operator()<uint16>();
  one.template operator()<uint32>();
}

template <class T>
std::vector<T> valuesOf(const Object& object, T whenFalse = T(3), T whenTrue = T(200)) {
  std::vector<T> values;
  for (const bool isSet : object) {
    values.push_back(isSet ? whenTrue : whenFalse);
  }
  return values;
}

template <class T>
SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, SizeType threads = 0, T whenFalse = T(3),
                                       T whenTrue = T(200)) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputBinaryFalse.setValue(whenFalse);
  parameter->inputBinaryTrue.setValue(whenTrue);
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class T = uint8>
Object thinned(const Object& object, const Extents& extents, SizeType threads = 1) {
  const TestVolume<T> input(extents);
  const std::vector<T> values = valuesOf<T>(object);
  input.fill(values);
  const auto parameter = request<T>(input, threads);
  Frame().apply(parameter);
  expectSameVoxels(input.voxels(), values);
  Object result;
  for (const T x : voxelsOf(VolumePtr<T>(parameter->outputVolume.value()))) {
    EXPECT_TRUE(x == 3 || x == 200) << +x;
    result.push_back(x == 200);
  }
  return result;
}

struct Scene {
  std::string name;
  Extents extents;
  Object object;
};

template <class Rule>
Scene scene(const std::string& name, const Extents& extents, const Rule& isSet) {
  Scene made{name, extents, {}};
  for (SizeType z = 0; z < extents[2]; ++z) {
    for (SizeType y = 0; y < extents[1]; ++y) {
      for (SizeType x = 0; x < extents[0]; ++x) {
        made.object.push_back(isSet(static_cast<int>(x), static_cast<int>(y), static_cast<int>(z)));
      }
    }
  }
  return made;
}

int squared(int x) { return x * x; }
double distance(int x, int y, int z, int centre) {
  return std::sqrt(squared(x - centre) + squared(y - centre) + squared(z - centre));
}

/// Shapes whose topology thinning keeps.
std::vector<Scene> shapes() {
  return {
      scene("block", {33, 8, 7}, [](int, int, int) { return true; }),
      scene("block inside", {40, 12, 11},
            [](int x, int y, int z) { return x > 2 && x < 37 && y > 1 && y < 10 && z > 1 && z < 9; }),
      scene("ball", {23, 23, 23}, [](int x, int y, int z) { return distance(x, y, z, 11) < 9.5; }),
      scene("hollow shell", {25, 25, 25},
            [](int x, int y, int z) { return distance(x, y, z, 12) < 11 && distance(x, y, z, 12) > 5; }),
      scene("ring", {30, 30, 9},
            [](int x, int y, int z) {
              const double way = std::sqrt(squared(x - 14) + squared(y - 14)) - 10;
              return way * way + squared(z - 4) < 11;
            }),
      scene("pipe", {20, 20, 21},
            [](int x, int y, int z) {
              const int r = squared(x - 9) + squared(y - 9);
              return r < 70 && r > 12 && z > 2 && z < 18;
            }),
      scene("two balls", {41, 19, 19},
            [](int x, int y, int z) {
              return distance(x, y, z, 9) < 7.2 || squared(x - 31) + squared(y - 9) + squared(z - 9) < 50;
            }),
      scene("plate with holes", {35, 33, 5},
            [](int x, int y, int z) { return z > 0 && z < 4 && !(x % 9 > 6 && y % 8 > 4); }),
      scene("thick frame", {21, 21, 21},
            [](int x, int y, int z) {
              const auto isEdge = [](int v) { return v < 5 || v > 15; };
              return (isEdge(x) ? 1 : 0) + (isEdge(y) ? 1 : 0) + (isEdge(z) ? 1 : 0) >= 2;
            }),
  };
}

std::vector<Scene> allScenes() {
  std::vector<Scene> all = shapes();
  std::mt19937 random(11);
  for (const Extents& extents : std::vector<Extents>{{1, 1, 1},
                                                     {31, 3, 2},
                                                     {32, 4, 3},
                                                     {33, 5, 4},
                                                     {64, 3, 5},
                                                     {65, 7, 6},
                                                     {97, 2, 3},
                                                     {1, 9, 9},
                                                     {9, 1, 9},
                                                     {40, 9, 1},
                                                     {70, 1, 1},
                                                     {1, 40, 1},
                                                     {1, 1, 40},
                                                     {13, 11, 10}}) {
    for (const unsigned percent : {2u, 20u, 45u, 60u, 75u, 90u, 98u, 100u}) {
      all.push_back(scene(std::to_string(percent) + " percent noise", extents,
                          [&](int, int, int) { return random() % 100 < percent; }));
    }
    all.push_back(scene("checkerboard", extents, [](int x, int y, int z) { return (x + y + z) % 2 == 0; }));
    all.push_back(scene("comb", extents, [](int x, int y, int z) { return x % 3 != 0 || (y < 2 && z < 2); }));
  }
  for (int i = 0; i < 12; ++i) {
    std::vector<std::array<int, 4>> balls;
    for (int ball = 0; ball < 9; ++ball) {
      balls.push_back({static_cast<int>(random() % 45), static_cast<int>(random() % 20),
                       static_cast<int>(random() % 18), static_cast<int>(random() % 40)});
    }
    all.push_back(scene("blobs", {45, 20, 18}, [&](int x, int y, int z) {
      bool isSet = false;
      for (const auto& ball : balls) {
        isSet = isSet != (squared(x - ball[0]) + squared(y - ball[1]) + squared(z - ball[2]) < ball[3]);
      }
      return isSet;
    }));
  }
  const Extents spiral{41, 9, 7};
  all.push_back(scene("spiral", spiral, [](int, int, int) { return false; }));
  walkSpiral(spiral, [&](SizeType index, SizeType) { all.back().object[index] = true; });
  return all;
}

TEST(ThinningParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Thinning::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::Thinning::Parameter");
  std::vector<std::string> keys;
  for (SizeType i = 0; i < parameter->getNumberOfKeys(); ++i) {
    keys.push_back(parameter->getKey(i));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"inputVolume", "inputBinaryFalse", "inputBinaryTrue",
                                            "inputNumberOfThreads", "outputVolume"}));
  for (const char* key : {"inputVolume", "inputBinaryFalse", "inputBinaryTrue", "outputVolume"}) {
    EXPECT_TRUE(parameter->getValue(key) == nullptr) << key;
  }
  const SmartPointer<Tavi::Persistence::Data<SizeType>> threads(parameter->getValue("inputNumberOfThreads"));
  ASSERT_TRUE(threads != nullptr);
  EXPECT_EQ(threads->getValue(), 0u);
}

TEST(ThinningInstances, TheThreeUnsignedTypesAreRegistered) {
  const Frame frame;
  forEachInstance([]<class T>() {
    const std::string identifier = typedIdentifier<T, T>("Thinning");
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::Thinning::Operator< "), 3u);
}

TEST(Thinning, AllScenesAreAsStatedWithAnyNumberOfThreads) {
  const RuntimeSettings settings;
  constexpr SizeType threadCounts[] = {1, 2, 5, 1, 3, 2, 33, 1, 2};
  SizeType run = 0;
  for (const Scene& scene : allScenes()) {
    const SizeType threads = threadCounts[run++ % std::size(threadCounts)];
    SCOPED_TRACE(scene.name + " " + std::to_string(scene.extents[0]) + ", " + std::to_string(threads) + " threads");
    const Object expected = StatedThinning::thinned(scene.object, scene.extents);
    EXPECT_TRUE(thinned<uint8>(scene.object, scene.extents, threads) == expected);
    EXPECT_TRUE(thinned<uint16>(scene.object, scene.extents, 1) == expected);
    EXPECT_TRUE(thinned<uint32>(scene.object, scene.extents, 2) == expected);
  }
}

TEST(Thinning, AllLayoutsOfInputAndOutputAreAsStated) {
  const RuntimeSettings settings;
  const Extents extents{38, 6, 5};
  std::mt19937 random(5);
  const Scene noise = scene("noise", extents, [&](int, int, int) { return random() % 10 != 0; });
  const Object expected = StatedThinning::thinned(noise.object, extents);
  forEachInstance([&]<class T>() {
    std::size_t i = 0;
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<T> input(extents, layout);
      input.fill(valuesOf<T>(noise.object));
      const TestVolume<T> output(extents, someLayouts()[i++ % someLayouts().size()]);
      const auto parameter = request<T>(input, 1 + i % 3);
      parameter->outputVolume = output;
      Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectSameVoxels(output.voxels(), valuesOf<T>(expected));
      output.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), valuesOf<T>(noise.object));

      parameter->outputVolume = input;  // in place
      Frame().apply(parameter);
      expectSameVoxels(input.voxels(), valuesOf<T>(expected));
      input.expectUntouchedOutside();
    }
  });
}

TEST(Thinning, TheOutputMayShareVoxelsWithTheInput) {
  std::mt19937 random(3);
  for (int run = 0; run < 8; ++run) {
    std::vector<uint16> block(40 * 8 * 7);
    for (uint16& x : block) {
      x = random() % 8 == 0 ? 3 : 200;
    }
    const auto view = [&](const Dimension<SizeType>& size, SizeType x, SizeType y, SizeType z) {
      const VolumePtr<uint16> volume(new Volume<uint16>(Dimension<SizeType>(40, 8, 7), block.data(), [](uint16*) {}));
      volume->setRoi(RegionOfInterest(size, Position<SizeType>(x, y, z)));
      return volume;
    };
    const Dimension<SizeType> size(37, 6, 5);
    const VolumePtr<uint16> input = view(size, 1, 1, 1);
    const VolumePtr<uint16> output = run % 2 == 0 ? view(size, static_cast<SizeType>(run / 2) % 3, 2, 0)
                                                  : view({20, 3, 4}, 3, static_cast<SizeType>(run) % 3, 1);
    Object object;
    for (const uint16 x : voxelsOf(input)) {
      object.push_back(x == 200);
    }
    const auto parameter = request<uint16>(SmartPointer<IVolume>(input), 2);
    parameter->outputVolume = SmartPointer<IVolume>(output);
    Frame().apply(parameter);
    EXPECT_TRUE(output->getDimension() == size);
    expectSameVoxels(voxelsOf(output), valuesOf<uint16>(StatedThinning::thinned(object, {37, 6, 5})));
  }
}

TEST(Thinning, KeepsComponentsCavitiesAndTunnels) {
  for (const Scene& shape : shapes()) {
    SCOPED_TRACE(shape.name);
    const Topology before = TopologyCounter::count(shape.object, shape.extents);
    const Object result = thinned(shape.object, shape.extents, 2);
    const Topology after = TopologyCounter::count(result, shape.extents);
    EXPECT_EQ(after.components, before.components);
    EXPECT_EQ(after.cavities, before.cavities);
    EXPECT_EQ(after.tunnels(), before.tunnels());
    EXPECT_LT(std::count(result.begin(), result.end(), true),
              std::count(shape.object.begin(), shape.object.end(), true) / 4);
  }
}

TEST(Thinning, AResultStaysWhenThinnedAgain) {
  for (const Scene& shape : shapes()) {
    const Object once = thinned(shape.object, shape.extents);
    EXPECT_TRUE(thinned(once, shape.extents) == once) << shape.name;
  }
}

TEST(Thinning, ASingleVoxelStays) {
  const Scene one = scene("one", {5, 5, 5}, [](int x, int y, int z) { return x == 2 && y == 2 && z == 2; });
  EXPECT_TRUE(thinned(one.object, one.extents) == one.object);
  EXPECT_TRUE(thinned({true}, {1, 1, 1}) == Object{true});
}

TEST(Thinning, ALineOfOneVoxelStaysWithItsEndPoints) {
  for (const int axis : {0, 1, 2}) {
    const Scene line = scene("line", {9, 9, 9}, [&](int x, int y, int z) {
      const int at[3] = {x, y, z};
      return at[axis] > 1 && at[axis] < 7 && at[(axis + 1) % 3] == 4 && at[(axis + 2) % 3] == 4;
    });
    EXPECT_TRUE(thinned(line.object, line.extents) == line.object);
  }
  EXPECT_TRUE(thinned(Object(50, true), {50, 1, 1}) == Object(50, true));
}

TEST(Thinning, ASolidBlockThinsToItsMedialAxis) {
  const Scene block = scene("bar", {41, 5, 5}, [](int, int, int) { return true; });
  const Object result = thinned(block.object, block.extents);
  std::vector<SizeType> perSection(41);
  for (SizeType i = 0; i < result.size(); ++i) {
    perSection[i % 41] += result[i] ? 1u : 0u;
  }
  for (SizeType x = 5; x < 36; ++x) {
    EXPECT_EQ(perSection[x], 1u) << x;
  }
}

TEST(Thinning, AClosedShellKeepsItsCavityAsAClosedSurface) {
  const Scene shell = scene("box", {15, 15, 15}, [](int x, int y, int z) {
    const auto isIn = [](int v, int low, int high) { return v >= low && v <= high; };
    return isIn(x, 1, 13) && isIn(y, 1, 13) && isIn(z, 1, 13) && !(isIn(x, 5, 9) && isIn(y, 5, 9) && isIn(z, 5, 9));
  });
  const Topology after = TopologyCounter::count(thinned(shell.object, shell.extents), shell.extents);
  EXPECT_EQ(after, (Topology{1, 1, 2}));
}

TEST(Thinning, AllBackgroundStaysAndEndsAfterOneQuietCycle) {
  const TestVolume<uint8> input({34, 5, 4}, denseLayout, 3);
  const SmartPointer<IOperator> op = createTyped(typedIdentifier<uint8, uint8>("Thinning"));
  const auto parameter = request<uint8>(input);
  op->apply(parameter);
  expectSameVoxels(voxelsOf(VolumePtr<uint8>(parameter->outputVolume.value())), std::vector<uint8>(34 * 5 * 4, 3));
  EXPECT_EQ(op->getProgress().getProgress(), 0.5) << "of the nested operator; no pass had a candidate";
}

TEST(Thinning, VoxelsOnTheFacesHaveBackgroundOutside) {
  const Scene inside = scene("inside", {9, 8, 7},
                             [](int x, int y, int z) { return x > 0 && x < 8 && y > 0 && y < 7 && z > 0 && z < 6; });
  const Object bySurroundings = thinned(inside.object, inside.extents),
               filling = thinned(Object(7 * 6 * 5, true), {7, 6, 5});
  for (SizeType i = 0; i < filling.size(); ++i) {
    EXPECT_EQ(filling[i], bySurroundings[i % 7 + 1 + 9 * (i / 7 % 6 + 1 + 8 * (i / 42 + 1))]) << i;
  }
}

TEST(Thinning, EqualValuesOfBothKindsAreBackground) {
  const TestVolume<uint8> input({4, 3, 2}, denseLayout, 9);
  const auto parameter = request<uint8>(input, 1, 9, 9);
  Frame().apply(parameter);
  expectSameVoxels(voxelsOf(VolumePtr<uint8>(parameter->outputVolume.value())), std::vector<uint8>(24, 9));
}

TEST(Thinning, AnEmptyVolumeGivesAnEmptyOne) {
  forEachInstance([]<class T>() {
    const auto parameter = request<T>(SmartPointer<IVolume>(VolumePtr<T>(new Volume<T>())));
    Frame().apply(parameter);
    ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
    EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
  });
}

TEST(Thinning, TheThreadCountBecomesTheSettingOfTheRuntimeAndZeroLeavesIt) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input({5, 4, 3}, denseLayout, 3);
  for (const SizeType threads : {3u, 0u}) {
    Frame().apply(request<uint8>(input, threads));
    EXPECT_EQ(omp_get_max_threads(), 3);
  }
  Frame().apply(request<uint8>(input, 1));
  EXPECT_EQ(omp_get_max_threads(), 1);
}

TEST(Thinning, NeedsLittleMoreThanOneBytePerVoxel) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const TestVolume<uint8> input({256, 60, 60}, denseLayout, 200), output({256, 60, 60});
  const auto parameter = request<uint8>(input, 1);
  parameter->outputVolume = output;
  EXPECT_LT(extraBytesOf([&] { Frame().apply(parameter); }), 256 * 60 * 60 * 7 / 4);
}

Scene longRun() {
  std::mt19937 random(17);
  return scene("porous", {90, 80, 50},
               [&](int x, int y, int z) { return distance(x, y, z, 40) < 45 && random() % 400 != 0; });
}

TEST(Thinning, ProgressIsTheLargestShareOfCandidatesThatHaveGone) {
  const Scene porous = longRun();
  const TestVolume<uint8> input(porous.extents);
  input.fill(valuesOf<uint8>(porous.object));
  const SmartPointer<IOperator> op = createTyped(typedIdentifier<uint8, uint8>("Thinning"));
  std::atomic<bool> isDone{false};
  std::vector<double> seen;
  std::thread watcher([&] {
    while (!isDone.load()) {
      seen.push_back(op->getProgress().getProgress());
    }
  });
  op->apply(request<uint8>(input, 2));
  isDone = true;
  watcher.join();
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);

  StatedThinning::Work work(porous.object, porous.extents);
  std::vector<double> stated{0.0, 0.5};  // before and after the nested operator
  double most = 0.0, highest = 0.0;
  for (const SizeType candidates : work.thin()) {
    most = std::max(most, static_cast<double>(candidates));
    highest = std::max(highest, 1.0 - static_cast<double>(candidates) / most);
    stated.push_back((highest + 1.0) / 2.0);
  }
  for (const double share : seen) {
    ASSERT_TRUE(std::find(stated.begin(), stated.end(), share) != stated.end()) << share;
  }
}

TEST(Thinning, AnAbortedRunStoresNothing) {
  const RuntimeSettings settings;
  const Scene porous = longRun();
  const TestVolume<uint8> input(porous.extents);
  input.fill(valuesOf<uint8>(porous.object));
  int aborted = 0;
  for (int moment = 0; moment < 30; ++moment) {
    const auto parameter = request<uint8>(input, 1 + static_cast<SizeType>(moment) % 2);
    const SmartPointer<IOperator> op = createTyped(typedIdentifier<uint8, uint8>("Thinning"));
    std::atomic<bool> isDone{false};
    std::thread other([&] {
      while (!isDone.load() && op->getProgress().getProgress() <= moment / 31.0) {
      }
      op->abort();
    });
    op->apply(parameter);
    isDone = true;
    other.join();
    aborted += parameter->outputVolume.value() == nullptr ? 1 : 0;
  }
  EXPECT_GT(aborted, 0);
}

TEST(ThinningFailure, AVoxelOfAThirdValueIsFoundBeforeTheOutputIsTouched) {
  forEachInstance([]<class T>() {
    for (const SizeType at : {SizeType(0), SizeType(31), SizeType(36), SizeType(70 * 3 * 2 - 1)}) {
      for (const bool isResized : {false, true}) {
        const TestVolume<T> input({70, 3, 2}, regionLayout, T(3));
        std::vector<T> values(70 * 3 * 2, T(200));
        values[at] = T(4);
        input.fill(values);
        const TestVolume<T> output(isResized ? Extents{4, 4, 4} : Extents{70, 3, 2});
        const std::vector<T> before = output.voxels();
        const auto parameter = request<T>(input, 2);
        parameter->outputVolume = output;
        try {
          Frame().apply(parameter);
          ADD_FAILURE() << "nothing was thrown";
        } catch (const Exceptions::InvalidData& failure) {
          EXPECT_STREQ(failure.getErrorMessage(), "Volume is not binary!");
          EXPECT_STREQ(failure.getOrigin(), "NORV::TaviOperators::Thinning::Operator::apply");
          EXPECT_STREQ(failure.getFile(), "TaviOperators/include/DLL/../Thinning");
          EXPECT_GT(failure.getLine(), 0);
        }
        expectSameVoxels(input.voxels(), values);
        expectSameVoxels(output.voxels(), before);
        EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      }
    }
  });
}

TEST(ThinningFailure, EveryFailureHasItsText) {
  const std::string frame = "NORV::TaviOperators::DLL::Thinning::Operator::getOperatorTypeFromParameterObject: ";
  const std::string typed = "NORV::TaviOperators::Thinning::Operator::apply";
  const auto apply = [](const SmartPointer<IComposite>& parameter) { Frame().apply(parameter); };
  const auto applyTyped = [](const SmartPointer<IComposite>& parameter) {
    createTyped(typedIdentifier<uint8, uint8>("Thinning"))->apply(parameter);
  };
  const SmartPointer<IComposite> other(new Tavi::Persistence::Data<uint8>(1));
  expectRefusal([&] { apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { apply(other); }, frame + "invalid parameter object!");
  expectRefusal([&] { applyTyped(other); }, typed);
  expectRefusal([&] { applyTyped(nullptr); }, typed);

  const TestVolume<uint8> input({4, 3, 2}, denseLayout, 3);
  SmartPointer<Typed::Parameter> parameter = request<uint8>(input);
  parameter->inputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { apply(parameter); }, frame + "inputVolume is NULL!");
  expectRefusal([&] { applyTyped(parameter); }, typed + " input volume is NULL");
  parameter->inputVolume = TestVolume<uint16>({4, 3, 2});
  expectRefusal([&] { applyTyped(parameter); }, typed + " input volume is NULL");

  parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  expectMissingValue([&] { apply(parameter); });
  parameter->inputBinaryFalse.setValue(uint8(3));
  expectMissingValue([&] { apply(parameter); });
  parameter->inputBinaryTrue.setValue(uint32(3));
  expectWrongValueType<uint8>([&] { apply(parameter); });
  parameter = request<uint8>(input);
  parameter->inputBinaryFalse.setValue(int8(3));
  expectWrongValueType<uint8>([&] { apply(parameter); });

  const TestVolume<uint16> wrong({4, 3, 2});
  parameter = request<uint8>(input);
  parameter->outputVolume = wrong;
  expectRefusal([&] { apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectSameVoxels(wrong.voxels(), std::vector<uint16>(24, 77));
  Frame counted;
  expectThreadCountChecked(counted, request<uint8>(input));
  parameter = request<uint8>(TestVolume<int8>({4, 3, 2}));
  expectStandard<std::invalid_argument>(
      [&] { apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<int8, int8>("Thinning") + " is registered");
}

/// A part of the volume keeps the plain restatement short.
TEST(Thinning, ARealScanIsAsStated) {
  const char* const folder = std::getenv("TAVI_DATA");
  const std::string name = folder != nullptr ? std::string(folder) + "/engine.rek" : "";
  if (!std::ifstream(name)) {
    GTEST_SKIP() << "TAVI_DATA names no folder with engine.rek";
  }
  const auto reading = makeParameter<TaviOperators::RekReader::Parameter>();
  reading->inputFilename = name;
  TaviOperators::DLL::RekReader::Operator().apply(reading);
  const VolumePtr<uint8> scan(reading->outputVolume.value());
  ASSERT_TRUE(scan != nullptr);
  scan->setRoi(RegionOfInterest(Dimension<SizeType>(100, 110, 90), Position<SizeType>(90, 70, 20)));
  Object object;
  std::vector<uint8> values = voxelsOf(scan);
  for (uint8& x : values) {
    object.push_back(x > 60);
    x = x > 60 ? 200 : 3;
  }
  const Extents extents{100, 110, 90};
  const Object result = thinned(object, extents, 2);
  EXPECT_TRUE(result == StatedThinning::thinned(object, extents));
  EXPECT_EQ(TopologyCounter::count(result, extents).components, TopologyCounter::count(object, extents).components);
}

}  // namespace
}  // namespace NORV::Tests
