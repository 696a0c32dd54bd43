#include <Tavi/ClassFactory.hpp>
#include <Tavi/CountVoxels.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/ForEachParallel.hpp>
#include <Tavi/Histogram.hpp>
#include <Tavi/Progress.hpp>

#include <Histogram/Volumes.hpp>
#include <gtest/gtest.h>
#include <omp.h>

#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

using namespace NORV;
using namespace NORV::HistogramTests;
using Tavi::Histogram::Histogram;
using Tavi::Histogram::HistogramAddFunktor;
using Tavi::Histogram::VoxelCounter;
using Tavi::Persistence::Data;
using Tavi::Persistence::DataPtr;
using Tavi::Persistence::IComposite;

namespace {

template <class T>
std::vector<uint64> binsOf(const Histogram<T, uint64>& histogram) {
  const uint64* first = histogram.getVolume()->getData();
  return {first, first + histogram.getVolume()->getSize()};
}

/// One counter per value, and the two cells behind them.
template <class T>
std::vector<uint64> counted(const std::vector<T>& voxels) {
  std::vector<uint64> bins((SizeType{1} << (8 * sizeof(T))) + 2);
  for (const T voxel : voxels) {
    ++bins[voxel];
  }
  return bins;
}

template <class T>
void expectCountsOfAllLayouts(const Dimension<SizeType>& extents, int64 high) {
  const std::vector<T> voxels = scanLike<T>(extents.size(), 0, high);
  for (const Layout& layout : layouts) {
    SCOPED_TRACE(layout.name);
    for (const int threads : {1, 2, 7}) {
      omp_set_num_threads(threads);
      Histogram<T, uint64> histogram;
      histogram.add(volumeOf(extents, voxels, layout));
      EXPECT_EQ(binsOf(histogram), counted(voxels)) << threads << " threads";
    }
  }
  omp_set_num_threads(omp_get_num_procs());
}

}  // namespace

TEST(Histogram, CountsViewsOfAnyKind) {
  expectCountsOfAllLayouts<uint8>({13, 7, 5}, 255);
  expectCountsOfAllLayouts<uint16>({13, 7, 5}, 65535);
}

TEST(Histogram, CountsLargeViewsOfAnyKind) {
  expectCountsOfAllLayouts<uint8>({61, 37, 5}, 255);
  expectCountsOfAllLayouts<uint16>({129, 75, 111}, 65535);
}

TEST(Histogram, ANewOneIsEmpty) {
  const Histogram<uint8, uint64> bytes;
  EXPECT_EQ(binsOf(bytes), std::vector<uint64>(258));
  const Histogram<uint16, uint64> words;
  EXPECT_EQ(binsOf(words), std::vector<uint64>(65538));
  EXPECT_TRUE(words.getVolume()->getDimension() == Dimension<SizeType>(65538, 1, 1));
}

TEST(Histogram, AddingAVolumeTwiceDoublesEveryCounter) {
  const std::vector<uint8> voxels = scanLike<uint8>(20 * 20 * 20, 0, 255);
  const auto volume = volumeOf<uint8>({20, 20, 20}, voxels);
  Histogram<uint8, uint64> histogram;
  histogram.add(volume);
  histogram.add(volume);
  std::vector<uint64> expected = counted(voxels);
  for (uint64& count : expected) {
    count *= 2;
  }
  EXPECT_EQ(binsOf(histogram), expected);
}

TEST(Histogram, AnEmptyRegionLeavesItUnchanged) {
  Histogram<uint8, uint64> histogram;
  const auto volume = volumeOf<uint8>({3, 1, 1}, {1, 2, 2});
  histogram.add(volume);
  const auto before = binsOf(histogram);
  volume->setRoi(Tavi::RegionOfInterest(Dimension<SizeType>(0, 0, 0), Position<SizeType>(0, 0, 0)));
  histogram.add(volume);
  histogram.add(VolumePtr<uint8>(new Volume<uint8>));
  EXPECT_EQ(binsOf(histogram), before);
}

TEST(Histogram, CountsTheVoxelsOfTheRegionOnly) {
  const auto volume = volumeOf<uint8>({4, 1, 1}, {9, 5, 5, 7});
  volume->setRoi(Tavi::RegionOfInterest(Dimension<SizeType>(2, 1, 1), Position<SizeType>(1, 0, 0)));
  Histogram<uint8, uint64> histogram;
  histogram.add(volume);
  EXPECT_EQ(binsOf(histogram), counted<uint8>({5, 5}));
}

TEST(Histogram, TheLastBinOf16BitVoxelsIs65535) {
  Histogram<uint16, uint64> histogram;
  histogram.add(volumeOf<uint16>({3, 1, 1}, {65535, 0, 65535}));
  const auto bins = binsOf(histogram);
  EXPECT_EQ(bins[65535], 2u);
  EXPECT_EQ(bins[65536], 0u);
  EXPECT_EQ(bins[65537], 0u);
}

