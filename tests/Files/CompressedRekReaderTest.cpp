#include "CompressedRek.hpp"
#include "support/HostMemory.hpp"

#include <sys/stat.h>

#include <filesystem>
#include <limits>
#include <random>
#include <thread>

namespace NORV::Tests {
namespace {

using CompressedRekReader = CompressedRek;
class CompressedRekReaderFailure : public CompressedRek {
protected:
  /// Requires a runtime error, and that the host's volume is as it was.
  void expectRefused(IOperator& op, const std::string& file, const std::string& text) const {
    const NoFileLeftOpen check;
    const TestVolume<uint8> output({2, 3, 1});
    const auto before = output.voxels();
    const auto parameter = form().reading(file, output);
    expectStandard<std::runtime_error>([&] { op.apply(parameter); }, text);
    EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(2, 3, 1));
    expectSameVoxels(output.voxels(), before);
  }
  void expectNotLookedInto(const std::string& file, const std::string& text) const {
    const NoFileLeftOpen check;
    expectStandard<std::runtime_error>([&] { createTyped(form().typeReader())->apply(form().looking(file)); }, text);
  }
  SmartPointer<IOperator> byteReader() const { return createTyped(form().reader(byteVolume)); }
};

SmartPointer<TaviOperators::RekHeaderComposite<RecHeader_V260>> headerIn(const SmartPointer<IComposite>& parameter) {
  return SmartPointer<TaviOperators::RekHeaderComposite<RecHeader_V260>>(parameter->getValue("outputHeader"));
}
Dimension<SizeType> dimensionIn(const SmartPointer<IComposite>& parameter) {
  const SmartPointer<Tavi::DimensionComposite<SizeType>> value(parameter->getValue("outputDimension"));
  return value->value();
}
std::string textIn(const SmartPointer<IComposite>& parameter, const std::string& key) {
  return SmartPointer<Data<std::string>>(parameter->getValue(key))->getValue();
}

TEST_P(CompressedRekReader, ParametersHaveTheKeysOfThePlainFormInOrder) {
  const auto expectKeys = [&](const std::string& role, const std::vector<std::string>& keys) {
    const auto parameter = form().parameter(role);
    EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::" + form().name + role + "::Parameter");
    ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
      EXPECT_EQ(parameter->getKey(i), keys[i]);
    }
  };
  expectKeys("Reader", {"inputFilename", "outputVolume", "outputHeader"});
  expectKeys("TypeReader", {"inputFilename", "outputVoxelType", "outputDimension", "outputHeader"});
  EXPECT_EQ(textIn(form().parameter("Reader"), "inputFilename"), "");
  EXPECT_EQ(bytesOf(headerIn(form().parameter("Reader"))), HeaderBytes().bytes());
  EXPECT_EQ(bytesOf(headerIn(form().parameter("TypeReader"))), HeaderBytes().bytes());
}

TEST_P(CompressedRekReader, HasEightInstancesAndOneTypeReader) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::" + form().name + "Reader::Operator< "), 8u);
  forEachVoxelType([this]<class T>() {
    EXPECT_EQ(createTyped(form().reader(volumeIdentifier<T>()))->getProgress().getProgress(), 0.0);
  });
  EXPECT_TRUE(isRegistered(form().typeReader()));
}

TEST_P(CompressedRekReader, MakesAVolumeOfTheTypeAndExtentsOfTheFile) {
  const NoFileLeftOpen check;
  forEachVoxelType([this]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(7 * 3 * 5);
    HeaderBytes header(std::string(2048, '\x33'));
    header.code(rekTypeOf<T>().code).longSize(7, 3, 5);
    const std::string file = pack(header.with(bytesOf(voxels)));
    const auto parameter = form().reading(file);
    const auto frame = form().readerFrame();
    frame->apply(parameter);
    const VolumePtr<T> volume(volumeIn(parameter));
    ASSERT_NE(volume, nullptr);
    EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(7, 3, 5));
    expectSameVoxels(voxelsOf(SmartPointer<Volume<T>>(volume)), voxels);
    EXPECT_EQ(bytesOf(headerIn(parameter)), header.bytes());
    EXPECT_EQ(frame->getProgress().getProgress(), 1.0);

    const auto type = form().looking(file);
    createTyped(form().typeReader())->apply(type);
    EXPECT_EQ(textIn(type, "outputVoxelType"), Tavi::typeName<T>);
    EXPECT_EQ(dimensionIn(type), Dimension<SizeType>(7, 3, 5));
    EXPECT_EQ(bytesOf(headerIn(type)), header.bytes());
  });
}

