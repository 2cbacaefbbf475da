// Scans that are refused: they leave everything as it was.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>

#include "host/policy/ScanTask.h"
#include "tests/examples/scanner/ProgramTasks.h"

namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kOther[] = "the task one was a scan under another policy or other templates";
constexpr char kNoPlace[] = "the task cannot be recorded in ";

class RefusedScans : public Tasks {
  protected:
    // What scans leave for later ones but for the answers: definitions, policies, tasks, counts.
    [[nodiscard]] std::map<std::string, std::string> Remembered() const {
        std::map<std::string, std::string> files;
        for (char const* directory : {"root/config", "root/cache/task", "root/cache/sensrecord"}) {
            for (auto const& entry : std::filesystem::recursive_directory_iterator(program_.tree() / directory)) {
                std::string const path = entry.path();
                std::string const name = path.substr(program_.tree().Path().size() + 1);
                files[name] = entry.is_regular_file() ? program_.tree().Read(name) : "";
            }
        }
        return files;
    }
    // The scan is refused for this reason and changes nothing of that.
    void ExpectRefused(std::string const& arguments, std::string const& reason) const {
        auto const before = Remembered();
        Program::Run const run = Run("scan " + arguments + " @DOCS");
        EXPECT_EQ(run.status, 2);
        EXPECT_THAT(run.err, HasSubstr(reason));
        EXPECT_TRUE(Remembered() == before);
    }
    // As a signal would have left it.
    void Interrupt(std::string const& task) const {
        HString const path(program_.tree() / ("root/cache/task/" + task + "/ScanTask.arc"));
        ScanTask record;
        ASSERT_EQ(record.from_file(path), 0);
        record.status = kTaskRunning;
        ASSERT_EQ(record.to_file(path), 0);
    }
};

TEST_F(RefusedScans, WithOtherTemplatesLeaveThePolicyAndTheTaskAsTheyAre) {
    (void)program_.Scan("--task one");
    ExpectRefused("--task one " + Fewer(), kOther);
    EXPECT_EQ(program_.Scan("--task one").at("sensitive").at(0).at("found_times"), 2);
}

TEST_F(RefusedScans, LeaveInterruptedTasksToBeRepeated) {
    for (char const* task : {"one", "two"})
        (void)program_.Scan(std::string("--task ") + task);
    Interrupt("one");
    EXPECT_EQ(Run("scan --task two " + Fewer() + " @DOCS").status, 2);
    EXPECT_THAT(Run("tasks").out, HasSubstr("one   interrupted  "));
    (void)program_.Scan(Fewer());  // the policy does change
    EXPECT_THAT(Run("tasks").out, ContainsRegex("\none +finished  "));
}

TEST_F(RefusedScans, OfAMissingPathKeepTheRulesThatAreInForce) {
    (void)program_.Scan("--no-task");
    std::set<std::string> const caches = CachesOf("secrets");
    EXPECT_EQ(Run("scan " + Edited() + " @DOCS/missing").status, 2);
    EXPECT_EQ(Run("prune").out, "Template caches removed: 0 of 5\n");
    EXPECT_EQ(CachesOf("secrets"), caches);
}

TEST_F(RefusedScans, OfAMissingPathAreNotRemembered) {
    (void)program_.Scan("--no-task");
    for (char const* paths : {"@DOCS/missing", "@DOCS @DOCS/missing"}) {
        Program::Run const run = Run(std::string("scan ") + paths);
        EXPECT_EQ(run.status, 2) << paths;
        EXPECT_EQ(run.err, "scanner: " + (program_.tree() / "docs/missing") + ": No such file or directory\n");
    }
    EXPECT_THAT(History(), IsEmpty());
}

TEST_F(RefusedScans, OfAMissingPathMakeNoRoot) {
    EXPECT_EQ(program_.Execute("scan --root @ROOT/new @DOCS/missing").status, 2);
    EXPECT_FALSE(Exists("new"));
}

TEST_F(RefusedScans, UnderAnIdThatNoFileCanHaveLeaveThePoliciesAsTheyAre) {
    (void)program_.Scan("--task one");
    ExpectRefused("--task " + std::string(300, 'x') + " " + Fewer(), kNoPlace);
}

TEST_F(RefusedScans, OfATaskWhoseDirectoryWasMovedLeaveThePoliciesAsTheyAre) {
    NotSound();
    (void)program_.Scan("--task one");
    std::filesystem::rename(program_.tree() / "root/cache/task/one", program_.tree() / "root/cache/task/three");
    ExpectRefused("--task one --policy other " + Fewer(), kOther);
}

