#include <Common.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>

#include <filesystem>

/// `tavi pipeline --report`.
namespace NORV::HostTest {
namespace {

using TaviTool::Json;

/// Two bright bars, labelled and measured.
constexpr const char* measuringJob = R"({
  "parameters": {"input": "bars.rek"},
  "steps": [
    {"operator": "Inversion", "name": "turn over", "inputVolume": "${input}", "outputVolume": "$inverted"},
    {"operator": "Inversion", "inputVolume": "$inverted", "outputVolume": "$back"},
    {"operator": "CityblockConnectedComponentsAnalysis", "name": "label", "inputFirstVolume": "$back",
     "inputBackgroundValue": 0, "outputVolume": "$labels:uint8"},
    {"operator": "StandardFeaturesCalculation", "inputLabelVolume": "$labels", "inputValueVolume": "$back",
     "inputMinimumLabel": 1, "inputMaximumLabel": 2, "outputFeaturesVector": "objects.json"}]})";

class ToolPipelineReport : public testing::Test {
protected:
  void SetUp() override {
    std::vector<uint8> bars(8 * 8 * 8, 0);
    for (std::size_t i = 1; i < 7; ++i) {
      bars[i + 8 * 1 + 64 * 3] = bars[i + 8 * 6 + 64 * 3] = 200;
    }
    writeRek<uint8>("bars.rek", 8, 8, 8, bars);
    writeFile("job.json", measuringJob);
    for (const char* name : {"page.html", "page.bars.rek.html", "job.record.json", "objects.json"}) {
      std::filesystem::remove(name);
    }
  }
  static Outcome run(std::vector<std::string> more) {
    std::vector<std::string> words{"pipeline", "job.json"};
    words.insert(words.end(), more.begin(), more.end());
    return runQuietly(words);
  }
  static Json dataOfPage() {
    const std::string page = readFile("page.html"), start = "<script type=\"application/json\" id=\"data\">";
    const auto begin = page.find(start) + start.size();
    return Json::parse(page.substr(begin, page.find("</script>", begin) - begin));
  }
};

TEST_F(ToolPipelineReport, ShowsStepsViewsAndObjects) {
  const Outcome outcome = run({"--report", "page.html"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("report: page.html\n"), std::string::npos) << outcome.out;
  const std::string page = readFile("page.html");
  for (const char* text : {"<title>job</title>", "turn over", "CityblockConnectedComponentsAnalysis",
                           "inputBackgroundValue", "bars.rek", "Input", "label", "Mean grey value"}) {
    EXPECT_NE(page.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(dataOfPage().at("views").size(), 4U);  // the input, both inversions, the labels
}

TEST_F(ToolPipelineReport, IsNotWrittenWhereAStepFails) {
  writeFile("job.json", R"({"steps": [
      {"operator": "Inversion", "inputVolume": "bars.rek", "outputVolume": "$a"},
      {"operator": "DiscreteDownsampling", "inputVolume": "$a", "inputDownsamplingFactor": "9x1x1", "outputVolume": "$b"}]})");
  EXPECT_EQ(run({"--report", "page.html"}).status, 1);
  EXPECT_FALSE(std::filesystem::exists("page.html"));
}

TEST_F(ToolPipelineReport, MustNotReplaceAFileOfTheJob) {
  for (const char* name : {"bars.rek", "objects.json"}) {
    const Outcome outcome = run({"--report", name});
    EXPECT_EQ(outcome.status, 2) << name;
    EXPECT_EQ(outcome.err, std::string("tavi: ") + name +
                               ": the report would replace a file of the job; name another with --report\n");
  }
  EXPECT_EQ(run({"--report", "job.record.json"}).status, 2);
  EXPECT_EQ(run({"--report", "no-such-folder/page.html"}).status, 1);
}

}  // namespace
}  // namespace NORV::HostTest
