#include <Common.hpp>
#include <Pipeline.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace NORV::HostTest {
namespace {

using TaviTool::Json;
using TaviTool::StepReport;

std::vector<uint8> ramp() {
  std::vector<uint8> voxels(24);
  for (std::size_t i = 0; i < voxels.size(); ++i) {
    voxels[i] = static_cast<uint8>(10 * i);
  }
  return voxels;
}

/// Clamps to 50 ... 100 in one step, inverts the bits in the next.
constexpr const char* twoSteps = R"({
  "description": "clamp, then invert",
  "parameters": {"input": "in.rek", "low": 50},
  "steps": [
    {"operator": "Saturation", "name": "clamp", "inputVolume": "${input}", "inputLowerLimit": "${low}",
     "inputUpperLimit": 100, "outputVolume": "$clamped"},
    {"operator": "Inversion", "inputVolume": "$clamped", "outputVolume": ["$inverted", "out.rek", "out.vti"]}
  ]})";

std::vector<uint8> expectedOfTwoSteps() {
  std::vector<uint8> voxels = ramp();
  for (uint8& voxel : voxels) {
    voxel = static_cast<uint8>(~std::clamp<uint8>(voxel, 50, 100));
  }
  return voxels;
}

class ToolPipeline : public testing::Test {
protected:
  void SetUp() override {
    writeRek<uint8>("in.rek", 4, 3, 2, ramp());
    for (const char* name :
         {"out.rek", "out.vti", "out.partial.rek", "job.record.json", "zero.raw", "tiny.rek", "never.rek"}) {
      ::unlink(name);
    }
  }

  static Outcome runJob(const std::string& job, std::vector<std::string> more = {}) {
    writeFile("job.json", job);
    std::vector<std::string> words{"pipeline", "job.json"};
    words.insert(words.end(), more.begin(), more.end());
    return runQuietly(words);
  }

  static std::string step(const std::string& text) { return R"({"steps": [{"operator": )" + text + "}]}"; }
};
using ToolPipelineFailure = ToolPipeline;

TEST_F(ToolPipeline, PassesVolumesFromStepToStep) {
  const Outcome outcome = runJob(twoSteps);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(readRek<uint8>("out.rek"), expectedOfTwoSteps());
  EXPECT_EQ(runQuietly({"convert", "out.vti", "back.rek"}).status, 0);
  EXPECT_EQ(readRek<uint8>("back.rek"), expectedOfTwoSteps());
  EXPECT_NE(outcome.out.find(" 1 of 2  clamp "), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("  $inverted, out.rek, out.vti (uint8 4x3x2)\nrecord: job.record.json\n"),
            std::string::npos)
      << outcome.out;
}

TEST_F(ToolPipeline, TakesParametersFromTheCommandLine) {
  writeRek<uint8>("other.rek", 2, 1, 1, {1, 99});
  EXPECT_EQ(runJob(twoSteps, {"input=other.rek", "low=60"}).status, 0);
  EXPECT_EQ(readRek<uint8>("out.rek"), (std::vector<uint8>{static_cast<uint8>(~60), static_cast<uint8>(~99)}));
}

TEST_F(ToolPipeline, KnowsThePartsOfAFileName) {
  const Json parameters{{"input", "folder/scan.1.rek.gz"}, {"raw", "a/b.raw:4x3x2:uint8"}};
  EXPECT_EQ(TaviTool::substitute("${input.folder}/x-${input.stem}-${input.file}", parameters),
            "folder/x-scan.1-scan.1.rek.gz");
  EXPECT_EQ(TaviTool::substitute("${raw.stem}", parameters), "b");
}

