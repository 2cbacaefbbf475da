// Eight threads query and store over the same templates while a ninth replaces the definitions. Every answer must be
// one that was stored for that content under that state of the definition; what a thread has stored it must find.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/stress/StressAgent.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"

namespace {

using namespace stress;

constexpr int kThreads = 8;
constexpr int kContents = 160;
constexpr int kOperations = 400;  // per thread
constexpr int kInstalls = 80;

class FrontStressTest : public testing::TestWithParam<bool> {
  protected:
    FrontStressTest() {
        agent_ = std::make_unique<Agent>(root_.Path());
        if (GetParam()) log_ = std::make_unique<LogLines>();
    }

    // Of each content one thread does the scans.
    static int OwnContent(int thread, unsigned long number) {
        return thread + kThreads * static_cast<int>(number % (kContents / kThreads));
    }
    // Every second of a thread's contents matches every template, the others none, whatever the state of the rules.
    static bool Matches(int content) { return content / kThreads % 2 == 1; }

    QVKKeywordFileItem Item(int content, std::vector<HString> tpl_ids) const {
        return MakeItem(HString("/data/" + std::to_string(content)), md5s_[static_cast<std::size_t>(content)],
                        std::move(tpl_ids));
    }
    std::vector<HString> DefinedTpls() const {
        std::vector<HString> ids;
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            if (agent_->Edit(tpl) != kAbsent) ids.push_back(HString(TplId(tpl)));
        }
        return ids;
    }

    // Asks and checks that whatever is answered was stored for this content.
    QVKKeywordMatchNode AskAndCheck(int content, std::vector<HString> const& tpl_ids, int* code = nullptr) const {
        QVKKeywordCheckParam param;
        param.file_items.push_back(Item(content, tpl_ids));
        QVKKeywordMatchResult result;
        int const ret = DLPCacheMgr::pins()->QueryCache(param, result);
        EXPECT_GE(ret, 0);
        if (code) *code = ret;
        EXPECT_EQ(result.match_items.size(), 1U);
        QVKKeywordMatchNode node = std::move(result.match_items.at(0).match_nodes.at(0));
        CheckNode(content, node);
        return node;
    }
    static void CheckNode(int content, QVKKeywordMatchNode const& node) {
        EXPECT_TRUE(Matches(content) ? node.unmatched_tpl_ids.empty() : node.matched_tpl_ids.empty()) << content;
        EXPECT_EQ(node.attach_nodes.size(), node.matched_tpl_ids.size());
        EXPECT_EQ(node.sensitive, !node.matched_tpl_ids.empty());
        for (std::size_t i = 0; i < node.attach_nodes.size(); ++i) {
            CheckMatch(content, node.matched_tpl_ids[i], node.attach_nodes[i], node.texts.at(i));
        }
    }
    static bool Holds(std::vector<HString> const& ids, int tpl) {
        return std::find(ids.begin(), ids.end(), HString(TplId(tpl))) != ids.end();
    }

    // Scans what the cache does not know and stores it.
    void Complete(int content, QVKKeywordMatchNode const& known) const {
        QVKKeywordMatchResult result;
        result.match_items.resize(1);
        QVKKeywordMatchNode& node = result.match_items[0].match_nodes.emplace_back();
        *node.file_node = *known.file_node;
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            if (Holds(known.matched_tpl_ids, tpl) || Holds(known.unmatched_tpl_ids, tpl)) continue;
            if (!Matches(content)) node.unmatched_tpl_ids.push_back(HString(TplId(tpl)));
            if (Matches(content) && agent_->Edit(tpl) != kAbsent) AddMatch(content, tpl, agent_->Edit(tpl), node);
        }
        EXPECT_EQ(DLPCacheMgr::pins()->AddTpl(result), 0);
    }

    // What the scan of a content that matches finds depends on the definitions, which therefore stay as they are from
    // the query to the store. A store of "no match" is right under any definitions and races with their replacement.
    void CompleteOwn(int content) {
        if (!Matches(content)) return Complete(content, AskAndCheck(content, EveryTpl()));
        std::shared_lock const lock(agent_->Gate());
        Complete(content, AskAndCheck(content, EveryTpl()));
        int code = 0;
        std::vector<HString> const ids = DefinedTpls();
        QVKKeywordMatchNode const node = AskAndCheck(content, ids, &code);
        EXPECT_EQ(code, ids.empty() ? 0 : 2) << "content " << content << Missing(ids, node);
    }

    // What the caches of the templates without an answer say.
    static std::string Missing(std::vector<HString> const& ids, QVKKeywordMatchNode const& node) {
        std::string missing;
        for (HString const& id : ids) {
            if (std::ranges::count(node.matched_tpl_ids, id) + std::ranges::count(node.unmatched_tpl_ids, id)) continue;
            auto const* tpl = KwDefineMgr::pins()->get_tpl_by_id(id);
            HString const md5 = KwDefineMgr::pins()->get_md5_by_tpl(*tpl);
            QVKReportKeywordAttachNode attach_node;
            QVKKeywordText text;
            HString name;
            int const code =
                DLPCacheTplMgr::pins()->GetCache(*tpl, md5)->Find(node.file_node->file_md5, attach_node, text, name);
            missing += ", " + id.get_str() + " " + md5.get_str() + " finds " + std::to_string(code);
        }
        return missing;
    }

    void Work(int thread) {
        std::mt19937 random(static_cast<unsigned>(thread));
        for (int i = 0; i < kOperations; ++i) {
            (void)AskAndCheck(static_cast<int>(random() % kContents), EveryTpl());
            CompleteOwn(OwnContent(thread, random()));
            operations_.fetch_add(1);
            operations_.notify_all();
        }
    }

    void WaitForOperations(int count) {
        for (int seen = operations_.load(); seen < count; seen = operations_.load())
            operations_.wait(seen);
    }

    void WorkWhileDefinitionsAreReplaced() {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back([this, thread] { Work(thread); });
        std::mt19937 random(99);
        for (int n = 1; n <= kInstalls; ++n) {
            WaitForOperations(n * (kThreads * kOperations / kInstalls));
            agent_->Replace(random);
        }
        for (std::thread& thread : threads)
            thread.join();
        for (int content = 0; content < kContents; ++content)
            CompleteOwn(content);
    }

    TempRoot root_;
    std::unique_ptr<LogLines> log_;
    std::unique_ptr<Agent> agent_;
    std::vector<HString> const md5s_ = MakeMd5s(kContents);
    std::atomic<int> operations_{0};
};

TEST_P(FrontStressTest, AnswersAreRightWhileDefinitionsAreReplaced) {
    WorkWhileDefinitionsAreReplaced();
}

// The first calls of all threads make the managers: once.
TEST_P(FrontStressTest, FirstUseByManyThreadsAtOnceIsSafe) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] {
            CompleteOwn(OwnContent(thread, 0));
            CompleteOwn(OwnContent(thread, 1));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int content = 0; content < 2 * kThreads; ++content) {
        int code = 0;
        (void)AskAndCheck(content, EveryTpl(), &code);
        EXPECT_EQ(code, 2) << content;
    }
}

INSTANTIATE_TEST_SUITE_P(Logging, FrontStressTest, testing::Bool(),
                         [](auto const& run) { return run.param ? "On" : "Off"; });

}  // namespace
