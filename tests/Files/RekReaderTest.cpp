#include "RekFiles.hpp"
#include "support/HostMemory.hpp"

#include <DLL/RekReader.hpp>

#include <sys/stat.h>

#include <filesystem>
#include <limits>
#include <stdexcept>
#include <thread>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::RekReader;
using Frame = TaviOperators::DLL::RekReader::Operator;

const std::string byteReader = "NORV::TaviOperators::RekReader::Operator< " + byteVolume + " >";

SmartPointer<Typed::Parameter> request(const std::string& file) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputFilename = file;
  return parameter;
}
SmartPointer<Typed::Parameter> request(const std::string& file, const SmartPointer<IVolume>& output) {
  const auto parameter = request(file);
  parameter->outputVolume = output;
  return parameter;
}

using RekReader = RekFiles;

class RekReaderFailure : public RekFiles {
protected:
  /// Requires a runtime error, and that neither the host's volume nor its header have been touched.
  void expectRefused(IOperator& op, const std::string& file, const std::string& text) const {
    const NoFileLeftOpen check;
    const TestVolume<uint8> output({2, 3, 1});
    const auto before = output.voxels();
    const auto parameter = request(file, output);
    const auto header = parameter->outputHeader.value();
    expectStandard<std::runtime_error>([&] { op.apply(parameter); }, text);
    EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(2, 3, 1));
    expectSameVoxels(output.voxels(), before);
    EXPECT_EQ(parameter->outputVolume.value(), SmartPointer<IVolume>(output.volume()));
    EXPECT_EQ(parameter->outputHeader.value(), header);
  }

  SmartPointer<IOperator> reader = createTyped(byteReader);
};

TEST_F(RekReader, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Typed::Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter.getKey(0), "inputFilename");
  EXPECT_EQ(parameter.getKey(1), "outputVolume");
  EXPECT_EQ(parameter.getKey(2), "outputHeader");
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.outputVolume.value(), nullptr);
  EXPECT_EQ(bytesOf(parameter.outputHeader.value()), HeaderBytes().bytes());
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::RekReader::Parameter");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::RekReader::Parameter"));
}

TEST_F(RekReader, HasEightInstances) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::RekReader::Operator< "), 8u);
  forEachVoxelType([]<class T>() {
    const std::string identifier = typedIdentifier<T>("RekReader");
    EXPECT_TRUE(isRegistered(identifier));
    EXPECT_EQ(createTyped(identifier)->getProgress().getProgress(), 0.0);
  });
}

TEST_F(RekReader, MakesAVolumeOfTheTypeAndExtentsOfTheFile) {
  const NoFileLeftOpen check;
  forEachVoxelType([this]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(7 * 3 * 5);
    HeaderBytes header(std::string(2048, '\x33'));
    header.code(rekTypeOf<T>().code).longSize(7, 3, 5).shortSize(0, 0, 0);
    const auto parameter = request(write(header.with(bytesOf(voxels))));
    Frame frame;
    frame.apply(parameter);
    const VolumePtr<T> volume(parameter->outputVolume.value());
    ASSERT_NE(volume, nullptr);
    EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(7, 3, 5));
    expectSameVoxels(voxelsOf(SmartPointer<Volume<T>>(volume)), voxels);
    EXPECT_EQ(bytesOf(parameter->outputHeader.value()), header.bytes());
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  });
}

TEST_F(RekReader, FillsEveryKindOfViewAndNothingElse) {
  const NoFileLeftOpen check;
  forEachVoxelType([this]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(5 * 4 * 3, 3);
    const std::string file = write(HeaderBytes().code(rekTypeOf<T>().code).shortSize(5, 4, 3).with(bytesOf(voxels)));
    for (const Layout& layout : allLayouts()) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
      const TestVolume<T> output({5, 4, 3}, layout);
      const auto regions = output.volume()->getRoiStack();
      const auto parameter = request(file, output);
      Frame().apply(parameter);
      EXPECT_EQ(parameter->outputVolume.value(), SmartPointer<IVolume>(output.volume()));
      expectSameVoxels(output.voxels(), voxels);
      output.expectUntouchedOutside();
      EXPECT_TRUE(output.volume()->getRoiStack() == regions);
    }
  });
}

