// System calls that fail, and processes that die between two of them.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "task/DLPCacheTaskStore.h"
#include "tests/support/fault/EveryFault.h"
#include "tests/task/RemovalFixture.h"

namespace {

using fault::Nothing;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

// Every attempt runs in a child process, which has a registry and template caches of its own.
class DLPCacheTaskMgrFaultTest : public RemovalFixture {
  protected:
    using Step = fault::Step;

    // "T1" has a cache under an old MD5, and the remembered tasks "A" and "B" used it.
    void PrepareUsers() {
        for (char const* id : {"A", "B"}) {
            DLPCacheTaskStore const opened(MakeUser(id));
            WriteRecord(id, MakeUser(id));
        }
        old_md5_ = CurrentMd5().get_str();
        ASSERT_EQ(Open()->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
        Edit("T1");
    }
    void PruneAndExpectCache() const {
        Caches().UpdataCache();
        EXPECT_TRUE(HasCache(old_md5_));
    }

    // Each run in a child.
    void WithEveryFault(Step const& before, Step const& work, Step const& check) const {
        fault::ForEveryFault({EMFILE, EACCES, EIO, ENOMEM}, [&](fault::Fault const& fault) {
            return InChild([&] {
                before();
                bool const happened = fault::HappensIn(work, fault, root_.Path());
                check();
                return happened;
            });
        });
    }
    // Each check in a child.
    static void WithEveryKill(Step const& before, Step const& work, Step const& check) {
        fault::WithEveryKill(before, work, [&] { InChild([&] { return check(), true; }); });
    }

  private:
    // What `work` gives in a child; a failed expectation in it fails the test.
    static bool InChild(std::function<bool()> const& work) {
        pid_t const child = fork();
        if (child == 0) {
            bool const result = work();
            _exit(HasFailure() ? 2 : result ? 1 : 0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2);
        return WIFEXITED(status) && WEXITSTATUS(status) == 1;
    }

    std::string old_md5_;
};

TEST_F(DLPCacheTaskMgrFaultTest, NoFaultAtStartLosesATaskOrItsCache) {
    PrepareUsers();
    auto const before = Files(TaskPath("A"));
    WithEveryFault(
        Nothing, [] { (void)Registry(); },
        [&] {
            EXPECT_EQ(Files(TaskPath("A")), before);
            PruneAndExpectCache();
            EXPECT_TRUE(Registry().IsExistTask("A"));
            EXPECT_TRUE(Registry().IsExistTask("B"));
        });
}

TEST_F(DLPCacheTaskMgrFaultTest, NoFaultWhilePruningDeletesACacheInUse) {
    PrepareUsers();
    WithEveryFault([] { (void)Registry(), (void)Caches(); }, [] { Caches().UpdataCache(); },
                   [&] { PruneAndExpectCache(); });
}

TEST_F(DLPCacheTaskMgrFaultTest, NoFaultWhileRemovingDeletesACacheInUse) {
    PrepareUsers();
    fs::copy(TaskPath(), root_ / "kept", fs::copy_options::recursive);
    ScanTask const& task = MakeUser("A");
    WithEveryFault(
        [&] {
            fs::remove_all(TaskPath());
            fs::copy(root_ / "kept", root_ / "cache/task", fs::copy_options::recursive);
            (void)Registry(), (void)Caches();
        },
        [&] { Registry().DelTask(task); },
        [&] {
            PruneAndExpectCache();
            Registry().DelTask(task);
            EXPECT_FALSE(Exists(TaskPath("A")));
            EXPECT_FALSE(Registry().IsExistTask("A"));
            PruneAndExpectCache();
        });
}

TEST_F(DLPCacheTaskMgrFaultTest, NoFaultWhileAddingSpoilsATaskOrItsRecord) {
    ScanTask const earlier = MakeTask("A", 7);
    WithEveryFault([&] { WriteRecord("A", earlier), (void)Registry(); }, [] { Registry().AddTask(&MakeTask("A", 9)); },
                   [&] {
                       ScanTask const* const task = Registry().GetTask("A");
                       ASSERT_NE(task, nullptr);
                       EXPECT_EQ(task->id.get_str(), "A");
                       EXPECT_THAT(task->start_time, AnyOf(7, 9));
                       EXPECT_EQ(Record("A").start_time, 7);
                   });
}

TEST_F(DLPCacheTaskMgrFaultTest, NoFaultWhileChangingAStatusSpoilsTheRecord) {
    ScanTask const earlier = MakeTask("A", 7);
    WithEveryFault([&] { WriteRecord("A", earlier), (void)Registry(); },
                   [] { Registry().UpdateTaskStatus("A", kTaskEnded); },
                   [&] {
                       EXPECT_THAT(Record("A").status, AnyOf(int{kTaskRunning}, int{kTaskEnded}));
                       EXPECT_EQ(Registry().GetTask("A")->status, kTaskEnded);
                       EXPECT_THAT(Files(TaskPath("A")), ElementsAre("ScanTask.arc"));
                   });
}

TEST_F(DLPCacheTaskMgrFaultTest, KilledWhileRemovingItLeavesTheTaskRememberedOrGone) {
    ScanTask& task = MakeUser("A");
    WithEveryKill(
        [&] {
            DLPCacheTaskStore const opened(task);
            WriteRecord("A", task);
            WriteFile("A", "SnapCache", "");
            fs::create_directories(TaskPath("A", "texts"));
            WriteFile("A", "texts/text", "");
        },
        [&] { Registry().DelTask(task); },
        [&] {
            EXPECT_FALSE(Registry().IsExistTask(""));
            if (ScanTask const* const left = Registry().GetTask("A")) Registry().DelTask(*left);
            EXPECT_THAT(Files(TaskPath()), IsEmpty());
        });
}

TEST_F(DLPCacheTaskMgrFaultTest, KilledWhileAddingItLeavesTheTaskOrNothing) {
    WithEveryKill([&] { fs::remove_all(TaskPath()); }, [] { Registry().AddTask(&MakeTask("A", 7)); },
                  [&] {
                      EXPECT_FALSE(Registry().IsExistTask(""));
                      EXPECT_EQ(Exists(TaskPath("A")), Registry().IsExistTask("A"));
                  });
}

TEST_F(DLPCacheTaskMgrFaultTest, KilledWhileWritingARecordLeavesItWhole) {
    WithEveryKill([&] { WriteRecord("A", MakeTask("A", 7)); }, [] { Registry().UpdateTaskStatus("A", kTaskEnded); },
                  [&] {
                      EXPECT_EQ(Registry().GetTask("A")->start_time, 7);
                      EXPECT_THAT(Registry().GetTask("A")->status, AnyOf(int{kTaskRunning}, int{kTaskEnded}));
                  });
}

}  // namespace
