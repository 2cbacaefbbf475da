#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/policy/KwDefineMgr.h"
#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

// What the kernel refuses for reasons of its own is reported as such: never as a missing or a foreign file.
class ArchiveFaults : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "table.arc";
    QVKConfigKeywordTemplateVT const small{definitions::Small().templates};
    QVKConfigKeywordTemplateVT const other{{definitions::Template("T2")}};

    // Tries to replace the file with another table; expects the error, the old content and no other file.
    void ExpectOldFileAfter(FaultInjection& faults, int error) {
        EXPECT_EQ(other.to_file(path), error);
        EXPECT_EQ(faults.Fired(), 1);
        QVKConfigKeywordTemplateVT read;
        EXPECT_EQ(read.from_file(path), 0);
        EXPECT_EQ(read.nodes, small.nodes);
        EXPECT_EQ(Files(root.Path()).size(), 1U);
    }
};

TEST_F(ArchiveFaults, AFileThatCannotBeOpenedIsNeitherMissingNorForeign) {
    ASSERT_EQ(small.to_file(path), 0);
    for (int const error : {EACCES, EMFILE, ENFILE, ENOMEM, EIO}) {
        FaultInjection faults;
        faults.OnlyBelow(root.Path());
        faults.Fail(SystemCall::kOpen, 1, error);
        QVKConfigKeywordTemplateVT table = other;
        EXPECT_EQ(table.from_file(path), error);
        EXPECT_TRUE(table.nodes.empty());
    }
}

TEST_F(ArchiveFaults, AFileThatCannotBeReadIsNotForeign) {
    ASSERT_EQ(small.to_file(path), 0);
    FaultInjection faults;
    faults.Fail(SystemCall::kPread, 1, EIO);
    QVKConfigKeywordTemplateVT table = other;
    EXPECT_EQ(table.from_file(path), EIO);
    EXPECT_TRUE(table.nodes.empty());
}

TEST_F(ArchiveFaults, ShortAndInterruptedReadsAreContinued) {
    ASSERT_EQ(small.to_file(path), 0);
    FaultInjection faults;
    faults.Fail(SystemCall::kPread, 2, EINTR);
    faults.ShortenFrom(SystemCall::kPread, 1, 7);
    QVKConfigKeywordTemplateVT table;
    EXPECT_EQ(table.from_file(path), 0);
    EXPECT_EQ(table.nodes, small.nodes);
    EXPECT_GT(faults.Fired(), 1);
}

TEST_F(ArchiveFaults, AFullDiskLeavesTheOldFile) {
    ASSERT_EQ(small.to_file(path), 0);
    FaultInjection faults;
    faults.Fail(SystemCall::kPwrite, 1, ENOSPC);
    ExpectOldFileAfter(faults, ENOSPC);
}

TEST_F(ArchiveFaults, AFailedCreationLeavesTheOldFile) {
    ASSERT_EQ(small.to_file(path), 0);
    FaultInjection faults;
    faults.OnlyBelow(root.Path());
    faults.Fail(SystemCall::kOpen, 1, EMFILE);
    ExpectOldFileAfter(faults, EMFILE);
}

TEST_F(ArchiveFaults, AFailedRenameLeavesTheOldFile) {
    ASSERT_EQ(small.to_file(path), 0);
    FaultInjection faults;
    faults.Fail(SystemCall::kRename, 1, EACCES);
    ExpectOldFileAfter(faults, EACCES);
}

TEST_F(ArchiveFaults, LoadReportsAnArchiveThatCannotBeOpened) {
    ASSERT_EQ(definitions::Small().save(root / "config"), 0);
    for (int nth = 1; nth <= 4; ++nth) {
        FaultInjection faults;
        faults.OnlyBelow(root / "config");
        faults.Fail(SystemCall::kOpen, nth, EMFILE);
        KwDefineMgr mgr;
        ASSERT_TRUE(mgr.install(definitions::Small()));
        auto const* const before = mgr.get_tpl_by_id(definitions::Small().templates.nodes.front().common->id);
        mgr.set_config_path(root / "config");
        EXPECT_EQ(mgr.load(), EMFILE);
        EXPECT_EQ(mgr.get_tpl_by_id(before->common->id), before);
    }
}

TEST_F(ArchiveFaults, AFailedSaveKeepsTheOldTemplates) {
    ASSERT_EQ(definitions::Small().save(root / "config"), 0);
    KwDefinitions edited;
    edited.templates = other;
    for (int nth = 1; nth <= 4; ++nth) {
        FaultInjection faults;
        faults.Fail(SystemCall::kRename, nth, ENOSPC);
        EXPECT_EQ(edited.save(root / "config"), ENOSPC);
        QVKConfigKeywordTemplateVT read;
        EXPECT_EQ(read.from_file(root / "config/KeywordTemplate.arc"), 0);
        EXPECT_EQ(read.nodes, small.nodes);
    }
}

}  // namespace
