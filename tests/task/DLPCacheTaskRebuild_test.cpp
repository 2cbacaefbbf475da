// From a finding back to what the scan gave.
#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/task/OpenedTaskFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DLPCacheTaskRebuildTest : public OpenedTaskFixture {
  protected:
    DLPCacheTaskRebuildTest() { EXPECT_NE(registry_->GetCache("task-1"), nullptr); }

    // Stores what a template found in the file "/dir/a.txt": a rule, and this line of the text.
    static void StoreAnswer(char const* tpl_id, QVKKeywordLinePos const& line) {
        QVKReportKeywordAttachNode node;
        node.items.emplace_back();
        node.items[0].rule_id = "rule of " + std::string(tpl_id);
        node.items[0].sub_type = 1001;
        QVKKeywordText text;
        text.tpl_id = tpl_id;
        text.line_positions = {line};
        ASSERT_EQ(CacheOf(tpl_id).Add(FileKey(), node, text, "kept"), 1);
    }
    static void StoreNoMatch(char const* tpl_id) { ASSERT_EQ(CacheOf(tpl_id).Add(FileKey(), {}, {}, "kept"), 0); }
    static DLPCacheTpl& CacheOf(char const* tpl_id) {
        KwDefineMgr const& current = *KwDefineMgr::pins();
        auto const& tpl = *current.get_tpl_by_id(tpl_id);
        return *DLPCacheTplMgr::pins()->GetCache(tpl, current.get_md5_by_tpl(tpl));
    }
    static DLPCacheTpl::Key FileKey() {
        DLPCacheTpl::Key key;
        key.short_name = "a.txt";
        key.md5 = File().file_md5;
        return key;
    }
    // The finding, as it is found.
    static SensFile File() { return Stored("/dir/a.txt", 1); }
    static std::string Md5Of(char const* tpl_id) { return CurrentMd5(tpl_id).get_str(); }

    QVKKeywordMatchNode Rebuild(SensFile const& file) {
        QVKKeywordMatchNode node;
        registry_->GetSensMatchNode(file, node);
        return node;
    }
    QVKKeywordFileTips Tips(SensFile const& file) {
        QVKKeywordFileTips tips;
        registry_->GetSensMatchTips(file, tips);
        return tips;
    }
    // The value of a data level in today's definitions.
    void SetLevel(std::size_t index, int value) {
        definitions_.data_levels.nodes[index].level = value;
        Install();
    }

    ScanTask other_;
};

TEST_F(DLPCacheTaskRebuildTest, NodeHoldsWhatTheTemplatesFound) {
    StoreAnswer("T1", {7, {{1, 4}}});
    StoreAnswer("T2", {7, {{2, 9}}});
    LogLines log;
    QVKKeywordMatchNode const node = Rebuild(File());
    EXPECT_THAT(TakeOwn(log), IsEmpty());
    EXPECT_TRUE(node.sensitive);
    EXPECT_EQ(node.file_node->file_path, "/dir/a.txt");
    EXPECT_EQ(node.file_node->file_md5, File().file_md5);
    EXPECT_THAT(node.matched_tpl_ids, ElementsAre("T1", "T2"));
    EXPECT_THAT(node.unmatched_tpl_ids, IsEmpty());
    ASSERT_EQ(node.attach_nodes.size(), 2U);
    EXPECT_EQ(node.attach_nodes[1].items[0].rule_id, "rule of T2");
    ASSERT_EQ(node.texts.size(), 2U);
    EXPECT_EQ(node.texts[1].tpl_id, "T2");
}

TEST_F(DLPCacheTaskRebuildTest, NodesTipsHoldTheMergedText) {
    StoreAnswer("T1", {7, {{1, 4}}});
    StoreAnswer("T2", {7, {{2, 9}}});
    QVKKeywordMatchNode const node = Rebuild(File());
    EXPECT_EQ(node.tips->file_path, "/dir/a.txt");
    EXPECT_EQ(node.tips->data_class_names, "Money|Secret");
    EXPECT_EQ(node.tips->text.tpl_id, "T1");
    EXPECT_EQ(node.tips->text.line_positions, (std::vector<QVKKeywordLinePos>{{7, {{1, 9}}}}));
}

TEST_F(DLPCacheTaskRebuildTest, AnswersOfTheTasksOwnDefinitionsCount) {
    StoreAnswer("T1", {7, {{1, 4}}});
    SensFile const file = File();
    ChangeT1();
    StoreNoMatch("T1");  // the same file under today's template
    EXPECT_THAT(Rebuild(file).matched_tpl_ids, ElementsAre("T1"));
    RemoveTemplate("T1");
    EXPECT_THAT(Rebuild(file).matched_tpl_ids, ElementsAre("T1"));
}