TEST_P(CompressedRekReader, FillsEveryKindOfViewAndNothingElse) {
  const NoFileLeftOpen check;
  forEachVoxelType([this]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(5 * 4 * 3, 3);
    const std::string file = pack(HeaderBytes().code(rekTypeOf<T>().code).shortSize(5, 4, 3).with(bytesOf(voxels)));
    for (const Layout& layout : allLayouts()) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
      const TestVolume<T> output({5, 4, 3}, layout);
      const auto regions = output.volume()->getRoiStack();
      const auto parameter = form().reading(file, output);
      form().readerFrame()->apply(parameter);
      EXPECT_EQ(volumeIn(parameter), SmartPointer<IVolume>(output.volume()));
      expectSameVoxels(output.voxels(), voxels);
      output.expectUntouchedOutside();
      EXPECT_TRUE(output.volume()->getRoiStack() == regions);
    }
  });
}

TEST_P(CompressedRekReader, ResizesAVolumeOfOtherExtents) {
  const std::vector<uint8> voxels = mixedValues<uint8>(24);
  const std::string file = pack(HeaderBytes().code(8).shortSize(2, 3, 4).with(bytesOf(voxels)));
  for (const Layout& layout : someLayouts()) {
    const TestVolume<uint8> output({4, 2, 2}, layout);
    form().readerFrame()->apply(form().reading(file, output));
    EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(2, 3, 4));
    expectSameVoxels(voxelsOf(SmartPointer<Volume<uint8>>(output.volume())), voxels);
  }
}

TEST_P(CompressedRekReader, TheLongExtentsWinSilentlyThenTheShortOnesThenTheImage) {
  const auto extentsOf = [&](const HeaderBytes& header) {
    const auto parameter = form().reading(pack(header.with(2000)));
    form().readerFrame()->apply(parameter);
    return volumeIn(parameter)->getDimension();
  };
  HeaderBytes header = HeaderBytes().code(8).imageSize(7, 6);
  EXPECT_EQ(extentsOf(header), Dimension<SizeType>(7, 6, 1));
  header.shortSize(10, 10, 10);
  EXPECT_EQ(extentsOf(header), Dimension<SizeType>(10, 10, 10));
  header.longSize(4, 5, 6);
  EXPECT_EQ(extentsOf(header), Dimension<SizeType>(4, 5, 6));
  header.longSize(4, 0, 6);
  EXPECT_EQ(extentsOf(header), Dimension<SizeType>(10, 10, 10));
}

TEST_P(CompressedRekReader, SettlesTheExtentsByTheRules) {
  const NoFileLeftOpen check;
  const auto reader = createTyped(form().reader(volumeIdentifier<uint16>()));
  const auto typeReader = createTyped(form().typeReader());
  int found = 0, none = 0, negative = 0;
  forManyFields(1500, [&](const Fields& fields, std::size_t) {
    const std::string file = pack(fields.header(16).with(2 * 512));
    const auto expect = [&](IOperator& op, const SmartPointer<IComposite>& parameter, const std::string& name,
                            const Settled& expected, const auto& dimension) {
      if (expected.extents) {
        const auto [x, y, z] = *expected.extents;
        op.apply(parameter);
        EXPECT_EQ(dimension(parameter), Dimension<SizeType>(x, y, z));
        ++found;
      } else if (expected.isNegative) {
        expectStandard<std::out_of_range>([&] { op.apply(parameter); }, expected.failure);
        ++negative;
      } else {
        expectStandard<std::runtime_error>([&] { op.apply(parameter); }, name + expected.failure);
        ++none;
      }
    };
    expect(*reader, form().reading(file), form().reader(volumeIdentifier<uint16>()), settleInOrder(fields, false),
           [](const auto& parameter) { return volumeIn(parameter)->getDimension(); });
    expect(*typeReader, form().looking(file), form().typeReader(), settleInOrder(fields, true), dimensionIn);
  });
  EXPECT_GT(found, 300);
  EXPECT_GT(none, 100);
  EXPECT_GT(negative, 100);
}

