#include "CompressedRek.hpp"

#include <Files/Lz4File.hpp>

#include <random>

namespace NORV::Tests {
namespace {

using TaviOperators::Impl::Lz4File;

class Lz4FileTest : public testing::Test {
protected:
  std::string store(const std::string& bytes) const {
    writeFile(folder / "frames", bytes);
    return folder / "frames";
  }
  /// Reads pieces of these sizes and joins them.
  static std::string readPieces(const std::string& name, const std::vector<std::size_t>& sizes) {
    Lz4File file;
    file.open(name, Lz4File::Mode::read);
    std::string all;
    for (const std::size_t size : sizes) {
      std::string piece(size, '\0');
      file.read(piece.data(), size);
      all += piece;
    }
    return all;
  }

  const TemporaryDirectory folder;
};
using Lz4FileFailure = Lz4FileTest;

std::string noise(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>(random());
  }
  return bytes;
}

TEST_F(Lz4FileTest, EachWriteIsOneFrameOfTheLibrary) {
  const NoFileLeftOpen check;
  constexpr std::size_t block = 0x400000;
  std::string expected;
  Lz4File file(1);
  file.open(folder / "a", Lz4File::Mode::write);
  for (const std::size_t size :
       {std::size_t{1}, std::size_t{2048}, block - 1, block, block + 1, 2 * block, 2 * block + 77}) {
    for (const std::string& content : {noise(size), std::string(size, 'v')}) {
      file.write(content.data(), content.size());
      expected += packLz4ByBlocks(content);
    }
  }
  file.close();
  EXPECT_TRUE(readFile(folder / "a") == expected);
}

TEST_F(Lz4FileTest, FrameHeaderAndBlocksAreThoseOfThePreferences) {
  const auto frame = [&](std::size_t size) {
    const std::string content = noise(size);
    Lz4File file;
    file.open(folder / "a", Lz4File::Mode::write);
    file.write(content.data(), content.size());
    file.close();
    return readFile(folder / "a");
  };
  // Magic, version 1 with independent blocks and content checksum, blocks of 4 MiB.
  EXPECT_EQ(frame(10).substr(0, 6), "\x04\x22\x4D\x18\x64\x70");
  // A header of 7 bytes, 4 per block size, 4 of end mark and 4 of checksum; noise is stored as it is.
  EXPECT_EQ(frame(0x400000).size(), 7u + 4 + 0x400000 + 8);
  EXPECT_EQ(frame(0x400001).size(), 7u + 4 + 0x400000 + 4 + 1 + 8);
}

TEST_F(Lz4FileTest, ReadsCareForNoFrameBorder) {
  const std::string content = noise(10000) + std::string(5'000'000, 'v') + noise(70'000, 2);
  std::string frames;
  for (std::size_t begin = 0, size = 1; begin < content.size(); begin += size, size = size * 3 + 1) {
    frames += packLz4(content.substr(begin, size));
  }
  for (const std::string& bytes : {packLz4(content), frames}) {
    const std::string name = store(bytes);
    EXPECT_TRUE(readPieces(name, {content.size()}) == content);
    EXPECT_TRUE(readPieces(name, {1, 1, 5, 20, 100, 2048, 4'000'000, content.size() - 4'002'175}) == content);
    EXPECT_TRUE(readPieces(name, std::vector<std::size_t>(1000, 7)) == content.substr(0, 7000));
  }
}

TEST_F(Lz4FileTest, TakesFramesOfEveryKind) {
  const std::string content = std::string(300'000, 'v') + noise(300'000) + std::string(300'000, 'w');
  for (const LZ4F_blockSizeID_t size : {LZ4F_max64KB, LZ4F_max256KB, LZ4F_max1MB, LZ4F_max4MB}) {
    for (const LZ4F_blockMode_t mode : {LZ4F_blockLinked, LZ4F_blockIndependent}) {
      for (const int options : {0, 1, 2, 3, 4, 5, 6, 7}) {
        LZ4F_preferences_t format{};
        format.frameInfo.blockSizeID = size;
        format.frameInfo.blockMode = mode;
        format.frameInfo.contentChecksumFlag = static_cast<LZ4F_contentChecksum_t>(options & 1);
        format.frameInfo.blockChecksumFlag = static_cast<LZ4F_blockChecksum_t>((options >> 1) & 1);
        format.frameInfo.contentSize = (options & 4) != 0 ? content.size() : 0;
        const std::string name = store(packLz4(content, format) + packLz4("end", format));
        EXPECT_TRUE(readPieces(name, {100'000, 400'000, 400'000, 3}) == content + "end");
      }
    }
  }
}

TEST_F(Lz4FileTest, EmptyFramesAreSkipped) {
  EXPECT_EQ(readPieces(store(packLz4("") + packLz4("ab") + packLz4("") + packLz4("c")), {3}), "abc");
}

TEST_F(Lz4FileTest, CanBeOpenedAgain) {
  const NoFileLeftOpen check;
  Lz4File file;
  file.open(folder / "a", Lz4File::Mode::write);
  file.write("abc", 3);
  file.open(folder / "a", Lz4File::Mode::read);
  std::string bytes(3, ' ');
  file.read(bytes.data(), 1);
  file.open(folder / "a", Lz4File::Mode::read);
  file.read(bytes.data(), 3);
  EXPECT_EQ(bytes, "abc");
  file.checkEnd();
  file.checkEnd();
}

TEST_F(Lz4FileFailure, ModesAndFilesThatDoNotOpen) {
  const NoFileLeftOpen check;
  Lz4File file;
  expectStandard<std::invalid_argument>([&] { file.open(folder / "a", static_cast<Lz4File::Mode>(2)); },
                                        "Mode not supported");
  expectStandard<std::runtime_error>([&] { file.open(folder / "absent", Lz4File::Mode::read); },
                                     "Could not open file for reading");
  expectStandard<std::runtime_error>([&] { file.open(folder.path(), Lz4File::Mode::read); },
                                     "Could not open file for reading");
  expectStandard<std::runtime_error>([&] { file.open(folder / "absent/a", Lz4File::Mode::write); },
                                     "Could not open file for writing");
}

TEST_F(Lz4FileFailure, NoBytesAndTheWrongMode) {
  char byte = 0;
  Lz4File file;
  expectStandard<std::invalid_argument>([&] { file.read(nullptr, 0); }, "data_ is NULL");
  expectStandard<std::invalid_argument>([&] { file.write(nullptr, 0); }, "data_ is NULL");
  expectStandard<std::invalid_argument>([&] { file.read(&byte, 0); }, "size_ equals 0");
  expectStandard<std::invalid_argument>([&] { file.write(&byte, 0); }, "size_ equals 0");
  expectStandard<std::runtime_error>([&] { file.read(&byte, 1); }, "File is not opened for reading");
  expectStandard<std::runtime_error>([&] { file.write(&byte, 1); }, "File is not opened for writing");
  file.open(folder / "a", Lz4File::Mode::write);
  expectStandard<std::runtime_error>([&] { file.read(&byte, 1); }, "File is not opened for reading");
  file.write(&byte, 1);
  file.open(folder / "a", Lz4File::Mode::read);
  expectStandard<std::runtime_error>([&] { file.write(&byte, 1); }, "File is not opened for writing");
  file.read(&byte, 1);
}

TEST_F(Lz4FileFailure, WhatIsNoFrame) {
  expectStandard<std::runtime_error>([] { Lz4File::requireFrame(nullptr); }, "Frame is NULL");
  const auto refused = [&](const std::string& bytes, const std::string& text) {
    expectStandard<std::runtime_error>([&] { readPieces(store(bytes), {3}); }, text);
  };
  refused("", "Could not read magic bytes from file");
  refused("\x04\x22\x4D", "Could not read magic bytes from file");
  refused("hello world", "File has not the LZ4 frame format");
  refused(packGzip("abc"), "File has not the LZ4 frame format");
  // Skippable frames and those of the old format have other marks.
  refused(std::string("\x50\x2A\x4D\x18\x00\x00\x00\x00", 8) + packLz4("abc"), "File has not the LZ4 frame format");
  refused("\x02\x21\x4C\x18", "File has not the LZ4 frame format");
  refused(packLz4("ab"), "Could not read magic bytes from file");
  refused(packLz4("ab") + "noise", "File has not the LZ4 frame format");
}

TEST_F(Lz4FileFailure, ATruncatedFrameFailsEvenIfOnlyItsEndIsMissing) {
  const std::string frame = packLz4("some content");
  for (std::size_t length = 0; length < frame.size(); ++length) {
    expectStandard<std::runtime_error>(
        [&] { readPieces(store(frame.substr(0, length)), {12}); },
        length < 4 ? "Could not read magic bytes from file" : "Could not read from file");
  }
  EXPECT_EQ(readPieces(store(frame), {12}), "some content");
}

TEST_F(Lz4FileFailure, DecoderErrorsKeepTheirNames) {
  std::string frame = packLz4("some content");
  frame.back() ^= 1;
  const auto refused = [&](const std::string& bytes, const std::string& text) {
    expectStandard<std::runtime_error>([&] { readPieces(store(bytes), {12, 1}); }, text);
  };
  refused(frame + packLz4("x"), "ERROR_contentChecksum_invalid");
  std::string header = packLz4("some content");
  header[6] ^= 1;
  refused(header, "ERROR_headerChecksum_invalid");
  std::string version = packLz4("some content");
  version[4] ^= static_cast<char>(0x80);
  refused(version, "ERROR_headerVersion_wrong");
  std::string size = packLz4("some content");
  size.replace(7, 4, "\xFF\xFF\xFF\x7F");
  refused(size, "ERROR_maxBlockSize_invalid");
}

TEST_F(Lz4FileFailure, TheChecksumOfTheLastFrameIsComparedAtTheEnd) {
  std::string frame = packLz4("some content");
  frame.back() ^= 1;
  Lz4File file;
  file.open(store(frame), Lz4File::Mode::read);
  std::string bytes(12, ' ');
  file.read(bytes.data(), 12);
  expectStandard<std::runtime_error>([&] { file.checkEnd(); }, "ERROR_contentChecksum_invalid");
}

TEST_F(Lz4FileFailure, AFullDeviceIsReported) {
  Lz4File file;
  file.open("/dev/full", Lz4File::Mode::write);
  expectStandard<std::runtime_error>([&] { file.write("a", 1); }, "Could not write to file");
}

}  // namespace
}  // namespace NORV::Tests
