#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "host/policy/KwDefineMgr.h"
#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/OnAllThreads.h"
#include "tests/support/TempRoot.h"

namespace {

constexpr int kThreads = 8;
constexpr int kReplacements = 200;

// A state of the definitions in which every record bears the same number.
KwDefinitions State(int number) {
    KwDefinitions all = definitions::Small();
    HString const text(number);
    all.templates.nodes[0].common->name = text;
    all.templates.nodes[0].data_class_id = text;
    all.rules.nodes[0].rule_text = text;
    all.rules.nodes[1].rule_text = text;
    return all;
}

// Asks everything about template "T1" and says whether all answers come from one state.
bool AnswersAgree(KwDefineMgr const& mgr) {
    auto const* const tpl = mgr.get_tpl_by_id("T1");
    if (tpl == nullptr || mgr.get_rule_by_id("R1") == nullptr || mgr.get_data_level_by_id("L1") == nullptr)
        return false;
    HString const number = tpl->common->name;
    std::vector<QVKConfigKeywordFormatItemNode const*> rules;
    if (!mgr.get_rules_by_tpl(*tpl, rules) || rules.size() != 2) return false;
    HString const md5 = mgr.get_md5_by_tpl(*tpl);
    return rules[0]->rule_text == number && rules[1]->rule_text == number && tpl->data_class_id == number &&
           mgr.is_exist_rule_sub_type(*tpl, 2001) && md5.length() == 32 && md5 == mgr.get_md5_by_tpl(*tpl);
}

// Runs `ask` in eight threads, which all begin before `replace` does and end after it.
template <class Ask, class Replace>
void AskWhile(Ask const& ask, Replace const& replace) {
    std::atomic<bool> done{false};
    std::atomic<int> disagreements{0};
    std::latch begun(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            if (!ask()) ++disagreements;
            begun.count_down();
            while (!done)
                if (!ask()) ++disagreements;
        });
    }
    begun.wait();
    replace();
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(disagreements, 0);
}

TEST(KwDefineMgrThreads, ReadersSeeOneStateWhileDefinitionsAreInstalled) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(State(0)));
    AskWhile([&] { return AnswersAgree(mgr); },
             [&] {
                 for (int i = 1; i <= kReplacements; ++i)
                     EXPECT_TRUE(mgr.install(State(i)));
             });
    EXPECT_EQ(mgr.get_tpl_by_id("T1")->common->name, HString(kReplacements));
}

TEST(KwDefineMgrThreads, ReadersSeeOneStateWhileDefinitionsAreLoaded) {
    TempRoot root;
    ASSERT_EQ(State(1).save(root / "one"), 0);
    ASSERT_EQ(State(2).save(root / "two"), 0);
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(State(0)));
    AskWhile([&] { return AnswersAgree(mgr); },
             [&] {
                 for (int i = 1; i <= kReplacements; ++i) {
                     mgr.set_config_path(i % 2 == 0 ? root / "two" : root / "one");
                     EXPECT_EQ(mgr.load(), 0);
                 }
             });
    EXPECT_EQ(mgr.get_tpl_by_id("T1")->common->name, HString(2));
}

TEST(KwDefineMgrThreads, RecordsStayValidWhileManyThreadsReplaceThem) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(State(0)));
    auto const* const first = mgr.get_tpl_by_id("T1");
    HString const md5 = mgr.get_md5_by_tpl(*first);
    std::vector<std::thread> threads;
    for (int i = 1; i <= kThreads; ++i) {
        threads.emplace_back([&mgr, i] {
            for (int round = 0; round < 20; ++round)
                EXPECT_TRUE(mgr.install(State(i)));
        });
    }
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(mgr.get_md5_by_tpl(*first), md5);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(first->common->name, HString(0));
}

TEST(KwDefineMgrThreads, TheSharedInstanceIsMadeOnce) {
    auto const seen = AskOnAllThreads(kThreads, [] { return KwDefineMgr::pins(); });
    for (KwDefineMgr* mgr : seen)
        EXPECT_EQ(mgr, seen[0]);
}

}  // namespace
