// Tasks whose files were damaged, as a user meets them.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "tests/examples/scanner/ProgramTasks.h"

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr char kRecord[] = "root/cache/task/one/ScanTask.arc";
constexpr char kOtherRecord[] = "root/cache/task/two/ScanTask.arc";

constexpr int kIndexHead = 27;  // bytes
constexpr int kSlot = 57;

class DamagedTasks : public Tasks {};
class HostileTexts : public Tasks {};

TEST_F(DamagedTasks, FindingThatCannotBeReadIsToldAndTheOthersListed) {
    NotSound();
    (void)program_.Scan("--task one --jobs 1");
    {
        std::fstream data(program_.tree() / "root/cache/task/one/cache",
                          std::ios::in | std::ios::out | std::ios::binary);
        data.write("\xff\xff\xff\x7f", 4);  // the first record's length
    }
    Program::Run const run = Run("findings one");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "scanner: finding 1 cannot be read (code -18)\n");
    EXPECT_THAT(run.out, StartsWith("2  "));
}

TEST_F(DamagedTasks, FindingWhoseDataIsCutOffIsTold) {
    NotSound();
    (void)program_.Scan("--task one --jobs 1");
    std::filesystem::resize_file(program_.tree() / "root/cache/task/one/cache", 2);
    Program::Run const run = Run("findings one");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, StartsWith("scanner: finding 1 cannot be read (code -13)\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("level: ")));
}

TEST_F(DamagedTasks, FindingsWithoutTheirDefinitionsAreListed) {
    (void)program_.Scan("--task one --jobs 1");
    program_.tree().Write("root/cache/task/one/KeywordTemplate.arc", "damaged");
    json const findings = Findings("one");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].at("sn"), 1);
    EXPECT_EQ(findings[1].at("sn"), 2);
    EXPECT_FALSE(findings[0].at("templates").at(0).contains("name"));
    EXPECT_EQ(findings[0].at("path"), program_.tree() / "docs/mails.txt");
    EXPECT_EQ(findings[0].at("recorded_verdict"), "E-mail addresses: 5\n");
}

TEST_F(DamagedTasks, AreListedByTheNamesOfTheirDirectories) {
    for (char const* task : {"one", "two", "three"})
        (void)program_.Scan(std::string("--task ") + task);
    program_.tree().Write("root/cache/task/one/ScanTask.arc", "damaged");
    program_.tree().Write("root/cache/task/three/ScanTask.arc", "");
    EXPECT_THAT(Run("tasks").out,
                MatchesRegex("[^\n]*\ntwo    finished  [^\n]*\n"
                             "one    unreadable  -  +-  +-  +record in [^\n]*/root/cache/task/one/\n"
                             "three  unreadable  -  +-  +-  +record in [^\n]*/root/cache/task/three/\n"));
    json const one = History().at(1);
    EXPECT_EQ(one.at("task"), "one");
    EXPECT_EQ(one.at("status"), "unreadable");
    EXPECT_TRUE(one.at("started").is_null());
    EXPECT_TRUE(one.at("ended").is_null());
    EXPECT_EQ(one.at("directory"), program_.tree() / "root/cache/task/one/");
}

TEST_F(DamagedTasks, AreNeitherReadNorRepeatedButTellWhereTheyLie) {
    (void)program_.Scan("--task one");
    (void)program_.Scan("--task two");
    std::string const directory = program_.tree() / "root/cache/task/one/";
    for (std::string const& record : {std::string("damaged"), program_.tree().Read(kOtherRecord), std::string()}) {
        std::filesystem::remove(program_.tree() / kRecord);
        if (!record.empty()) program_.tree().Write(kRecord, record);
        Program::Run const run = Run("findings one");
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "scanner: there is a task \"one\", but its record in " + directory + " cannot be read\n");
        EXPECT_THAT(Run("scan --task one @DOCS").err,
                    HasSubstr("the record of the task one in " + directory + " cannot be read"));
    }
    EXPECT_EQ(Findings("two").size(), 2U);
}

