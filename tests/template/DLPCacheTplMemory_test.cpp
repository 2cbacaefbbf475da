// Memory that runs out.
#include <filesystem>
#include <memory>
#include <new>

#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "template/DLPCacheTplNode.h"
#include "tests/support/fault/EveryAllocation.h"
#include "tests/template/TplFixture.h"

namespace {

using fault::WithEveryFailure;
using testing::AnyOf;
using testing::Lt;

class DLPCacheTplMemoryTest : public TplFixture {
  protected:
    DLPCacheTplMemoryTest() { DLPCacheTplMgr const stamped; }

    // A manager that is made while memory fails and goes when it no longer does.
    void Start() { manager_.reset(new (std::nothrow) DLPCacheTplMgr); }
    static int AddOne(DLPCacheTpl const& cache) {
        return cache.Add(MakeKey("a.txt", "key"), TwoItems(), MakeText("text"), "name");
    }

    std::unique_ptr<DLPCacheTplMgr> manager_;
    QVKReportKeywordAttachNode const node_ = TwoItems();
    QVKKeywordText const text_ = MakeText("text");
    HString const name_ = "name";
    DLPCacheTpl::Key const key_ = MakeKey("a.txt", "key");
};

TEST_F(DLPCacheTplMemoryTest, OpeningDeletesNothing) {
    ASSERT_EQ(AddOne(*Open()), 1);
    auto const before = Files(Dir());
    QVKConfigKeywordTemplateNode const& tpl = Current();
    HString const md5 = CurrentMd5();
    std::unique_ptr<DLPCacheTpl> cache;
    WithEveryFailure([&] { cache.reset(new (std::nothrow) DLPCacheTpl(tpl, md5)); },
                     [&] {
                         cache.reset();
                         EXPECT_EQ(Files(Dir()), before);
                     });
    EXPECT_EQ(FindIn(*Open(), key_).code, 2);
}

TEST_F(DLPCacheTplMemoryTest, StartingDeletesNothing) {
    ASSERT_EQ(AddOne(*Open()), 1);
    auto const before = Files(Dir());
    WithEveryFailure([&] { Start(); },
                     [&] {
                         manager_.reset();
                         EXPECT_EQ(Files(Dir()), before);
                     });
    EXPECT_EQ(FindIn(*Open(), key_).code, 2);
}

TEST_F(DLPCacheTplMemoryTest, MakingLeavesNothingUnusable) {
    QVKConfigKeywordTemplateNode const& tpl = Current();
    HString const md5 = CurrentMd5();
    WithEveryFailure(
        [&] {
            Start();
            DLPCacheTpl const* const cache = manager_ ? manager_->GetCache(tpl, md5) : nullptr;
            if (cache) cache->Add(key_, node_, text_, name_);
        },
        [&] {
            manager_.reset();
            DLPCacheTplMgr manager;
            DLPCacheTpl const* const cache = manager.GetCache(tpl, md5);
            ASSERT_NE(cache, nullptr);
            int const found = FindIn(*cache, key_).code;
            EXPECT_THAT(found, AnyOf(0, 2));
            if (found == 0) {
                EXPECT_EQ(AddOne(*cache), 1);
            }
            EXPECT_EQ(FindIn(*cache, key_).code, 2);
            std::filesystem::remove_all(root_ / "cache/template");
        });
}

TEST_F(DLPCacheTplMemoryTest, RefusedDeletionLeavesTheCacheInUse) {
    Start();
    HString const md5 = CurrentMd5();
    QVKConfigKeywordTemplateNode const& tpl = Current();
    bool deleted = false;
    WithEveryFailure([&] { deleted = manager_->DeleteCache(md5); },
                     [&] {
                         DLPCacheTpl const* const cache = manager_->GetCache(tpl, md5);
                         // A deletion that failed half-way is one all the same; a new cache is made where it was.
                         EXPECT_THAT(AddOne(*cache), 1) << (deleted ? "deleted" : "kept");
                         EXPECT_EQ(FindIn(*cache, key_).code, 2);
                     });
}

class FaultyAnswerTest : public DLPCacheTplMemoryTest, public testing::WithParamInterface<int> {
  protected:
    void SetUp() override { AddRule("R3", GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(SubTypes, FaultyAnswerTest, testing::Values(1001, 2001));

TEST_P(FaultyAnswerTest, FindIsWholeOrFails) {
    auto const cache = Open();
    ASSERT_EQ(AddOne(*cache), 1);
    Found const whole = FindIn(*cache, key_);
    ASSERT_EQ(whole.code, 2);
    Found found;
    WithEveryFailure(
        [&] {
            found = Found();
            found.code = cache->Find(key_, found.node, found.text, found.stored_name);
        },
        [&] {
            EXPECT_THAT(found.code, AnyOf(2, Lt(0)));
            if (found.code == 2) {
                EXPECT_EQ(found.node, whole.node);
                EXPECT_EQ(found.text, whole.text);
                EXPECT_EQ(found.stored_name, whole.stored_name);
            }
        });
}

TEST_P(FaultyAnswerTest, AddIsWholeOrFails) {
    auto cache = Open();
    int code = 0;
    WithEveryFailure([&] { code = cache->Add(key_, node_, text_, name_); },
                     [&] {
                         EXPECT_THAT(code, AnyOf(1, Lt(0)));
                         EXPECT_EQ(FindIn(*cache, HString()).code, 0);  // nothing under an empty key
                         EXPECT_THAT(FindIn(*cache, key_).code, code == 1 ? AnyOf(2, 2) : AnyOf(0, 2));
                         std::filesystem::remove_all(root_ / "cache/template");
                         cache = Open();
                     });
}

TEST_F(DLPCacheTplMemoryTest, RuleThatCannotBeMadeIsLogged) {
    LogLines log;
    DLPCache::TplNode record;
    record.rules.reserve(1);
    AllocationFailure const failure(1);
    EXPECT_FALSE(record.SetKeywordAttach(node_, text_));
    EXPECT_THAT(log.TakeTexts(), testing::ElementsAre("SetKeywordAttach, Line:229, ASSERT_NULL"));
}

TEST_F(DLPCacheTplMemoryTest, DeletedCacheIsForgottenOrKept) {
    QVKConfigKeywordTemplateNode const& tpl = Current();
    HString const md5 = CurrentMd5();
    DLPCacheTplMgr manager;
    bool deleted = false;
    WithEveryFailure(
        [&] {
            if (!manager.GetCache(tpl, md5)) return;
            deleted = manager.DeleteCache(md5);
        },
        [&] {
            if (deleted) {
                EXPECT_FALSE(Exists(Dir() + "KeywordTemplate.arc"));
            }
            deleted = false;
            EXPECT_NE(manager.GetCache(tpl, md5), nullptr);
        });
}

}  // namespace
