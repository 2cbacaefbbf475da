#include <atomic>

#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/support/OnAllThreads.h"
#include "tests/template/TplFixture.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 30;

class DLPCacheTplThreadsTest : public TplFixture {
  protected:
    static HString KeyOf(int thread, int round) { return HString("key ") << thread << " " << round; }
};

TEST_F(DLPCacheTplThreadsTest, AllGetTheSameCache) {
    DLPCacheTplMgr manager;
    auto const seen = AskOnAllThreads(kThreads, [&] { return manager.GetCache(Current(), CurrentMd5()); });
    EXPECT_THAT(seen, testing::Each(manager.GetCache(Current(), CurrentMd5())));
}

TEST_F(DLPCacheTplThreadsTest, AllStoreAndFindWhileDefinitionsAreReplaced) {
    DLPCacheTplMgr manager;
    std::atomic<int> wrong{0};
    OnAllThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            if (thread == 0) {
                Tpl().common->name = HString("name ") << round;  // the MD5 stays
                Install();
                continue;
            }
            auto const* tpl = KwDefineMgr::pins()->get_tpl_by_id("T1");
            DLPCacheTpl const* const cache = manager.GetCache(*tpl, KwDefineMgr::pins()->get_md5_by_tpl(*tpl));
            int const added = cache->Add(KeyOf(thread, round), TwoItems(), MakeText("text"), "name");
            if (added == -12) continue;  // a key of bucket 0
            Found const found = FindIn(*cache, KeyOf(thread, round));
            if (added != 1 || found.code != 2 || found.node.items.size() != 2 || found.text != MakeText("text"))
                ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(DLPCacheTplThreadsTest, CachesComeAndGoUnderThoseWhoUseThem) {
    DLPCacheTplMgr manager;
    OnAllThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            HString const md5 = CurrentMd5();
            if (thread == 0) {
                manager.DeleteCache(md5);
            } else {
                Found const found = FindIn(*manager.GetCache(Current(), md5), HString("key"));
                EXPECT_THAT(found.code, testing::AnyOf(0, -2, -3, -5, -11, -12));
            }
        }
    });
    EXPECT_NE(manager.GetCache(Current(), CurrentMd5()), nullptr);
}

}  // namespace