TEST_F(RekReader, FillsViewsOfSingleRowsColumnsAndSlices) {
  for (const Extents& extents : {Extents{1, 1, 1}, Extents{9, 1, 1}, Extents{1, 9, 1}, Extents{1, 1, 9},
                                 Extents{1, 5, 4}, Extents{5, 1, 4}, Extents{5, 4, 1}}) {
    const auto [x, y, z] = extents;
    const std::vector<int16> voxels = mixedValues<int16>(x * y * z, 5);
    const std::string file = write(HeaderBytes()
                                       .code(15)
                                       .shortSize(static_cast<int>(x), static_cast<int>(y), static_cast<int>(z))
                                       .with(bytesOf(voxels)));
    for (const Layout& layout : allLayouts()) {
      const TestVolume<int16> output(extents, layout);
      Frame().apply(request(file, output));
      expectSameVoxels(output.voxels(), voxels);
      output.expectUntouchedOutside();
    }
  }
}

TEST_F(RekReader, ResizesAVolumeOfOtherExtents) {
  const std::vector<uint8> voxels = mixedValues<uint8>(24);
  const std::string file = write(HeaderBytes().code(8).shortSize(2, 3, 4).with(bytesOf(voxels)));
  for (const Layout& layout : allLayouts()) {
    const TestVolume<uint8> output({4, 2, 2}, layout);
    const auto parameter = request(file, output);
    Frame().apply(parameter);
    EXPECT_EQ(parameter->outputVolume.value(), SmartPointer<IVolume>(output.volume()));
    EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(2, 3, 4));
    expectSameVoxels(voxelsOf(SmartPointer<Volume<uint8>>(output.volume())), voxels);
  }
}

TEST_F(RekReader, TakesFilesWithStrangeConstants) {
  HeaderBytes header = HeaderBytes().code(8).shortSize(2, 2, 2);
  header.put<uint16>(8, 17).put<uint16>(10, 0).put<uint16>(12, 99).put<uint16>(14, 1);
  for (const bool swapped : {false, true}) {
    header.put<uint32>(1008, swapped ? 0x04030201 : 0).put<uint64>(1016, swapped ? 0x0807060504030201 : 0);
    const auto parameter = request(write(header.with("abcdefgh")));
    Frame().apply(parameter);
    EXPECT_EQ(VolumePtr<uint8>(parameter->outputVolume.value())->getData()[7], 'h');
  }
}

TEST_F(RekReader, TheDescriptionThatFitsTheFileWins) {
  const HeaderBytes header = HeaderBytes().code(8).shortSize(4, 4, 4).longSize(5, 5, 5).imageSize(7, 6);
  const auto extentsOf = [&](std::size_t bytes) {
    const auto parameter = request(write(header.with(bytes)));
    Frame().apply(parameter);
    return parameter->outputVolume.value()->getDimension();
  };
  EXPECT_EQ(extentsOf(64), Dimension<SizeType>(4, 4, 4));
  EXPECT_EQ(extentsOf(125), Dimension<SizeType>(5, 5, 5));
  EXPECT_EQ(extentsOf(42), Dimension<SizeType>(7, 6, 1));
}

TEST_F(RekReader, SettlesTheExtentsByTheRules) {
  const NoFileLeftOpen check;
  const auto reader = createTyped(typedIdentifier<uint16>("RekReader"));
  int found = 0, ambiguous = 0, unfit = 0;
  forManyFields(4000, [&](const Fields& fields, std::size_t voxels) {
    const auto parameter = request(write(fields.header(16).with(2 * voxels)));
    const Settled expected = settle(fields, 2 * voxels, 2, false);
    if (expected.extents) {
      const auto [x, y, z] = *expected.extents;
      reader->apply(parameter);
      EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(x, y, z));
      ++found;
    } else {
      expectStandard<std::runtime_error>([&] { reader->apply(parameter); },
                                         "NORV::TaviOperators::RekReader::Operator< NORV::Tavi::Volume< NORV::uint16 , "
                                         "NORV::Tavi::Allocator::SingleBlockAllocator > >" +
                                             expected.failure);
      EXPECT_EQ(parameter->outputVolume.value(), nullptr);
      ++(expected.failure.ends_with("ambiguous") ? ambiguous : unfit);
    }
  });
  EXPECT_GT(found, 300);
  EXPECT_GT(ambiguous, 10);
  EXPECT_GT(unfit, 300);
}

TEST_F(RekReader, NegativeDescriptionsCountAsNone) {
  const std::string file = write(HeaderBytes().code(8).shortSize(-4, -4, 4).longSize(4, 4, 4).with(64));
  const auto parameter = request(file);
  createTyped(byteReader)->apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(4, 4, 4));
  // The frame asks the type reader first, which reports them.
  expectStandard<std::out_of_range>(
      [&] { Frame().apply(request(file)); },
      "NORV::Tavi::Dimension< NORV::int64 >::check invalid values detected ( -4 , -4 , 4 ) ");
}

