#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "tests/support/SoundRoot.h"
#include "tests/tools/torvane/VerifyFixture.h"
#include "tools/torvane/check/TextCheck.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(VerifyOf, ASoundRootFindsNoDamage) {
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(QuickDamage(), IsEmpty());
    ToolResult const result = Run({"verify"});
    EXPECT_THAT(result.out, HasSubstr("no damage found in 3 stores"));
    EXPECT_EQ(result.status, 0);
}

TEST_F(VerifyOf, ASoundRootTellsTheRepeatedSlotsOfCounts) {
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots"));
}

TEST_F(VerifyOf, DamageNamesFileSlotAndOffset) {
    std::uint64_t const slot = LoneSlot();
    Put(Index(), torvane::IndexView::OffsetOf(slot), "X");
    auto const item = Run({"verify", "--format", "json"}).Json()["items"][0];
    EXPECT_EQ(item["file"], Index());
    EXPECT_EQ(item["slot"], slot);
    EXPECT_EQ(item["offset"], torvane::IndexView::OffsetOf(slot));
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("1 place damaged"));
}

TEST_F(VerifyOf, DamageFollowsItsSchemaLineByLine) {
    Put(Index(), torvane::IndexView::OffsetOf(LoneSlot()), "X");
    EXPECT_TRUE(FollowsSchema(Run({"verify", "--format", "jsonl"}).out, "jsonl"));
}

// Bytes that this process has read so far.
std::uint64_t BytesRead() {
    std::ifstream io("/proc/self/io");
    std::string word;
    std::uint64_t bytes = 0;
    io >> word >> bytes;
    return bytes;
}

TEST(CheckTextFile, ReadsLittleOfALargeFileThatIsNoArchive) {
    TempRoot const root;
    torvane::FindingList list;
    torvane::ChangeWatch watch;
    std::filesystem::create_directories(root / "text");
    for (char const* const head : {"none", "TVAR"}) {
        WriteBytes(root / "text/large.arc", head);
        std::filesystem::resize_file(root / "text/large.arc", 32U << 20U);
        std::uint64_t const before = BytesRead();
        torvane::CheckTextFile(root.Path(), "text/large.arc", torvane::Depth::kFull, list, watch);
        EXPECT_LT(BytesRead() - before, 1U << 20U);
    }
    EXPECT_EQ(list.Count(torvane::Severity::kDamage), 2U);
}

TEST(FindingList, KeepsTheFirstOfEachSeverity) {
    torvane::FindingList place;
    torvane::Reporter const report(place, "file");
    for (std::size_t i = 0; i < torvane::FindingList::kKept + 5; ++i)
        report.Waste("dead-bytes", {}, "waste", 1);
    report.Damage("stray", {}, "damage", "nothing");
    torvane::FindingList list;
    list.Append(std::move(place));
    ASSERT_EQ(list.kept().size(), torvane::FindingList::kKept + 1);
    EXPECT_EQ(list.kept().back().severity, torvane::Severity::kDamage);
    EXPECT_EQ(list.dropped(), 5U);
}

TEST(FindingList, TellsAsUnfinishedAlsoWhatItDoesNotKeep) {
    torvane::FindingList list;
    list.TellAsUnfinished([](torvane::Finding const& finding) { return finding.kind == std::string("stray"); });
    torvane::FindingList place = list.Another();
    for (std::size_t i = 0; i < torvane::FindingList::kKept + 5; ++i)
        torvane::Reporter(place, "file").Damage("stray", {}, "damage", "nothing");
    list.Append(std::move(place));
    EXPECT_EQ(list.Count(torvane::Severity::kDamage), 0U);
    EXPECT_EQ(list.Count(torvane::Severity::kWaste), torvane::FindingList::kKept + 5);
}

// A time still to come is that of a clock that was set back since.
TEST(IsJustWritten, IsNotSoOfATimeStillToCome) {
    struct timespec const now{1700000000, 0};
    struct timespec written = now;
    EXPECT_TRUE(torvane::IsJustWritten(written, now));
    written.tv_sec += 60;
    EXPECT_FALSE(torvane::IsJustWritten(written, now));
    written.tv_sec -= 120;
    EXPECT_FALSE(torvane::IsJustWritten(written, now));
}

// ---- waste

