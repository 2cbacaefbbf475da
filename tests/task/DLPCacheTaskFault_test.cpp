// System calls that fail, and processes that die between two of them.
#include <cerrno>
#include <filesystem>

#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskDefinitions.h"
#include "tests/support/fault/EveryFault.h"
#include "tests/task/OpenedTaskFixture.h"

namespace {

using fault::Nothing;
using fault::WithEveryKill;
using testing::AnyOf;
using testing::Lt;
namespace fs = std::filesystem;

class DLPCacheTaskFaultTest : public StoreFixture {
  protected:
    void WithEveryFault(fault::Step const& before, fault::Step const& work, fault::Step const& check) {
        fault::WithEveryFault(root_.Path(), {EMFILE, EIO, ENOSPC, ENOMEM}, before, work, check);
    }
    // What every state must allow: the task opens, takes a file and gives it back.
    void ExpectUsable() {
        auto const writer = OpenWriter();
        int const next = writer->store()->GetIndexNumber() + 1;
        ASSERT_EQ(writer->AddNumbered(MakeFile("/next")), 1);
        writer->WriteFirst();
        EXPECT_TRUE(writer->WaitWritten(0));
        EXPECT_EQ(FindIn(*writer->store(), next).file, Stored("/next", next));
    }
    void RemoveTask() const { fs::remove_all(root_ / "cache/task"); }
};

TEST_F(DLPCacheTaskFaultTest, NoFaultWhileOpeningSpoilsTheTask) {
    WithEveryFault([this] { RemoveTask(); }, [this] { (void)OpenWriter(); }, [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTaskFaultTest, NoFaultWhileOpeningTouchesWhatIsThere) {
    ExpectUsable();
    auto const files = Files(Dir());
    HString const md5 = CurrentMd5("T1");
    ChangeT1();
    WithEveryFault(
        Nothing, [this] { (void)OpenWriter(); },
        [&] {
            EXPECT_EQ(Files(Dir()), files);
            FoundFile const found = FindIn(*OpenWriter(), 1);
            EXPECT_EQ(found.code, 2);
            EXPECT_EQ(found.file.tpl_md5s.at(0), md5);
        });
}

TEST_F(DLPCacheTaskFaultTest, IndexThatCannotBeLookedAtIsNotOpenedOrItsNumbersGoOn) {
    ExpectUsable();
    int refused = 0;
    bool fired = true;
    for (int nth = 1; fired; ++nth) {
        SCOPED_TRACE(testing::Message() << "look number " << nth);
        std::unique_ptr<DLPCacheTask> writer;
        {
            FaultInjection faults;
            faults.OnlyBelow(Dir() + "index");
            faults.Fail(SystemCall::kStat, nth, EIO);
            writer = OpenWriter();
            fired = faults.Fired() > 0;
        }
        if (!writer->store()->complete()) {
            ++refused;
            continue;
        }
        ASSERT_EQ(writer->AddNumbered(MakeFile("/later")), 1);
        writer->WriteFirst();
        ASSERT_EQ(FindIn(*OpenWriter(), 1).file, Stored("/next", 1));
    }
    EXPECT_GT(refused, 0);
}

TEST_F(DLPCacheTaskFaultTest, FileIsWrittenAtLastWhateverFailedBefore) {
    auto const writer = OpenWriter();
    int sn = 0;
    bool written = true;
    WithEveryFault(
        [&] {
            if (!written) return;
            ASSERT_EQ(writer->AddNumbered(MakeFile("/a")), 1);
            ++sn;
        },
        [&] { writer->WriteFirst(); },
        [&] {
            EXPECT_EQ(FindIn(*writer, sn).file, Stored("/a", sn));
            written = writer->WaitWritten(0);
            if (!written) writer->WriteFirst();
            EXPECT_TRUE(written = writer->WaitWritten(0));
            EXPECT_EQ(FindIn(*writer->store(), sn).file, Stored("/a", sn));
        });
    EXPECT_GT(sn, 10);
    writer->WriteFirst();
    auto const reopened = OpenWriter();
    EXPECT_EQ(reopened->store()->GetIndexNumber(), sn);
    for (int each = 1; each <= sn; ++each)
        EXPECT_EQ(FindIn(*reopened, each).file, Stored("/a", each));
}

TEST_F(DLPCacheTaskFaultTest, EachFailedAttemptIsLoggedAndLaterFilesWait) {
    auto const writer = OpenWriter();
    for (char const* path : {"/a", "/b"})
        ASSERT_EQ(writer->AddNumbered(MakeFile(path)), 1);
    LogLines log;
    {
        FaultInjection faults;
        faults.OnlyBelow(Dir());
        faults.FailFrom(SystemCall::kOpen, 1, ENOSPC);
        for (int i = 0; i < 3; ++i)
            writer->WriteFirst();
    }
    EXPECT_THAT(TakeOwn(log), testing::ElementsAre("1 asyn write cache failed, task id: task-1, sn: 1, ret: -5",
                                                   "1 asyn write cache failed, task id: task-1, sn: 1, ret: -5",
                                                   "1 asyn write cache failed, task id: task-1, sn: 1, ret: -5"));
    writer->WriteFirst();
    writer->WriteFirst();
    EXPECT_EQ(FindIn(*writer->store(), 1).file, Stored("/a", 1));
    EXPECT_EQ(FindIn(*writer->store(), 2).file, Stored("/b", 2));
}

TEST_F(DLPCacheTaskFaultTest, FaultyFindIsNeverAWrongAnswer) {
    ExpectUsable();
    auto const writer = OpenWriter();
    FoundFile found;
    WithEveryFault(
        Nothing, [&] { found = FindIn(*writer, 1); },
        [&] {
            // An integer key's slot that cannot be read counts as absent.
            EXPECT_THAT(found.code, AnyOf(2, 0, Lt(0)));
            EXPECT_EQ(found.file, found.code == 2 ? Stored("/next", 1) : SensFile());
        });
    EXPECT_EQ(found.code, 2);
}

TEST_F(DLPCacheTaskFaultTest, CallsDoNotReachTheDiskWhenAFileIsAdded) {
    auto const writer = OpenWriter();
    FaultInjection const faults;
    ASSERT_EQ(writer->AddNumbered(MakeFile("/a")), 1);
    ASSERT_EQ(writer->Add(MakeFile("/b")), 1);
    EXPECT_EQ(CodeOf(*writer, 1), 2);
    EXPECT_EQ(faults.CountAll(), 0);
}

TEST_F(DLPCacheTaskFaultTest, SnapshotThatCannotBeReadForNowIsToldFromAMissingOne) {
    HString const md5 = CurrentMd5("T1");
    (void)OpenWriter();
    {
        FaultInjection faults;
        faults.OnlyBelow(Dir() + "KeywordTemplate.arc");
        faults.FailFrom(SystemCall::kOpen, 1, EIO);
        DLPCache::TaskDefinitions const unread("task-1", nullptr);
        EXPECT_EQ(unread.error(), EIO);
        EXPECT_EQ(unread.get()->get_tpl_by_id("T1"), nullptr);
        EXPECT_FALSE(OpenWriter()->store()->complete());
    }
    DLPCache::TaskDefinitions const task("task-1", nullptr);
    EXPECT_EQ(task.error(), 0);
    EXPECT_EQ(task.get()->get_md5_by_tpl(*task.get()->get_tpl_by_id("T1")), md5);
    EXPECT_EQ(DLPCache::TaskDefinitions("unknown", nullptr).error(), 0);
    EXPECT_EQ(DLPCache::TaskDefinitions("", nullptr).error(), 0);
}

class OpenedTaskFaultTest : public OpenedTaskFixture, public testing::WithParamInterface<char const*> {};
INSTANTIATE_TEST_SUITE_P(EachFile, OpenedTaskFaultTest, testing::Values("index", "KeywordTemplate.arc"));

TEST_P(OpenedTaskFaultTest, TaskThatCannotBeOpenedForNowHasNoWriterAndTheNextCallTriesAgain) {
    {
        FaultInjection faults;
        faults.OnlyBelow(Dir());
        faults.FailFrom(SystemCall::kRename, GetParam() == std::string("index") ? 5 : 4, ENOSPC);
        EXPECT_EQ(registry_->GetCache("task-1"), nullptr);
        EXPECT_EQ(faults.Fired(), 1);
    }
    EXPECT_FALSE(Exists(Dir() + GetParam()));
    EXPECT_EQ(registry_->GetOpenedCache("task-1"), nullptr);
    Record(MakeFile("/a"));
    EXPECT_EQ(FindIn(*registry_->GetCache("task-1")->store(), 1).file, Stored("/a", 1));
}

TEST_F(DLPCacheTaskFaultTest, KilledWhileOpeningTheTaskOpensAgain) {
    WithEveryKill([this] { RemoveTask(); }, [this] { (void)OpenWriter(); }, [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTaskFaultTest, KilledWhileWritingWhatWasWrittenStaysAndTheRestGoesOn) {
    ExpectUsable();
    WithEveryKill(
        Nothing,
        [this] {
            auto const writer = OpenWriter();
            for (char const* path : {"/lost", "/lost"})
                (void)writer->AddNumbered(MakeFile(path));
            writer->WriteFirst();
            writer->WriteFirst();
        },
        [this] {
            ExpectUsable();
            auto const writer = OpenWriter();
            EXPECT_EQ(FindIn(*writer, 1).file, Stored("/next", 1));
            for (int sn = 2; sn < writer->store()->GetIndexNumber(); ++sn)
                EXPECT_EQ(CodeOf(*writer, sn), 2);
        });
}

}  // namespace