TEST_F(DamagedTasks, AreRemovedWithAllThatTheyHold) {
    (void)program_.Scan("--task one");
    (void)program_.Scan("--task two");
    program_.tree().Write(kRecord, "damaged");
    EXPECT_EQ(Run("remove one").out,
              "Task removed: one\n"
              "Its record was damaged or missing; scanner prune deletes the answers that only it needed.\n");
    EXPECT_FALSE(Exists("cache/task/one"));
    EXPECT_EQ(History().size(), 1U);
    EXPECT_EQ(program_.Scan("--task one").at("task"), "one");
}

TEST_F(DamagedTasks, WithoutARecordAreRemovedLikewise) {
    (void)program_.Scan("--task one");
    std::filesystem::remove(program_.tree() / kRecord);
    EXPECT_EQ(History().at(0).at("status"), "unreadable");
    EXPECT_EQ(Run("remove one").status, 0);
    EXPECT_FALSE(Exists("cache/task/one"));
}

TEST_F(DamagedTasks, WithALinkASpecialFileOrADirectoryAsTheirRecordAreRemovedLikewise) {
    (void)program_.Scan("--task two");
    std::string const record = program_.tree() / kRecord;
    program_.tree().Write("away", "not the task's");
    std::function<void()> const places[] = {
        [&] { std::filesystem::create_symlink(program_.tree() / "away", record); },
        [&] { ASSERT_EQ(::mkfifo(record.c_str(), 0600), 0); },
        [&] { std::filesystem::create_directory(record); },
    };
    for (auto const& place : places) {
        (void)program_.Scan("--task one");
        std::filesystem::remove(record);
        place();
        EXPECT_EQ(History().at(1).at("status"), "unreadable");
        EXPECT_THAT(Run("findings one").err, HasSubstr("there is a task \"one\", but its record in "));
        EXPECT_EQ(Run("remove one").status, 0);
        EXPECT_FALSE(Exists("cache/task/one"));
    }
    EXPECT_EQ(program_.tree().Read("away"), "not the task's");
}

TEST_F(DamagedTasks, WhoseDirectoryWasMovedAreNotRemoved) {
    NotSound();
    (void)program_.Scan("--task one");
    std::filesystem::rename(program_.tree() / "root/cache/task/one", program_.tree() / "root/cache/task/three");
    Program::Run const run = Run("remove one");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "scanner: the record of the task \"one\" lies in " +
                           (program_.tree() / "root/cache/task/three/") + "; nothing was removed\n");
    EXPECT_TRUE(Exists("cache/task/three/index"));
}

TEST_F(DamagedTasks, WhoseDirectoryHoldsAnotherTasksRecordAreNotRemoved) {
    (void)program_.Scan("--task one");
    (void)program_.Scan("--task two");
    std::filesystem::rename(program_.tree() / "root/cache/task/one", program_.tree() / "root/cache/task/three");
    program_.tree().Write(kRecord, program_.tree().Read(kOtherRecord));
    EXPECT_THAT(Run("remove one").err, HasSubstr("lies in " + (program_.tree() / "root/cache/task/three/")));
    EXPECT_TRUE(Exists("cache/task/one/ScanTask.arc"));
}

TEST_F(DamagedTasks, AreToldOfWhenPruning) {
    for (char const* task : {"one", "two"})
        (void)program_.Scan(std::string("--task ") + task);
    EXPECT_EQ(Run("prune").err, "");
    program_.tree().Write(kRecord, "damaged");
    Program::Run const run = Run("prune");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "scanner: no task's own record is in " + (program_.tree() / "root/cache/task/one/") +
                           "; the answers that it used are not kept\n");
}

TEST_F(DamagedTasks, WhoseIndexIsMissingAreNotListedAsIfTheyFoundNothing) {
    (void)program_.Scan("--task one");
    std::filesystem::remove(program_.tree() / "root/cache/task/one/index");
    Program::Run const run = Run("findings one");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "scanner: the index of the findings is missing in " + (program_.tree() / "root/cache/task/one/") + "\n");
}