TEST_F(ToolPipeline, PassesValuesObjectsAndMatrices) {
  std::vector<uint8> bar(9 * 9 * 9, 0);
  for (std::size_t i = 1; i < 8; ++i) {
    bar[i + 9 * i + 81 * 4] = 1;  // along the diagonal of a slice
  }
  writeRek<uint8>("bar.rek", 9, 9, 9, bar);
  const Outcome outcome = runJob(R"({"steps": [
      {"operator": "ExtremeValueCalculation", "inputVolume": "bar.rek", "outputMaximumValue": ["$most", "most.json"]},
      {"operator": "PrincipalComponentsAnalysis", "inputVolume": "bar.rek", "inputValue": "$most",
       "inputEnableAffineTransform": true, "outputAffineTransformMatrix": "$align", "outputEigenValues": "eigen.json"},
      {"operator": "StaticCast", "inputVolume": "bar.rek", "outputVolume": "$float:float32"},
      {"operator": "AffineTransform", "inputVolume": "$float", "inputMatrixVolume": "$align", "inputOuterValue": 0,
       "inputLinearInterpolation": false, "outputVolume": "aligned.rek"}]})");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(readFile("most.json"), "1\n");
  // Seven voxels at distances of sqrt(2): sums of squares along the axes, over six.
  const Json eigen = Json::parse(readFile("eigen.json"));
  EXPECT_NEAR(eigen[0].get<double>(), 56.0 / 6.0, 1e-9) << eigen;
  EXPECT_NEAR(eigen[1].get<double>(), 0.0, 1e-9);
  // Turned onto an axis of the volume, all that is left lies in one row.
  const auto aligned = readRek<float32>("aligned.rek");
  ASSERT_EQ(aligned.size(), bar.size());
  std::size_t first = 0;
  while (first < aligned.size() && aligned[first] == 0.0f) {
    ++first;
  }
  const std::size_t row = first / 9;
  for (std::size_t i = 0; i < aligned.size(); ++i) {
    EXPECT_TRUE(aligned[i] == 0.0f || i / 9 == row) << i;
  }
}

TEST_F(ToolPipeline, TakesNumbersListsAndMatricesAsJson) {
  writeRek<float32>("float.rek", 4, 4, 4, std::vector<float32>(64, 2.0f));
  const Outcome outcome = runJob(R"({"steps": [
      {"operator": "AffineTransform", "inputVolume": "float.rek", "inputOuterValue": 0.5,
       "inputMatrixVolume": [[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]], "outputVolume": "$same"},
      {"operator": "AffineTransform", "inputVolume": "$same", "inputOuterValue": 0.5,
       "inputMatrixVolume": [1, 0, 0, 2, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1], "outputVolume": "shifted.rek"},
      {"operator": "Binning", "inputVolume": "$same", "inputDownSamplingFactor": [2, 2, 4], "outputVolume": "small.rek"},
      {"operator": "VtiWriter", "inputVolume": "$same", "inputFilename": "same.vti", "inputSpacing": [0.5, 0.25, 2]},
      {"operator": "StaticCast", "inputVolume": "in.rek", "outputVolume": "$index:uint8"},
      {"operator": "AdaptiveMedian", "inputVolume": "$index", "inputIndexVolume": "zero.raw:4x3x2:uint8",
       "inputKernelVolume": ["box:1x1x1", "cross:3x3x3"], "outputVolume": "median.rek"}]})");
  EXPECT_NE(outcome.err.find("step 6 (AdaptiveMedian): inputIndexVolume=zero.raw: cannot be read"), std::string::npos);
  writeFile("zero.raw", std::string(24, '\0'));
  const Outcome again = runQuietly({"pipeline", "job.json"});
  ASSERT_EQ(again.status, 0) << again.err;
  EXPECT_EQ(readRek<float32>("small.rek"), (std::vector<float32>(4, 2.0f)));
  EXPECT_NE(readFile("same.vti").find("Spacing=\"0.5 0.25 2\""), std::string::npos);
  EXPECT_EQ(readRek<uint8>("median.rek"), ramp());
  const auto shifted = readRek<float32>("shifted.rek");
  ASSERT_EQ(shifted.size(), 64U);
  EXPECT_EQ(shifted[0], 1.0f);  // 0.5 is rounded, halves upwards
  EXPECT_EQ(shifted[3], 2.0f);
}

