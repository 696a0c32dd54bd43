#include "CompressedRek.hpp"

namespace NORV::Tests {
namespace {

using RekGzWriter = RekFiles;

/// The stream that the gz functions of zlib make of a header and slices.
std::string streamOf(const std::string& file, const std::string& content, std::size_t sliceBytes) {
  const gzFile stream = gzopen(file.c_str(), "w");
  gzfwrite(content.data(), 1, 2048, stream);
  for (std::size_t begin = 2048; begin < content.size(); begin += sliceBytes) {
    gzfwrite(content.data() + begin, 1, sliceBytes, stream);
  }
  EXPECT_EQ(gzclose(stream), Z_OK);
  return readFile(file);
}

TEST_F(RekGzWriter, WritesTheStreamOfZlibByteForByte) {
  const NoFileLeftOpen check;
  for (const Extents& extents : {Extents{7, 5, 30}, Extents{300, 200, 3}}) {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<uint16> input(extents, layout);
      input.fill(mixedValues<uint16>(99991));
      gzipForm.writerFrame()->apply(gzipForm.writing(folder / "a.rek.gz", input));
      const std::string content = written(HeaderBytes(), 16, extents, "gz").with(bytesOf(input.voxels()));
      EXPECT_TRUE(readFile(folder / "a.rek.gz") == streamOf(folder / "b", content, extents[0] * extents[1] * 2));
    }
  }
}

TEST_F(RekGzWriter, BeginsWithAGzipHeaderWithoutNameAndTime) {
  const TestVolume<uint8> input({3, 2, 1});
  gzipForm.writerFrame()->apply(gzipForm.writing(folder / "a.gz", input));
  EXPECT_EQ(readFile(folder / "a.gz").substr(0, 10), std::string("\x1F\x8B\x08\0\0\0\0\0\0\x03", 10));
}

TEST_F(RekGzWriter, TheGzipCommandReadsIt) {
  if (!hasCommand("gzip")) {
    GTEST_SKIP() << "there is no gzip command";
  }
  const TestVolume<float32> input({30, 20, 10});
  input.fill(mixedValues<float32>(997));
  const std::string file = folder / "a.rek.gz";
  gzipForm.writerFrame()->apply(gzipForm.writing(file, input));
  runCommand("gzip -t '" + file + "' && gzip -dc '" + file + "' > '" + (folder / "a.rek") + "'");
  EXPECT_TRUE(readFile(folder / "a.rek") ==
              written(HeaderBytes(), 24, {30, 20, 10}, "gz").with(bytesOf(input.voxels())));
}

}  // namespace
}  // namespace NORV::Tests
