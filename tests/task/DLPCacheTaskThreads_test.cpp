#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>

#include "tests/support/OnAllThreads.h"
#include "tests/task/OpenedTaskFixture.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 40;

class DLPCacheTaskThreadsTest : public OpenedTaskFixture {
  protected:
    static std::string PathOf(int thread, int round) {
        return "/" + std::to_string(thread) + "/" + std::to_string(round);
    }
    // The paths under the numbers 1 to `count`, sorted.
    [[nodiscard]] std::vector<std::string> PathsFound(int count) const {
        std::vector<std::string> paths;
        for (int sn = 1; sn <= count; ++sn) {
            FoundFile const found = FindIn(*registry_->GetCache("task-1"), sn);
            EXPECT_EQ(found.code, 2) << sn;
            EXPECT_EQ(found.file, Stored(found.file.file_path.get_str(), sn));
            paths.push_back(found.file.file_path.get_str());
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }
    static std::vector<std::string> AllPaths() {
        std::vector<std::string> paths;
        for (int thread = 0; thread < kThreads; ++thread) {
            for (int round = 0; round < kRounds; ++round)
                paths.push_back(PathOf(thread, round));
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    std::array<ScanTask, kThreads> own_tasks_;
};

TEST_F(DLPCacheTaskThreadsTest, AllGetTheSameWriter) {
    auto const seen = AskOnAllThreads(kThreads, [this] { return registry_->GetCache("task-1"); });
    EXPECT_NE(seen[0], nullptr);
    EXPECT_THAT(seen, testing::Each(seen[0]));
}

TEST_F(DLPCacheTaskThreadsTest, AllFilesGetTheNumbersFromOneOnAndAreFoundByThemAlsoAfterARestart) {
    OnAllThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round)
            EXPECT_EQ(registry_->GetCache("task-1")->AddNumbered(MakeFile(PathOf(thread, round))), 1);
    });
    EXPECT_EQ(PathsFound(kThreads * kRounds), AllPaths());  // in the queue or in the store
    Restart();
    EXPECT_EQ(PathsFound(kThreads * kRounds), AllPaths());
    EXPECT_EQ(CodeOf(*registry_->GetCache("task-1"), kThreads * kRounds + 1), 0);
}

TEST_F(DLPCacheTaskThreadsTest, FilesAreVisibleFromTheMomentTheyAreQueued) {
    std::atomic<int> missed{0};
    OnAllThreads(kThreads, [&](int thread) {
        ScanTask& task = own_tasks_[static_cast<std::size_t>(thread)];
        HString const id = HString("own-") << thread;
        task = MakeTask(id.get_str(), {"T1", "T2"});
        registry_->AddTask(&task);
        DLPCacheTask* const writer = registry_->GetCache(id);
        for (int sn = 1; sn <= kRounds; ++sn) {
            EXPECT_EQ(writer->AddNumbered(MakeFile(PathOf(thread, sn))), 1);
            for (int earlier = 1; earlier <= sn; ++earlier) {
                FoundFile const found = FindIn(*writer, earlier);
                if (found.code != 2 || found.file.file_path != HString(PathOf(thread, earlier))) ++missed;
            }
        }
        EXPECT_TRUE(registry_->WaitWritten(id, kLong));
        registry_->UpdateTaskStatus(id, kTaskFinished);
    });
    EXPECT_EQ(missed, 0);
}

TEST_F(DLPCacheTaskThreadsTest, AllUseEverythingAtOnce) {
    OnAllThreads(kThreads, [&](int thread) {
        SensFile file;
        for (int round = 0; round < kRounds; ++round) {
            (void)registry_->GetCache("task-1")->AddNumbered(MakeFile(PathOf(thread, round)));
            (void)registry_->FindTaskSensFileBySN("task-1", round, file);
            QVKKeywordMatchResult result;
            registry_->GetSensFileResult(Stored("/a", 1), result);
            EXPECT_NE(registry_->GetTaskTplMd5("task-1", "T1"), HString());
            (void)registry_->WaitAllWritten(1);
        }
    });
    EXPECT_TRUE(registry_->WaitAllWritten(kLong));
    EXPECT_EQ(PathsFound(kThreads * kRounds), AllPaths());
}

// A process that ends while its writers write.
TEST_F(DLPCacheTaskThreadsTest, ExitWithFullQueuesIsCleanAndLosesOnlyTheirEnd) {
    pid_t const child = fork();
    if (child == 0) {
        DLPCacheTask* const writer = registry_->GetCache("task-1");
        for (int i = 1; writer && i <= 3000; ++i)
            (void)writer->AddNumbered(MakeFile(PathOf(0, i)));
        // In the midst of its writing.
        while (writer && writer->store()->GetIndexNumber() == 0)
            (void)writer->WaitWritten(1);
        std::exit(writer ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    int const written = registry_->GetCache("task-1")->store()->GetIndexNumber();
    EXPECT_GT(written, 0);
    for (int sn = 1; sn <= written; ++sn)
        EXPECT_EQ(FindIn(*registry_->GetCache("task-1"), sn).file, Stored(PathOf(0, sn), sn));
    Record(MakeFile("/next"));
    EXPECT_EQ(FindIn(*registry_->GetCache("task-1"), written + 1).file, Stored("/next", written + 1));
}

}  // namespace