TEST(Histogram, CountsInsideAParallelRegion) {
  const std::vector<uint8> voxels = scanLike<uint8>(40 * 40 * 9, 0, 255);
  const auto volume = volumeOf<uint8>({40, 40, 9}, voxels);
  std::vector<std::vector<uint64>> bins(3);
#pragma omp parallel for num_threads(3)
  for (int i = 0; i < 3; ++i) {
    Histogram<uint8, uint64> histogram;
    histogram.add(volume);
    bins[static_cast<std::size_t>(i)] = binsOf(histogram);
  }
  for (const auto& some : bins) {
    EXPECT_EQ(some, counted(voxels));
  }
}

TEST(Histogram, HasThreeKeysInOrder) {
  const Histogram<uint16, uint64> histogram;
  ASSERT_EQ(histogram.getNumberOfKeys(), 3u);
  EXPECT_EQ(histogram.getKey(0), "tertOffsetToOrigin");
  EXPECT_EQ(histogram.getKey(1), "volume");
  EXPECT_EQ(histogram.getKey(2), "size");
  EXPECT_EQ(DataPtr<int64>(SmartPointer<Data<int64>>(histogram.getValue("tertOffsetToOrigin")))->getValue(), 0);
  EXPECT_EQ(DataPtr<uint64>(SmartPointer<Data<uint64>>(histogram.getValue("size")))->getValue(), 65536u);
  EXPECT_TRUE(histogram.getValue("volume") == histogram.getVolume());
}

TEST(Histogram, IsMadeByName) {
  for (const std::string name : {"NORV::Tavi::Histogram::Histogram< NORV::uint8 , NORV::uint64 >",
                                 "NORV::Tavi::Histogram::Histogram< NORV::uint16 , NORV::uint64 >"}) {
    const SmartPointer<IComposite> made = Tavi::Factory::getClassFactory().createInstance(name);
    ASSERT_TRUE(made != nullptr);
    EXPECT_EQ(made->getType(), name);
    EXPECT_TRUE(SmartPointer<Tavi::Histogram::IHistogram>(made) != nullptr);
  }
}

TEST(Histogram, PassesThroughItsKeys) {
  Histogram<uint8, uint64> source;
  source.add(volumeOf<uint8>({3, 1, 1}, {4, 4, 8}));
  Histogram<uint8, uint64> target;
  for (SizeType i = 0; i < source.getNumberOfKeys(); ++i) {
    target.setValue(source.getKey(i), source.getValue(source.getKey(i)));
  }
  EXPECT_EQ(binsOf(target), binsOf(source));
  target.add(volumeOf<uint8>({1, 1, 1}, {8}));
  EXPECT_EQ(binsOf(target)[8], 2u);
}

TEST(Histogram, AddFunktorIncrementsTheBinOfEachVoxel) {
  std::vector<uint64> bins(256);
  HistogramAddFunktor<uint8> funktor(bins.data());
  for (const uint8 voxel : {uint8{3}, uint8{255}, uint8{3}}) {
    funktor(voxel);
  }
  EXPECT_EQ(bins[3], 2u);
  EXPECT_EQ(bins[255], 1u);
  EXPECT_EQ(std::accumulate(bins.begin(), bins.end(), uint64{0}), 3u);
}

TEST(Histogram, HandsOutAFunktorOnItsBins) {
  Histogram<uint8, uint64> histogram;
  const Tavi::Histogram::IHistogram& unknown = histogram;
  const std::unique_ptr<Tavi::Iterating::Functor> made(unknown.createAddFunktor());
  auto* const funktor = dynamic_cast<HistogramAddFunktor<uint8>*>(made.get());
  ASSERT_NE(funktor, nullptr);
  const auto volume = volumeOf<uint8>({3, 1, 1}, {7, 7, 9});
  Tavi::Progress progress;
  const bool aborted = false;
  Tavi::Iterating::ForEach::apply(funktor, volume, &progress, &aborted);
  EXPECT_EQ(binsOf(histogram), counted<uint8>({7, 7, 9}));
}

TEST(HistogramFailures, ANullVolume) {
  Histogram<uint8, uint64> histogram;
  histogram.add(volumeOf<uint8>({1, 1, 1}, {4}));
  const auto before = binsOf(histogram);
  try {
    histogram.add(VolumePtr<uint8>());
    FAIL();
  } catch (const Exceptions::InvalidArg& failure) {
    EXPECT_STREQ(failure.getErrorMessage(), "valueVolume is NULL");
    EXPECT_STREQ(failure.getOrigin(), "NORV::Tavi::Histogram::Histogram::add");
  }
  EXPECT_EQ(binsOf(histogram), before);
}

