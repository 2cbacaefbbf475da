#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "tests/tools/torvane/ListFixture.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class ExportTool : public ReadRoot {};

std::vector<std::string> Lines(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace

TEST_F(ExportTool, WritesOneObjectALineOfEveryKind) {
    MakeSmallRoot();
    ToolResult const result = Run({"export"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(FollowsSchema(result.out, "jsonl")) << result.out;
    std::string kinds;
    for (std::string const& line : Lines(result.out))
        kinds += nlohmann::json::parse(line)["kind"].get<std::string>() + " ";
    EXPECT_EQ(kinds, "template answer answer task finding counter text ");
}

TEST_F(ExportTool, WritesCsvWithOneHead) {
    MakeSmallRoot();
    auto const lines = Lines(Run({"--format", "csv", "export", "tasks", "counters"}).out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], testing::StartsWith("kind,id,name,status,"));
    EXPECT_THAT(lines[1], testing::StartsWith("task,t1,nightly,running,"));
    EXPECT_THAT(lines[2], testing::StartsWith("counter,"));
}

TEST_F(ExportTool, CsvHasEveryMember) {
    MakeSmallRoot();
    for (char const* const what : {"templates", "answers", "tasks", "findings", "counters", "texts"}) {
        std::string const lines = Run({"--show-text", "export", what}).out;
        std::string const csv = Run({"--show-text", "--format", "csv", "export", what}).out;
        std::string const listed = Run({"--show-text", "--format", "csv", "ls", what}).out;
        auto const row = nlohmann::ordered_json::parse(Lines(lines).at(0));
        for (auto const& [member, value] : row.items()) {
            if (member == "schema" || member == "version") continue;
            EXPECT_THAT("," + Lines(csv).at(0) + ",", HasSubstr("," + member + ","));
            if (member == "kind") continue;
            EXPECT_THAT("," + Lines(listed).at(0) + ",", HasSubstr("," + member + ","));
        }
    }
}

TEST_F(ExportTool, TextsThatAreAskedForAreInEveryForm) {
    MakeSmallRoot();
    for (char const* const format : {"csv", "table"}) {
        EXPECT_THAT(Run({"--show-text", "--format", format, "ls", "texts"}).out, HasSubstr("a secret text"));
        EXPECT_THAT(Run({"--show-text", "--format", format, "ls", "findings"}).out, HasSubstr("a secret verdict"));
        EXPECT_THAT(Run({"--format", format, "ls", "texts"}).out, Not(HasSubstr("secret")));
        EXPECT_THAT(Run({"--format", format, "ls", "findings"}).out, Not(HasSubstr("secret")));
    }
    EXPECT_THAT(Run({"--show-text", "--format", "csv", "export"}).out, HasSubstr("a secret verdict"));
    EXPECT_THAT(Run({"--format", "csv", "export"}).out, Not(HasSubstr("secret")));
}

TEST_F(ExportTool, WritesWhatIsNamedTwiceOnce) {
    MakeSmallRoot();
    EXPECT_EQ(Lines(Run({"export", "tasks", "tasks"}).out).size(), 1U);
}

TEST_F(ExportTool, RefusesATable) {
    MakeSmallRoot();
    EXPECT_EQ(Run({"--format", "table", "export"}).status, 2);
    EXPECT_EQ(Run({"--format", "json", "export"}).status, 2);
}
