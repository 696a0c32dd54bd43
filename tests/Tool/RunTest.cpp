#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include <algorithm>
#include <limits>

namespace NORV::HostTest {
namespace {

using nlohmann::json;

constexpr float32 nan = std::numeric_limits<float32>::quiet_NaN();

class ToolRun : public testing::Test {
protected:
  void SetUp() override {
    writeRek<uint8>("in.rek", 4, 3, 2, ramp);
    for (const char* name : {"out.rek", "out.partial.rek"}) {
      ::unlink(name);
    }
  }

  static std::vector<uint8> clamped(uint8 low, uint8 high) {
    std::vector<uint8> result = ramp;
    for (uint8& voxel : result) {
      voxel = voxel >= high ? high : low >= voxel ? low : voxel;
    }
    return result;
  }

  static std::vector<std::string> saturation(std::vector<std::string> more) {
    std::vector<std::string> all{"run", "Saturation", "inputVolume=in.rek"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  static inline const std::vector<uint8> ramp = [] {
    std::vector<uint8> voxels(24);
    for (std::size_t i = 0; i < voxels.size(); ++i) {
      voxels[i] = static_cast<uint8>(10 * i);
    }
    return voxels;
  }();
};
using ToolRunFailure = ToolRun;
using ToolRunUsageFailure = ToolRun;

TEST_F(ToolRun, WritesTheResultIntoTheFileOfItsKey) {
  const Outcome outcome = runQuietly(saturation({"inputLowerLimit=50", "inputUpperLimit=100", "outputVolume=out.rek"}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "outputVolume = out.rek (uint8 4x3x2)\n");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(readRek<uint8>("out.rek"), clamped(50, 100));
  EXPECT_FALSE(exists("out.partial.rek"));
}

TEST_F(ToolRun, TellsMachinesWhatItDid) {
  const Outcome outcome = runQuietly(
      saturation({"inputLowerLimit=50", "inputUpperLimit=100", "outputVolume=out.rek", "--json", "--threads", "2"}));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json result = json::parse(outcome.out);
  EXPECT_EQ(result["operator"], "Saturation");
  EXPECT_GE(result["seconds"], 0.0);
  EXPECT_EQ(result["files"], json::parse(R"([{"key": "outputVolume", "file": "out.rek", "voxelType": "uint8",
                                              "dimension": [4, 3, 2]}])"));
}

TEST_F(ToolRun, PrintsResultsByName) {
  const std::vector<std::string> call{"run", "ExtremeValueCalculation", "inputVolume=in.rek", "inputNumberOfThreads=1"};
  EXPECT_EQ(runQuietly(call).out, "outputMinimumValue = 0\noutputMaximumValue = 230\n");
  auto machine = call;
  machine.emplace_back("--json");
  EXPECT_EQ(json::parse(runQuietly(machine).out)["results"],
            json::parse(R"({"outputMinimumValue": 0, "outputMaximumValue": 230})"));
}

TEST_F(ToolRun, TakesGreyValuesInTheVoxelTypeOfTheInput) {
  writeRek<float32>("float.rek", 3, 1, 1, {-1.5f, 0.25f, 7.0f});
  EXPECT_EQ(runQuietly({"run", "Saturation", "inputVolume=float.rek", "inputLowerLimit=-0.5", "inputUpperLimit=1e0",
                        "outputVolume=out.rek"})
                .status,
            0);
  EXPECT_EQ(readRek<float32>("out.rek"), (std::vector<float32>{-0.5f, 0.25f, 1.0f}));
  writeRek<int16>("signed.rek", 3, 1, 1, {-300, 5, 300});
  EXPECT_EQ(runQuietly({"run", "Saturation", "inputVolume=signed.rek", "inputLowerLimit=-200", "inputUpperLimit=+200",
                        "outputVolume=out.rek"})
                .status,
            0);
  EXPECT_EQ(readRek<int16>("out.rek"), (std::vector<int16>{-200, 5, 200}));
}

TEST_F(ToolRun, MakesTheOutputOfTheTypeAndExtentsAskedFor) {
  EXPECT_EQ(
      runQuietly(saturation({"inputLowerLimit=50", "inputUpperLimit=100", "outputVolume=out.rek:uint8:9x9x9"})).status,
      0);
  EXPECT_EQ(readRek<uint8>("out.rek"), clamped(50, 100));  // resized by the operator
}

TEST_F(ToolRun, ReadersAndWritersCanBeCalledLikeAnyOperator) {
  EXPECT_EQ(runQuietly({"run", "RekReader", "inputFilename=in.rek", "outputVolume=out.rek"}).status, 0);
  EXPECT_EQ(readRek<uint8>("out.rek"), ramp);
  const Outcome written = runQuietly({"run", "RekWriter", "inputFilename=plain.raw", "inputVolume=in.rek"});
  EXPECT_EQ(written.status, 0) << written.err;
  EXPECT_EQ(readRek<uint8>("plain.raw"), ramp);
}

TEST_F(ToolRun, TakesALabelInTheVoxelTypeOfTheLabels) {
  std::vector<uint16> labels(24, 300);
  labels[3] = 301;
  writeRek<uint16>("labels.rek", 4, 3, 2, labels);
  const Outcome outcome =
      runQuietly({"run", "BiggestObjectRemover", "inputVolume=in.rek", "inputLabelVolume=labels.rek",
                  "backgroundLabelEnabled=true", "backgroundLabel=300", "substitutionValue=9", "outputVolume=out.rek"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  auto expected = ramp;
  expected[3] = 9;
  EXPECT_EQ(readRek<uint8>("out.rek"), expected);
}

TEST_F(ToolRun, MayWriteOverItsInput) {
  EXPECT_EQ(runQuietly(saturation({"inputLowerLimit=50", "inputUpperLimit=100", "outputVolume=in.rek"})).status, 0);
  EXPECT_EQ(readRek<uint8>("in.rek"), clamped(50, 100));
}

TEST_F(ToolRun, IsSilentWhereNobodyWatches) { EXPECT_EQ(run({"info", "in.rek"}).err, ""); }

TEST_F(ToolRun, ShowsProgressInPlainLinesWhereAsked) {
  const Outcome outcome = run({"info", "in.rek", "--progress"});
  EXPECT_EQ(outcome.err.substr(0, 18), "tavi: load in.rek\n");
  EXPECT_NE(outcome.err.find("tavi: load in.rek: done in 0."), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.err.find('\r'), std::string::npos);
}

TEST_F(ToolRun, InfoTellsTypeExtentsAndGreyValues) {
  EXPECT_EQ(runQuietly({"info", "in.rek"}).out,
            "file        in.rek\n"
            "voxel type  uint8\n"
            "extents     4x3x2\n"
            "size        24 bytes\n"
            "minimum     0\n"
            "maximum     230\n"
            "mean        115\n");
  EXPECT_EQ(json::parse(runQuietly({"info", "in.rek", "--json"}).out),
            json::parse(R"({"file": "in.rek", "voxelType": "uint8", "dimension": [4, 3, 2], "bytes": 24,
                            "minimum": 0, "maximum": 230, "mean": 115.0})"));
  writeRek<float32>("nan.rek", 3, 1, 1, {1.0f, nan, 2.0f});
  const json withNaN = json::parse(runQuietly({"info", "nan.rek", "--json"}).out);
  EXPECT_EQ(withNaN["mean"], "nan");
  EXPECT_EQ(withNaN["maximum"], 2.0);
}

TEST_F(ToolRunUsageFailure, NamesTheArgumentAndWhatIsExpected) {
  const auto complaint = [](const std::vector<std::string>& arguments) {
    const Outcome outcome = runQuietly(arguments);
    EXPECT_EQ(outcome.status, 2) << outcome.err;
    EXPECT_FALSE(exists("out.rek"));
    return outcome.err;
  };
  EXPECT_EQ(complaint({"run", "Saturation"}), "tavi: Saturation needs inputVolume=<file>: volume to clamp\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit=5", "outputVolume=out.rek"})),
            "tavi: Saturation needs inputUpperLimit=<number>: voxels at or above this grey value take it\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit=5", "inputUpperLimit=9"})),
            "tavi: Saturation needs outputVolume=<file>: where the result goes\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimits=5"})),
            "tavi: Saturation has no key \"inputLowerLimits\"; the nearest is inputLowerLimit, \"tavi describe "
            "Saturation\" shows all\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit"})),
            "tavi: inputLowerLimit needs a value: inputLowerLimit=<number>\n");
  EXPECT_EQ(complaint(saturation({"inputVolume=in.rek"})), "tavi: inputVolume is given twice\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit=5", "inputUpperLimit=256", "outputVolume=out.rek"})),
            "tavi: inputUpperLimit=256: expected a whole number from 0 to 255 (uint8)\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit=5", "inputUpperLimit=1.5", "outputVolume=out.rek"})),
            "tavi: inputUpperLimit=1.5: expected a whole number from 0 to 255 (uint8)\n");
  EXPECT_EQ(complaint(saturation(
                {"inputLowerLimit=5", "inputUpperLimit=9", "outputVolume=out.rek", "inputNumberOfThreads=-1"})),
            "tavi: inputNumberOfThreads=-1: expected a whole number from 0 to 18446744073709551615 (uint64)\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit=5", "inputUpperLimit=9", "outputVolume=out.rek:uint9"})),
            "tavi: outputVolume=out.rek:uint9: \"uint9\" is neither a voxel type (int8, uint8, int16, uint16, int32, "
            "uint32, float32, float64) nor extents such as 64x64x64\n");
  EXPECT_EQ(complaint(saturation({"inputLowerLimit=5", "inputUpperLimit=9", "outputVolume=out.rek:4x0x4"})),
            "tavi: outputVolume=4x0x4: expected extents above 0 whose product fits 64 bits\n");
  EXPECT_EQ(complaint({"run", "ExtremeValueCalculation", "inputVolume=in.rek", "outputMinimumValue=3"}),
            "tavi: outputMinimumValue is a result; it is printed after the run\n");
  EXPECT_EQ(
      complaint({"run", "RekReader", "inputFilename=in.rek", "inputHeader=x", "outputVolume=out.rek"}),
      "tavi: RekReader has no key \"inputHeader\"; the nearest is outputHeader, \"tavi describe RekReader\" shows "
      "all\n");
  EXPECT_EQ(complaint({"run", "RekWriter", "inputFilename=o.rek", "inputVolume=in.rek", "inputHeader=x"}),
            "tavi: inputHeader=x: expected a volume file that it is taken from\n");
  const std::string unknownKind = complaint({"info", "in.xyz"});
  EXPECT_TRUE(unknownKind.starts_with("tavi: in.xyz: the name does not end like a volume file: ")) << unknownKind;
  EXPECT_NE(unknownKind.find(".rek"), std::string::npos);
}

