#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <numeric>

namespace NORV::HostTest {
namespace {

class ToolRawFile : public testing::Test {
protected:
  void SetUp() override {
    std::vector<uint16> voxels(4 * 3 * 2);
    std::iota(voxels.begin(), voxels.end(), uint16{258});
    writeRek<uint16>("in.rek", 4, 3, 2, voxels);
    little.assign(reinterpret_cast<const char*>(voxels.data()), voxels.size() * sizeof(uint16));
    big = little;
    for (std::size_t i = 0; i < big.size(); i += 2) {
      std::swap(big[i], big[i + 1]);
    }
    writeFile("little.raw", little);
    writeFile("big.raw", big);
    ::unlink("out.raw");
    ::unlink("out.rek");
  }

  static std::string complaint(const std::vector<std::string>& arguments, int status) {
    const Outcome outcome = runQuietly(arguments);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(exists("out.rek"));
    return outcome.err;
  }

  std::string little, big;
};
using ToolRawFileFailure = ToolRawFile;

TEST_F(ToolRawFile, IsReadWithExtentsAndVoxelTypeInAnyOrder) {
  for (const char* name : {"little.raw:4x3x2:uint16", "little.raw:uint16:4x3x2", "little.raw:4x3x2:uint16:little",
                           "big.raw:4x3x2:uint16:big"}) {
    EXPECT_EQ(runQuietly({"convert", name, "out.rek"}).status, 0) << name;
    EXPECT_EQ(readRek<uint16>("out.rek"), readRek<uint16>("in.rek")) << name;
  }
}

TEST_F(ToolRawFile, IsWrittenInEitherOrderOfBytes) {
  EXPECT_EQ(runQuietly({"convert", "in.rek", "out.raw"}).out, "out.raw: uint16 4x3x2 from in.rek\n");
  EXPECT_EQ(readFile("out.raw"), little);
  EXPECT_EQ(runQuietly({"convert", "in.rek", "out.raw:big:uint16:4x3x2"}).status, 0);
  EXPECT_EQ(readFile("out.raw"), big);
  EXPECT_EQ(readFile("little.raw"), little);
}

TEST_F(ToolRawFile, ServesEveryCommand) {
  EXPECT_NE(runQuietly({"info", "little.raw:4x3x2:uint16"}).out.find("extents     4x3x2\n"), std::string::npos);
  EXPECT_EQ(runQuietly({"slice", "little.raw:4x3x2:uint16", "-o", "slice.pgm"}).status, 0);
  EXPECT_EQ(runQuietly({"run", "Saturation", "inputVolume=big.raw:4x3x2:uint16:big", "inputLowerLimit=260",
                        "inputUpperLimit=262", "outputVolume=out.raw:uint16:big"})
                .status,
            0);
  EXPECT_EQ(readFile("out.raw").substr(0, 6), std::string("\1\4\1\4\1\4", 6));
  writeFile("job.json", R"({"steps": [{"operator": "Inversion", "inputVolume": "little.raw:4x3x2:uint16",
                                       "outputVolume": "out.raw"}]})");
  EXPECT_EQ(runQuietly({"pipeline", "job.json"}).status, 0);
  EXPECT_EQ(readFile("out.raw")[0], static_cast<char>(~little[0]));
}

TEST_F(ToolRawFileFailure, IsOneClearLine) {
  EXPECT_EQ(complaint({"convert", "little.raw:4x3x3:uint16", "out.rek"}, 1),
            "tavi: little.raw: 4x3x3 voxels of uint16 do not fit: that is 36 times 2 bytes, the file has 48\n");
  EXPECT_EQ(
      complaint({"convert", "little.raw:99999x99999x99999:float64", "out.rek"}, 1),
      "tavi: little.raw: 99999x99999x99999 voxels of float64 do not fit: that is 999970000299999 times 8 bytes, the "
      "file has 48\n");
  EXPECT_EQ(complaint({"info", "little.raw"}, 2),
            "tavi: little.raw: a raw file is read with its extents and voxel type: little.raw:256x256x128:uint16, and "
            ":big for big-endian bytes\n");
  EXPECT_EQ(
      complaint({"info", "little.raw:4x3x2:uint17"}, 2),
      "tavi: little.raw:4x3x2:uint17: \"uint17\" is neither a voxel type (int8, uint8, int16, uint16, int32, uint32, "
      "float32, float64) nor extents such as 64x64x64\n");
  EXPECT_EQ(complaint({"info", "little.raw:0x3x2:uint16"}, 2),
            "tavi: little.raw=0x3x2: expected extents above 0 whose product fits 64 bits\n");
  EXPECT_EQ(complaint({"info", "in.rek:uint16"}, 2),
            "tavi: in.rek:uint16: a file of this kind holds its voxel type and extents; write in.rek\n");
  EXPECT_EQ(complaint({"info", "absent.raw:4x3x2:uint16"}, 1),
            "tavi: absent.raw: cannot be read\n      No such file or directory\n");
  EXPECT_EQ(complaint({"convert", "in.rek", "out.raw:uint8"}, 2),
            "tavi: out.raw: the volume is uint16 4x3x2; only the kind of the file is converted, not the voxels\n");
}

TEST_F(ToolRawFileFailure, LeavesTheOldFileWhereTheDiskIsFull) {
  writeFile("zeros.raw", std::string(1000000, '\0'));
  writeFile("out.raw", "precious");
  const Outcome outcome = run({"convert", "zeros.raw:100x100x100:uint8", "out.raw", "--quiet"}, [] {
    const rlimit limit{50000, 50000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
  });
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "tavi: out.raw: could not be written completely\n      File too large\n");
  EXPECT_EQ(readFile("out.raw"), "precious");
  EXPECT_FALSE(exists("out.partial.raw"));
}

}  // namespace
}  // namespace NORV::HostTest
