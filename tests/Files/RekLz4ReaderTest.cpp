#include "CompressedRek.hpp"

namespace NORV::Tests {
namespace {

class RekLz4Reader : public RekFiles {
protected:
  static std::vector<uint8> voxelsIn(const std::string& file, const Layout& layout = {}) {
    const TestVolume<uint8> output({5, 4, 3}, layout);
    lz4Form.readerFrame()->apply(lz4Form.reading(file, output));
    return output.voxels();
  }
  /// Requires this failure of the type reader, of the typed reader and of the frame.
  void expectNoFrame(const std::string& bytes, const std::string& text) const {
    const NoFileLeftOpen check;
    const std::string file = write(bytes);
    expectStandard<std::runtime_error>([&] { createTyped(lz4Form.typeReader())->apply(lz4Form.looking(file)); }, text);
    expectStandard<std::runtime_error>([&] { createTyped(lz4Form.reader(byteVolume))->apply(lz4Form.reading(file)); },
                                       text);
    expectStandard<std::runtime_error>([&] { lz4Form.readerFrame()->apply(lz4Form.reading(file)); }, text);
  }
  void expectNoVoxels(const std::string& bytes, const std::string& text) const {
    const NoFileLeftOpen check;
    const std::string file = write(bytes);
    createTyped(lz4Form.typeReader())->apply(lz4Form.looking(file));
    expectStandard<std::runtime_error>([&] { lz4Form.readerFrame()->apply(lz4Form.reading(file)); }, text);
  }

  const std::vector<uint8> voxels = mixedValues<uint8>(5 * 4 * 3, 3);
  const std::string header = HeaderBytes().code(8).shortSize(5, 4, 3).bytes();
  const std::string content = header + bytesOf(voxels);
};
using RekLz4ReaderFailure = RekLz4Reader;

TEST_F(RekLz4Reader, ReadsWhatTheLz4CommandWrote) {
  if (!hasCommand("lz4")) {
    GTEST_SKIP() << "there is no lz4 command";
  }
  const std::string file = write(content, "volume.rek");
  for (const std::string options : {"-1", "-9", "-B4", "-B7 -BD", "-BX", "--content-size", "--no-frame-crc"}) {
    runCommand("lz4 -q -f " + options + " '" + file + "' '" + file + ".lz4'");
    expectSameVoxels(voxelsIn(file + ".lz4"), voxels);
    expectSameVoxels(voxelsIn(file + ".lz4", regionLayout), voxels);
  }
}

TEST_F(RekLz4Reader, FramesNeedNotEndWhereSlicesDo) {
  for (const std::size_t size : {1u, 7u, 20u, 60u, 2047u, 2049u}) {
    std::string frames;
    for (std::size_t begin = 0; begin < content.size(); begin += size) {
      frames += packLz4(content.substr(begin, size));
    }
    expectSameVoxels(voxelsIn(write(frames)), voxels);
  }
}

TEST_F(RekLz4ReaderFailure, AnotherFormatIsReportedByTheDecoder) {
  expectNoFrame(content, "File has not the LZ4 frame format");
  expectNoFrame(packGzip(content), "File has not the LZ4 frame format");
  expectNoFrame("", "Could not read magic bytes from file");
  expectNoFrame(packLz4(header.substr(0, 2047)), "Could not read magic bytes from file");
  expectNoFrame(packLz4(header.substr(0, 2047)) + "more", "File has not the LZ4 frame format");
  std::string damaged = packLz4(header);
  damaged[6] ^= 1;
  expectNoFrame(damaged, "ERROR_headerChecksum_invalid");
}

TEST_F(RekLz4ReaderFailure, ReadingPastTheLastFrame) {
  expectNoVoxels(packLz4(header), "Could not read magic bytes from file");
  expectNoVoxels(packLz4(header) + packLz4(bytesOf(voxels).substr(0, 40)), "Could not read magic bytes from file");
  expectNoVoxels(packLz4(header) + packLz4(bytesOf(voxels).substr(0, 40)) + content,
                 "File has not the LZ4 frame format");
}

TEST_F(RekLz4ReaderFailure, EveryTruncatedFileIsReported) {
  const std::string frames = packLz4(header) + packLz4(bytesOf(voxels));
  const std::size_t first = packLz4(header).size();
  for (std::size_t length = 0; length < frames.size(); ++length) {
    const bool atMark = length < 4 || (length >= first && length < first + 4);
    const std::string file = write(frames.substr(0, length));
    expectStandard<std::runtime_error>([&] { lz4Form.readerFrame()->apply(lz4Form.reading(file)); },
                                       atMark ? "Could not read magic bytes from file" : "Could not read from file");
  }
}

TEST_F(RekLz4ReaderFailure, AWrongChecksumIsReportedOfEveryFrame) {
  std::string first = packLz4(header), second = packLz4(bytesOf(voxels));
  first.back() ^= 1;
  expectNoVoxels(first + second, "ERROR_contentChecksum_invalid");
  first.back() ^= 1;
  second.back() ^= 1;
  expectNoVoxels(first + second, "ERROR_contentChecksum_invalid");
}

TEST_F(RekLz4ReaderFailure, AFileThatPromisesTooMuchFailsAsOneThatEnds) {
  const std::string promise = HeaderBytes().code(8).longSize(1 << 20, 1 << 20, 1 << 20).bytes();
  expectNoVoxels(packLz4(promise) + packLz4("abc") + "noise", "File has not the LZ4 frame format");
  expectNoVoxels(packLz4(promise) + packLz4("abc").substr(0, 15), "Could not read from file");
}

}  // namespace
}  // namespace NORV::Tests