/// Notes which volumes are there when a step is done.
class Holder final : public TaviTool::StepObserver {
public:
  void stepDone(const StepReport& report) override {
    reports.push_back(report.title);
    for (const auto& [key, volume] : report.outputs) {
      extents.push_back(TaviTool::toText(volume->getDimension()));
    }
    inputs += report.inputs.size();
    seconds += report.seconds;
  }
  std::vector<std::string> reports, extents;
  std::size_t inputs = 0;
  double seconds = 0.0;
};

TEST_F(ToolPipeline, ObserversHearOfEachStepWithItsVolumes) {
  writeFile("job.json", twoSteps);
  TaviTool::Session session;
  session.quiet = true;
  TaviTool::Job job = TaviTool::readJob("job.json", {});
  TaviTool::checkJob(session, job);
  Holder holder;
  TaviTool::runJob(session, job, {&holder});
  EXPECT_EQ(holder.reports, (std::vector<std::string>{"clamp", "Inversion"}));
  EXPECT_EQ(holder.extents, (std::vector<std::string>{"4x3x2", "4x3x2"}));
  EXPECT_EQ(holder.inputs, 2U);
  EXPECT_GE(holder.seconds, 0.0);
}

TEST_F(ToolPipeline, DropsVolumesAfterTheirLastUse) {
  TaviTool::Session session;
  session.quiet = true;
  TaviTool::Workspace workspace(session);
  workspace.announce("$a");
  workspace.announce("$a");
  workspace.announce("in.rek");
  const auto volume = workspace.volumeOfFile("in.rek");
  EXPECT_EQ(workspace.volumeOfFile("in.rek").get(), volume.get());
  workspace.put("$a", Tavi::SmartPointer<Tavi::Persistence::IComposite>(volume));
  workspace.put("$b", Tavi::SmartPointer<Tavi::Persistence::IComposite>(volume));
  EXPECT_FALSE(workspace.holds("$b"));  // no use was announced
  workspace.release("$a");
  EXPECT_TRUE(workspace.holds("$a"));
  workspace.release("$a");
  EXPECT_FALSE(workspace.holds("$a"));
  workspace.release("in.rek");
  EXPECT_FALSE(workspace.holds("in.rek"));
}

TEST_F(ToolPipeline, ReadsAFileAgainThatItHasWritten) {
  const Outcome outcome = runJob(R"({"steps": [
      {"operator": "Inversion", "inputVolume": "in.rek", "outputVolume": "in.rek"},
      {"operator": "Saturation", "inputVolume": "in.rek", "inputLowerLimit": 0, "inputUpperLimit": 255,
       "outputVolume": "out.rek"}]})");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(readRek<uint8>("out.rek")[1], 245);
  const Json record = Json::parse(readFile("job.record.json"));
  // The checksum of the input is that of the file as it was.
  EXPECT_NE(record["inputs"][1]["sha256"], record["outputs"][0]["sha256"]);
  EXPECT_EQ(record["outputs"][0]["file"], "in.rek");
}

TEST_F(ToolPipeline, WritesARecordOfWhatRan) {
  ASSERT_EQ(runJob(twoSteps, {"low=60", "--record", "what.json"}).status, 0);
  const Json record = Json::parse(readFile("what.json"));
  EXPECT_EQ(record["program"], "tavi");
  EXPECT_EQ(record["status"], "done");
  EXPECT_EQ(record["parameters"], Json::parse(R"({"input": "in.rek", "low": "60"})"));
  EXPECT_EQ(record["arguments"][1], "pipeline");
  EXPECT_EQ(record["inputs"][0]["file"], "job.json");
  EXPECT_EQ(record["inputs"][1]["bytes"], 2048 + 24);
  EXPECT_EQ(record["outputs"].size(), 2U);
  ASSERT_EQ(record["steps"].size(), 2U);
  EXPECT_EQ(record["steps"][0]["name"], "clamp");
  EXPECT_EQ(record["steps"][0]["parameters"]["inputLowerLimit"], 60);
  EXPECT_EQ(record["steps"][1]["parameters"]["inputVolume"],
            Json::parse(R"({"from": "$clamped", "voxelType": "uint8", "dimension": [4, 3, 2]})"));
  EXPECT_EQ(record["steps"][1]["outputs"]["outputVolume"]["to"], Json::parse(R"(["$inverted", "out.rek", "out.vti"])"));
  EXPECT_GE(record["steps"][1]["seconds"], 0.0);
  EXPECT_FALSE(exists("job.record.json"));
}

