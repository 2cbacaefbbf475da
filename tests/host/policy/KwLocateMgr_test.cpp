#include "host/policy/KwLocateMgr.h"

#include <gtest/gtest.h>

#include "host/policy/QVKConfigKeywordDataClassVTMgr.h"
#include "host/policy/QVKConfigKeywordDataLevelVTMgr.h"
#include "host/policy/QVKConfigKeywordFormatItemVTMgr.h"
#include "host/policy/QVKConfigKeywordTemplateVTMgr.h"
#include "tests/support/TempRoot.h"

namespace {

class KwLocateMgrTest : public testing::Test {
  protected:
    TempRoot root;
    KwLocateMgr* const mgr = KwLocateMgr::pins();
};

TEST_F(KwLocateMgrTest, DirectoriesLieBelowTheRoot) {
    EXPECT_EQ(mgr->get_config_path(false).get_str(), root / "config");
    EXPECT_EQ(mgr->get_config_path(true).get_str(), root / "config/");
    EXPECT_EQ(mgr->get_cache_path(false).get_str(), root / "cache");
    EXPECT_EQ(mgr->get_cache_path(true).get_str(), root / "cache/");
    EXPECT_EQ(mgr->get_template_path(false).get_str(), root / "cache/template");
    EXPECT_EQ(mgr->get_template_path(true).get_str(), root / "cache/template/");
    EXPECT_EQ(mgr->get_template_path("T 1", false).get_str(), root / "cache/template/T 1");
    EXPECT_EQ(mgr->get_template_path("T 1", true).get_str(), root / "cache/template/T 1/");
}

TEST_F(KwLocateMgrTest, NoIdLeadsOutOfTheTemplateDirectory) {
    std::string const directory = root / "cache/template/";
    EXPECT_EQ(mgr->get_template_path("", true).get_str(), directory + "%/");
    EXPECT_EQ(mgr->get_template_path(".", true).get_str(), directory + "%2E/");
    EXPECT_EQ(mgr->get_template_path("..", true).get_str(), directory + "%2E./");
    EXPECT_EQ(mgr->get_template_path("a/b", true).get_str(), directory + "a%2Fb/");
    EXPECT_EQ(mgr->get_template_path("../../x", true).get_str(), directory + "%2E.%2F..%2Fx/");
    EXPECT_EQ(mgr->get_template_path("%", true).get_str(), directory + "%25/");
    EXPECT_EQ(mgr->get_template_path("\n", true).get_str(), directory + "%0A/");
    EXPECT_EQ(mgr->get_template_path("/", false).get_str(), directory + "%2F");
}

TEST_F(KwLocateMgrTest, OnlyTheCachePathWithASeparatorMakesADirectory) {
    (void)mgr->get_config_path(true);
    (void)mgr->get_cache_path(false);
    (void)mgr->get_template_path(true);
    (void)mgr->get_template_path("T1", true);
    EXPECT_FALSE(Exists(root / "config"));
    EXPECT_FALSE(Exists(root / "cache"));
    (void)mgr->get_cache_path(true);
    EXPECT_TRUE(Exists(root / "cache"));
    EXPECT_FALSE(Exists(root / "cache/template"));
}

TEST_F(KwLocateMgrTest, ANewRootMovesEverything) {
    std::string const other = root / "other";
    mgr->set_root(other);
    EXPECT_EQ(mgr->get_config_path(true).get_str(), other + "/config/");
    EXPECT_EQ(mgr->get_template_path("T1", false).get_str(), other + "/cache/template/T1");
}

TEST_F(KwLocateMgrTest, TheTablesLieInTheConfigurationDirectory) {
    EXPECT_EQ(QVKConfigKeywordTemplateVTMgr::pins()->get_arc_file().get_str(), root / "config/KeywordTemplate.arc");
    EXPECT_EQ(QVKConfigKeywordFormatItemVTMgr::pins()->get_arc_file().get_str(), root / "config/KeywordFormatItem.arc");
    EXPECT_EQ(QVKConfigKeywordDataClassVTMgr::pins()->get_arc_file().get_str(), root / "config/KeywordDataClass.arc");
    EXPECT_EQ(QVKConfigKeywordDataLevelVTMgr::pins()->get_arc_file().get_str(), root / "config/KeywordDataLevel.arc");
}

}  // namespace
