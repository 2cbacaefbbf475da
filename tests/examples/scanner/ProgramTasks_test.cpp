// Scans as tasks, and the commands about them, as a user runs them.
#include <gmock/gmock.h>

#include <filesystem>
#include <set>

#include "tests/examples/scanner/ProgramTasks.h"

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

TEST_F(Tasks, ScanIsATaskWithANameOfItsOwn) {
    json const summary = program_.Scan();
    EXPECT_THAT(summary.at("task").get<std::string>(), MatchesRegex("scan-[0-9]+-[0-9]+"));
    EXPECT_EQ(summary.at("policy"), "default");
    ASSERT_EQ(History().size(), 1U);
    EXPECT_EQ(History()[0].at("task"), summary.at("task"));
    EXPECT_EQ(Findings(summary.at("task")).size(), 2U);
}

TEST_F(Tasks, ScanWithoutATaskLeavesNoTrace) {
    for (char const* option : {"--no-task", "--no-cache"}) {
        json const summary = program_.Scan(option);
        EXPECT_TRUE(summary.at("task").is_null()) << option;
        EXPECT_FALSE(summary.at("sensitive").at(0).contains("found_times")) << option;
    }
    EXPECT_THAT(History(), IsEmpty());
    EXPECT_FALSE(Exists("config/PolicySensitiveFileAudit.arc"));
    EXPECT_FALSE(Exists("cache/sensrecord"));
}

TEST_F(Tasks, OptionsThatContradictEachOtherAreAnError) {
    for (char const* options :
         {"--no-cache --task a", "--no-task --task a", "--no-cache --policy p", "--task ''", "--policy ''"}) {
        EXPECT_EQ(Run(std::string("scan ") + options + " @DOCS").status, 2) << options;
    }
}

TEST_F(Tasks, HistoryIsListedNewestFirstWithStatusAndTimes) {
    (void)program_.Scan("--task one --policy nightly");
    (void)program_.Scan("--task two");
    json const history = History();
    ASSERT_EQ(history.size(), 2U);
    EXPECT_GE(history[0].at("started"), history[1].at("started"));
    json const one = history[history[0].at("task") == "one" ? 0 : 1];
    EXPECT_EQ(one.at("status"), "finished");
    EXPECT_EQ(one.at("policy"), "nightly");
    EXPECT_EQ(one.at("name"), program_.tree() / "docs");
    EXPECT_GE(one.at("ended"), one.at("started"));
    EXPECT_GT(one.at("started"), 1600000000);
}

TEST_F(Tasks, HistoryAsTextIsATable) {
    (void)program_.Scan("--task one");
    EXPECT_THAT(Run("tasks").out,
                MatchesRegex("TASK  STATUS    STARTED \\(UTC\\)        ENDED \\(UTC\\)          POLICY   SCANNED\n"
                             "one   finished  [-0-9]{10} [:0-9]{8}  [-0-9]{10} [:0-9]{8}  default  [^\n]*/docs\n"));
}

TEST_F(Tasks, HistoryAsTextIsATableAlsoWithTextsBeyondAscii) {
    (void)program_.Scan("--task Täglich");
    EXPECT_THAT(Run("tasks").out, MatchesRegex("TASK     STATUS    [^\n]*  SCANNED\nTäglich  finished  [^\n]*/docs\n"));
}

TEST_F(Tasks, HistoryWithoutTasksSaysSo) {
    (void)program_.Scan("--no-task");
    EXPECT_EQ(Run("tasks").out, "No scan is remembered.\n");
}

TEST_F(Tasks, FindingsAreThoseOfTheScanEachOnce) {
    json const summary = program_.Scan("--task one --jobs 4");
    json const findings = Findings("one");
    EXPECT_EQ(findings.size(), 2U);
    EXPECT_EQ(PathsAndVerdicts(findings), PathsAndVerdicts(summary.at("sensitive")));
    for (std::size_t i = 0; i < findings.size(); ++i) {
        EXPECT_EQ(findings[i].at("sn"), i + 1);
        EXPECT_TRUE(findings[i].at("whole"));
        EXPECT_EQ(findings[i].at("recorded_verdict"), findings[i].at("verdict"));
        EXPECT_EQ(findings[i].at("times_found"), "1");
    }
}

TEST_F(Tasks, FindingsTellLevelClassesAndTemplates) {
    (void)program_.Scan("--task one");
    for (json const& finding : Findings("one")) {
        if (finding.at("path") != program_.tree() / "docs/mails.txt") continue;
        EXPECT_EQ(finding.at("level"), "Confidential");
        EXPECT_EQ(finding.at("classes"), "Personal data");
        EXPECT_EQ(finding.at("templates").at(0).at("id"), "personal-data");
        EXPECT_EQ(finding.at("templates").at(0).at("name"), "Personal data");
        EXPECT_EQ(finding.at("length"), 69);
        return;
    }
    FAIL() << "the file is not listed";
}

TEST_F(Tasks, FindingsAsTextShowPathAndVerdict) {
    (void)program_.Scan("--task one --jobs 1");
    EXPECT_THAT(Run("findings one").out,
                StartsWith("1  " + (program_.tree() / "docs/mails.txt") +
                           "\n    level: Confidential, classes: Personal data, templates: Personal data, times found: 1"
                           "\n      E-mail addresses: 5\n2  "));
}