TEST_F(ToolPipeline, TellsMachinesTheRecord) {
  const Outcome outcome = runJob(twoSteps, {"--json", "--no-record"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json told = Json::parse(outcome.out);
  EXPECT_EQ(told["steps"].size(), 2U);
  EXPECT_EQ(told["outputs"], Json::parse(R"([{"file": "out.rek"}, {"file": "out.vti"}])"));
  EXPECT_FALSE(exists("job.record.json"));
}

TEST_F(ToolPipeline, TheRecordOfRunIsTheSame) {
  ASSERT_EQ(
      runQuietly({"run", "Inversion", "inputVolume=in.rek", "outputVolume=out.rek", "--record", "run.json"}).status, 0);
  const Json record = Json::parse(readFile("run.json"));
  EXPECT_EQ(record["status"], "done");
  EXPECT_EQ(record["steps"][0]["operator"], "Inversion");
  EXPECT_EQ(record["inputs"][0]["file"], "in.rek");
  EXPECT_EQ(record["outputs"][0]["sha256"].get<std::string>().size(), 64U);
}

TEST_F(ToolPipeline, ProgressIsThatOfTheWholeJob) {
  TaviTool::JobProgress progress;
  progress.steps = 4;
  progress.beginStep(2);
  EXPECT_DOUBLE_EQ(progress.share(0.0), 0.0);
  EXPECT_DOUBLE_EQ(progress.share(1.0), 0.125);
  progress.runsDone = 1;
  EXPECT_DOUBLE_EQ(progress.share(0.5), 0.1875);
  progress.runsDone = 5;  // more than were told
  EXPECT_DOUBLE_EQ(progress.share(0.5), 0.25);
  progress.stepsDone = 3;
  EXPECT_DOUBLE_EQ(progress.share(1.0), 1.0);
  writeFile("job.json", twoSteps);
  const Outcome outcome = run({"pipeline", "job.json", "--progress"});
  EXPECT_NE(outcome.err.find("tavi: step 2 of 2: Inversion\n"), std::string::npos) << outcome.err;
}

TEST_F(ToolPipelineFailure, IsFoundBeforeTheFirstStep) {
  const std::string in = R"(, "inputVolume": "in.rek")", out = R"(, "outputVolume": "out.rek")";
  const auto complaint = [&](const std::string& job, int status) {
    const Outcome outcome = runJob(job);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(exists("out.rek"));
    EXPECT_FALSE(exists("job.record.json"));
    return outcome.err;
  };
  // Each job begins with a step that could run.
  const auto second = [&](const std::string& text) {
    return R"({"steps": [{"operator": "Inversion", "inputVolume": "in.rek", "outputVolume": ["$a", "out.rek"]},
                         {"operator": )" +
           text + "}]}";
  };
  const std::string begin = "tavi: job.json: step 2 ";
  EXPECT_EQ(complaint(second(R"("Inversoin")"), 2),
            "tavi: job.json: step 2: there is no operator \"Inversoin\"; the nearest name is Inversion, \"tavi list\" "
            "shows all\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolum": "$a")"), 2),
            "tavi: job.json: step 2: Inversion has no key \"inputVolum\"; the nearest is inputVolume, \"tavi describe "
            "Inversion\" shows all\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "outputVolume": "b.rek")"), 2),
            begin + "(Inversion): Inversion needs inputVolume=<file>: volume of integers to invert\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolume": "$b", "outputVolume": "$b")"), 2),
            begin + "(Inversion): inputVolume=$b: no earlier step makes it; the nearest is $a\n");
  EXPECT_EQ(complaint(second(R"("Round", "inputVolume": "$a", "outputVolume": "$b")"), 2),
            begin +
                "(Round): inputVolume is uint8, outputVolume is uint8; Round takes float32, float64 (the same for all "
                "volumes)\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolume": "none.rek", "outputVolume": "$b")"), 1),
            begin + "(Inversion): inputVolume=none.rek: cannot be read\n      No such file or directory\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolume": "$a", "outputVolume": "none/b.rek")"), 1),
            begin + "(Inversion): none/b.rek: cannot be written\n      none: No such file or directory\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolume": "$a", "outputVolume": "out.rek")"), 2),
            begin + "(Inversion): outputVolume=out.rek: step 1 writes to this file, too\n");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolume": "$a", "outputVolume": "$a")"), 2),
            begin + "(Inversion): outputVolume=$a: an earlier step has made it; take another name\n");
  EXPECT_EQ(complaint(second(R"("StaticCast", "inputVolume": "$a", "outputVolume": ["$b:float32", "b.png"])"), 2),
            begin +
                "(StaticCast): b.png: PngWriter writes no float32, only uint8, uint16; convert the voxels first, for "
                "instance with \"tavi run StaticCast\"\n");
  EXPECT_EQ(complaint(second(R"("Saturation", "inputVolume": "$a", "inputLowerLimit": 0, "inputUpperLimit": 300,
                                "outputVolume": "$b")"),
                      2),
            begin + "(Saturation): inputUpperLimit=300: expected a whole number from 0 to 255 (uint8)\n");
  writeFile("no.rek", "no volume");
  EXPECT_EQ(complaint(second(R"("Inversion", "inputVolume": "no.rek", "outputVolume": "$b")"), 1),
            begin +
                "(Inversion): NORV::TaviOperators::RekTypeReader::Operator file is smaller than the REK header\n"
                "      no.rek: 9 bytes, begins with 6E 6F 20 76 6F 6C 75 6D\n");
}

