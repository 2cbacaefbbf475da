#include "host/policy/KwDefineMgr.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "host/policy/KwLocateMgr.h"
#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"

namespace {

using definitions::DataClass;
using definitions::Rule;
using definitions::Small;
using definitions::Template;
using Rules = std::vector<QVKConfigKeywordFormatItemNode const*>;

class KwDefineMgrTest : public testing::Test {
  protected:
    TempRoot root;
    KwDefineMgr mgr;

    HString NameOf(char const* tpl_id) const {
        auto const* tpl = mgr.get_tpl_by_id(tpl_id);
        return tpl == nullptr ? HString("none") : tpl->common->name;
    }
    // Installs the small definitions with another name for template "T1".
    void InstallNamed(char const* name) {
        KwDefinitions all = Small();
        all.templates.nodes[0].common->name = name;
        ASSERT_TRUE(mgr.install(all));
    }
};

TEST_F(KwDefineMgrTest, IsEmptyAtFirst) {
    EXPECT_EQ(mgr.get_tpl_by_id("T1"), nullptr);
    EXPECT_EQ(mgr.get_rule_by_id("R1"), nullptr);
    EXPECT_EQ(mgr.get_data_class_by_id("C1"), nullptr);
    EXPECT_EQ(mgr.get_data_level_by_id("L1"), nullptr);
    Rules rules;
    EXPECT_TRUE(mgr.get_rules_by_tpl(Template("T1", {"R1"}), rules));
    EXPECT_TRUE(rules.empty());
    EXPECT_FALSE(mgr.is_exist_rule_sub_type(Template("T1", {"R1"}), 1001));
}

TEST_F(KwDefineMgrTest, FindsEveryRecordById) {
    ASSERT_TRUE(mgr.install(Small()));
    ASSERT_NE(mgr.get_tpl_by_id("T1"), nullptr);
    EXPECT_EQ(mgr.get_tpl_by_id("T1")->data_class_id, HString("C1"));
    ASSERT_NE(mgr.get_rule_by_id("R2"), nullptr);
    EXPECT_EQ(mgr.get_rule_by_id("R2")->rule_text, HString("*.doc"));
    ASSERT_NE(mgr.get_data_class_by_id("C1"), nullptr);
    EXPECT_EQ(mgr.get_data_class_by_id("C1")->common->name, HString("class"));
    ASSERT_NE(mgr.get_data_level_by_id("L1"), nullptr);
    EXPECT_EQ(mgr.get_data_level_by_id("L1")->level, 1);
    EXPECT_EQ(mgr.get_tpl_by_id("R1"), nullptr);
    EXPECT_EQ(mgr.get_rule_by_id("r1"), nullptr);
}

TEST_F(KwDefineMgrTest, FindsEachOfManyRecords) {
    KwDefinitions all;
    for (int i = 0; i < 2000; ++i)
        all.data_levels.nodes.push_back(definitions::DataLevel(std::to_string(i).c_str(), i));
    ASSERT_TRUE(mgr.install(all));
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(mgr.get_data_level_by_id(HString(i))->level, i);
    EXPECT_EQ(mgr.get_data_level_by_id("2000"), nullptr);
}

TEST_F(KwDefineMgrTest, OfRecordsWithTheSameIdTheFirstCounts) {
    KwDefinitions all;
    all.data_classes.nodes = {DataClass("C1", "first"), DataClass("C2", "other"), DataClass("C1", "second"),
                              DataClass("C3", "last")};
    ASSERT_TRUE(mgr.install(all));
    EXPECT_EQ(mgr.get_data_class_by_id("C1")->common->name, HString("first"));
    EXPECT_EQ(mgr.get_data_class_by_id("C2")->common->name, HString("other"));
    EXPECT_EQ(mgr.get_data_class_by_id("C3")->common->name, HString("last"));
}

TEST_F(KwDefineMgrTest, ARecordWithoutACommonPartGetsAnEmptyOne) {
    KwDefinitions all = Small();
    all.templates.nodes[0].common = nullptr;
    ASSERT_TRUE(mgr.install(all));
    ASSERT_NE(mgr.get_tpl_by_id(""), nullptr);
    EXPECT_NE(mgr.get_tpl_by_id("")->common, nullptr);
}

TEST_F(KwDefineMgrTest, ChangesOfTheRecordsHandedOverDoNotReachTheManager) {
    KwDefinitions all = Small();
    ASSERT_TRUE(mgr.install(all));
    all.templates.nodes[0].common->id = "T2";
    all.templates.nodes[0].common->name = "changed";
    EXPECT_EQ(NameOf("T1"), HString("template"));
    EXPECT_EQ(NameOf("T2"), HString("none"));
}

TEST_F(KwDefineMgrTest, RulesComeInTheTemplatesOrderWithoutTheUndefined) {
    KwDefinitions all = Small();
    all.templates.nodes = {Template("T1", {"R2", "R9", "R1"})};
    ASSERT_TRUE(mgr.install(all));
    Rules rules = {nullptr};
    ASSERT_TRUE(mgr.get_rules_by_tpl(*mgr.get_tpl_by_id("T1"), rules));
    EXPECT_EQ(rules, (Rules{nullptr, mgr.get_rule_by_id("R2"), mgr.get_rule_by_id("R1")}));
}

TEST_F(KwDefineMgrTest, RulesOfACopyAreThoseOfTheRecord) {
    ASSERT_TRUE(mgr.install(Small()));
    QVKConfigKeywordTemplateNode const copy = *mgr.get_tpl_by_id("T1");
    Rules rules;
    ASSERT_TRUE(mgr.get_rules_by_tpl(copy, rules));
    EXPECT_EQ(rules, (Rules{mgr.get_rule_by_id("R1"), mgr.get_rule_by_id("R2")}));
}

TEST_F(KwDefineMgrTest, KnowsTheSubTypesOfATemplatesDefinedRules) {
    KwDefinitions all;
    all.templates.nodes = {Template("T1", {"R1", "R2", "R9", "R1"}), Template("T2", {"R3"}), Template("T3")};
    all.rules.nodes = {Rule("R1", 2002), Rule("R2", 1001), Rule("R3", -5)};
    ASSERT_TRUE(mgr.install(all));
    auto const has = [&](char const* id, int sub_type) {
        auto const* held = mgr.get_tpl_by_id(id);
        bool const answer = mgr.is_exist_rule_sub_type(*held, sub_type);
        EXPECT_EQ(mgr.is_exist_rule_sub_type(QVKConfigKeywordTemplateNode(*held), sub_type), answer);
        return answer;
    };
    EXPECT_TRUE(has("T1", 2002));
    EXPECT_TRUE(has("T1", 1001));
    EXPECT_FALSE(has("T1", 2001));
    EXPECT_TRUE(has("T2", -5));
    EXPECT_FALSE(has("T2", 1001));
    EXPECT_FALSE(has("T3", 0));
}

TEST_F(KwDefineMgrTest, AReplacementReplacesEverything) {
    ASSERT_TRUE(mgr.install(Small()));
    KwDefinitions all;
    all.templates.nodes = {Template("T2")};
    ASSERT_TRUE(mgr.install(all));
    EXPECT_EQ(NameOf("T1"), HString("none"));
    EXPECT_EQ(NameOf("T2"), HString("template"));
    EXPECT_EQ(mgr.get_rule_by_id("R1"), nullptr);
    EXPECT_EQ(mgr.get_data_class_by_id("C1"), nullptr);
    EXPECT_EQ(mgr.get_data_level_by_id("L1"), nullptr);
}

TEST_F(KwDefineMgrTest, RecordsFromBeforeAReplacementAreAnsweredFromTheirOwnSet) {
    ASSERT_TRUE(mgr.install(Small()));
    auto const* const old = mgr.get_tpl_by_id("T1");
    auto const* const old_rule = mgr.get_rule_by_id("R1");
    HString const old_md5 = mgr.get_md5_by_tpl(*old);
    for (int i = 0; i < 3; ++i) {
        KwDefinitions edited = Small();
        edited.rules.nodes = {Rule("R1", 3001 + i, "edited")};
        ASSERT_TRUE(mgr.install(edited));
    }
    EXPECT_EQ(old->common->id, HString("T1"));
    EXPECT_EQ(mgr.get_md5_by_tpl(*old), old_md5);
    EXPECT_NE(mgr.get_md5_by_tpl(*mgr.get_tpl_by_id("T1")), old_md5);
    Rules rules;
    ASSERT_TRUE(mgr.get_rules_by_tpl(*old, rules));
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules[0], old_rule);
    EXPECT_EQ(rules[0]->rule_text, HString("secret"));
    EXPECT_TRUE(mgr.is_exist_rule_sub_type(*old, 2001));
    EXPECT_FALSE(mgr.is_exist_rule_sub_type(*old, 3003));
    EXPECT_TRUE(mgr.is_exist_rule_sub_type(*mgr.get_tpl_by_id("T1"), 3003));
}