TEST_F(ToolRunFailure, GiveTheTextOfTheLibraryAndTheReasonOfTheSystem) {
  const auto complaint = [](const std::vector<std::string>& arguments) {
    const Outcome outcome = runQuietly(arguments);
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    return outcome.err;
  };
  EXPECT_EQ(complaint({"info", "absent.rek"}),
            "tavi: NORV::TaviOperators::RekTypeReader::Operator failed to open file\n"
            "      absent.rek: No such file or directory\n");
  ::mkdir("folder.rek", 0777);
  EXPECT_NE(complaint({"info", "folder.rek"}).find("\n      folder.rek: Is a directory\n"), std::string::npos);
  writeFile("short.rek", std::string("\x1F\x8B", 2) + std::string(98, 'x'));
  EXPECT_EQ(complaint({"info", "short.rek"}),
            "tavi: NORV::TaviOperators::RekTypeReader::Operator file is smaller than the REK header\n"
            "      short.rek: 100 bytes, begins with 1F 8B 78 78 78 78 78 78 (gzip)\n");
  writeFile("empty.rek", "");
  EXPECT_EQ(complaint({"info", "empty.rek"}),
            "tavi: NORV::TaviOperators::RekTypeReader::Operator file is smaller than the REK header\n"
            "      empty.rek: 0 bytes\n");
  EXPECT_EQ(complaint({"info", "a=b.rek"}),
            "tavi: NORV::TaviOperators::RekTypeReader::Operator input filename is invalid\n"
            "      a=b.rek: names must not hold '='; rename the file or link it under a plain name\n");
  EXPECT_EQ(
      complaint({"info", "W\xC3\xBCrfel.rek"}),
      "tavi: NORV::TaviOperators::RekTypeReader::Operator input filename is invalid\n"
      "      W\xC3\xBCrfel.rek: names may only hold plain ASCII characters, no letters beyond them in UTF-8 (byte "
      "0xC3 at index 1); rename the file or link it under a plain name: ln -s <file> plain.rek\n");
}

