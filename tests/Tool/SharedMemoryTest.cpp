#include <Catalogue.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Vector.hpp>
#include <Tavi/Volume.hpp>
#include <Voxels.hpp>

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Every operator, with every volume that it writes in the memory of every volume that it reads: as the same object,
/// and as two volumes over one block whose views are shifted, flipped, have their axes swapped, or show another voxel
/// type. The voxels are those of a run on copies. The operators and their keys come from the generated list and the key
/// tables, so a new operator is tested without a line here.
namespace NORV::HostTest {
namespace {

using namespace TaviTool;
using Tavi::Orientation;
using Tavi::Persistence::Data;

/// A block of memory that volumes of any voxel type can show.
using Block = std::shared_ptr<std::vector<std::byte>>;

template <class T>
SmartPointer<IVolume> show(const Block& block, std::size_t firstVoxel, const Dimension<SizeType>& dimension) {
  return SmartPointer<IVolume>(new Tavi::Volume<T>(dimension, reinterpret_cast<T*>(block->data()) + firstVoxel,
                                                   [block](T*) { static_cast<void>(block); }));
}

template <class Body>
void forType(const std::string& type, const Body& body) {
  const auto tryOne = [&]<class T>(T) {
    if (type == shortName(Tavi::typeName<T>)) {
      body.template operator()<T>();
    }
  };
  tryOne(int8()), tryOne(uint8()), tryOne(int16()), tryOne(uint16()), tryOne(int32()), tryOne(uint32());
  tryOne(float32()), tryOne(float64());
}

/// Voxels of 0 and 3, for every operator a binary volume, a label volume and grey values.
void fill(const SmartPointer<IVolume>& volume, unsigned seed) {
  withVoxels(volume, [seed](const auto& view) {
    unsigned state = seed;
    for (SizeType z = 0; z < view.dimTert; ++z) {
      for (SizeType y = 0; y < view.dimSec; ++y) {
        for (SizeType x = 0; x < view.dimPrim; ++x) {
          state = state * 1664525 + 1013904223;
          view.at(x, y, z) = static_cast<std::remove_reference_t<decltype(view.at(0, 0, 0))>>(state >> 30 ? 3 : 0);
        }
      }
    }
  });
}

SmartPointer<IVolume> copyOf(const SmartPointer<IVolume>& volume) {
  const auto copy = makeVolume(shortName(volume->getVoxelType()), volume->getDimension());
  withVoxels(volume, [&]<class T>(const Tavi::View<T>& from) {
    withVoxels(copy, [&]<class U>(const Tavi::View<U>& to) {
      if constexpr (std::is_same_v<T, U>) {
        for (SizeType z = 0; z < from.dimTert; ++z) {
          for (SizeType y = 0; y < from.dimSec; ++y) {
            for (SizeType x = 0; x < from.dimPrim; ++x) {
              to.at(x, y, z) = from.at(x, y, z);
            }
          }
        }
      }
    });
  });
  return copy;
}

/// The parameters of a run by key. Volumes are set last, as they are what changes.
class Case {
public:
  Case(const std::string& op, const Instance& types) : _op(op), _keys(keysOf(makeParameter(op))) {
    std::size_t used = 0;
    unsigned seed = 1;
    for (const KeyDescription& key : _keys) {
      if (isVoxelVolume(key)) {
        const bool isLast = isOutput(key.key) || used + 1 >= types.size();
        const std::string type = isLast ? types.back() : types[used++];
        volumes[key.key] = makeVolume(type, Dimension<SizeType>(8, 6, 4));
      } else if (key.info.takes == Takes::mask) {
        volumes[key.key] = makeVolume("uint8", Dimension<SizeType>(3, 3, 3));
      } else if (key.info.takes == Takes::matrix && isInput(key.key)) {
        volumes[key.key] = makeVolume("float64", Dimension<SizeType>(4, 4, 1));
      }
      if (volumes.contains(key.key)) {
        fill(volumes[key.key], seed += 7);
        if (key.info.takes == Takes::matrix) {
          withVoxels(volumes[key.key], [](const auto& view) {
            for (SizeType i = 0; i < 16; ++i) {
              view.data[i] = static_cast<std::remove_reference_t<decltype(view.data[0])>>(i % 5 == 0);
            }
          });
        }
      }
    }
  }

  /// Runs on these volumes; returns what was thrown, and leaves the results in `outcome`.
  std::string run(const std::map<std::string, SmartPointer<IVolume>>& given,
                  std::map<std::string, SmartPointer<IVolume>>& outcome) const {
    const auto parameter = makeParameter(_op);
    try {
      set(parameter, given);
      std::srand(1);  // for the operator that draws from it
      makeFrame(_op)->apply(parameter);
    } catch (const Exceptions::Exception& e) {
      return e.getErrorMessage();
    } catch (const std::exception& e) {
      return e.what();
    }
    for (const KeyDescription& key : _keys) {
      if (isOutput(key.key) && isVolume(key)) {
        outcome[key.key] = SmartPointer<IVolume>(parameter->getValue(key.key));
      }
    }
    return {};
  }

  std::map<std::string, SmartPointer<IVolume>> volumes;

private:
  void set(const SmartPointer<IComposite>& parameter, const std::map<std::string, SmartPointer<IVolume>>& given) const {
    double value = 0;
    for (const KeyDescription& key : _keys) {
      if (const auto found = given.find(key.key); found != given.end()) {
        parameter->setValue(key.key, SmartPointer<IComposite>(found->second));
      } else if (isInput(key.key)) {
        setOther(key, parameter, given, value);
      }
    }
  }