TEST_P(CompressedRekReader, ContentBeyondTheVolumeIsIgnored) {
  const auto parameter = form().reading(pack(HeaderBytes().code(8).shortSize(2, 2, 1).with("abcdefgh")));
  form().readerFrame()->apply(parameter);
  EXPECT_EQ(VolumePtr<uint8>(volumeIn(parameter))->getData()[3], 'd');
}

TEST_P(CompressedRekReader, ManySmallSlicesAndOneLargeOneAreReadAlike) {
  const std::vector<uint16> voxels = mixedValues<uint16>(3'000'000);
  for (const Extents& extents : {Extents{3, 1, 1'000'000}, Extents{3000, 1000, 1}, Extents{1, 3'000'000, 1}}) {
    const auto [x, y, z] = extents;
    const std::string file = pack(HeaderBytes()
                                      .code(16)
                                      .longSize(static_cast<int32>(x), static_cast<int32>(y), static_cast<int32>(z))
                                      .with(bytesOf(voxels)));
    const auto parameter = form().reading(file);
    form().readerFrame()->apply(parameter);
    const VolumePtr<uint16> volume(volumeIn(parameter));
    EXPECT_TRUE(std::equal(voxels.begin(), voxels.end(), volume->getData()));
  }
}

TEST_P(CompressedRekReader, AbortedBeforeTheFirstSliceReturnsWithItsResults) {
  const NoFileLeftOpen check;
  const std::string file = pack(HeaderBytes().code(8).shortSize(2, 2, 2).with("abcdefgh"));
  const auto reader = createTyped(form().reader(byteVolume));
  std::vector<uint8> memory(3);
  const auto output = hostVolume(memory, [&] { reader->abort(); });  // while the volume is made ready
  const auto parameter = form().reading(file, output);
  reader->apply(parameter);
  EXPECT_EQ(volumeIn(parameter)->getDimension(), Dimension<SizeType>(2, 2, 2));
  EXPECT_EQ(bytesOf(headerIn(parameter)), HeaderBytes().code(8).shortSize(2, 2, 2).bytes());
  EXPECT_EQ(reader->getProgress().getProgress(), 0.0);
  reader->apply(parameter);
  EXPECT_EQ(VolumePtr<uint8>(volumeIn(parameter))->getData()[7], 'h');
  EXPECT_EQ(reader->getProgress().getProgress(), 1.0);
}

TEST_P(CompressedRekReader, AbortedInTheMiddleKeepsTheSlicesThatWereRead) {
  const NoFileLeftOpen check;
  constexpr SizeType slices = 3'000'000;
  const std::string file = pack(HeaderBytes().code(8).longSize(1, 2, slices).with(std::string(2 * slices, 'v')));
  const TestVolume<uint8> output({1, 2, slices}, denseLayout, uint8(7));
  const auto parameter = form().reading(file, output);
  const auto reader = createTyped(form().reader(byteVolume));
  std::thread run([&] { reader->apply(parameter); });
  while (reader->getProgress().getProgress() == 0.0) {
    std::this_thread::yield();
  }
  reader->abort();
  run.join();
  const std::vector<uint8> voxels(output.volume()->getData(), output.volume()->getData() + 2 * slices);
  const auto end = std::find(voxels.begin(), voxels.end(), uint8(7));
  const auto read = static_cast<SizeType>(end - voxels.begin());
  EXPECT_GT(read, 0u);
  EXPECT_LT(read, 2 * slices);
  EXPECT_EQ(read % 2, 0u);
  EXPECT_TRUE(std::all_of(end, voxels.end(), [](uint8 voxel) { return voxel == 7; }));
  EXPECT_DOUBLE_EQ(reader->getProgress().getProgress(), static_cast<double>(read / 2) / static_cast<double>(slices));
}