TEST_F(DamagedTasks, WithTheRecordOfAnotherAreNotRemoved) {
    (void)program_.Scan("--task one");
    (void)program_.Scan("--task two");
    program_.tree().Write(kRecord, program_.tree().Read(kOtherRecord));
    Program::Run const run = Run("remove one");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("its record in " + (program_.tree() / "root/cache/task/one/") + " cannot be read"));
    EXPECT_TRUE(Exists("cache/task/one/index"));
    EXPECT_EQ(Findings("two").size(), 2U);
}

TEST_F(DamagedTasks, BehindALinkAreNotRemoved) {
    NotSound();
    (void)program_.Scan("--task one");
    program_.tree().Write("away/ScanTask.arc", "damaged");
    std::filesystem::create_directory_symlink(program_.tree() / "away", program_.tree() / "root/cache/task/linked");
    EXPECT_EQ(Run("remove linked").status, 2);
    EXPECT_EQ(program_.tree().Read("away/ScanTask.arc"), "damaged");
}

// The file is a hole behind its two slots, as a broken copy would leave it.
TEST_F(DamagedTasks, WhoseIndexGrewAreListedToTheirLastFinding) {
    NotSound();
    (void)program_.Scan("--task one --jobs 1");
    std::filesystem::resize_file(program_.tree() / "root/cache/task/one/index", 1600000000);
    Program::Run const run = Run("findings one");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.out, AllOf(StartsWith("1  "), HasSubstr("\n2  ")));
    EXPECT_EQ(run.err, "scanner: findings 3 to 1002 are missing; the list ends here, the index goes on\n");
}

TEST_F(DamagedTasks, WithMissingFindingsTellWhichAndListTheOthers) {
    NotSound();
    for (char const* name : {"a", "b", "c"})
        program_.Document(name, kMails);
    (void)program_.Scan("--task one --jobs 1");
    std::fstream(program_.tree() / "root/cache/task/one/index", std::ios::in | std::ios::out | std::ios::binary)
        .seekp(kIndexHead + kSlot)
        .write(std::string(2 * kSlot, '\0').data(), 2 * kSlot);
    Program::Run const run = Run("findings one");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "scanner: findings 2 to 3 are missing\n");
    EXPECT_THAT(run.out, AllOf(StartsWith("1  "), HasSubstr("\n4  "), HasSubstr("\n5  ")));
}

TEST_F(HostileTexts, OfTheCommandLineCannotSteerATerminal) {
    std::string const id = "'\x1b[2J'";  // clears a screen
    (void)program_.Scan("--task " + id);
    EXPECT_EQ(Run("findings 1" + id).err, "scanner: there is no task \"1\\x1b[2J\"; see scanner tasks\n");
    EXPECT_EQ(Run("scan --policy other @DOCS --task " + id).err,
              "scanner: the task \\x1b[2J was a scan under another policy or other templates; give this scan another "
              "--task\n");
    EXPECT_EQ(Run("scan @DOCS/" + id).err,
              "scanner: " + (program_.tree() / "docs/") + "\\x1b[2J: No such file or directory\n");
}

TEST_F(HostileTexts, OfATemplatesFileCannotSteerATerminal) {
    program_.tree().Write("my.json", R"({"data_classes": [{"id": "\u001b[2J", "name": "C"},
        {"id": "\u001b[2J", "name": "C"}], "data_levels": [], "templates": []})");
    Program::Run const run = Run("scan --templates @ROOT/../my.json @DOCS");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, AllOf(HasSubstr("\\x1b[2J"), Not(HasSubstr("\x1b"))));
}

TEST_F(DamagedTasks, CommandsRefuseDamagedDefinitions) {
    NotSound();
    (void)program_.Scan("--task one");
    program_.tree().Write("root/config/KeywordTemplate.arc", "damaged");
    for (char const* command : {"tasks", "findings one", "remove one", "prune"}) {
        EXPECT_EQ(Run(command).status, 2) << command;
    }
    EXPECT_EQ(CachesOf("secrets").size(), 1U);
    EXPECT_TRUE(Exists("cache/task/one/ScanTask.arc"));
}

}  // namespace