TEST_F(DLPCacheTaskRebuildTest, WhatIsNotCachedOrDidNotMatchIsLoggedAndLeftOut) {
    StoreNoMatch("T2");
    LogLines log;
    QVKKeywordMatchNode const node = Rebuild(File());
    std::string const file_md5 = ", file md5:0CC175B9C0F1B6A831C399E269772661";
    EXPECT_THAT(
        TakeOwn(log),
        ElementsAre(
            "1 sensitive information not found in cache. tpl id:T1, tpl md5:" + Md5Of("T1") + file_md5 + ", ret:0",
            "1 sensitive information not found in cache. tpl id:T2, tpl md5:" + Md5Of("T2") + file_md5 + ", ret:1"));
    EXPECT_TRUE(node.sensitive);
    EXPECT_THAT(node.matched_tpl_ids, IsEmpty());
    EXPECT_THAT(node.attach_nodes, IsEmpty());
    EXPECT_THAT(node.texts, IsEmpty());
    EXPECT_EQ(node.tips->data_class_names, "Money|Secret");
    EXPECT_THAT(node.tips->text.line_positions, IsEmpty());
}

TEST_F(DLPCacheTaskRebuildTest, TemplateThatTheTaskDoesNotKnowIsLoggedAndLeftOut) {
    StoreAnswer("T2", {7, {{2, 9}}});
    SensFile file = File();
    file.tpl_ids = {"T9", "T2"};
    file.tpl_md5s = {"of T2"};  // only those of templates that are known are there
    LogLines log;
    EXPECT_THAT(Rebuild(file).matched_tpl_ids, ElementsAre("T2"));
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 template cache information not found. id: task-1, tpl id:T9, tpl md5:of T2"
                                          ", file md5:0CC175B9C0F1B6A831C399E269772661"));
    file.tpl_ids = {"T2", "T9"};
    EXPECT_THAT(Rebuild(file).matched_tpl_ids, ElementsAre("T2"));
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 template cache information not found. id: task-1, tpl id:T9, tpl md5:"
                                          ", file md5:0CC175B9C0F1B6A831C399E269772661"));
}

TEST_F(DLPCacheTaskRebuildTest, UnknownTaskLeavesTheFilePartAlone) {
    SensFile file = File();
    file.task_id = "gone";
    LogLines log;
    QVKKeywordMatchNode const node = Rebuild(file);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 task information not found in cache. id: gone"));
    EXPECT_TRUE(node.sensitive);
    EXPECT_EQ(node.file_node->file_path, "/dir/a.txt");
    EXPECT_EQ(node.tips->file_path, "");
    EXPECT_EQ(Tips(file).file_path, "/dir/a.txt");
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 task information not found in cache. id: gone"));
}

TEST_F(DLPCacheTaskRebuildTest, NodeThatHasLostItsPartsGetsNewOnes) {
    QVKKeywordMatchNode node;
    node.file_node = nullptr;
    node.tips = nullptr;
    registry_->GetSensMatchNode(File(), node);
    ASSERT_NE(node.file_node, nullptr);
    ASSERT_NE(node.tips, nullptr);
    EXPECT_EQ(node.tips->file_path, "/dir/a.txt");
}

TEST_F(DLPCacheTaskRebuildTest, NodeKeepsWhatItHad) {
    StoreAnswer("T1", {7, {{1, 4}}});
    QVKKeywordMatchNode node;
    node.matched_tpl_ids = {"T0"};
    node.attach_nodes.resize(1);
    node.texts.resize(1);
    node.texts[0].line_positions = {{3, {{1, 1}}}};
    registry_->GetSensMatchNode(File(), node);
    EXPECT_THAT(node.matched_tpl_ids, ElementsAre("T0", "T1"));
    EXPECT_EQ(node.attach_nodes.size(), 2U);
    EXPECT_EQ(node.tips->text.line_positions, (std::vector<QVKKeywordLinePos>{{3, {{1, 1}}}, {7, {{1, 4}}}}));
}

TEST_F(DLPCacheTaskRebuildTest, ItemGetsTheNodeAndItsVerdict) {
    StoreAnswer("T1", {7, {{1, 4}}});
    QVKKeywordMatchItem item;
    item.match_nodes.resize(1);
    registry_->GetSensMatchItem(File(), item);
    EXPECT_TRUE(item.sensitive);
    ASSERT_EQ(item.match_nodes.size(), 2U);
    EXPECT_THAT(item.match_nodes[1].matched_tpl_ids, ElementsAre("T1"));
}

