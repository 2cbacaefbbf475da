#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "host/policy/KwDefineMgr.h"
#include "tests/host/policy/DefinitionBuilder.h"

namespace {

using definitions::Rule;
using definitions::Template;
using Edit = std::function<void(KwDefinitions&)>;

// Template "T1" of class "C1" and level "L1" with two rules whose fields all differ.
KwDefinitions Golden() {
    KwDefinitions all = definitions::Small();
    all.rules.nodes[0].common->name = "one";
    all.rules.nodes[1].common->name = "two";
    all.rules.nodes[1].description = "words";
    all.rules.nodes[1].min_count = 3;
    return all;
}

// The MD5 of template "T1" after an edit of the definitions above.
HString Md5After(Edit const& edit) {
    KwDefinitions all = Golden();
    edit(all);
    KwDefineMgr mgr;
    EXPECT_TRUE(mgr.install(all));
    return mgr.get_md5_by_tpl(*mgr.get_tpl_by_id("T1"));
}
HString Md5() {
    return Md5After([](KwDefinitions&) {});
}

// By md5sum, over
//   02 00 00 00 "T1"  02 00 00 00 "C1"  02 00 00 00 "L1"  02 00 00 00 and the rules:
//   02 00 00 00 "R1"  03 00 00 00 "one"  e9 03 00 00  01 00 00 00  06 00 00 00 "secret"  00 00 00 00  01 00 00 00
//   02 00 00 00 "R2"  03 00 00 00 "two"  d1 07 00 00  02 00 00 00  05 00 00 00 "*.doc"  05 00 00 00 "words"  03 00 00
//   00
// with two bytes per character.
TEST(KwDefineMgrMd5, IsOverTheDocumentedBytes) {
    EXPECT_EQ(Md5(), HString("13559D9FA725768AC8A78DA66CE452B4"));
}

// By md5sum, over 02 00 00 00 "T1"  02 00 00 00 "C1"  02 00 00 00 "L1"  00 00 00 00.
TEST(KwDefineMgrMd5, OfATemplateWithoutRulesIsOverItsOwnFields) {
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.templates.nodes[0].rule_ids.clear(); }),
              HString("7469A9BA84C5BD9CC51A90AFF65983E9"));
    EXPECT_EQ(KwDefineMgr().get_md5_by_tpl(Template("T1", {"R1"})), HString("7469A9BA84C5BD9CC51A90AFF65983E9"));
}

// By md5sum, over sixteen zero bytes.
TEST(KwDefineMgrMd5, OfARecordWithoutACommonPartTakesAnEmptyId) {
    QVKConfigKeywordTemplateNode none;
    none.common = nullptr;
    EXPECT_EQ(KwDefineMgr().get_md5_by_tpl(none), HString("4AE71336E44BF9BF79D2752E234818A5"));
}

TEST(KwDefineMgrMd5, NamesOfTemplateClassAndLevelDoNotCount) {
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.templates.nodes[0].common->name = "renamed"; }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.data_classes.nodes[0].common->name = "renamed"; }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.data_levels.nodes[0].common->name = "renamed"; }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.data_levels.nodes[0].level = 9; }), Md5());
}

TEST(KwDefineMgrMd5, TimesOfEditingDoNotCount) {
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.templates.nodes[0].common->update_time = 9; }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.rules.nodes[0].common->update_time = 9; }), Md5());
}

TEST(KwDefineMgrMd5, EveryFieldOfARuleCounts) {
    Edit const edits[] = {
        [](KwDefinitions& all) { all.rules.nodes[1].common->name = "renamed"; },
        [](KwDefinitions& all) { all.rules.nodes[1].sub_type = 2002; },
        [](KwDefinitions& all) { all.rules.nodes[1].rule_type = 3; },
        [](KwDefinitions& all) { all.rules.nodes[1].rule_text = "*.docx"; },
        [](KwDefinitions& all) { all.rules.nodes[1].description = ""; },
        [](KwDefinitions& all) { all.rules.nodes[1].min_count = 4; },
    };
    for (std::size_t i = 0; i < std::size(edits); ++i)
        EXPECT_NE(Md5After(edits[i]), Md5()) << "edit " << i;
}

TEST(KwDefineMgrMd5, TextsDoNotRunIntoEachOther) {
    auto const with = [](char const* rule_text, char const* description) {
        return Md5After([&](KwDefinitions& all) {
            all.rules.nodes[0].rule_text = rule_text;
            all.rules.nodes[0].description = description;
        });
    };
    EXPECT_NE(with("ab", "c"), with("a", "bc"));
    EXPECT_NE(with("ab", ""), with("", "ab"));
}

TEST(KwDefineMgrMd5, IdsOfTemplateClassAndLevelCount) {
    EXPECT_NE(Md5After([](KwDefinitions& all) { all.templates.nodes[0].data_class_id = "C2"; }), Md5());
    EXPECT_NE(Md5After([](KwDefinitions& all) { all.templates.nodes[0].data_level_id = "L2"; }), Md5());
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(Golden()));
    EXPECT_NE(mgr.get_md5_by_tpl(Template("T2", {"R1", "R2"})), Md5());
}

TEST(KwDefineMgrMd5, TheOrderOfRulesDoesNotCount) {
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.templates.nodes[0].rule_ids = {"R2", "R1"}; }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.templates.nodes[0].rule_ids = {"R2", "R1", "R2", "R1"}; }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { std::swap(all.rules.nodes[0], all.rules.nodes[1]); }), Md5());
}

TEST(KwDefineMgrMd5, WhichRulesATemplateHasCounts) {
    EXPECT_NE(Md5After([](KwDefinitions& all) { all.templates.nodes[0].rule_ids = {"R1"}; }), Md5());
    EXPECT_NE(Md5After([](KwDefinitions& all) { all.rules.nodes.pop_back(); }), Md5());
}

TEST(KwDefineMgrMd5, IdsWithoutARuleAndRulesOfNobodyDoNotCount) {
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.templates.nodes[0].rule_ids.emplace_back("R9"); }), Md5());
    EXPECT_EQ(Md5After([](KwDefinitions& all) { all.rules.nodes.push_back(Rule("R3")); }), Md5());
}

TEST(KwDefineMgrMd5, OfACopyIsThatOfTheRecord) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(Golden()));
    QVKConfigKeywordTemplateNode copy = *mgr.get_tpl_by_id("T1");
    EXPECT_EQ(mgr.get_md5_by_tpl(copy), Md5());
    copy.data_class_id = "C2";
    EXPECT_NE(mgr.get_md5_by_tpl(copy), Md5());
    EXPECT_EQ(mgr.get_md5_by_tpl(*mgr.get_tpl_by_id("T1")), Md5());
}

TEST(KwDefineMgrMd5, OfACopyFollowsTheRulesInPlaceNow) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(Golden()));
    auto const* const held = mgr.get_tpl_by_id("T1");
    QVKConfigKeywordTemplateNode const copy = *held;
    KwDefinitions edited = Golden();
    edited.rules.nodes[0].rule_text = "edited";
    ASSERT_TRUE(mgr.install(edited));
    EXPECT_EQ(mgr.get_md5_by_tpl(*held), Md5());
    EXPECT_EQ(mgr.get_md5_by_tpl(copy), mgr.get_md5_by_tpl(*mgr.get_tpl_by_id("T1")));
    EXPECT_NE(mgr.get_md5_by_tpl(copy), Md5());
}

}  // namespace
