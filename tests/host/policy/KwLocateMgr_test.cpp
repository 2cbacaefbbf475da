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

TEST_F(KwLocateMgrTest, EachTaskHasADirectoryWithItsFiles) {
    EXPECT_EQ(mgr->get_task_path(false).get_str(), root / "cache/task");
    EXPECT_EQ(mgr->get_task_path(true).get_str(), root / "cache/task/");
    EXPECT_EQ(mgr->get_task_path("t 1", false).get_str(), root / "cache/task/t 1");
    EXPECT_EQ(mgr->get_task_path("t 1", true).get_str(), root / "cache/task/t 1/");
    EXPECT_EQ(mgr->get_task_arc("t 1").get_str(), root / "cache/task/t 1/ScanTask.arc");
    EXPECT_EQ(mgr->get_task_snap_cache("t 1").get_str(), root / "cache/task/t 1/SnapCache");
}

TEST_F(KwLocateMgrTest, EachWayOfCountingHasADirectory) {
    EXPECT_EQ(mgr->get_sens_record_path(HString(true), true).get_str(), root / "cache/sensrecord/1/");
    EXPECT_EQ(mgr->get_sens_record_path("a", false).get_str(), root / "cache/sensrecord/a");
}

TEST_F(KwLocateMgrTest, NoIdLeadsOutOfTheTaskDirectory) {
    std::string const directory = root / "cache/task/";
    EXPECT_EQ(mgr->get_task_path("", true).get_str(), directory + "%/");
    EXPECT_EQ(mgr->get_task_path("..", false).get_str(), directory + "%2E.");
    EXPECT_EQ(mgr->get_task_arc("../../x").get_str(), directory + "%2E.%2F..%2Fx/ScanTask.arc");
    EXPECT_EQ(mgr->get_task_snap_cache("").get_str(), directory + "%/SnapCache");
    EXPECT_EQ(mgr->get_sens_record_path("..", false).get_str(), root / "cache/sensrecord/%2E.");
    EXPECT_EQ(mgr->get_sens_record_path("", true).get_str(), root / "cache/sensrecord/%/");
}

TEST_F(KwLocateMgrTest, OnlyTheCachePathWithASeparatorMakesADirectory) {
    (void)mgr->get_config_path(true);
    (void)mgr->get_cache_path(false);
    (void)mgr->get_template_path(true);
    (void)mgr->get_template_path("T1", true);
    (void)mgr->get_task_path("t1", true);
    (void)mgr->get_task_arc("t1");
    (void)mgr->get_task_snap_cache("t1");
    (void)mgr->get_sens_record_path("1", true);
    (void)mgr->get_policy_keyword_sens();
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
    EXPECT_EQ(mgr->get_policy_keyword_sens().get_str(), root / "config/PolicySensitiveFileAudit.arc");
}

}  // namespace
