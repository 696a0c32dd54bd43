#include <Tool/OperatorCalls.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace NORV::HostTest {
namespace {

using Json = nlohmann::ordered_json;

class ToolAllOperators : public testing::Test {
protected:
  static void SetUpTestSuite() { ASSERT_EQ(makeInputs(), ""); }
};

/// The file that a call writes; empty for operators whose results are printed.
std::string resultOf(const OperatorCall& call) {
  for (const auto& [key, value] : call.values) {
    if (value.starts_with("o.")) {
      return value.substr(0, value.find(':'));
    }
  }
  return {};
}

TEST_F(ToolAllOperators, HaveACallHere) {
  std::set<std::string> called, known;
  for (const OperatorCall& call : operatorCalls()) {
    called.insert(call.op);
  }
  for (const Json& op : Json::parse(runQuietly({"list", "--json"}).out)) {
    known.insert(op["operator"].get<std::string>());
  }
  EXPECT_EQ(called, known);
}

TEST_F(ToolAllOperators, RunOnTheCommandLine) {
  for (const OperatorCall& call : operatorCalls()) {
    const std::string file = resultOf(call);
    ::unlink(file.c_str());
    std::vector<std::string> words{"run", call.op};
    for (const auto& [key, value] : call.values) {
      words.push_back(key + "=" + value);
    }
    const Outcome outcome = runQuietly(words);
    EXPECT_EQ(outcome.status, 0) << call.op << ": " << outcome.err;
    EXPECT_TRUE(file.empty() ? !outcome.out.empty() : !readFile(file).empty()) << call.op;
  }
}

TEST_F(ToolAllOperators, RunAsStepsOfAJob) {
  Json steps = Json::array();
  for (const OperatorCall& call : operatorCalls()) {
    Json step{{"operator", call.op}};
    for (const auto& [key, value] : call.values) {
      // Each step has files of its own.
      step[key] = value.starts_with("o.") ? call.op + "-" + value : value;
    }
    steps.push_back(step);
  }
  writeFile("all.json", Json{{"steps", steps}}.dump(1));
  const Outcome checked = runQuietly({"pipeline", "all.json", "--check"});
  EXPECT_EQ(checked.out, "all.json: 68 steps, ready to run\n") << checked.err;
  const Outcome outcome = runQuietly({"pipeline", "all.json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const Json record = Json::parse(readFile("all.record.json"));
  EXPECT_EQ(record["status"], "done");
  EXPECT_EQ(record["steps"].size(), operatorCalls().size());
}

}  // namespace
}  // namespace NORV::HostTest
