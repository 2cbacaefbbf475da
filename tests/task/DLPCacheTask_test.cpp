#include "task/DLPCacheTask.h"

#include <unistd.h>

#include <atomic>
#include <climits>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/task/StoreFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

// The writer without its thread: what it would do is done step by step.
class DLPCacheTaskTest : public StoreFixture {
  protected:
    void Write(int times) const {
        for (int i = 0; i < times; ++i)
            writer_->WriteFirst();
    }
    // Makes every write to the store fail, with -6, or lets them succeed again.
    void BreakStore() const { fs::create_directory(Dir() + "cache"); }
    void HealStore() const { fs::remove(Dir() + "cache"); }
    void Restart() { writer_ = OpenWriter(); }

    std::unique_ptr<DLPCacheTask> writer_ = OpenWriter();
};

TEST_F(DLPCacheTaskTest, QueuedFileIsFoundUnderItsQueueKey) {
    SensFile file = MakeFile("/a");
    file.sn = 99;
    ASSERT_EQ(writer_->Add(file), 1);
    FoundFile const found = FindIn(*writer_, 1);
    EXPECT_EQ(found.code, 2);
    EXPECT_EQ(found.file, Stored("/a", 1));
    EXPECT_EQ(CodeOf(*writer_, 99), 0);
    EXPECT_FALSE(Exists(Dir() + "cache"));
}

TEST_F(DLPCacheTaskTest, QueuedFileIsFoundWhateverTheDefinitionsKnow) {
    SensFile file = MakeFile("/a");
    file.tpl_ids = {"T9"};
    ASSERT_EQ(writer_->AddNumbered(file), 1);
    FoundFile const found = FindIn(*writer_, 1);
    EXPECT_EQ(found.code, 2);
    EXPECT_THAT(found.file.tpl_names, IsEmpty());
    Write(1);
    EXPECT_EQ(CodeOf(*writer_, 1), -13);
}

TEST_F(DLPCacheTaskTest, WrittenFileIsFoundInTheStore) {
    ASSERT_EQ(writer_->AddNumbered(MakeFile("/a")), 1);
    Write(1);
    EXPECT_TRUE(writer_->WaitWritten(0));
    EXPECT_EQ(FindIn(*writer_, 1).file, Stored("/a", 1));
    EXPECT_EQ(FindIn(*writer_->store(), 1).file, Stored("/a", 1));
}

TEST_F(DLPCacheTaskTest, AddDoesNotStamp) {
    for (char const* path : {"/a", "/b"}) {
        SensFile file = MakeFile(path);
        file.sn = 1;
        ASSERT_EQ(writer_->Add(file), 1);
    }
    EXPECT_EQ(FindIn(*writer_, 2).file, Stored("/b", 2));
    Write(2);
    // Both went under the number that they bore.
    EXPECT_EQ(FindIn(*writer_, 1).file, Stored("/b", 1));
    EXPECT_EQ(CodeOf(*writer_, 2), 0);
}

TEST_F(DLPCacheTaskTest, NumberedFilesGetTheNumbersInTurn) {
    SensFile const unchanged = MakeFile("/a");
    for (char const* path : {"/a", "/b", "/c"})
        ASSERT_EQ(writer_->AddNumbered(MakeFile(path)), 1);
    EXPECT_EQ(MakeFile("/a"), unchanged);
    Write(3);
    EXPECT_EQ(FindIn(*writer_, 1).file, Stored("/a", 1));
    EXPECT_EQ(FindIn(*writer_, 2).file, Stored("/b", 2));
    EXPECT_EQ(FindIn(*writer_, 3).file, Stored("/c", 3));
}

TEST_F(DLPCacheTaskTest, FirstNumberAfterARestartIsOneMoreThanTheRecords) {
    for (char const* path : {"/a", "/b"})
        ASSERT_EQ(writer_->AddNumbered(MakeFile(path)), 1);
    Write(2);
    Restart();
    ASSERT_EQ(writer_->AddNumbered(MakeFile("/c")), 1);
    EXPECT_EQ(FindIn(*writer_, 3).file, Stored("/c", 3));
    Write(1);
    EXPECT_EQ(FindIn(*writer_, 1).file, Stored("/a", 1));
    EXPECT_EQ(FindIn(*writer_, 3).file, Stored("/c", 3));
}

