#include "CompressedRek.hpp"

#include <filesystem>

namespace NORV::Tests {
namespace {

class RekGzReader : public RekFiles {
protected:
  static std::vector<uint8> voxelsIn(const std::string& file) {
    const auto parameter = gzipForm.reading(file);
    gzipForm.readerFrame()->apply(parameter);
    return voxelsOf(SmartPointer<Volume<uint8>>(VolumePtr<uint8>(volumeIn(parameter))));
  }

  const std::vector<uint8> voxels = mixedValues<uint8>(5 * 4 * 3, 3);
  const std::string content = HeaderBytes().code(8).shortSize(5, 4, 3).with(bytesOf(voxels));
};
using RekGzReaderFailure = RekGzReader;

TEST_F(RekGzReader, ReadsWhatTheGzipCommandWrote) {
  if (!hasCommand("gzip")) {
    GTEST_SKIP() << "there is no gzip command";
  }
  for (const std::string level : {"-1", "-6", "-9"}) {
    const std::string file = write(content, "volume.rek");
    runCommand("gzip -f " + level + " '" + file + "'");
    expectSameVoxels(voxelsIn(file + ".gz"), voxels);
  }
}

TEST_F(RekGzReader, ReadsStreamsOfSeveralMembers) {
  for (const std::size_t first : {1u, 2047u, 2048u, 2060u, 2107u}) {
    const std::string file = write(packGzip(content.substr(0, first)) + packGzip(content.substr(first)));
    expectSameVoxels(voxelsIn(file), voxels);
  }
}

TEST_F(RekGzReader, IgnoresWhatFollowsTheStreamAndIsNone) {
  expectSameVoxels(voxelsIn(write(packGzip(content) + "some garbage")), voxels);
  expectSameVoxels(voxelsIn(write(packGzip(content) + std::string(100, '\0'))), voxels);
}

TEST_F(RekGzReader, ReadsAFileThatIsNotCompressed) { expectSameVoxels(voxelsIn(write(content)), voxels); }

TEST_F(RekGzReader, ReadsEveryCompressionLevel) {
  for (int level = 0; level <= 9; ++level) {
    expectSameVoxels(voxelsIn(write(packGzip(content, level))), voxels);
  }
}

TEST_F(RekGzReader, ReadsContentThatIsCompressedAsMuchAsPossible) {
  const std::string zeros = HeaderBytes().code(8).longSize(1000, 1000, 64).bytes() + std::string(64'000'000, '\0');
  const std::string packed = packGzip(zeros, 9);
  EXPECT_GT(zeros.size() / packed.size(), 1000u);
  EXPECT_EQ(voxelsIn(write(packed)).size(), 64'000'000u);
}

TEST_F(RekGzReaderFailure, TruncatedStreamsAreShort) {
  const NoFileLeftOpen check;
  const std::string packed = packGzip(content);
  const std::string name = gzipForm.reader(byteVolume);
  for (std::size_t length = 0; length < packed.size(); ++length) {
    const std::string file = write(packed.substr(0, length));
    const std::size_t delivered = unpackGzip(packed.substr(0, length)).size();
    const auto reader = createTyped(name);
    if (length < 10) {  // no whole mark: the bytes themselves, or nothing
      expectStandard<std::runtime_error>([&] { reader->apply(gzipForm.reading(file)); },
                                         name + " failed to read REK header");
    } else if (delivered < content.size()) {
      expectStandard<std::runtime_error>(
          [&] { reader->apply(gzipForm.reading(file)); },
          name + (delivered < 2048 ? " failed to read REK header" : " could not read raw data"));
    } else {
      reader->apply(gzipForm.reading(file));  // no voxel is missing
    }
  }
}

TEST_F(RekGzReaderFailure, AWrongChecksumIsReportedAlsoBehindALargeSlice) {
  const NoFileLeftOpen check;
  const std::string name = gzipForm.reader(byteVolume);
  const std::string large = HeaderBytes().code(8).longSize(1000, 1000, 1).with(bytesOf(mixedValues<uint8>(1'000'000)));
  for (const std::string& whole : {content, large}) {
    std::string packed = packGzip(whole);
    packed[packed.size() - 6] ^= 1;
    expectStandard<std::runtime_error>(
        [&] { createTyped(name)->apply(gzipForm.reading(write(packed))); },
        name + (whole.size() > 16384 ? " could not read raw data" : " failed to read REK header"));
  }
}

TEST_F(RekGzReaderFailure, AnUncompressedFileHoldsNoMoreThanItsBytes) {
  const std::string file = write(HeaderBytes().code(8).longSize(1 << 20, 1 << 10, 1).with(100));
  const auto extra = extraBytesOf([&] {
    expectStandard<std::runtime_error>([&] { gzipForm.readerFrame()->apply(gzipForm.reading(file)); },
                                       gzipForm.reader(byteVolume) + " could not read raw data");
  });
  EXPECT_LT(extra, 1 << 20);
}

}  // namespace
}  // namespace NORV::Tests
