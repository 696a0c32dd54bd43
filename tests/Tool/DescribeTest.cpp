#include <OperatorList.hpp>
#include <OperatorTable.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/KeyInfo.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace NORV::HostTest {
namespace {

using nlohmann::json;

TEST(ToolList, NamesEveryExportedOperatorWithOneSentence) {
  const Outcome outcome = run({"list", "--json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json list = json::parse(outcome.out);
  ASSERT_EQ(list.size(), TaviOperators::exportedOperators.size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    EXPECT_EQ(list[i]["operator"], TaviOperators::exportedOperators[i]);
    const std::string summary = list[i]["summary"];
    EXPECT_TRUE(summary.size() > 10 && summary.back() == '.') << list[i];
  }
  const Outcome text = run({"list"});
  EXPECT_EQ(text.status, 0);
  for (const char* name : TaviOperators::exportedOperators) {
    EXPECT_NE(("\n" + text.out).find("\n" + std::string(name) + " "), std::string::npos) << name;
  }
}

TEST(ToolDescribe, TellsTheKeysOfEveryParameterObjectInOrder) {
  for (const char* name : TaviOperators::exportedOperators) {
    SCOPED_TRACE(name);
    const Outcome outcome = run({"describe", name, "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json keys = json::parse(outcome.out)["keys"];
    const Tavi::SmartPointer<Tavi::Persistence::IComposite> parameter(
        Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + std::string(name) + "::Parameter"));
    const Tavi::SmartPointer<Tavi::Persistence::IDescribed> described(parameter);
    ASSERT_NE(described, nullptr);
    ASSERT_EQ(keys.size(), parameter->getNumberOfKeys());
    for (std::size_t i = 0; i < keys.size(); ++i) {
      EXPECT_EQ(keys[i]["key"], parameter->getKey(i));
      EXPECT_EQ(keys[i]["required"], described->describe()[i].info.required);
      EXPECT_EQ(keys[i]["meaning"], described->describe()[i].info.meaning);
      const std::string key = keys[i]["key"], role = keys[i]["role"];
      EXPECT_EQ(key.substr(0, role.size()), role);
      EXPECT_FALSE(std::string(keys[i]["meaning"]).empty()) << key;
    }
  }
}

/// The parts that every user asks for, and one sentence that fits a line.
TEST(ToolDescribe, DocumentsEveryOperatorWhole) {
  const json all = json::parse(run({"describe", "--json"}).out);
  for (const json& op : all) {
    SCOPED_TRACE(op["operator"]);
    EXPECT_LE(std::string(op["summary"]).size(), 80u);
    for (const char* part : {"Failures", "Halo", "Memory", "Threads", "Cost"}) {
      EXPECT_TRUE(op["documentation"].contains(part)) << part;
    }
    for (const json& key : op["keys"]) {
      const bool isLike = std::string(key["takes"]) == "grey value";
      EXPECT_EQ(isLike, !std::string(key["like"]).empty() && std::string(key["takes"]) != "number") << key["key"];
      if (isLike) {
        const auto isKey = [&key](const json& other) { return other["key"] == key["like"]; };
        EXPECT_TRUE(std::any_of(op["keys"].begin(), op["keys"].end(), isKey)) << key["key"] << " is like no key";
      }
    }
  }
}

TEST(ToolDescribe, ShowsAnOperatorAsText) {
  const Outcome outcome = run({"describe", "Saturation"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out,
            "Saturation: Clamps every voxel of a volume to the range [inputLowerLimit, inputUpperLimit].\n"
            "\n"
            "The upper limit is compared first, so it wins where the limits cross.\n"
            "\n"
            "  inputVolume           input   volume      required; volume to clamp\n"
            "  outputVolume          output  volume      target of the same voxel type; made if absent\n"
            "  inputUpperLimit       input   grey value  required; voxels at or above this grey value take it (of the "
            "voxel type of inputVolume)\n"
            "  inputLowerLimit       input   grey value  required; voxels at or below this grey value take it (of the "
            "voxel type of inputVolume)\n"
            "  inputNumberOfThreads  input   count       worker threads (0 to 2147483647; absent or 0: all processors) "
            "[0]\n"
            "\n"
            "Voxel types: int8, uint8, int16, uint16, int32, uint32, float32, float64 (the same for all volumes)\n"
            "\n"
            "Border:   every voxel is written.\n"
            "NaN:      stays NaN.\n"
            "Failures: InvalidParameterObjectException without inputVolume or with volumes of different voxel\n"
            "          types; NULLPointer without a limit, BadCast for a limit of another voxel type.\n"
            "Halo:     none.\n"
            "Memory:   none beyond the output.\n"
            "Threads:  parallel over slices; the result does not depend on the number of threads. No steps of\n"
            "          progress.\n"
            "Cost:     one pass at the speed of memory.\n");
  EXPECT_EQ(outcome.err, "");
}

TEST(ToolDescribe, LeavesOutVoxelTypesThatTheFrameRefuses) {
  // The factory holds all 64 pairs.
  const json types = json::parse(run({"describe", "Saturation", "--json"}).out)["voxelTypes"];
  ASSERT_EQ(types.size(), 8u);
  for (const json& pair : types) {
    EXPECT_EQ(pair[0], pair[1]);
  }
  EXPECT_EQ(json::parse(run({"describe", "RekReader", "--json"}).out)["voxelTypes"].size(), 8u);
}

TEST(ToolDescribe, TellsVoxelTypesOfVolumesOnlyAndInFewWords) {
  const auto types = [](const char* op) {
    const std::string text = run({"describe", op}).out;
    const std::size_t begin = std::min(text.find("Voxel types: "), text.size());
    return text.substr(begin, text.find('\n', begin) - begin + 1);
  };
  // The identifiers also name the class of the mask, that of the records, and the type of the matrix.
  EXPECT_EQ(types("AffineTransform"), "Voxel types: int8, uint8, int16, uint16, int32, uint32, float32, float64\n");
  EXPECT_EQ(types("HistogramUpdateMedian"), "Voxel types: uint8, uint16 (the same for all volumes)\n");
  EXPECT_EQ(types("StandardFeaturesCalculation"),
            "Voxel types: (uint8, uint16, uint32) + (int8, uint8, int16, uint16, int32, uint32, float32, float64)\n");
  EXPECT_EQ(types("SmallObjectsRemover"),
            "Voxel types: (uint8, uint16, uint32) + (uint8, uint16, uint32) -> that of the first\n");
  EXPECT_EQ(types("AdaptiveMedian"),
            "Voxel types: (int8, uint8, int16, uint16, int32, uint32, float32, float64) + (uint8, uint16, uint32) + "
            "(uint8, uint16, uint32) -> that of the first\n");
}

TEST(ToolDescribe, DescribesAllOperatorsAtOnce) {
  const json all = json::parse(run({"describe", "--json"}).out);
  ASSERT_EQ(all.size(), TaviOperators::exportedOperators.size());
  EXPECT_EQ(all[0]["operator"], TaviOperators::exportedOperators[0]);
  const std::string page = run({"describe", "--markdown"}).out;
  EXPECT_EQ(page.substr(0, 12), "# Operators\n");
  EXPECT_NE(
      page.find(
          "| `inputUpperLimit` | input | grey value | yes |  | voxels at or above this grey value take it (of the "
          "voxel type of inputVolume) |\n"),
      std::string::npos);
}

TEST(ToolUsage, FailuresOfTheCommandLineHaveStatus2) {
  const Outcome unknown = run({"describe", "Saturatoin"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err,
            "tavi: there is no operator \"Saturatoin\"; the nearest name is Saturation, \"tavi list\" shows all\n");
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(run({}).status, 2);
  EXPECT_EQ(run({"paint"}).status, 2);
  EXPECT_EQ(run({"list", "--colour"}).status, 2);
  EXPECT_EQ(run({"list", "--threads", "0"}).status, 2);
  EXPECT_EQ(run({"info"}).status, 2);
  const Outcome lines = run({"info"});
  EXPECT_EQ(std::count(lines.err.begin(), lines.err.end(), '\n'), 2);
  const Outcome machine = run({"describe", "Nothing", "--json"});
  EXPECT_EQ(machine.status, 2);
  EXPECT_EQ(json::parse(machine.out)["status"], 2);
}

TEST(ToolUsage, HelpIsNoFailure) {
  const Outcome help = run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* command : {"list", "describe", "info", "run", "slice", "mask", "features", "phantom", "demo"}) {
    EXPECT_NE(help.out.find(command), std::string::npos) << command;
    EXPECT_EQ(run({command, "--help"}).status, 0);
  }
}

}  // namespace
}  // namespace NORV::HostTest
