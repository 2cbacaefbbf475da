// Memory that runs out, and threads that do not start.
#include <filesystem>
#include <memory>

#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTextMerge.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/support/fault/EveryAllocation.h"
#include "tests/support/fault/ThreadFailure.h"
#include "tests/task/OpenedTaskFixture.h"

namespace {

using fault::Extent;
using fault::WithEveryFailure;
using testing::AnyOf;
using testing::ElementsAre;
using testing::Lt;
namespace fs = std::filesystem;

class DLPCacheTaskMemoryTest : public OpenedTaskFixture {
  protected:
    HString const id_ = "task-1";
    SensFile const file_ = MakeFile("/a");
};

TEST_F(DLPCacheTaskMemoryTest, OpeningGivesAWriterThatWorksOrNone) {
    DLPCacheTask* writer = nullptr;
    int opened = 0;
    // One at a time: when all that follow fail, what a record store leaves to its callers cannot even be noted
    // (host/base/Retained.h), and counts as a leak.
    WithEveryFailure([] {}, [&] { writer = registry_->GetCache(id_); },
                     [&] {
                         EXPECT_EQ(registry_->GetOpenedCache(id_), writer);
                         if (!writer) return;
                         ++opened;
                         ASSERT_EQ(writer->AddNumbered(file_), 1);
                         EXPECT_TRUE(writer->WaitWritten(kLong));
                         EXPECT_EQ(FindIn(*writer, 1).file, Stored("/a", 1));
                         fs::remove_all(root_ / "cache/task");
                         registry_ = std::make_unique<DLPCacheTaskMgr>();
                         registry_->AddTask(&task_);
                     },
                     {Extent::kOne});
    EXPECT_GE(opened, 1);
}

TEST_F(DLPCacheTaskMemoryTest, OpeningKeepsWhatWasStored) {
    Record(file_);
    ChangeT1();
    HString const md5 = registry_->GetTaskTplMd5(id_, "T1");
    ASSERT_NE(md5, CurrentMd5("T1"));
    std::unique_ptr<DLPCacheTask> writer;
    WithEveryFailure([&] { writer.reset(new (std::nothrow) DLPCacheTask(&task_)); },
                     [&] {
                         if (writer && writer->store() && writer->store()->complete()) {
                             EXPECT_EQ(CodeOf(*writer, 1), 2);
                         }
                         writer.reset();
                         writer = OpenWriter();
                         FoundFile const found = FindIn(*writer, 1);
                         EXPECT_EQ(found.code, 2);
                         EXPECT_EQ(found.file.tpl_md5s.at(0), md5);
                         writer.reset();
                     });
}

TEST_F(DLPCacheTaskMemoryTest, AddIsWholeOrFailsAndUsesNoNumber) {
    auto const writer = OpenWriter();
    int code = 0;
    int added = 0;
    WithEveryFailure([&] { code = writer->AddNumbered(file_); },
                     [&] {
                         EXPECT_THAT(code, AnyOf(1, -17));
                         if (code == 1) ++added;
                         EXPECT_EQ(CodeOf(*writer, added + 1), 0);
                         if (added != 0) {
                             EXPECT_EQ(FindIn(*writer, added).file, Stored("/a", added));
                         }
                     });
    EXPECT_GE(added, 2);
    WithEveryFailure([&] { code = writer->Add(file_); },
                     [&] {
                         EXPECT_THAT(code, AnyOf(1, -17));
                         if (code == 1) ++added;
                         EXPECT_EQ(CodeOf(*writer, added + 1), 0);
                     });
}

TEST_F(DLPCacheTaskMemoryTest, FailedWriteIsLoggedAndTriedAgain) {
    auto const writer = OpenWriter();
    ASSERT_EQ(writer->AddNumbered(file_), 1);
    LogLines log;
    {
        AllocationFailure const failure(1, Extent::kAllFromThere);
        writer->WriteFirst();
    }
    EXPECT_FALSE(writer->WaitWritten(0));
    writer->WriteFirst();
    EXPECT_TRUE(writer->WaitWritten(0));
    EXPECT_EQ(FindIn(*writer->store(), 1).file, Stored("/a", 1));
}

TEST_F(DLPCacheTaskMemoryTest, FileIsWrittenWhateverFailsBefore) {
    auto const writer = OpenWriter();
    int written = 0;
    WithEveryFailure(
        [&] {
            if (writer->WaitWritten(0) && writer->AddNumbered(file_) == 1) ++written;
            writer->WriteFirst();
        },
        [&] {
            writer->WriteFirst();
            EXPECT_TRUE(writer->WaitWritten(0));
            if (written != 0) {
                EXPECT_EQ(FindIn(*writer->store(), written).file, Stored("/a", written));
            }
        });
    EXPECT_EQ(writer->store()->GetIndexNumber(), written);
}

TEST_F(DLPCacheTaskMemoryTest, FindIsWholeOrFails) {
    auto const writer = OpenWriter();
    for (bool const queued : {true, false}) {
        if (queued) {
            ASSERT_EQ(writer->AddNumbered(file_), 1);
        } else {
            writer->WriteFirst();
        }
        SensFile found;
        int code = 0;
        SensFile const whole = Stored("/a", 1);
        WithEveryFailure([&] { code = writer->Find(1, found); },
                         [&] {
                             EXPECT_THAT(code, AnyOf(2, Lt(0)));
                             if (code == 2) {
                                 EXPECT_EQ(found, whole);
                             }
                         });
        EXPECT_EQ(code, 2);
    }
}

TEST_F(DLPCacheTaskMemoryTest, Md5IsRightOrEmpty) {
    ASSERT_NE(registry_->GetCache(id_), nullptr);
    Restart();
    HString const tpl_id = "T1";
    HString md5;
    WithEveryFailure([&] { md5 = registry_->GetTaskTplMd5(id_, tpl_id); },
                     [&] { EXPECT_THAT(md5, AnyOf(HString(), CurrentMd5("T1"))); });
    EXPECT_EQ(md5, CurrentMd5("T1"));
}

TEST_F(DLPCacheTaskMemoryTest, RebuiltNodeLacksAPartAtMost) {
    Record(file_);
    SensFile const found = Stored("/a", 1);
    for (char const* tpl_id : {"T1", "T2"}) {
        auto const& tpl = *KwDefineMgr::pins()->get_tpl_by_id(tpl_id);
        DLPCacheTpl::Key key;
        key.short_name = "a";
        key.md5 = file_.file_md5;
        QVKReportKeywordAttachNode node;
        node.items.emplace_back();
        node.items[0].rule_id = "R";
        QVKKeywordText text;
        text.line_positions = {{1, {{1, 2}}}};
        ASSERT_EQ(DLPCacheTplMgr::pins()->GetCache(tpl, CurrentMd5(tpl_id))->Add(key, node, text, ""), 1);
    }
    QVKKeywordMatchResult result;
    WithEveryFailure(
        [&] {
            result.match_items.clear();
            registry_->GetSensFileResult(found, result);
        },
        [&] {
            for (auto const& item : result.match_items) {
                for (auto const& node : item.match_nodes) {
                    EXPECT_EQ(node.attach_nodes.size(), node.matched_tpl_ids.size());
                    EXPECT_EQ(node.texts.size(), node.matched_tpl_ids.size());
                }
            }
        });
    EXPECT_EQ(result.match_items.at(0).match_nodes.at(0).texts.size(), 2U);
}

TEST_F(DLPCacheTaskMemoryTest, MergedTextIsWholeOrAsItWas) {
    std::vector<QVKKeywordText> texts(2);
    texts[0].line_positions = {{2, {{1, 2}}}, {1, {{1, 2}}}};
    texts[0].second_positions = {{1, 2}};
    texts[1].line_positions = {{2, {{5, 6}}}};
    QVKKeywordText before;
    before.line_positions = {{9, {{9, 9}}}};
    QVKKeywordText after = texts[0];
    after.line_positions = {{1, {{1, 2}}}, {2, {{1, 2}, {5, 6}}}};
    QVKKeywordText merged = before;
    WithEveryFailure([&] { registry_->MergeMatchFileText(texts, merged); },
                     [&] {
                         EXPECT_THAT(merged, AnyOf(before, after));
                         merged = before;
                     });
}

TEST_F(DLPCacheTaskMemoryTest, WaitingTakesNoMemory) {
    Record(file_);
    AllocationFailure const failure(1, Extent::kAllFromThere);
    EXPECT_TRUE(registry_->WaitWritten(id_, kLong));
    EXPECT_TRUE(registry_->WaitAllWritten(kLong));
    EXPECT_FALSE(failure.Happened());
}

TEST_F(DLPCacheTaskMemoryTest, WithoutAThreadThereIsNoWriterAndTheNextCallTriesAgain) {
    LogLines log;
    {
        ThreadFailure const failure(1, ThreadFailure::Extent::kAllFromThere);
        EXPECT_EQ(registry_->GetCache(id_), nullptr);
        EXPECT_EQ(registry_->GetCache(id_), nullptr);
        EXPECT_EQ(failure.Count(), 2);
    }
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 start task writer failed, task id: task-1",
                                          "1 start task writer failed, task id: task-1"));
    EXPECT_EQ(registry_->GetOpenedCache(id_), nullptr);
    EXPECT_TRUE(registry_->WaitAllWritten(0));
    Record(file_);
    EXPECT_EQ(FindIn(*registry_->GetCache(id_), 1).file, Stored("/a", 1));
}

}  // namespace
