#include "examples/scanner/RecordedFile.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "examples/scanner/Troubles.h"

namespace scanner {
namespace {

using testing::HasSubstr;
using testing::Not;

RecordedFile Finding(std::string const& rebuilt, std::string const& recorded) {
    RecordedFile finding;
    finding.file.sn = 7;
    finding.file.file_path = "/d/a.txt";
    finding.file.file_attrs = {10, 20, 30, 40};
    finding.file.tpl_ids = {"words", "mails"};
    finding.file.tpl_names = {"Words", "Mails"};
    finding.file.tpl_md5s = {"M1", "M2"};
    finding.file.extra_1 = HString(recorded);
    finding.file.extra_2 = "3";
    finding.level = "Secret";
    finding.classes = "A|B";
    finding.verdict = rebuilt;
    finding.whole = true;
    return finding;
}

std::string Text(std::vector<RecordedFile> const& findings) {
    std::ostringstream out;
    FindingsPrinter printer(Format::kText, "job", out);
    for (RecordedFile const& finding : findings)
        printer.Print(finding);
    printer.End(0);
    return out.str();
}

std::string JsonOf(std::vector<RecordedFile> const& findings) {
    std::ostringstream out;
    FindingsPrinter printer(Format::kJson, "j\"ob", out);
    for (RecordedFile const& finding : findings)
        printer.Print(finding);
    printer.End(0);
    return out.str();
}

nlohmann::json Json(RecordedFile const& finding) {
    return nlohmann::json::parse(JsonOf({finding}));
}

TEST(RecordedFiles, AreShownWithWhatIsKnownOfThem) {
    EXPECT_EQ(Text({Finding("plan(1)\nx(2)\n", "plan(1)\nx(2)\n")}),
              "7  /d/a.txt\n"
              "    level: Secret, classes: A|B, templates: Words|Mails, times found: 3\n"
              "      plan(1)\n"
              "      x(2)\n");
}

TEST(RecordedFiles, ShowTheRecordedVerdictWhereItDiffers) {
    EXPECT_THAT(Text({Finding("", "plan(1)\n")}),
                HasSubstr("times found: 3\n    recorded at the time of the scan:\n      plan(1)\n"));
}

TEST(RecordedFiles, ShowNoControlCharacters) {
    RecordedFile finding = Finding("a\x1b(1)\n", "a\x1b(1)\n");
    finding.file.file_path = "/d/\x1b[2J";
    EXPECT_THAT(Text({finding}), Not(HasSubstr("\x1b")));
}

TEST(RecordedFiles, OfAScanWithoutFindingsAreASentence) {
    EXPECT_EQ(Text({}), "The scan found nothing.\n");
}

TEST(RecordedFiles, AsJsonHaveEverything) {
    nlohmann::json const json = Json(Finding("plan(1)\n", "x\n"));
    EXPECT_EQ(json.at("task"), "j\"ob");
    EXPECT_EQ(json.at("findings"), nlohmann::json::parse(R"([{"sn": 7, "path": "/d/a.txt", "md5": "", "length": 10,
        "created": 20, "modified": 30, "found": 40, "times_found": "3", "level": "Secret", "classes": "A|B",
        "templates": [{"id": "words", "name": "Words", "md5": "M1"}, {"id": "mails", "name": "Mails", "md5": "M2"}],
        "verdict": "plan(1)\n", "whole": true, "recorded_verdict": "x\n"}])"));
}

TEST(RecordedFiles, AsJsonNameNoTemplateWhenSomeAreUnknown) {
    RecordedFile finding = Finding("", "");
    finding.file.tpl_names = {"Mails"};
    finding.file.tpl_md5s = {"M2"};
    EXPECT_EQ(Json(finding).at("findings").at(0).at("templates"),
              nlohmann::json::parse(R"([{"id": "words"}, {"id": "mails"}])"));
}

TEST(RecordedFiles, AsJsonParseWhateverTheFileNames) {
    RecordedFile finding = Finding("\xfe\n", "\xfe\n");
    finding.file.file_path = HString(std::string("/\xff"));
    EXPECT_EQ(Json(finding).at("findings").at(0).at("path_hex"), "2fff");
}

TEST(RecordedFiles, AsJsonAreADocumentHoweverMany) {
    EXPECT_EQ(JsonOf({}), "{\n  \"task\": \"j\\\"ob\",\n  \"findings\": []\n}\n");
    std::string const two = JsonOf({Finding("a\n", "a\n"), Finding("b\n", "b\n")});
    EXPECT_EQ(two, nlohmann::ordered_json::parse(two).dump(2) + "\n");
    EXPECT_EQ(nlohmann::json::parse(two).at("findings").at(1).at("verdict"), "b\n");
}

TEST(RecordedFiles, ThatCannotBeReadAreNotNothing) {
    std::ostringstream out;
    FindingsPrinter(Format::kText, "job", out).End(1);
    EXPECT_EQ(out.str(), "");
}

TEST(SeveralTroubles, AreNamedUpToTwenty) {
    std::ostringstream out;
    Troubles troubles(out);
    std::string expected;
    for (int i = 1; i <= 22; ++i) {
        troubles.Add(std::to_string(i));
        if (i <= 20) expected += "scanner: " + std::to_string(i) + "\n";
    }
    troubles.End();
    EXPECT_EQ(out.str(), expected + "scanner: 2 more\n");
    EXPECT_EQ(troubles.count(), 22U);
}

}  // namespace
}  // namespace scanner
