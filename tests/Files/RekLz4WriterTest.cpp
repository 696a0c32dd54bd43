#include "CompressedRek.hpp"

namespace NORV::Tests {
namespace {

using RekLz4Writer = RekFiles;

TEST_F(RekLz4Writer, HeaderAndSlicesAreOneFrameEach) {
  const NoFileLeftOpen check;
  for (const Extents& extents : {Extents{7, 5, 30}, Extents{300, 200, 3}}) {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<uint16> input(extents, layout);
      input.fill(mixedValues<uint16>(99991));
      lz4Form.writerFrame()->apply(lz4Form.writing(folder / "a.rek.lz4", input));
      std::string expected = packLz4ByBlocks(written(HeaderBytes(), 16, extents, "lz4").bytes());
      const std::string voxels = bytesOf(input.voxels());
      const std::size_t slice = extents[0] * extents[1] * 2;
      for (std::size_t begin = 0; begin < voxels.size(); begin += slice) {
        expected += packLz4ByBlocks(voxels.substr(begin, slice));
      }
      EXPECT_TRUE(readFile(folder / "a.rek.lz4") == expected);
    }
  }
}

TEST_F(RekLz4Writer, LargeSlicesAreFramesOfSeveralBlocks) {
  for (const SizeType rows : {4096u, 4097u, 9000u}) {  // of 1024 bytes: one block, two, three
    const TestVolume<uint8> input({1024, rows, 1});
    input.fill(mixedValues<uint8>(99991));
    const std::string file = folder / "a.rek.lz4";
    lz4Form.writerFrame()->apply(lz4Form.writing(file, input));
    EXPECT_TRUE(unpackLz4(readFile(file)) ==
                written(HeaderBytes(), 8, {1024, rows, 1}, "lz4").with(bytesOf(input.voxels())));
    const auto parameter = lz4Form.reading(file);
    lz4Form.readerFrame()->apply(parameter);
    expectSameVoxels(voxelsOf(SmartPointer<Volume<uint8>>(VolumePtr<uint8>(volumeIn(parameter)))), input.voxels());
  }
}

TEST_F(RekLz4Writer, TheLz4CommandReadsIt) {
  if (!hasCommand("lz4")) {
    GTEST_SKIP() << "there is no lz4 command";
  }
  const TestVolume<float32> input({30, 20, 10});
  input.fill(mixedValues<float32>(997));
  const std::string file = folder / "a.rek.lz4";
  lz4Form.writerFrame()->apply(lz4Form.writing(file, input));
  runCommand("lz4 -q -t '" + file + "' && lz4 -q -dc '" + file + "' > '" + (folder / "a.rek") + "'");
  EXPECT_TRUE(readFile(folder / "a.rek") ==
              written(HeaderBytes(), 24, {30, 20, 10}, "lz4").with(bytesOf(input.voxels())));
}

}  // namespace
}  // namespace NORV::Tests