  void setOther(const KeyDescription& key, const SmartPointer<IComposite>& parameter,
                const std::map<std::string, SmartPointer<IVolume>>& given, double& value) const {
    switch (key.info.takes) {
      case Takes::like: {
        auto like = given.find(key.info.likeKey);
        like = like != given.end() ? like : given.begin();
        parameter->setValue(key.key, greyValue(like->second, value));
        value = 3 - value;
        break;
      }
      case Takes::number: {
        const auto like = given.find(key.info.likeKey);
        const bool isWide = like != given.end() && like->second->getVoxelType() == Tavi::typeName<float64>;
        if (*key.info.likeKey != '\0' && !isWide) {
          parameter->setValue(key.key, SmartPointer<IComposite>(new Data<float32>(static_cast<float32>(value))));
        } else {
          parameter->setValue(key.key, SmartPointer<IComposite>(new Data<float64>(value)));
        }
        value = 3 - value;
        break;
      }
      case Takes::count: {
        const bool isThreads = key.key.find("Threads") != std::string::npos;
        const uint64 threads = *key.info.caution != '\0' ? 1 : 2;
        parameter->setValue(key.key, SmartPointer<IComposite>(new Data<uint64>(isThreads ? threads : 4)));
        break;
      }
      case Takes::volumeList: {
        using List = Tavi::Container::Vector<SmartPointer<IVolume>>;
        const SmartPointer<List> list(new List);
        for (unsigned i = 0; i < 4; ++i) {
          list->push_back(makeVolume("uint8", Dimension<SizeType>(3, 3, 1)));
          fill(list->back(), i + 50);
        }
        parameter->setValue(key.key, SmartPointer<IComposite>(list));
        break;
      }
      default:
        break;
    }
  }

  std::string _op;
  std::vector<KeyDescription> _keys;
};

/// Two volumes over one block, of the types and extents given, laid out in the way that the number says.
struct Overlap {
  SmartPointer<IVolume> input, output;
};

Overlap overlapping(int way, const IVolume& input, const IVolume& output) {
  const Block block = std::make_shared<std::vector<std::byte>>(8192);
  Overlap result;
  const auto type = [](const IVolume& volume) { return shortName(volume.getVoxelType()); };
  const std::size_t shift = way == 0 ? 0 : way == 1 ? 1 : way == 2 ? 9 : 0;
  forType(type(input), [&]<class T>() { result.input = show<T>(block, 0, input.getDimension()); });
  fill(result.input, 99);
  Dimension<SizeType> extents = output.getDimension();
  if (way == 4) {
    extents = Dimension<SizeType>(extents.sec, extents.prim, extents.tert);
  }
  forType(type(output), [&]<class T>() { result.output = show<T>(block, shift, extents); });
  if (way == 3) {
    result.output->setOrientation(Orientation(1, 3, 5));
  } else if (way == 4) {
    result.output->setOrientation(Orientation(2, 0, 4));
  }
  return result;
}

void expectSame(const std::map<std::string, SmartPointer<IVolume>>& expected,
                const std::map<std::string, SmartPointer<IVolume>>& actual) {
  for (const auto& [key, volume] : expected) {
    const auto found = actual.find(key);
    ASSERT_NE(found, actual.end()) << key;
    if (volume != nullptr && found->second != nullptr) {
      EXPECT_TRUE(sameVoxels(copyOf(volume), copyOf(found->second))) << key;
    }
  }
}

/// Some instances of each operator: all would take minutes.
std::vector<Instance> someInstances(const std::string& op) {
  const auto all = reachableInstances(op);
  std::vector<Instance> some;
  for (std::size_t i = 0; i < all.size(); i += std::max<std::size_t>(1, all.size() / 6)) {
    some.push_back(all[i]);
  }
  return some;
}

void checkPair(const Case& run, const std::string& input, const std::string& output) {
  for (int way = -1; way < 5; ++way) {
    SCOPED_TRACE("in the way " + std::to_string(way));
    auto shared = run.volumes;
    if (way < 0) {
      shared[output] = copyOf(run.volumes.at(input));
      shared[input] = shared[output];
    } else {
      const Overlap overlap = overlapping(way, *run.volumes.at(input), *run.volumes.at(output));
      shared[input] = overlap.input;
      shared[output] = overlap.output;
    }
    std::map<std::string, SmartPointer<IVolume>> apart;
    for (const auto& [key, volume] : shared) {
      apart[key] = copyOf(volume);
    }
    std::map<std::string, SmartPointer<IVolume>> expected, actual;
    const std::string thrown = run.run(apart, expected);
    EXPECT_EQ(run.run(shared, actual), thrown);
    expectSame(expected, actual);
  }
}

TEST(SharedMemory, OfAnyInputAndAnyOutputGivesTheVoxelsOfARunOnCopies) {
#ifdef M_PERTURB
  ::mallopt(M_PERTURB, 85);  // voxels of new memory, which some operators leave as they are, are the same in all runs
#endif
  int ran = 0;
  for (const std::string& op : operatorNames()) {
    SCOPED_TRACE(op);
    for (const Instance& types : someInstances(op)) {
      std::string text;
      for (const std::string& type : types) {
        text += type + " ";
      }
      SCOPED_TRACE(text);
      const Case run(op, types);
      std::map<std::string, SmartPointer<IVolume>> outcome;
      const std::string thrown = run.run(run.volumes, outcome);
      bool wasRun = false;
      for (const auto& [output, target] : run.volumes) {
        for (const auto& [input, source] : run.volumes) {
          if (isOutput(output) && !isOutput(input) && thrown.empty()) {
            checkPair(run, input, output);
            wasRun = true;
          }
        }
      }
      ran += wasRun ? 1 : 0;
      if (testing::Test::HasFailure()) {
        return;
      }
    }
  }
  EXPECT_GT(ran, 80) << "the operators no longer run on what this test makes up";
}

}  // namespace
}  // namespace NORV::HostTest