TEST_F(DLPCacheTaskTest, NumberOfWhatWasNotWrittenIsUsedAgainAfterARestart) {
    ASSERT_EQ(writer_->AddNumbered(MakeFile("/a")), 1);
    Write(1);
    ASSERT_EQ(writer_->AddNumbered(MakeFile("/lost")), 1);
    Restart();
    ASSERT_EQ(writer_->AddNumbered(MakeFile("/b")), 1);
    EXPECT_EQ(FindIn(*writer_, 2).file, Stored("/b", 2));
}

TEST_F(DLPCacheTaskTest, WriteThatKeepsFailingBlocksAllLaterFilesAndIsLoggedEachTime) {
    BreakStore();
    for (char const* path : {"/a", "/b"})
        ASSERT_EQ(writer_->AddNumbered(MakeFile(path)), 1);
    LogLines log;
    Write(3);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 asyn write cache failed, task id: task-1, sn: 1, ret: -6",
                                          "1 asyn write cache failed, task id: task-1, sn: 1, ret: -6",
                                          "1 asyn write cache failed, task id: task-1, sn: 1, ret: -6"));
    EXPECT_FALSE(writer_->WaitWritten(0));
    EXPECT_EQ(writer_->store()->GetIndexNumber(), 0);
    EXPECT_EQ(CodeOf(*writer_, 1), 2);
    EXPECT_EQ(CodeOf(*writer_, 2), 2);

    HealStore();
    Write(1);
    EXPECT_EQ(FindIn(*writer_->store(), 1).file, Stored("/a", 1));
    EXPECT_FALSE(writer_->WaitWritten(0));
    Write(1);
    EXPECT_EQ(FindIn(*writer_->store(), 2).file, Stored("/b", 2));
    EXPECT_TRUE(writer_->WaitWritten(0));
    EXPECT_THAT(TakeOwn(log), IsEmpty());
}

TEST_F(DLPCacheTaskTest, LogNamesTheQueueKeyAndTheFilesTask) {
    SensFile file = MakeFile("/a");
    file.task_id = "other";
    file.sn = -5;  // no key of a store
    LogLines log;
    ASSERT_EQ(writer_->Add(file), 1);
    EXPECT_THAT(TakeOwn(log), ElementsAre("3 add task cache, task id: other, SN:1, sens file: /a"));
    Write(1);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 asyn write cache failed, task id: other, sn: 1, ret: -16"));
}

TEST_F(DLPCacheTaskTest, WhatNoStoreCouldTakeIsRefusedAtOnceAndUsesNoNumber) {
    SensFile incomplete = MakeFile("/a");
    incomplete.file_md5.clear();
    SensFile too_long = MakeFile("/a");
    too_long.extra_1 = std::string(32768, 'x');
    LogLines log;
    EXPECT_EQ(writer_->AddNumbered(incomplete), -15);
    EXPECT_EQ(writer_->AddNumbered(too_long), -17);
    EXPECT_THAT(TakeOwn(log),
                ElementsAre("1 AddNumbered, Line:424, ASSERT_FALSE", "1 AddNumbered, Line:424, ASSERT_FALSE"));
    EXPECT_TRUE(writer_->WaitWritten(0));
    ASSERT_EQ(writer_->AddNumbered(MakeFile("/b")), 1);
    EXPECT_EQ(FindIn(*writer_, 1).file, Stored("/b", 1));
}

TEST_F(DLPCacheTaskTest, AddTakesWhatTheStoreThenRefuses) {
    SensFile file = MakeFile("/a");
    file.tpl_ids.clear();
    file.sn = 1;
    EXPECT_EQ(writer_->Add(file), 1);
    LogLines log;
    Write(1);
    EXPECT_EQ(TakeOwn(log).back(), "1 asyn write cache failed, task id: task-1, sn: 1, ret: -15");
}

