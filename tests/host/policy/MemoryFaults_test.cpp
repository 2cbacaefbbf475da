#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKConfigKeywordTemplateVTMgr.h"
#include "host/policy/QVKKeywordText.h"
#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/EveryAllocation.h"

namespace {

using fault::FailEachAllocation;

class MemoryFaults : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "table.arc";
};

TEST_F(MemoryFaults, ATableThatCannotBeReadIsEmpty) {
    HString const file(path);
    ASSERT_EQ(definitions::Small().templates.to_file(file), 0);
    QVKConfigKeywordTemplateVT table;
    int const failures = FailEachAllocation([&] { return table.from_file(file); },
                                            [&](int result) {
                                                EXPECT_EQ(result, ENOMEM);
                                                EXPECT_TRUE(table.nodes.empty());
                                            });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(table.nodes.size(), 1U);
}

TEST_F(MemoryFaults, ATableThatCannotBeWrittenLeavesTheOldFile) {
    HString const file(path);
    QVKConfigKeywordFormatItemVT const table = definitions::Small().rules;
    ASSERT_EQ(QVKConfigKeywordFormatItemVT().to_file(file), 0);
    std::string const old = ReadBytes(path);
    int const failures = FailEachAllocation([&] { return table.to_file(file); },
                                            [&](int result) {
                                                EXPECT_EQ(result, ENOMEM);
                                                EXPECT_EQ(ReadBytes(path), old);
                                            });
    EXPECT_GT(failures, 0);
    EXPECT_NE(ReadBytes(path), old);
}

TEST_F(MemoryFaults, AFailedInstallReplacesNothing) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(definitions::Small()));
    HString const id("T1");
    auto const* const before = mgr.get_tpl_by_id(id);
    KwDefinitions all;
    bool installed = false;
    auto const install = [&] { installed = mgr.install(std::move(all)); };
    EXPECT_GT(fault::WithEveryFailure([&] { all = definitions::Small(); }, install,
                                      [&](bool failed) {
                                          EXPECT_NE(installed, failed);
                                          EXPECT_EQ(mgr.get_tpl_by_id(id) == before, failed);
                                      },
                                      {fault::Extent::kOne}),
              0);
}

TEST_F(MemoryFaults, AFailedLoadReplacesNothing) {
    ASSERT_EQ(definitions::Small().save(root / "config"), 0);
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(definitions::Small()));
    mgr.set_config_path(root / "config");
    HString const id("T1");
    auto const* const before = mgr.get_tpl_by_id(id);
    int const failures = FailEachAllocation([&] { return mgr.load(); },
                                            [&](int result) {
                                                EXPECT_EQ(result, ENOMEM);
                                                EXPECT_EQ(mgr.get_tpl_by_id(id), before);
                                            });
    EXPECT_GT(failures, 0);
    EXPECT_NE(mgr.get_tpl_by_id(id), before);
}

TEST_F(MemoryFaults, AFailedListAppendsNothing) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(definitions::Small()));
    std::vector<QVKConfigKeywordTemplateNode const*> templates;
    EXPECT_GT(FailEachAllocation([&] { return mgr.get_config_vt(templates); },
                                 [&](bool done) {
                                     EXPECT_FALSE(done);
                                     EXPECT_TRUE(templates.empty());
                                 }),
              0);
    EXPECT_EQ(templates.size(), 1U);
}

TEST_F(MemoryFaults, TheDirectoryNeedsNoMemory) {
    KwDefineMgr mgr;
    HString const directory(root / "elsewhere");
    AllocationFailure count(1000);
    mgr.set_config_path(directory);
    EXPECT_TRUE(mgr.get_config_path() == directory);
    EXPECT_EQ(count.Count(), 0);
}

TEST_F(MemoryFaults, QuestionsAboutACopyFailCleanly) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(definitions::Small()));
    QVKConfigKeywordTemplateNode const copy = *mgr.get_tpl_by_id("T1");
    HString const empty;
    EXPECT_GT(FailEachAllocation([&] { return mgr.get_md5_by_tpl(copy); },
                                 [&](HString const& md5) { EXPECT_EQ(md5, empty); }),
              0);
    std::vector<QVKConfigKeywordFormatItemNode const*> rules;
    EXPECT_GT(FailEachAllocation([&] { return mgr.get_rules_by_tpl(copy, rules); },
                                 [&](bool done) {
                                     EXPECT_FALSE(done);
                                     EXPECT_TRUE(rules.empty());
                                 }),
              0);
    EXPECT_GT(FailEachAllocation([&] { return mgr.is_exist_rule_sub_type(copy, 2001); },
                                 [](bool exists) { EXPECT_FALSE(exists); }),
              0);
}

TEST_F(MemoryFaults, AHeldTemplateNeedsNoMemory) {
    KwDefineMgr mgr;
    ASSERT_TRUE(mgr.install(definitions::Small()));
    HString const id("T1");
    AllocationFailure count(1000);
    auto const* const held = mgr.get_tpl_by_id(id);
    EXPECT_TRUE(mgr.is_exist_rule_sub_type(*held, 2001));
    EXPECT_TRUE(mgr.get_md5_by_tpl(*held).not_empty());
    EXPECT_TRUE(held->get_data_md5() == mgr.get_md5_by_tpl(*held));
    EXPECT_EQ(count.Count(), 0);
}

TEST_F(MemoryFaults, APathIsEmptyOrWhole) {
    KwLocateMgr* const mgr = KwLocateMgr::pins();
    HString const id("a template with a long id");
    auto const empty = [](HString const& text) { EXPECT_TRUE(text.empty()) << text.get_str(); };
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_config_path(true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_cache_path(true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_template_path(true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_template_path(id, true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_task_path(true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_task_path(id, true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_task_arc(id); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_task_snap_cache(id); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_sens_record_path(id, true); }, empty), 0);
    EXPECT_GT(FailEachAllocation([&] { return mgr->get_policy_keyword_sens(); }, empty), 0);
    EXPECT_GT(FailEachAllocation([] { return QVKConfigKeywordTemplateVTMgr::pins()->get_arc_file(); }, empty), 0);
}

TEST_F(MemoryFaults, ATextIsKeptWholeOrNotAtAll) {
    QVKKeywordText text;
    text.tpl_id = "a template with a long id";
    text.line_positions = {{1, {{2, 3}}}};
    char* buf = nullptr;
    long long len = 0;
    EXPECT_EQ(FailEachAllocation([&] { return text.to_buffer(buf, len); },
                                 [&](bool done) {
                                     EXPECT_FALSE(done);
                                     EXPECT_EQ(buf, nullptr);
                                     EXPECT_EQ(len, 0);
                                 }),
              2);
    std::unique_ptr<char[]> const owner(buf);
    QVKKeywordText read;
    EXPECT_EQ(FailEachAllocation([&] { return read.from_buffer(buf, len); },
                                 [&](bool done) {
                                     EXPECT_FALSE(done);
                                     EXPECT_EQ(read, QVKKeywordText());
                                 }),
              3);
    EXPECT_EQ(read, text);
}

}  // namespace