TEST_F(VerifyOf, WhatMayHaveBeenRemovedOnPurposeSaysWhatElseIsLost) {
    Remove(std::string(kTask) + "/cache");
    auto const lost_findings = Items(root_.Path())[0];
    EXPECT_EQ(lost_findings["kind"], "unfinished");
    EXPECT_THAT(std::string(lost_findings["lost"]), HasSubstr("3 findings"));
    ToolResult const result = Run({"compact", "--out", root_.Path() + "-out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("repair"));
}

TEST_F(VerifyOf, ASlotThatNoChainLeadsToIsWaste) {
    std::string bytes(57, '\0');
    bytes.replace(0, 32, "900150983cd24fb0d6963f7d28e17f72");
    bytes.replace(37, 8, std::string(8, '\xff'));
    Append(Index(), bytes);
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots", "unreachable-slot"));
}

TEST_F(VerifyOf, BytesOfNoRecordAreWaste) {
    Append(Data(), "dead");
    EXPECT_THAT(Waste(), ElementsAre("dead-bytes", "repeated-slots"));
    EXPECT_EQ(Run({"verify", "--format", "json"}).Json()["wasted_bytes"], 4 + 3 * 57);
}

TEST_F(VerifyOf, TemporaryFilesAreWaste) {
    WriteBytes(root_ / (Template() + "/index.tmp"), "");
    WriteBytes(root_ / (std::string(kTask) + "/ScanTask.arc.17-3.tmp"), "");
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots", "temporary"));
}

TEST_F(VerifyOf, ACacheThatIsHalfRemovedIsUnfinished) {
    Remove(Template() + "/KeywordTemplate.arc");
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots", "unfinished"));
    auto const item = Items(root_.Path())[0];
    EXPECT_THAT(std::string(item["lost"]), HasSubstr("every answer"));
    EXPECT_EQ(item["wasted_bytes"], ReadBytes(root_ / Index()).size() + ReadBytes(root_ / Data()).size());
    EXPECT_EQ(Run({"compact", "--out", Out()}).status, 1);
}

// ---- beside the agent

TEST_F(VerifyOf, ARootLeavesItAsItWas) {
    auto const before = StateOfCache();
    ASSERT_EQ(Run({"verify"}).status, 0);
    EXPECT_EQ(StateOfCache(), before);
    EXPECT_FALSE(Exists(root_ / "log"));
}

// ---- the answers of the program

TEST_F(VerifyOf, NothingIsNoCache) {
    EXPECT_EQ(tool_.Run({"verify", "--root", root_ / "nothing"}).status, 4);
}

// Open to others but for `closed`, which has this mode; what a verify says to somebody else.
class VerifyBySomebodyElse : public VerifyOf {
  protected:
    std::optional<ToolResult> Look(std::string const& closed, std::filesystem::perms mode) {
        using std::filesystem::perms;
        std::filesystem::permissions(root_.Path(), perms(0755));
        for (auto const& entry : std::filesystem::recursive_directory_iterator(root_.Path()))
            std::filesystem::permissions(entry.path(), entry.is_directory() ? perms(0755) : perms(0644));
        std::filesystem::permissions(root_ / closed, mode);
        auto result = tool_.RunUnprivileged({"verify", "--format", "json", "--root", root_.Path()});
        std::filesystem::permissions(root_ / closed, perms(0755));
        return result;
    }
    void ExpectUnreadable(std::string const& closed, unsigned mode, std::uint64_t stores) {
        auto const result = Look(closed, std::filesystem::perms(mode));
        if (!result) GTEST_SKIP() << "cannot become another user";
        EXPECT_EQ(result->status, 3) << closed << result->out << result->err;
        ASSERT_TRUE(FollowsSchema(result->out, "json")) << closed << result->out;
        EXPECT_EQ(result->Json()["damage"], 0);
        EXPECT_EQ(result->Json()["unreadable"], 1) << closed << result->out;
        EXPECT_EQ(result->Json()["stores"], stores) << closed;
    }
};

TEST_F(VerifyBySomebodyElse, ADirectoryThatMayNotBeListedLeavesTheOtherStores) {
    ExpectUnreadable("cache/template", 0, 2);
    ExpectUnreadable("cache/template/T1", 0, 2);
    ExpectUnreadable("cache/task", 0, 2);
    ExpectUnreadable("cache/sensrecord/1", 0, 2);
    ExpectUnreadable(kCounters, 0, 2);
}

TEST_F(VerifyBySomebodyElse, ADirectoryThatMayBeListedButNotSearched) {
    ExpectUnreadable("cache/template/T1", 0400, 2);
    ExpectUnreadable("cache/task", 0400, 2);
    WriteBytes(root_ / (std::string(kTask) + "/text/first.arc"), "damaged");
    ExpectUnreadable(std::string(kTask) + "/text", 0400, 3);
}

TEST_F(VerifyOf, AFileThatCannotBeReadIsNoDamage) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads everything";
    ASSERT_EQ(::chmod((root_ / Index()).c_str(), 0), 0);
    EXPECT_EQ(Run({"verify"}).status, 3);
}

}  // namespace
