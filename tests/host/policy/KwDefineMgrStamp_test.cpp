#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"
#include "host/policy/KwDefineMgr.h"
#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"

namespace {

using definitions::Small;
using definitions::Template;
using Templates = std::vector<QVKConfigKeywordTemplateNode const*>;

// The MD5 that a manager notes in its templates, and the list of them.
class KwDefineMgrStampTest : public testing::Test {
  protected:
    TempRoot root;
    KwDefineMgr mgr;

    QVKConfigKeywordTemplateNode const& Held(char const* id) const { return *mgr.get_tpl_by_id(id); }
};

TEST_F(KwDefineMgrStampTest, ATemplateHandedOutBearsItsMd5) {
    KwDefinitions all = Small();
    all.templates.nodes.push_back(Template("T2"));
    ASSERT_TRUE(mgr.install(all));
    for (char const* id : {"T1", "T2"}) {
        EXPECT_EQ(Held(id).get_data_md5().length(), 32);
        EXPECT_EQ(Held(id).get_data_md5(), mgr.get_md5_by_tpl(Held(id)));
    }
    EXPECT_FALSE(Held("T1").get_data_md5() == Held("T2").get_data_md5());
}

// By md5sum, over 02 00 00 00 "T1"  02 00 00 00 "C1"  02 00 00 00 "L1"  00 00 00 00, two bytes per character.
TEST_F(KwDefineMgrStampTest, TheMd5IsTheDocumentedOne) {
    KwDefinitions all;
    all.templates.nodes = {Template("T1")};
    ASSERT_TRUE(mgr.install(all));
    EXPECT_EQ(Held("T1").get_data_md5(), HString("7469A9BA84C5BD9CC51A90AFF65983E9"));
}

TEST_F(KwDefineMgrStampTest, ATemplateOfItsOwnBearsNone) {
    EXPECT_TRUE(Template("T1").get_data_md5().empty());
}

TEST_F(KwDefineMgrStampTest, TheCallersDefinitionsAreNotTouched) {
    KwDefinitions const all = Small();
    ASSERT_TRUE(mgr.install(all));
    EXPECT_TRUE(all.templates.nodes[0].get_data_md5().empty());
}

TEST_F(KwDefineMgrStampTest, ACopyBearsTheMd5OfItsOrigin) {
    ASSERT_TRUE(mgr.install(Small()));
    QVKConfigKeywordTemplateNode const copy = Held("T1");
    EXPECT_EQ(copy.get_data_md5(), mgr.get_md5_by_tpl(Held("T1")));
}

TEST_F(KwDefineMgrStampTest, WhatACallerWroteThereDoesNotCount) {
    KwDefinitions all = Small();
    all.templates.nodes[0].data_md5 = "forged";
    ASSERT_TRUE(mgr.install(all));
    KwDefineMgr other;
    ASSERT_TRUE(other.install(Small()));
    EXPECT_EQ(Held("T1").get_data_md5(), other.get_tpl_by_id("T1")->get_data_md5());
}

TEST_F(KwDefineMgrStampTest, AnEditedCopyThatIsInstalledGetsItsOwn) {
    ASSERT_TRUE(mgr.install(Small()));
    QVKConfigKeywordTemplateNode const* const old = &Held("T1");
    HString const before = old->get_data_md5();
    KwDefinitions edited = Small();
    edited.templates.nodes = {*old};
    edited.templates.nodes[0].data_level_id = "L2";
    ASSERT_TRUE(mgr.install(edited));
    EXPECT_EQ(Held("T1").get_data_md5(), mgr.get_md5_by_tpl(Held("T1")));
    EXPECT_FALSE(Held("T1").get_data_md5() == before);
    EXPECT_EQ(old->get_data_md5(), before);
}

TEST_F(KwDefineMgrStampTest, LoadedTemplatesBearTheirsToo) {
    ASSERT_EQ(Small().save(root / "config"), 0);
    mgr.set_config_path(root / "config");
    ASSERT_EQ(mgr.load(), 0);
    EXPECT_EQ(Held("T1").get_data_md5(), mgr.get_md5_by_tpl(Held("T1")));
}

TEST_F(KwDefineMgrStampTest, NeitherArchivesNorComparisonsKnowOfIt) {
    ASSERT_TRUE(mgr.install(Small()));
    QVKConfigKeywordTemplateVT stamped;
    stamped.nodes = {Held("T1")};
    ASSERT_EQ(stamped.to_file(root / "stamped.arc"), 0);
    ASSERT_EQ(Small().templates.to_file(root / "plain.arc"), 0);
    EXPECT_EQ(ReadBytes(root / "stamped.arc"), ReadBytes(root / "plain.arc"));
    EXPECT_EQ(stamped.nodes[0], Small().templates.nodes[0]);
    ASSERT_EQ(stamped.from_file(root / "stamped.arc"), 0);
    EXPECT_TRUE(stamped.nodes[0].get_data_md5().empty());
}

TEST_F(KwDefineMgrStampTest, WhatIsReadIntoARecordBearsNone) {
    ASSERT_TRUE(mgr.install(Small()));
    QVKConfigKeywordTemplateNode record = Held("T1");
    Varnok::ArchiveWriter writer;
    record.Encode(writer);
    Varnok::ArchiveReader reader(writer.bytes());
    ASSERT_TRUE(record.Decode(reader));
    EXPECT_TRUE(record.get_data_md5().empty());
}

TEST_F(KwDefineMgrStampTest, TheListIsInIdOrderAndAppended) {
    KwDefinitions all;
    all.templates.nodes = {Template("T2"), Template("a"), Template("T1"), Template("T10"), Template("T1")};
    ASSERT_TRUE(mgr.install(all));
    Templates list = {nullptr};
    ASSERT_TRUE(mgr.get_config_vt(list));
    EXPECT_EQ(list, (Templates{nullptr, &Held("T1"), &Held("T10"), &Held("T2"), &Held("a")}));
}

TEST_F(KwDefineMgrStampTest, WithoutDefinitionsTheListIsEmpty) {
    Templates list;
    EXPECT_TRUE(mgr.get_config_vt(list));
    EXPECT_TRUE(list.empty());
    ASSERT_TRUE(mgr.install(KwDefinitions()));
    EXPECT_TRUE(mgr.get_config_vt(list));
    EXPECT_TRUE(list.empty());
}

TEST_F(KwDefineMgrStampTest, WhatAListHoldsOutlivesAReplacement) {
    ASSERT_TRUE(mgr.install(Small()));
    Templates list;
    ASSERT_TRUE(mgr.get_config_vt(list));
    ASSERT_TRUE(mgr.install(KwDefinitions()));
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]->common->id, HString("T1"));
}

}  // namespace