TEST(HistogramFailures, UnknownKeysAndIndices) {
  Histogram<uint8, uint64> histogram;
  for (const SizeType index : {SizeType{3}, SizeType{4}}) {
    try {
      static_cast<void>(histogram.getKey(index));
      FAIL();
    } catch (const Exceptions::IndexOutOfRange& failure) {
      EXPECT_EQ(failure.getErrorMessage(),
                "The index " + std::to_string(index) + " is out of the valid range (0 to 2)!");
      EXPECT_STREQ(failure.getOrigin(), "NORV::Tavi::Container::Table::getKey");
    }
  }
  try {
    static_cast<void>(histogram.getValue("Size"));
    FAIL();
  } catch (const Exceptions::InvalidArg& failure) {
    EXPECT_STREQ(failure.getErrorMessage(), "There is no key 'Size'!");
    EXPECT_STREQ(failure.getOrigin(), "NORV::Tavi::Container::Table::getValue");
  }
  try {
    histogram.setValue("", SmartPointer<IComposite>());
    FAIL();
  } catch (const Exceptions::InvalidArg& failure) {
    EXPECT_STREQ(failure.getErrorMessage(), "There is no key ''!");
    EXPECT_STREQ(failure.getOrigin(), "NORV::Tavi::Container::Table::setValue");
  }
}

TEST(HistogramFailures, ValuesOfAnotherClass) {
  Histogram<uint8, uint64> histogram;
  EXPECT_EQ(textOf<Exceptions::InvalidArg>([&] { histogram.setValue("volume", SmartPointer<IComposite>()); }),
            "The value for the key 'volume' is no NORV::Tavi::Volume< NORV::uint64 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >!");
  EXPECT_THROW(histogram.setValue("size", makeVolume<uint8>({1, 1, 1})), Exceptions::BadCast);
  EXPECT_EQ(histogram.getSize(), 256u);
  EXPECT_TRUE(histogram.getVolume() != nullptr);
}

TEST(HistogramFailures, ATableThatHasNoRoomForAllValues) {
  const auto volume = volumeOf<uint8>({1, 1, 1}, {255});
  const auto expectNoRoom = [&](const char* key, const SmartPointer<IComposite>& value) {
    Histogram<uint8, uint64> histogram;
    histogram.setValue(key, value);
    EXPECT_EQ(textOf<Exceptions::InvalidState>([&] { histogram.add(volume); }),
              "The volume has no counter for each value of the type 'NORV::uint8'!")
        << key;
    EXPECT_THROW(static_cast<void>(histogram.createAddFunktor()), Exceptions::InvalidState);
  };
  expectNoRoom("volume", makeVolume<uint64>({255, 1, 1}));
  expectNoRoom("volume", makeVolume<uint64>({258, 1, 1}, {"reversed", {1, 2, 4}, 0}));
  expectNoRoom("volume", VolumePtr<uint64>(new Volume<uint64>));
  expectNoRoom("tertOffsetToOrigin", DataPtr<int64>(new Data<int64>(3)));
  expectNoRoom("tertOffsetToOrigin", DataPtr<int64>(new Data<int64>(-1)));
  expectNoRoom("size", DataPtr<uint64>(new Data<uint64>(255)));
}

TEST(VoxelCounter, CountsRunsAndNoiseOfAnyLength) {
  for (SizeType count = 0; count < 150; ++count) {
    const std::vector<int8> bytes = scanLike<int8>(count + 1, -128, 127, static_cast<unsigned>(count));
    const std::vector<uint16> words = scanLike<uint16>(count + 1, 0, 65535, static_cast<unsigned>(count));
    VoxelCounter<int8> byteCounter;
    VoxelCounter<uint16> wordCounter;
    byteCounter.countRow(bytes.data() + 1, count);  // from an odd address
    wordCounter.countRow(words.data() + 1, count);
    std::vector<uint64> byteBins(256), expectedBytes(256), expectedWords(65536);
    std::vector<uint64> wordBins(65536);
    byteCounter.addTo(byteBins.data());
    wordCounter.addTo(wordBins.data());
    for (SizeType i = 1; i <= count; ++i) {
      ++expectedBytes[static_cast<uint8>(bytes[i])];
      ++expectedWords[words[i]];
    }
    ASSERT_EQ(byteBins, expectedBytes) << count;
    ASSERT_EQ(wordBins, expectedWords) << count;
    ASSERT_EQ(byteCounter.isEmpty(), count == 0);
  }
}

TEST(VoxelCounter, CountsOnWhenThePartialTablesAreFull) {
  // 2^31 and some more of one value, from a row that is counted again and again.
  const std::vector<uint8> row(SizeType{1} << 22, 77);
  VoxelCounter<uint8> counter;
  counter.count(76);
  for (int i = 0; i < 513; ++i) {
    counter.countRow(row.data(), row.size());
  }
  counter.count(77);
  std::vector<uint64> bins(256, 1000);
  counter.addTo(bins.data());
  EXPECT_EQ(bins[76], 1001u);
  EXPECT_EQ(bins[77], 1000 + 513 * (uint64{1} << 22) + 1);
}