TEST_F(Tasks, FindingsOfAnsweredFilesAreThoseOfScannedOnes) {
    (void)program_.Scan("--task one");
    EXPECT_EQ(program_.Scan("--task two").at("summary").at("answers_scanned"), 0);
    EXPECT_EQ(PathsAndVerdicts(Findings("two")), PathsAndVerdicts(Findings("one")));
}

TEST_F(Tasks, FindingsKeepTheVerdictsOfTheirTimeWhenARuleIsEdited) {
    (void)program_.Scan("--task one");
    std::string const before = Run("findings one").out;
    json const edited = program_.Scan("--task two " + Edited());
    EXPECT_EQ(Run("findings one").out, before);
    EXPECT_EQ(PathsAndVerdicts(Findings("two")), PathsAndVerdicts(edited.at("sensitive")));
    EXPECT_NE(PathsAndVerdicts(Findings("two")), PathsAndVerdicts(Findings("one")));
}

TEST_F(Tasks, FindingsWhoseAnswersAreGoneShowTheRecordedVerdict) {
    (void)program_.Scan("--task one --jobs 1");
    std::filesystem::remove_all(program_.tree() / "root/cache/template/personal-data");
    json const findings = Findings("one");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_FALSE(findings[0].at("whole"));
    EXPECT_EQ(findings[0].at("verdict"), "");
    EXPECT_EQ(findings[0].at("recorded_verdict"), "E-mail addresses: 5\n");
    EXPECT_THAT(Run("findings one").out, HasSubstr("recorded at the time of the scan:\n      E-mail addresses: 5\n"));
}

TEST_F(Tasks, ListingATaskThatFoundNothingGivesItNoDefinitions) {
    Program const program;
    (void)program.Scan("--task one");
    Program::Run const run = program.Execute("findings --root @ROOT one");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "The scan found nothing.\n");
    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(program.tree() / "root/cache/task/one"))
        names.insert(entry.path().filename());
    EXPECT_THAT(names, ElementsAre("ScanTask.arc"));
}

TEST_F(Tasks, ScanGoesOnAfterAFindingWhoseVerdictIsTooLongToRecord) {
    json templates = json::parse(R"({"data_classes": [{"id": "c", "name": "C"}],
        "data_levels": [{"id": "l", "name": "L", "level": 1}], "templates": []})");
    for (std::string const id : {"one", "two"}) {  // together more than a record's text may have, 32767
        templates["templates"].push_back({{"id", id},
                                          {"name", id},
                                          {"data_class", "c"},
                                          {"data_level", "l"},
                                          {"rules",
                                           {{{"id", id},
                                             {"name", id},
                                             {"type", "keyword"},
                                             {"text", id},
                                             {"description", std::string(20000, 'x')}}}}});
    }
    program_.tree().Write("long.json", templates.dump());
    program_.Document("a.txt", "one two");
    program_.Document("b.txt", "one");
    std::string const scan = "scan --task long --format json --templates " + (program_.tree() / "long.json") + " @DOCS";
    Program::Run const run = Run(scan);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "scanner: " + (program_.tree() / "docs/a.txt") + ": found, but the task cannot record it (code -17)\n");
    EXPECT_EQ(run.Json().at("summary").at("unrecorded"), 1);
    EXPECT_EQ(run.Json().at("summary").at("sensitive_files"), 2);
    EXPECT_EQ(Findings("long").size(), 1U);
    EXPECT_EQ(Run(scan).Json().at("summary").at("answers_scanned"), 0);
}

TEST_F(Tasks, ScanWithUnstorableAnswersRecordsEachSensitiveFileOnce) {
    Program const program(2);
    for (int i = 0; i < 8; ++i)
        program.Document(std::to_string(i), std::to_string(i) + " " + kMails);
    json const summary = program.Scan("--task one");
    EXPECT_GT(summary.at("summary").at("answers_unstorable"), 0);
    json const findings = program.Execute("findings --root @ROOT --format json one").Json().at("findings");
    std::set<std::string> recorded;
    for (json const& finding : findings)
        recorded.insert(finding.at("path").get<std::string>() + "\n" +
                        finding.at("recorded_verdict").get<std::string>());
    EXPECT_EQ(findings.size(), 8U);
    EXPECT_EQ(recorded, PathsAndVerdicts(summary.at("sensitive")));
}

TEST_F(Tasks, TimesFoundGoOnUntilThePolicyChanges) {
    auto const times = [](json const& summary) { return summary.at("sensitive").at(0).at("found_times"); };
    EXPECT_EQ(times(program_.Scan()), 1);
    EXPECT_EQ(times(program_.Scan()), 2);
    EXPECT_EQ(times(program_.Scan(Edited())), 3);          // the same templates
    EXPECT_EQ(times(program_.Scan("--policy other")), 1);  // another policy's count
    EXPECT_EQ(times(program_.Scan(Fewer())), 1);
}