TEST_F(ToolRunFailure, TellWhichVoxelTypesThereAre) {
  writeRek<int64>("wide.rek", 1, 1, 1, {1});
  const Outcome wide = runQuietly({"info", "wide.rek"});
  EXPECT_EQ(wide.status, 1);
  EXPECT_EQ(wide.err,
            "tavi: NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::RekReader::Operator< NORV::Tavi::Volume< NORV::int64 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered\n"
            "      RekReader takes int8, uint8, int16, uint16, int32, uint32, float32, float64\n");
  const Outcome unequal =
      runQuietly(saturation({"inputLowerLimit=5", "inputUpperLimit=9", "outputVolume=out.rek:uint16"}));
  EXPECT_EQ(unequal.status, 1);
  EXPECT_EQ(unequal.err,
            "tavi: NORV::TaviOperators::DLL::Saturation::IOperator::getOperatorTypeFromParameterObject: Voxel types "
            "must be equal!\n"
            "      inputVolume is uint8, outputVolume is uint16; Saturation takes int8, uint8, int16, uint16, int32, "
            "uint32, float32, float64 (the same for all volumes)\n");
  EXPECT_FALSE(exists("out.rek"));
}

TEST_F(ToolRunFailure, AFullDeviceIsNamed) {
  ::unlink("full.rek");
  ASSERT_EQ(::symlink("/dev/full", "full.rek"), 0);
  const Outcome outcome = runQuietly(saturation({"inputLowerLimit=5", "inputUpperLimit=9", "outputVolume=full.rek"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("\n      full.rek: the device takes no more (No space left on device)\n"),
            std::string::npos)
      << outcome.err;
}

TEST_F(ToolRunFailure, AnOutputThatCannotBeFinishedLeavesTheOldFile) {
  writeRek<uint8>("large.rek", 100, 100, 10, std::vector<uint8>(100000, 7));
  writeFile("out.rek", "precious");
  const Outcome outcome = run({"run", "Saturation", "inputVolume=large.rek", "inputLowerLimit=1", "inputUpperLimit=9",
                               "outputVolume=out.rek", "--quiet"},
                              [] {
                                const rlimit limit{50000, 50000};
                                ::setrlimit(RLIMIT_FSIZE, &limit);
                                std::signal(SIGXFSZ, SIG_IGN);
                              });
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("File too large"), std::string::npos) << outcome.err;
  EXPECT_EQ(readFile("out.rek"), "precious");
  EXPECT_FALSE(exists("out.partial.rek"));
}

TEST_F(ToolRunFailure, ForMachinesComeAsJson) {
  const Outcome outcome = runQuietly({"info", "absent.rek", "--json"});
  EXPECT_EQ(json::parse(outcome.out),
            json::parse(R"({"error": "NORV::TaviOperators::RekTypeReader::Operator failed to open file",
                            "hint": "absent.rek: No such file or directory", "status": 1})"));
}

}  // namespace
}  // namespace NORV::HostTest