TEST_F(KwDefineMgrTest, RecordsOfAnotherManagerAreAnsweredFromThisOne) {
    KwDefineMgr other;
    ASSERT_TRUE(other.install(Small()));
    KwDefinitions edited = Small();
    edited.rules.nodes[0].sub_type = 3001;
    ASSERT_TRUE(mgr.install(edited));
    EXPECT_TRUE(mgr.is_exist_rule_sub_type(*other.get_tpl_by_id("T1"), 3001));
    EXPECT_EQ(mgr.get_md5_by_tpl(*other.get_tpl_by_id("T1")), mgr.get_md5_by_tpl(*mgr.get_tpl_by_id("T1")));
}

TEST_F(KwDefineMgrTest, LoadsWhatWasSaved) {
    ASSERT_EQ(Small().save(root / "snapshot"), 0);
    mgr.set_config_path(root / "snapshot");
    EXPECT_EQ(mgr.get_config_path().get_str(), root / "snapshot");
    ASSERT_EQ(mgr.load(), 0);
    KwDefineMgr installed;
    ASSERT_TRUE(installed.install(Small()));
    EXPECT_EQ(mgr.get_md5_by_tpl(*mgr.get_tpl_by_id("T1")), installed.get_md5_by_tpl(*installed.get_tpl_by_id("T1")));
    EXPECT_NE(mgr.get_data_class_by_id("C1"), nullptr);
    EXPECT_NE(mgr.get_data_level_by_id("L1"), nullptr);
}