TEST_P(CompressedRekReaderFailure, MessagesOfTheTypeReaderComeFirst) {
  const NoFileLeftOpen check;
  const std::string typeReader = form().typeReader();
  const auto frame = form().readerFrame();
  expectStandard<std::invalid_argument>([&] { frame->apply(form().reading("")); },
                                        typeReader + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { frame->apply(form().reading("a=b.gz")); },
                                        typeReader + " input filename is invalid");
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& name : {folder / "absent.rek.gz", folder.path(), pipe}) {
    expectRefused(*frame, name, typeReader + " failed to open file");
    expectNotLookedInto(name, typeReader + " failed to open file");
    expectRefused(*byteReader(), name, form().reader(byteVolume) + " failed to open file");
  }
  expectRefused(*frame, pack(HeaderBytes().with(1)), typeReader + " unknown voxel type");
  expectRefused(*frame, pack(HeaderBytes().code(8).bytes()), typeReader + " cannot read volume dimensions");
  expectRefused(*byteReader(), pack(HeaderBytes().code(8).longSize(4, 4, -4).bytes()),
                form().reader(byteVolume) + " cannot read volume dimensions");
}

TEST_P(CompressedRekReaderFailure, TypedReaderReportsUnderItsOwnName) {
  const std::string name = form().reader(byteVolume);
  expectStandard<std::invalid_argument>([&] { byteReader()->apply(form().reading("")); },
                                        name + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { byteReader()->apply(form().reading("a?")); },
                                        name + " input filename is invalid");
  forEachVoxelType([this]<class T>() {
    const std::string identifier = form().reader(volumeIdentifier<T>());
    for (const RekType& type : rekTypes) {
      if (type.code != rekTypeOf<T>().code) {
        expectRefused(*createTyped(identifier), pack(HeaderBytes().code(type.code).shortSize(1, 1, 1).with(type.bytes)),
                      identifier + " operator specialization does not fit to the REK file (wrong voxel type)");
      }
    }
    // Looked at before the extents, and known or not.
    expectRefused(*createTyped(identifier), pack(HeaderBytes().code(99).bytes()),
                  identifier + " operator specialization does not fit to the REK file (wrong voxel type)");
  });
}

TEST_P(CompressedRekReaderFailure, SixtyFourBitIntegersHaveNoInstance) {
  for (const auto& [code, name] : {std::pair<uint16, std::string>{63, "NORV::int64"}, {64, "NORV::uint64"}}) {
    const std::string file = pack(HeaderBytes().code(code).shortSize(2, 1, 1).with(16));
    const auto type = form().looking(file);
    createTyped(form().typeReader())->apply(type);
    EXPECT_EQ(textIn(type, "outputVoxelType"), name);
    expectStandard<std::invalid_argument>(
        [&] { form().readerFrame()->apply(form().reading(file)); },
        "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
            form().reader("NORV::Tavi::Volume< " + name + " , NORV::Tavi::Allocator::SingleBlockAllocator >") +
            " is registered");
  }
}

TEST_P(CompressedRekReaderFailure, AnotherParameterObjectIsRefused) {
  for (const SmartPointer<IComposite>& other :
       {SmartPointer<IComposite>(new Data<int32>(1)), SmartPointer<IComposite>(new TaviOperators::RekReader::Parameter),
        form().parameter("Writer"), form().parameter("TypeReader")}) {
    expectRefusal([&] { form().readerFrame()->apply(other); },
                  "NORV::TaviOperators::DLL::" + form().name +
                      "Reader::Operator::getOperatorTypeFromParameterObject: invalid parameter object!");
    expectRefusal([&] { byteReader()->apply(other); },
                  "NORV::TaviOperators::" + form().name + "Reader::Operator::apply");
  }
  expectRefusal([&] { createTyped(form().typeReader())->apply(form().parameter("Reader")); },
                form().typeReader() + "::apply");
}