TEST_F(DLPCacheTaskRebuildTest, ResultGetsTheItemAndItsVerdictInItsSecondFlag) {
    StoreAnswer("T1", {7, {{1, 4}}});
    QVKKeywordMatchResult result;
    result.match_items.resize(1);
    registry_->GetSensFileResult(File(), result);
    EXPECT_FALSE(result.reserved);
    EXPECT_TRUE(result.sensitive);
    ASSERT_EQ(result.match_items.size(), 2U);
    EXPECT_TRUE(result.match_items[1].sensitive);
    ASSERT_EQ(result.match_items[1].match_nodes.size(), 1U);
    EXPECT_THAT(result.match_items[1].match_nodes[0].matched_tpl_ids, ElementsAre("T1"));
}

TEST_F(DLPCacheTaskRebuildTest, TipsNameTheLastTemplateAndAllDataClasses) {
    QVKKeywordFileTips const tips = Tips(File());
    EXPECT_EQ(tips.file_path, "/dir/a.txt");
    EXPECT_EQ(tips.tpl_name, "Invoices");
    EXPECT_EQ(tips.data_class_names, "Money|Secret");
    SensFile file = File();
    file.tpl_ids = {"T2", "T1", "T9"};
    EXPECT_EQ(Tips(file).tpl_name, "Contracts");
}

TEST_F(DLPCacheTaskRebuildTest, GreatestLevelWins) {
    QVKKeywordFileTips const tips = Tips(File());
    EXPECT_EQ(tips.data_level, 3);
    EXPECT_EQ(tips.data_level_name, "High");
    EXPECT_EQ(tips.data_level_id, "L1");
    SensFile file = File();
    file.tpl_ids = {"T2", "T1"};
    EXPECT_EQ(Tips(file).data_level_name, "High");
}

TEST_F(DLPCacheTaskRebuildTest, OfEqualLevelsTheFirstTemplatesStays) {
    SetLevel(1, 3);
    EXPECT_EQ(Tips(File()).data_level_id, "L1");
    SensFile file = File();
    file.tpl_ids = {"T2", "T1"};
    EXPECT_EQ(Tips(file).data_level_id, "L2");
}

TEST_F(DLPCacheTaskRebuildTest, LevelsAreThoseOfTodaysDefinitions) {
    definitions_.data_levels.nodes[1].common->name = "Top";
    SetLevel(1, 9);
    QVKKeywordFileTips const tips = Tips(File());
    EXPECT_EQ(tips.data_level, 9);
    EXPECT_EQ(tips.data_level_name, "Top");
    EXPECT_EQ(tips.data_level_id, "L2");
}

TEST_F(DLPCacheTaskRebuildTest, NamesAndClassesAreThoseOfTheTasksDefinitions) {
    for (auto& tpl : definitions_.templates.nodes)
        tpl.common->name = "renamed";
    for (auto& data_class : definitions_.data_classes.nodes)
        data_class.common->name = "renamed";
    Install();
    QVKKeywordFileTips const tips = Tips(File());
    EXPECT_EQ(tips.tpl_name, "Invoices");
    EXPECT_EQ(tips.data_class_names, "Money|Secret");
}

TEST_F(DLPCacheTaskRebuildTest, LevelThatIsNoLongerDefinedDoesNotCount) {
    definitions_.data_levels.nodes.erase(definitions_.data_levels.nodes.begin());
    Install();
    EXPECT_EQ(Tips(File()).data_level_id, "L2");
}

TEST_F(DLPCacheTaskRebuildTest, LevelMustExceedTheOneThatTheTipsHave) {
    QVKKeywordFileTips tips;
    tips.data_level = 3;
    tips.data_level_id = "kept";
    registry_->GetSensMatchTips(File(), tips);
    EXPECT_EQ(tips.data_level_id, "kept");
    SetLevel(0, 0);
    SetLevel(1, -1);
    EXPECT_EQ(Tips(File()).data_level_id, "");
}

TEST_F(DLPCacheTaskRebuildTest, TemplateOfNoDataClassHasNoneInTheTips) {
    definitions_.templates.nodes[0].data_class_id = "C9";
    Install();
    other_ = MakeTask("task-2", {"T1", "T2"});
    registry_->AddTask(&other_);
    SensFile file = File();
    file.task_id = "task-2";
    EXPECT_EQ(Tips(file).data_class_names, "Money");
}

}  // namespace