TEST_F(RekReader, AbortedBeforeTheFirstSliceReturnsWithItsResults) {
  const NoFileLeftOpen check;
  const std::string file = write(HeaderBytes().code(8).shortSize(2, 2, 2).with("abcdefgh"));
  const auto reader = createTyped(byteReader);
  std::vector<uint8> memory(3);
  const auto output = hostVolume(memory, [&] { reader->abort(); });  // while the volume is made ready
  const auto parameter = request(file, output);
  reader->apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(2, 2, 2));
  EXPECT_EQ(bytesOf(parameter->outputHeader.value()), HeaderBytes().code(8).shortSize(2, 2, 2).bytes());
  EXPECT_EQ(reader->getProgress().getProgress(), 0.0);
  // The next run forgets the abort.
  reader->apply(parameter);
  EXPECT_EQ(VolumePtr<uint8>(parameter->outputVolume.value())->getData()[7], 'h');
  EXPECT_EQ(reader->getProgress().getProgress(), 1.0);
}

TEST_F(RekReader, AbortedInTheMiddleKeepsTheSlicesThatWereRead) {
  const NoFileLeftOpen check;
  constexpr SizeType slices = 1'000'000;
  const std::string file = write(HeaderBytes().code(8).longSize(1, 2, slices).with(std::string(2 * slices, 'v')));
  const TestVolume<uint8> output({1, 2, slices}, denseLayout, uint8(7));
  const auto parameter = request(file, output);
  const auto reader = createTyped(byteReader);
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
  EXPECT_EQ(bytesOf(parameter->outputHeader.value()), HeaderBytes().code(8).longSize(1, 2, slices).bytes());
  EXPECT_DOUBLE_EQ(reader->getProgress().getProgress(), static_cast<double>(read / 2) / static_cast<double>(slices));
}

TEST_F(RekReader, AbortReachesTheRunOfAFrame) {
  constexpr SizeType slices = 1'000'000;
  const std::string file = write(HeaderBytes().code(8).longSize(1, 1, slices).with(std::string(slices, 'v')));
  const TestVolume<uint8> output({1, 1, slices}, denseLayout, uint8(7));
  Frame frame;
  std::thread run([&] { frame.apply(request(file, output)); });
  while (frame.getProgress().getProgress() == 0.0) {
    std::this_thread::yield();
  }
  frame.abort();
  run.join();
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  EXPECT_EQ(output.voxels().front(), 'v');
  EXPECT_EQ(output.voxels().back(), 7);
}

TEST_F(RekReaderFailure, MessagesOfTheTypeReaderComeFirst) {
  const NoFileLeftOpen check;
  const std::string typeReader = "NORV::TaviOperators::RekTypeReader::Operator";
  Frame frame;
  expectStandard<std::invalid_argument>([&] { frame.apply(request("")); }, typeReader + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { frame.apply(request("a=b.rek")); },
                                        typeReader + " input filename is invalid");
  expectRefused(frame, folder / "absent.rek", typeReader + " failed to open file");
  expectRefused(frame, folder.path(), typeReader + " failed to open file");
  expectRefused(frame, write(HeaderBytes().bytes()), typeReader + " file is smaller than the REK header");
  expectRefused(frame, write(HeaderBytes().with(1)), typeReader + " unknown voxel type");
  expectRefused(frame, write(HeaderBytes().code(8).shortSize(4, 4, 4).longSize(8, 4, 2).with(64)),
                typeReader + " the dimensions specified in the header are ambiguous");
  expectRefused(frame, write(HeaderBytes().code(8).shortSize(4, 4, 4).with(63)),
                typeReader + " file size does not fit to the dimensions specified in the header");
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectRefused(frame, pipe, typeReader + " failed to open file");
}

TEST_F(RekReaderFailure, TheTypedReaderReportsUnderItsOwnName) {
  const NoFileLeftOpen check;
  expectStandard<std::invalid_argument>([&] { reader->apply(request("")); }, byteReader + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { reader->apply(request("a=b.rek")); },
                                        byteReader + " input filename is invalid");
  expectRefused(*reader, folder / "absent.rek", byteReader + " failed to open file");
  expectRefused(*reader, folder.path(), byteReader + " failed to open file");
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectRefused(*reader, pipe, byteReader + " failed to open file");
  expectRefused(*reader, write(HeaderBytes().bytes()), byteReader + " file is smaller than the REK header");
  expectRefused(*reader, write(""), byteReader + " file is smaller than the REK header");
  expectRefused(*reader, write(HeaderBytes().code(8).shortSize(4, 4, 4).longSize(8, 4, 2).with(64)),
                byteReader + " the dimensions specified in the header are ambiguous");
  expectRefused(*reader, write(HeaderBytes().code(8).shortSize(4, 4, 4).with(63)),
                byteReader + " file size does not fit to the dimensions specified in the header");
}

