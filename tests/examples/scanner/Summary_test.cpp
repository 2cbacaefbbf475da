#include "examples/scanner/Summary.h"

#include "examples/scanner/JsonText.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "examples/scanner/Digest.h"

namespace scanner {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

FileOutcome Read(std::string verdict) {
    return {.read = true, .sensitive = !verdict.empty(), .verdict = std::move(verdict), .trouble = ""};
}

Summary SummaryOf(std::vector<std::string> const& files, std::vector<FileOutcome> const& outcomes) {
    Summary summary(0);
    Summarize(files, outcomes, summary);
    return summary;
}

TEST(Summaries, DigestPathsAndVerdicts) {
    Digest digest(Digest::Kind::kSha256);
    std::string const hashed("/a\0/b\0x\n\0", 9);
    std::string const order = std::string("/a\0\0", 4) + std::string("/b\0x\n\0", 6);
    EXPECT_EQ(SummaryOf({"/a", "/b"}, {Read(""), Read("x\n")}).digest, digest.Of(order));
    EXPECT_NE(SummaryOf({"/a", "/b"}, {Read(""), Read("x\n")}).digest, digest.Of(hashed));
}

TEST(Summaries, LeaveUnreadFilesOutOfTheDigest) {
    EXPECT_EQ(SummaryOf({"/a", "/b"}, {Read("x\n"), FileOutcome()}).digest, SummaryOf({"/a"}, {Read("x\n")}).digest);
}

TEST(Summaries, CountInHowManyFilesAVerdictLineOccurs) {
    Summary const summary = SummaryOf({"/a", "/b", "/c"}, {Read("x\nx\n"), Read("y\nx\n"), Read("z\n")});
    EXPECT_THAT(summary.top_verdicts, ElementsAre(Pair("x", 2), Pair("y", 1), Pair("z", 1)));
}

TEST(Summaries, KeepTheFiveMostFrequentLines) {
    Summary const summary = SummaryOf({"/a", "/b"}, {Read("a\nb\nc\nd\ne\nf\n"), Read("f\n")});
    EXPECT_EQ(summary.top_verdicts.size(), 5U);
    EXPECT_EQ(summary.top_verdicts.front().first, "f");
}

TEST(Summaries, AsJsonParseWhateverTheFileNames) {
    std::ostringstream out;
    PrintJson(SummaryOf({"/\xff\n\"x"}, {Read("\xfe(1)\n")}), out);
    auto const json = nlohmann::json::parse(out.str());
    EXPECT_EQ(json.at("sensitive").at(0).at("path"), "/\xef\xbf\xbd\n\"x");
    EXPECT_EQ(json.at("sensitive").at(0).at("path_hex"), "2fff0a2278");
}

TEST(Summaries, AsTextShowNoControlCharacters) {
    std::ostringstream out;
    PrintText(SummaryOf({"/a\x1b[2J"}, {Read("x\ty\n")}), true, false, out);
    EXPECT_THAT(out.str(), HasSubstr("/a\\x1b[2J\n    x\\x09y\n"));
    EXPECT_THAT(out.str(), Not(HasSubstr("\x1b")));
}

TEST(Summaries, AsTextListFilesOnlyWhenAsked) {
    std::ostringstream out;
    PrintText(SummaryOf({"/a"}, {Read("x\n")}), false, false, out);
    EXPECT_THAT(out.str(), Not(HasSubstr("/a")));
}

TEST(Summaries, TellHowOftenAFileWasFoundWhereThatIsCounted) {
    FileOutcome twice = Read("x\n");
    twice.found_times = 2;
    Summary const summary = SummaryOf({"/a", "/b"}, {twice, Read("x\n")});
    std::ostringstream text;
    PrintText(summary, true, false, text);
    EXPECT_THAT(text.str(), HasSubstr("/a\n    x\n    times found: 2\n/b\n    x\n\n"));
    std::ostringstream out;
    PrintJson(summary, out);
    auto const sensitive = nlohmann::json::parse(out.str()).at("sensitive");
    EXPECT_EQ(sensitive.at(0).at("found_times"), 2);
    EXPECT_FALSE(sensitive.at(1).contains("found_times"));
}

TEST(Summaries, NameTheTaskWhenThereIsOne) {
    Summary summary = SummaryOf({}, {});
    std::ostringstream without;
    PrintText(summary, false, false, without);
    EXPECT_THAT(without.str(), Not(HasSubstr("task")));
    summary.task = "monday";
    std::ostringstream with;
    PrintText(summary, false, false, with);
    EXPECT_THAT(with.str(), HasSubstr("  task                    monday\n"));
}

TEST(PrintableTexts, HaveNoControlCharacters) {
    EXPECT_EQ(Printable("a\x1b[2J\n\x7f z"), "a\\x1b[2J\\x0a\\x7f z");
    EXPECT_EQ(Printable("\xc2\x80 \xc2\x9b\xc2\x9f"), "\\xc2\\x80 \\xc2\\x9b\\xc2\\x9f");
}

TEST(PrintableTexts, KeepEveryOtherByte) {
    EXPECT_EQ(Printable("\xc2\xa0 \xc3\x9b \xc2"), "\xc2\xa0 \xc3\x9b \xc2");
}

TEST(JsonTexts, HaveNoControlCharacters) {
    nlohmann::ordered_json const json{"\x1b \x7f \xc2\x80 \xc2\x9b \xc2\xa0 \xc3\x9b"};
    EXPECT_EQ(JsonText(json), "[\n  \"\\u001b \\u007f \\u0080 \\u009b \xc2\xa0 \xc3\x9b\"\n]");
    EXPECT_EQ(nlohmann::ordered_json::parse(JsonText(json)), json);
}

TEST(WidthOf, CountsCodePoints) {
    EXPECT_EQ(WidthOf(""), 0U);
    EXPECT_EQ(WidthOf("plain"), 5U);
    EXPECT_EQ(WidthOf("\xc3\xa4\xe2\x82\xac\xf0\x9f\x99\x82"), 3U);  // of two, three and four bytes
}

}  // namespace
}  // namespace scanner