TEST_F(ToolPipelineFailure, TellsWhereTheFormIsWrong) {
  const auto complaint = [&](const std::string& job, std::vector<std::string> more = {}) {
    const Outcome outcome = runJob(job, std::move(more));
    EXPECT_EQ(outcome.status, 2) << outcome.err;
    return outcome.err;
  };
  EXPECT_EQ(complaint("{\"steps\": [}"),
            "tavi: job.json: parse error at line 1, column 12: syntax error while parsing value - unexpected '}'; "
            "expected '[', '{', or a literal\n");
  EXPECT_EQ(complaint("[]"), "tavi: job.json: a job is an object with a list of \"steps\"\n");
  EXPECT_EQ(complaint(R"({"steps": []})"), "tavi: job.json: a job is an object with a list of \"steps\"\n");
  EXPECT_EQ(complaint(R"({"steps": [1]})"), "tavi: job.json: step 1: is no object with an operator and its keys\n");
  EXPECT_EQ(complaint(R"({"steps": [{}]})"), "tavi: job.json: step 1: has no \"operator\"\n");
  EXPECT_EQ(complaint(R"({"step": [], "steps": [{"operator": "Inversion"}]})"),
            "tavi: job.json: a job has no \"step\"; the nearest is \"steps\"\n");
  EXPECT_EQ(complaint(step(R"("Inversion", "inputVolume": "a.rek", "inputVolume": "b.rek")")),
            "tavi: job.json: \"inputVolume\" is given twice in one object\n");
  EXPECT_EQ(complaint(step(R"("Inversion", "volume": "a.rek")")),
            "tavi: job.json: step 1: volume is short for inputVolume and for outputVolume; write which one is meant\n");
  EXPECT_EQ(complaint(step(R"("Inversion", "inputVolume": null)")),
            "tavi: job.json: step 1: inputVolume: null is no value for a volume\n");
  EXPECT_EQ(complaint(step(R"("Inversion", "inputVolume": "${scan}")")),
            "tavi: job.json: step 1: \"${scan}\": the job has no parameter \"scan\"\n");
  EXPECT_EQ(complaint(twoSteps, {"hight=3"}), "tavi: job.json has no parameter \"hight\"; the nearest is input\n");
  EXPECT_EQ(complaint(R"({"parameters": {"input": null}, "steps": [{"operator": "Inversion"}]})"),
            "tavi: job.json: the parameter input has no value; give it with input=<value>\n");
  EXPECT_EQ(complaint(step(R"("RekReader", "inputFilename": "$a", "outputVolume": "$b")")),
            "tavi: job.json: step 1 (RekReader): inputFilename=$a: expected the name of a file\n");
  EXPECT_EQ(complaint(step(R"("Inversion", "inputVolume": )" + std::string(100000, '[') + std::string(100000, ']'))),
            "tavi: job.json: is nested more than 16 levels deep\n");
  EXPECT_EQ(runQuietly({"pipeline", "."}).err, "tavi: .: cannot be read\n      Is a directory\n");
  EXPECT_EQ(runQuietly({"pipeline", "none.json"}).err,
            "tavi: none.json: cannot be read\n      No such file or directory\n");
  EXPECT_EQ(runQuietly({"pipeline"}).err,
            "tavi: which job? tavi pipeline <job.json>; --schema prints how one is written\n");
  EXPECT_EQ(complaint(twoSteps, {"--record", "in.rek"}),
            "tavi: in.rek: the record would replace a file that is used; name another with --record\n");
}