TEST_F(KwDefineMgrTest, LoadsTheAgentsDefinitionsUnlessToldOtherwise) {
    ASSERT_EQ(Small().save(KwLocateMgr::pins()->get_config_path(true)), 0);
    KwDefineMgr* const shared = KwDefineMgr::pins();
    ASSERT_EQ(shared->load(), 0);
    EXPECT_NE(shared->get_tpl_by_id("T1"), nullptr);
    shared->set_config_path(root / "elsewhere");
    ASSERT_EQ(shared->load(), 0);
    EXPECT_EQ(shared->get_tpl_by_id("T1"), nullptr);
}

TEST_F(KwDefineMgrTest, LoadingNothingGivesEmptyTables) {
    ASSERT_TRUE(mgr.install(Small()));
    mgr.set_config_path(root / "missing");
    EXPECT_EQ(mgr.load(), 0);
    EXPECT_EQ(mgr.get_tpl_by_id("T1"), nullptr);
    EXPECT_EQ(mgr.get_rule_by_id("R1"), nullptr);
}

TEST_F(KwDefineMgrTest, AnEmptyDirectoryNameLoadsNothing) {
    ASSERT_TRUE(mgr.install(Small()));
    mgr.set_config_path("");
    EXPECT_EQ(mgr.load(), EINVAL);
    EXPECT_NE(mgr.get_tpl_by_id("T1"), nullptr);
}

TEST_F(KwDefineMgrTest, ADamagedArchiveIsAnEmptyTableAmongSoundOnes) {
    ASSERT_EQ(Small().save(root / "snapshot"), 0);
    WriteBytes(root / "snapshot/KeywordFormatItem.arc", "damaged");
    std::filesystem::remove(root / "snapshot/KeywordDataClass.arc");
    mgr.set_config_path(root / "snapshot/");
    EXPECT_EQ(mgr.load(), EBADMSG);
    EXPECT_NE(mgr.get_tpl_by_id("T1"), nullptr);
    EXPECT_EQ(mgr.get_rule_by_id("R1"), nullptr);
    EXPECT_EQ(mgr.get_data_class_by_id("C1"), nullptr);
    EXPECT_NE(mgr.get_data_level_by_id("L1"), nullptr);
}

TEST_F(KwDefineMgrTest, LoadReportsAnUnreadableArchiveBeforeADamagedOne) {
    std::filesystem::create_directories(root / "snapshot");
    WriteBytes(root / "snapshot/KeywordDataClass.arc", "damaged");
    mgr.set_config_path(root / "snapshot");
    EXPECT_EQ(mgr.load(), EBADMSG);
    std::filesystem::create_directories(root / "snapshot/KeywordDataLevel.arc");
    EXPECT_EQ(mgr.load(), EISDIR);
}

TEST_F(KwDefineMgrTest, TheSharedInstanceIsOneAndTheSame) {
    EXPECT_NE(KwDefineMgr::pins(), nullptr);
    EXPECT_EQ(KwDefineMgr::pins(), KwDefineMgr::pins());
}

}  // namespace
