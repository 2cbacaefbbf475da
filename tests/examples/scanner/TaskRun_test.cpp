#include "examples/scanner/TaskRun.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <stdexcept>

#include "examples/scanner/Registry.h"
#include "host/policy/KwLocateMgr.h"
#include "tests/examples/scanner/PolicyRoot.h"
#include "tests/examples/scanner/PutPolicy.h"

namespace scanner {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::ThrowsMessage;
using namespace std::chrono_literals;

class TaskRuns : public testing::Test {
  protected:
    static QVKPolicySensitiveFileAuditNode Daily() { return PutPolicyInForce("daily", {"names", "words"}); }

    // The task as a later process would read it.
    static ScanTask Record(HString const& id) {
        ScanTask task;
        EXPECT_EQ(task.from_file(KwLocateMgr::pins()->get_task_arc(id)), 0);
        return task;
    }
    static void Find(HString const& task_id) {
        SensFile file;
        file.file_path = "/d/a.txt";
        file.file_md5 = "900150983cd24fb0d6963f7d28e17f72";
        file.tpl_ids = {"words"};
        ASSERT_EQ(TaskRegistry().GetCache(task_id)->AddNumbered(file), 1);
    }

    PolicyRoot root_;
    TempTree const& tree_ = root_.tree();
    Policy policy_ = PolicyRoot::InForce("plan");
};

TEST_F(TaskRuns, AreRunningFromTheBeginning) {
    TaskRun const run("job", "/srv", Daily(), 60s);
    ScanTask const task = Record("job");
    EXPECT_EQ(task.id, "job");
    EXPECT_EQ(task.name, "/srv");
    EXPECT_EQ(task.status, 2);
    EXPECT_EQ(task.kind(), 0);
    EXPECT_EQ(task.audit_node().header().id, "daily");
    EXPECT_THAT(task.audit_node().tpl_ids, testing::ElementsAre(HString("names"), HString("words")));
}

TEST_F(TaskRuns, AreOverWhenTheyAreFinished) {
    TaskRun run("job", "/srv", Daily(), 60s);
    Find("job");
    run.Finish();
    EXPECT_TRUE(TaskRegistry().WaitWritten("job", 0));
    EXPECT_EQ(Record("job").status, 3);
    EXPECT_GE(Record("job").end_time, Record("job").start_time);
}

TEST_F(TaskRuns, ThatEndOtherwiseHaveTheirFindingsButStayOpen) {
    {
        TaskRun const run("job", "/srv", Daily(), 60s);
        Find("job");
    }
    EXPECT_TRUE(TaskRegistry().WaitWritten("job", 0));
    EXPECT_EQ(Record("job").status, 2);
}

TEST_F(TaskRuns, MayBeRepeatedUnderTheSamePolicy) {
    TaskRun("job", "/srv", Daily(), 60s).Finish();
    TaskRun again("job", "/other", Daily(), 60s);
    EXPECT_EQ(Record("job").status, 2);
    EXPECT_EQ(Record("job").name, "/srv");
    again.Finish();
    EXPECT_EQ(Record("job").status, 3);
}

TEST_F(TaskRuns, AreNotRepeatedWithOtherTemplatesOrUnderAnotherPolicy) {
    TaskRun("job", "/srv", Daily(), 60s).Finish();
    for (auto const& policy : {PutPolicyInForce("weekly", {"names", "words"}), PutPolicyInForce("daily", {"names"})}) {
        EXPECT_THROW(TaskRun("job", "/srv", policy, 60s), std::runtime_error);
    }
    EXPECT_EQ(Record("job").status, 3);
}

TEST_F(TaskRuns, ThatCannotBeRecordedAreAnError) {
    EXPECT_THAT([] { TaskRun(HString(std::string(300, 'x')), "/srv", Daily(), 60s); },
                ThrowsMessage<std::runtime_error>(HasSubstr("the task cannot be recorded in ")));
    tree_.Write("root/cache/task/taken", "a file in the way");
    EXPECT_THROW(TaskRun("taken", "/srv", Daily(), 60s), std::runtime_error);
}

TEST_F(TaskRuns, AreNotRepeatedWithARecordThatCannotBeRead) {
    for (char const* id : {"one", "other"})
        TaskRun(id, "/srv", Daily(), 60s).Finish();
    std::string const directory = tree_ / "root/cache/task/job/";
    for (std::string const& record : {std::string("damaged"), tree_.Read("root/cache/task/other/ScanTask.arc")}) {
        tree_.Write("root/cache/task/job/ScanTask.arc", record);
        EXPECT_THAT([] { TaskRun("job", "/srv", Daily(), 60s); },
                    ThrowsMessage<std::runtime_error>(
                        HasSubstr("the record of the task job in " + directory + " cannot be read")));
    }
}

TEST_F(TaskRuns, WhoseFindingsCannotBeWrittenFailLoudlyAndStayOpen) {
    NotSound();
    TaskRun run("job", "/srv", Daily(), 1ms);
    std::filesystem::create_directory(tree_ / "root/cache/task/job/cache");  // where the findings' file should be
    Find("job");
    EXPECT_THAT([&] { run.Finish(); },
                ThrowsMessage<std::runtime_error>(HasSubstr("findings of the task job are not written after 1 ms")));
    EXPECT_EQ(Record("job").status, 2);
}

TEST_F(TaskRuns, WhoseEndCannotBeRecordedFailLoudly) {
    TaskRun run("job", "/srv", Daily(), 60s);
    std::filesystem::remove(tree_ / "root/cache/task/job/ScanTask.arc");
    tree_.Write("root/cache/task/job/ScanTask.arc/in the way", "");
    EXPECT_THAT([&] { run.Finish(); }, ThrowsMessage<std::runtime_error>(HasSubstr("the task cannot be recorded in ")));
}

TEST_F(TaskRuns, WhosePolicyIsAnotherAtTheEndFailLoudly) {
    TaskRun run("job", "/srv", Daily(), 60s);
    *TaskRegistry().GetTask("job")->policy->audit_node = PutPolicyInForce("weekly", {"names"});
    EXPECT_THAT([&] { run.Finish(); }, ThrowsMessage<std::runtime_error>(HasSubstr("the task cannot be recorded in ")));
}

TEST_F(TaskRuns, GetFreshIdsOfTimeAndProcess) {
    EXPECT_THAT(FreshTaskId().get_str(), MatchesRegex("scan-[0-9]{14}-[0-9]+"));
}

TEST_F(TaskRuns, GetFreshIdsThatNoTaskHas) {
    constexpr std::time_t kNow = 1700000000;
    std::string const id = FreshTaskId(kNow).get_str();
    tree_.Write("root/cache/task/" + id + "/ScanTask.arc", "damaged, but there");
    EXPECT_EQ(FreshTaskId(kNow), HString(id + "-2"));
    TaskRun const run(HString(id + "-2"), "/srv", Daily(), 60s);
    EXPECT_EQ(FreshTaskId(kNow), HString(id + "-3"));
    tree_.Write("root/cache/task/" + id + "-3/index", "without a record");
    EXPECT_EQ(FreshTaskId(kNow), HString(id + "-4"));
}

}  // namespace
}  // namespace scanner