TEST_F(ToolPipeline, AnInterruptIsStatus130AndStandsInTheRecord) {
  writeFile("large.raw", "");
  std::filesystem::resize_file("large.raw", std::uintmax_t{1} << 28);  // sparse: long to read
  writeFile("job.json", R"({"steps": [
      {"operator": "Inversion", "inputVolume": "in.rek", "outputVolume": "out.rek"},
      {"operator": "Inversion", "inputVolume": "large.raw:1024x512x512:uint8", "outputVolume": "never.rek"}]})");
  Running tool({"pipeline", "job.json", "--progress"});
  ASSERT_TRUE(tool.waitForError("tavi: step 2 of 2: load large.raw\n"));
  tool.signal(SIGINT);
  const Outcome outcome = tool.finish();
  ::unlink("large.raw");
  EXPECT_EQ(outcome.status, 130);
  EXPECT_NE(outcome.err.find("tavi: interrupted ("), std::string::npos) << outcome.err;
  EXPECT_TRUE(outcome.err.ends_with("): out.rek is complete\n")) << outcome.err;
  EXPECT_FALSE(exists("never.rek"));
  EXPECT_FALSE(exists("never.partial.rek"));
  const Json record = Json::parse(readFile("job.record.json"));
  EXPECT_EQ(record["status"], "interrupted");
  EXPECT_EQ(record["steps"].size(), 1U);
}

TEST_F(ToolPipelineFailure, OfAStepIsNamedAndRecorded) {
  // Extents that the factor does not divide are known to the operator only.
  const Outcome outcome = runJob(R"({"steps": [
      {"operator": "Inversion", "inputVolume": "in.rek", "outputVolume": ["$a", "out.rek"]},
      {"operator": "Binning", "name": "shrink", "inputVolume": "$a", "inputDownSamplingFactor": [3, 1, 1],
       "outputVolume": "tiny.rek"}]})");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.err.starts_with("tavi: job.json: step 2 (shrink): ")) << outcome.err;
  EXPECT_FALSE(exists("tiny.rek"));
  const Json record = Json::parse(readFile("job.record.json"));
  EXPECT_EQ(record["status"], "failed");
  EXPECT_EQ(record["steps"].size(), 1U);
  EXPECT_TRUE(record["error"].get<std::string>().starts_with("job.json: step 2 (shrink): "));
}

}  // namespace
}  // namespace NORV::HostTest