TEST_F(RekReaderFailure, EachInstanceReadsItsOwnVoxelTypeOnly) {
  forEachVoxelType([this]<class T>() {
    const auto typed = createTyped(typedIdentifier<T>("RekReader"));
    for (const RekType& type : rekTypes) {
      if (type.code != rekTypeOf<T>().code) {
        expectRefused(*typed, write(HeaderBytes().code(type.code).shortSize(1, 1, 1).with(type.bytes)),
                      typedIdentifier<T>("RekReader") +
                          " operator specialization does not fit to the REK file (wrong voxel type)");
      }
    }
    // Looked at before the extents, and known or not.
    expectRefused(
        *typed, write(HeaderBytes().code(99).with(1)),
        typedIdentifier<T>("RekReader") + " operator specialization does not fit to the REK file (wrong voxel type)");
  });
}

TEST_F(RekReaderFailure, SixtyFourBitIntegersHaveNoInstance) {
  const NoFileLeftOpen check;
  for (const auto& [code, name] : {std::pair<uint16, std::string>{63, "NORV::int64"}, {64, "NORV::uint64"}}) {
    const std::string file = write(HeaderBytes().code(code).shortSize(2, 1, 1).with(16));
    EXPECT_EQ(lookInto(file)->outputVoxelType.value(), name);
    expectStandard<std::invalid_argument>(
        [&] { Frame().apply(request(file)); },
        "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
        "NORV::TaviOperators::RekReader::Operator< NORV::Tavi::Volume< " +
            name + " , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
  }
}

TEST_F(RekReaderFailure, AnotherParameterObjectIsRefused) {
  for (const SmartPointer<IComposite>& other :
       {SmartPointer<IComposite>(new Data<int32>(1)), SmartPointer<IComposite>(new TaviOperators::RekWriter::Parameter),
        SmartPointer<IComposite>(new TaviOperators::RekTypeReader::Parameter)}) {
    expectRefusal(
        [&] { Frame().apply(other); },
        "NORV::TaviOperators::DLL::RekReader::Operator::getOperatorTypeFromParameterObject: invalid parameter "
        "object!");
    expectRefusal([&] { reader->apply(other); }, "NORV::TaviOperators::RekReader::Operator::apply");
  }
  expectRefusal([&] { reader->apply(SmartPointer<IComposite>()); }, "NORV::TaviOperators::RekReader::Operator::apply");
}

TEST_F(RekReaderFailure, AVolumeOfAnotherClassIsRefusedAndKept) {
  const NoFileLeftOpen check;
  const std::string file = write(HeaderBytes().code(8).shortSize(2, 2, 2).with(8));
  const TestVolume<int8> other({2, 2, 2});
  const std::string text = "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type";
  expectRefusal([&] { Frame().apply(request(file, other)); }, text);
  EXPECT_EQ(other.voxels(), std::vector<int8>(8, 77));

  using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
  const TestVolume<uint8> owner({2, 2, 2});
  const SmartPointer<IVolume> view(new Volume<uint8, External>(owner.volume()));
  expectRefusal([&] { Frame().apply(request(file, view)); }, text);
  EXPECT_EQ(owner.voxels(), std::vector<uint8>(8, 77));
}

TEST_F(RekReaderFailure, EveryTruncatedFileIsRefused) {
  const std::string whole = HeaderBytes().code(16).longSize(5, 4, 3).with(120);
  for (std::size_t length = 0; length < whole.size(); length += length < 2040 ? 51 : 1) {
    const std::string words = length <= 2048 ? " file is smaller than the REK header"
                                             : " file size does not fit to the dimensions specified in the header";
    const auto parameter = request(write(whole.substr(0, length)));
    expectStandard<std::runtime_error>([&] { createTyped(typedIdentifier<uint16>("RekReader"))->apply(parameter); },
                                       typedIdentifier<uint16>("RekReader") + words);
    expectStandard<std::runtime_error>([&] { Frame().apply(parameter); },
                                       "NORV::TaviOperators::RekTypeReader::Operator" + words);
    EXPECT_EQ(parameter->outputVolume.value(), nullptr);
  }
}

TEST_F(RekReaderFailure, AFileThatShrinksWhileItIsRead) {
  const NoFileLeftOpen check;
  for (const std::size_t left : {0u, 2047u, 2048u, 2049u, 2051u, 2052u, 2055u}) {
    const std::string file = write(HeaderBytes().code(8).shortSize(2, 2, 2).with("abcdefgh"));
    std::vector<uint8> memory(3);
    const auto output = hostVolume(memory, [&] { std::filesystem::resize_file(file, left); });
    const auto parameter = request(file, output);
    const auto header = parameter->outputHeader.value();
    expectStandard<std::runtime_error>([&] { reader->apply(parameter); }, byteReader + " could not read raw data");
    EXPECT_EQ(parameter->outputHeader.value(), header);
  }
}

TEST_F(RekReaderFailure, AFileThatShrinksWhileAViewIsFilled) {
  const NoFileLeftOpen check;
  const std::string file = write(HeaderBytes().code(8).shortSize(2, 2, 2).with("abcdefgh"));
  std::vector<uint8> memory(3);
  const auto output = hostVolume(memory, [&] { std::filesystem::resize_file(file, 2048 + 5); });
  output->setOrientation(Tavi::Orientation(1, 2, 4));
  expectStandard<std::runtime_error>([&] { reader->apply(request(file, output)); },
                                     byteReader + " could not read raw data");
  // Two slices were asked for, one was there.
  EXPECT_EQ(output->getDimension(), Dimension<SizeType>(2, 2, 2));
  EXPECT_EQ(output->getRoiStack().size(), 1u);
  EXPECT_EQ(output->getValueAt(Tavi::Position<SizeType>(0, 0, 0)), 'a');
  EXPECT_EQ(output->getValueAt(Tavi::Position<SizeType>(1, 1, 0)), 'd');
  EXPECT_EQ(reader->getProgress().getProgress(), 0.5);
}

TEST_F(RekReaderFailure, HugeExtentsFailBeforeMemoryIsAskedFor) {
  const NoFileLeftOpen check;
  constexpr int32 largest = std::numeric_limits<int32>::max();
  const std::string words = " file size does not fit to the dimensions specified in the header";
  const auto doubles = createTyped(typedIdentifier<float64>("RekReader"));
  const std::string name = typedIdentifier<float64>("RekReader");
  expectRefused(*doubles, write(HeaderBytes().code(53).longSize(largest, largest, 1).with(64)), name + words);
  expectRefused(*doubles, write(HeaderBytes().code(53).imageSize(largest, largest).with(64)), name + words);
  expectRefused(*doubles, write(HeaderBytes().code(53).shortSize(32767, 32767, 32767).with(64)), name + words);
  // 2^61 and 2^61 + 4 voxels of 8 bytes: 0 and 32 in 64 bits.
  expectRefused(*doubles, write(HeaderBytes().code(53).longSize(1 << 30, 1 << 30, 2).with(8)), name + words);
  expectRefused(*doubles, write(HeaderBytes().code(53).longSize(1263665316, 1824726041, 1).with(32)), name + words);
  const std::string file = write(HeaderBytes().code(53).longSize(largest, largest, largest).with(64));
  expectStandard<std::overflow_error>(
      [&] { doubles->apply(request(file)); },
      "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64");
}

TEST_F(RekReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string file = write(HeaderBytes().code(8).shortSize(4, 2, 2).with("abcdefghijklmnop"));
  for (const Layout& layout : {denseLayout, regionLayout}) {
    const TestVolume<uint8> output({4, 2, 2}, layout);
    const auto parameter = request(file, output);
    Frame frame;
    frame.apply(parameter);
    const auto files = openFiles();
    const auto regions = output.volume()->getRoiStack();
    const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                            [&] {
                                              EXPECT_EQ(openFiles(), files);
                                              EXPECT_TRUE(output.volume()->getRoiStack() == regions);
                                            });
    EXPECT_GT(failures, 5);
    EXPECT_EQ(output.voxels().back(), 'p');
    output.expectUntouchedOutside();
  }
}

TEST_F(RekReaderFailure, FailuresReleaseAllMemory) {
  const std::string file = write(HeaderBytes().code(8).shortSize(4, 4, 4).with(63));
  const auto fail = [&] { EXPECT_THROW(Frame().apply(request(file)), std::runtime_error); };
  fail();
  const auto blocks = blocksInUse();
  fail();
  EXPECT_EQ(blocksInUse(), blocks);
}

}  // namespace
}  // namespace NORV::Tests
