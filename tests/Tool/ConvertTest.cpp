#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>

namespace NORV::HostTest {
namespace {

TEST(ToolConvert, GoesThroughEveryKindOfVolumeFileAndBack) {
  ASSERT_EQ(runQuietly({"phantom", "in.rek"}).status, 0);
  std::string last = "in.rek";
  for (const char* name : {"a.rek.gz", "b.rek.lz4", "c.vti", "d.tif", "e.tiff", "back.rek"}) {
    const Outcome outcome = runQuietly({"convert", last, name});
    ASSERT_EQ(outcome.status, 0) << name << ": " << outcome.err;
    EXPECT_EQ(outcome.out, std::string(name) + ": uint16 256x256x128 from " + last + "\n");
    last = name;
  }
  EXPECT_TRUE(readFile("back.rek").substr(2048) == readFile("in.rek").substr(2048));
}

TEST(ToolConvert, WritesPicturesOfOneSlice) {
  ASSERT_EQ(runQuietly({"phantom", "in.rek"}).status, 0);
  for (const char* name : {"slice.png", "slice.bmp", "slice.pgm"}) {
    EXPECT_EQ(runQuietly({"slice", "in.rek", "-o", name}).status, 0) << name;
  }
  ASSERT_EQ(runQuietly({"convert", "slice.png", "slice.rek"}).status, 0);
  ASSERT_EQ(runQuietly({"convert", "slice.rek", "again.bmp"}).status, 0);
  EXPECT_EQ(readFile("again.bmp"), readFile("slice.bmp"));
}

TEST(ToolConvertFailure, OfAVoxelTypeThatTheTargetDoesNotHold) {
  ASSERT_EQ(runQuietly({"phantom", "in.rek"}).status, 0);
  const Outcome outcome = runQuietly({"convert", "in.rek", "out.bmp"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_TRUE(outcome.err.starts_with("tavi: out.bmp: BmpWriter writes no uint16, only uint8;")) << outcome.err;
  EXPECT_FALSE(exists("out.bmp"));
}

TEST(ToolConvertFailure, OfSeveralSlicesToAPictureLeavesTheOldOne) {
  ASSERT_EQ(runQuietly({"phantom", "in.rek"}).status, 0);
  writeFile("out.png", "old");
  const Outcome outcome = runQuietly({"convert", "in.rek", "out.png"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(readFile("out.png"), "old");
  EXPECT_FALSE(exists("out.partial.png"));
}

}  // namespace
}  // namespace NORV::HostTest