TEST_P(CompressedRekReaderFailure, AVolumeOfAnotherClassIsRefusedAndKept) {
  const std::string file = pack(HeaderBytes().code(8).shortSize(2, 2, 2).with(8));
  const TestVolume<int8> other({2, 2, 2});
  expectRefusal([&] { form().readerFrame()->apply(form().reading(file, other)); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  EXPECT_EQ(other.voxels(), std::vector<int8>(8, 77));
}

TEST_P(CompressedRekReaderFailure, ContentThatEndsEarlyIsReported) {
  const std::string whole = HeaderBytes().code(16).longSize(5, 4, 3).with(120);
  const std::string name = form().reader(volumeIdentifier<uint16>());
  for (std::size_t length = 0; length < whole.size(); length += length < 2040 ? 51 : 1) {
    const std::string words = length < 2048 ? " failed to read REK header" : " could not read raw data";
    const std::string file = pack(whole.substr(0, length));
    const auto parameter = form().reading(file);
    expectStandard<std::runtime_error>([&] { createTyped(name)->apply(parameter); }, form().endIn(name, words));
    EXPECT_EQ(volumeIn(parameter), nullptr);
    if (length < 2048) {
      expectNotLookedInto(file, form().endIn(form().typeReader(), words));
    }
  }
}

TEST_P(CompressedRekReaderFailure, NoDamagedFileDoesMoreThanFail) {
  const NoFileLeftOpen check;
  std::mt19937 random(5);
  const std::string whole =
      form().pack(HeaderBytes().code(8).shortSize(9, 8, 7).with(bytesOf(mixedValues<uint8>(504))));
  int failed = 0;
  for (int i = 0; i < 4000; ++i) {
    std::string bytes = whole;
    for (auto flips = 1 + random() % 3; flips > 0; --flips) {
      bytes[random() % bytes.size()] ^= static_cast<char>(1u << random() % 8);
    }
    if (random() % 3 == 0) {
      bytes.resize(random() % bytes.size());
    }
    const auto parameter = form().reading(write(bytes));
    try {
      form().readerFrame()->apply(parameter);
      EXPECT_NE(volumeIn(parameter), nullptr);
    } catch (const std::exception&) {
      EXPECT_EQ(volumeIn(parameter), nullptr);
      ++failed;
    }
  }
  EXPECT_GT(failed, 2000);
}

TEST_P(CompressedRekReaderFailure, HeadersThatPromiseMoreThanTheFileCanHoldFailBeforeMemoryIsAskedFor) {
  constexpr int32 largest = std::numeric_limits<int32>::max();
  for (const auto& [x, y, z] :
       {std::array<int32, 3>{largest, largest, 1}, std::array<int32, 3>{largest, 1, 1},
        std::array<int32, 3>{1 << 20, 1 << 20, 1 << 21}, std::array<int32, 3>{1000, 1000, 1000}}) {
    const std::string file = pack(HeaderBytes().code(53).longSize(x, y, z).with(bytesOf(mixedValues<uint8>(5000))));
    const std::string name = form().reader(volumeIdentifier<float64>());
    const auto extra = extraBytesOf([&] {
      expectStandard<std::runtime_error>([&] { createTyped(name)->apply(form().reading(file)); },
                                         form().endIn(name, " could not read raw data"));
      expectStandard<std::runtime_error>([&] { form().readerFrame()->apply(form().reading(file)); },
                                         form().endIn(name, " could not read raw data"));
    });
    EXPECT_LT(extra, 16 << 20);
  }
  const std::string file = pack(HeaderBytes().code(8).longSize(largest, largest, largest).with(64));
  expectStandard<std::overflow_error>(
      [&] { form().readerFrame()->apply(form().reading(file)); },
      "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64");
}

TEST_P(CompressedRekReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string file = pack(HeaderBytes().code(8).shortSize(4, 2, 2).with("abcdefghijklmnop"));
  for (const Layout& layout : {denseLayout, regionLayout}) {
    const TestVolume<uint8> output({4, 2, 2}, layout);
    const auto parameter = form().reading(file, output);
    const auto frame = form().readerFrame();
    frame->apply(parameter);
    const auto files = openFiles();
    const int failures = failEachAllocation([&] { frame->apply(parameter); }, [&] { EXPECT_EQ(openFiles(), files); });
    EXPECT_GT(failures, 5);
    EXPECT_EQ(output.voxels().back(), 'p');
    output.expectUntouchedOutside();
  }
}

INSTANTIATE_TEST_SUITE_P(Files, CompressedRekReader, testing::Values(&gzipForm, &lz4Form), nameOf);
INSTANTIATE_TEST_SUITE_P(Files, CompressedRekReaderFailure, testing::Values(&gzipForm, &lz4Form), nameOf);

}  // namespace
}  // namespace NORV::Tests