TEST_F(RefusedScans, OfATaskOfWhichOnlyACopyIsLeftLeaveThePoliciesAsTheyAre) {
    NotSound();
    (void)program_.Scan("--task one");
    std::filesystem::copy(program_.tree() / "root/cache/task/one", program_.tree() / "root/cache/task/one.bak",
                          std::filesystem::copy_options::recursive);
    EXPECT_EQ(Run("remove one").status, 0);
    ExpectRefused("--task one --policy other", kOther);
}

TEST_F(RefusedScans, OfATaskWithACopyUnderAnotherPolicyLeaveThePoliciesAsTheyAre) {
    NotSound();
    (void)program_.Scan("--task one.bak");
    (void)program_.Scan("--task one --policy other");
    HString const copy(program_.tree() / "root/cache/task/one.bak/ScanTask.arc");
    ScanTask record;
    ASSERT_EQ(record.from_file(copy), 0);
    record.id = "one";
    ASSERT_EQ(record.to_file(copy), 0);
    ExpectRefused("--task one --policy other", kOther);
}

TEST_F(RefusedScans, OfATaskWhoseDirectoryIsALinkLeaveThePoliciesAsTheyAre) {
    NotSound();
    (void)program_.Scan("--task two");
    std::filesystem::create_directory(program_.tree() / "away");
    std::filesystem::create_directory_symlink(program_.tree() / "away", program_.tree() / "root/cache/task/one");
    ExpectRefused("--task one " + Fewer(), kNoPlace);
}

TEST_F(RefusedScans, WhereALinkStandsForTheTasksLeaveThePoliciesAsTheyAre) {
    NotSound();
    (void)program_.Scan("--task two");
    std::filesystem::rename(program_.tree() / "root/cache/task", program_.tree() / "away");
    std::filesystem::create_directory_symlink(program_.tree() / "away", program_.tree() / "root/cache/task");
    ExpectRefused("--task one " + Fewer(), kNoPlace);
}

TEST_F(RefusedScans, OfATaskThatLostItsRecordLeaveItsFindingsAsTheyAre) {
    NotSound();
    (void)program_.Scan("--task one");
    std::filesystem::remove(program_.tree() / "root/cache/task/one/ScanTask.arc");
    ExpectRefused("--task one " + Fewer(),
                  "the record of the task one in " + (program_.tree() / "root/cache/task/one/") + " cannot be read");
}

TEST_F(RefusedScans, WhereDefinitionsCannotBeWrittenKeepThoseThatAreThere) {
    NotSound();
    (void)program_.Scan("--no-task");
    std::filesystem::remove(program_.tree() / "root/config/KeywordDataLevel.arc");
    program_.tree().Write("root/config/KeywordDataLevel.arc/in the way", "");
    std::string const rules = program_.tree().Read("root/config/KeywordFormatItem.arc");
    Program::Run const run = Run("scan --no-task " + Edited() + " @DOCS");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("root/config/KeywordDataLevel.arc is no file"));
    EXPECT_EQ(program_.tree().Read("root/config/KeywordFormatItem.arc"), rules);
}

TEST_F(RefusedScans, UnderAPolicyIdThatNoFileCanHaveAreNotRemembered) {
    (void)program_.Scan("--no-task");
    EXPECT_EQ(Run("scan --policy " + std::string(256, 'x') + " @DOCS").status, 2);
    EXPECT_THAT(History(), IsEmpty());
    EXPECT_FALSE(Exists("config/PolicySensitiveFileAudit.arc"));
}

TEST_F(RefusedScans, AreNoneForTasksOfAnotherCacheLayout) {
    (void)program_.Scan("--task one");
    program_.tree().Write("root/cache/Version.ini", "[DLP]\ncache=3\n");
    EXPECT_EQ(Run("scan --task one --policy other @DOCS").status, 1);
    EXPECT_EQ(History().size(), 1U);
}

// Reading a directory sets the time of its last access when that lies before the last change.
TEST_F(RefusedScans, DoNotWaitForTheListOfFiles) {
    std::string const docs = program_.tree() / "docs";
    auto const access_time = [&] {
        struct stat status {};
        EXPECT_EQ(::stat(docs.c_str(), &status), 0);
        return status.st_atim.tv_sec;
    };
    timespec const long_ago[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, docs.c_str(), long_ago, 0), 0);
    (void)program_.Scan("--task one");
    if (access_time() == 1000) GTEST_SKIP() << "this file system keeps no access times";
    ASSERT_EQ(::utimensat(AT_FDCWD, docs.c_str(), long_ago, 0), 0);
    EXPECT_EQ(Run("scan --task one " + Fewer() + " @DOCS").status, 2);
    EXPECT_EQ(access_time(), 1000);
}

}  // namespace