TEST_F(Tasks, RepeatedTaskTakesKeptTextsWhenARuleWasEdited) {
    (void)program_.Scan("--task one");
    EXPECT_TRUE(Exists("cache/task/one/text"));
    json const again = program_.Scan("--task one " + Edited());
    EXPECT_EQ(again.at("summary").at("texts_kept"), 1);
    EXPECT_EQ(again.at("digest"), program_.Scan("--no-cache " + Edited()).at("digest"));
    EXPECT_EQ(Findings("one").size(), 4U);
    EXPECT_EQ(History().size(), 1U);
}

TEST_F(Tasks, TaskIsNotRepeatedWithOtherTemplates) {
    (void)program_.Scan("--task one");
    Program::Run const run = Run("scan --task one " + Fewer() + " @DOCS");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err,
              "scanner: the task one was a scan under another policy or other templates; give this scan "
              "another --task\n");
}

TEST_F(Tasks, HostileTaskAndPolicyIdsStayBelowTheRoot) {
    json const summary = program_.Scan("--task ../../x --policy ../../../y");
    EXPECT_EQ(summary.at("task"), "../../x");
    EXPECT_EQ(Findings("../../x").size(), 2U);
    EXPECT_EQ(Run("remove ../../x").status, 0);
    EXPECT_THAT(History(), IsEmpty());
    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(program_.tree().Path()))
        names.insert(entry.path().filename());
    EXPECT_THAT(names, UnorderedElementsAre("docs", "root", "out", "err"));
}

TEST_F(Tasks, PruningKeepsWhatARememberedTaskUsedAndRemovalTakesItAway) {
    (void)program_.Scan("--task one");
    std::set<std::string> const old = CachesOf("secrets");
    ASSERT_EQ(old.size(), 1U);
    (void)program_.Scan("--task two " + Edited());
    EXPECT_EQ(Run("prune").out, "Template caches removed: 0 of 6\n");
    EXPECT_TRUE(CachesOf("secrets").contains(*old.begin()));
    EXPECT_EQ(Run("remove one").out, "Task removed: one\nTemplate caches removed, that only it needed: 1\n");
    EXPECT_EQ(CachesOf("secrets").size(), 1U);
    EXPECT_FALSE(CachesOf("secrets").contains(*old.begin()));
    EXPECT_FALSE(Exists("cache/task/one"));
    EXPECT_EQ(Findings("two").size(), 2U);
    EXPECT_EQ(program_.Scan("--no-task " + Edited()).at("summary").at("full_hits"), 3);
}

TEST_F(Tasks, RemovalCountsNoTemplateCacheThatHoldsNothing) {
    (void)program_.Scan("--task one");
    std::filesystem::create_directories(program_.tree() / "root/cache/template/secrets/empty");
    EXPECT_EQ(Run("remove one").out, "Task removed: one\nTemplate caches removed, that only it needed: 0\n");
}

TEST_F(Tasks, PruningDeletesWhatNoTaskUsed) {
    (void)program_.Scan("--no-task");
    (void)program_.Scan("--no-task " + Edited());
    EXPECT_EQ(CachesOf("secrets").size(), 2U);
    EXPECT_EQ(Run("prune").out, "Template caches removed: 1 of 6\n");
    EXPECT_EQ(CachesOf("secrets").size(), 1U);
    EXPECT_EQ(Run("prune").out, "Template caches removed: 0 of 5\n");
}

TEST_F(Tasks, UnknownTaskIsAnError) {
    (void)program_.Scan("--task one");
    for (char const* command : {"findings", "remove"}) {
        Program::Run const run = Run(std::string(command) + " other");
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "scanner: there is no task \"other\"; see scanner tasks\n");
    }
    EXPECT_EQ(Run("remove one").status, 0);
    EXPECT_EQ(Run("findings one").status, 2);
    EXPECT_EQ(Run("findings").status, 2);
}

TEST_F(Tasks, CommandsNeedAnEarlierScanAndMakeNoRoot) {
    for (char const* command : {"tasks", "findings one", "remove one", "prune"}) {
        Program::Run const run = program_.Execute(std::string(command) + " --root @ROOT/new");
        EXPECT_EQ(run.status, 2) << command;
        EXPECT_THAT(run.err, HasSubstr("nothing was scanned below ")) << command;
    }
    EXPECT_FALSE(Exists("new"));
}

TEST_F(Tasks, CommandsTellWhenTheirOutputCannotBeWritten) {
    (void)program_.Scan("--task one");
    for (char const* command : {"tasks", "findings one", "prune", "remove one"}) {
        Program::Run const run = Run(command + std::string(" >/dev/full"));
        EXPECT_EQ(run.status, 2) << command;
        EXPECT_THAT(run.err, HasSubstr(" cannot be written\n")) << command;
    }
}

TEST_F(Tasks, CommandsHaveHelp) {
    for (char const* command : {"scan", "tasks", "findings", "remove", "prune"}) {
        Program::Run const run = program_.Execute(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0);
        EXPECT_THAT(run.out, HasSubstr("--root")) << command;
    }
    EXPECT_THAT(program_.Execute("scan --help").out, HasSubstr("such a scan is no task"));
}

}  // namespace