TEST_F(DLPCacheTaskTest, NumbersEndWhereTheKeysEnd) {
    NotSound();
    constexpr std::uintmax_t kSlots = INT_MAX;
    std::error_code error;
    fs::resize_file(Dir() + "index", 27 + 57 * (kSlots - 1), error);
    if (error) GTEST_SKIP() << "no sparse file of this size here";
    Restart();
    EXPECT_EQ(writer_->AddNumbered(MakeFile("/last")), 1);
    EXPECT_EQ(FindIn(*writer_, INT_MAX).file, Stored("/last", INT_MAX));
    LogLines log;
    EXPECT_EQ(writer_->AddNumbered(MakeFile("/more")), -16);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 AddNumbered, Line:427, ASSERT_FALSE"));
    Write(1);
    EXPECT_EQ(FindIn(*writer_->store(), INT_MAX).file, Stored("/last", INT_MAX));
    fs::resize_file(Dir() + "index", 27 + 57 * (kSlots + 5));
    Restart();
    EXPECT_EQ(writer_->AddNumbered(MakeFile("/more")), -16);
}

TEST_F(DLPCacheTaskTest, WithoutAStoreNothingIsEverWritten) {
    task_.id.clear();
    Restart();
    ASSERT_EQ(writer_->Add(MakeFile("/a")), 1);
    LogLines log;
    EXPECT_EQ(writer_->AddNumbered(MakeFile("/b")), -2);
    Write(1);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 AddNumbered, Line:421, ASSERT_NULL", "1 Add, Line:252, ASSERT_NULL",
                                          "1 asyn write cache failed, task id: task-1, sn: 1, ret: -2"));
    EXPECT_EQ(CodeOf(*writer_, 1), 2);
    EXPECT_EQ(CodeOf(*writer_, 2), -2);
    EXPECT_FALSE(writer_->WaitWritten(1));
}

TEST_F(DLPCacheTaskTest, TextWithAZeroIsRefusedSinceItWouldNotComeBack) {
    std::string const zero("a\0b", 3);
    for (HString SensFile::*const text :
         {&SensFile::file_path, &SensFile::file_md5, &SensFile::extra_1, &SensFile::extra_2}) {
        SensFile file = MakeFile("/a");
        file.*text = HString(zero);
        EXPECT_EQ(writer_->AddNumbered(file), -17);
    }
    SensFile file = MakeFile("/a");
    file.tpl_ids.push_back(HString(zero));
    EXPECT_EQ(writer_->AddNumbered(file), -17);
    EXPECT_TRUE(writer_->WaitWritten(0));
}

TEST_F(DLPCacheTaskTest, NullTaskIsATaskWithoutId) {
    DLPCacheTask writer(nullptr);
    EXPECT_EQ(CodeOf(writer, 1), -2);
}

TEST_F(DLPCacheTaskTest, WritingAnEmptyQueueDoesNothing) {
    LogLines log;
    Write(1);
    EXPECT_TRUE(writer_->WaitWritten(0));
    EXPECT_TRUE(writer_->WaitWritten(-1));
    EXPECT_THAT(log.Take(), IsEmpty());
}

// Whether a thread of this process waits for something.
bool Sleeps(int id) {
    std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
    std::string const status{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return status.find(") S ") != std::string::npos;
}

TEST_F(DLPCacheTaskTest, WaiterIsWokenByTheLastWrite) {
    for (char const* path : {"/a", "/b"})
        ASSERT_EQ(writer_->AddNumbered(MakeFile(path)), 1);
    EXPECT_FALSE(writer_->WaitWritten(0));
    EXPECT_FALSE(writer_->WaitWritten(-1));
    bool written = false;
    std::atomic<int> id{0};
    std::atomic<bool> done{false};
    std::thread waiter([&] {
        id = ::gettid();
        written = writer_->WaitWritten(INT_MAX);
        done = true;
    });
    while ((id == 0 || !Sleeps(id)) && !done)
        std::this_thread::yield();
    EXPECT_FALSE(done) << "it did not wait";
    Write(2);
    waiter.join();
    EXPECT_TRUE(written);
}

}  // namespace
