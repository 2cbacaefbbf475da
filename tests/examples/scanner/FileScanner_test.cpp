#include "examples/scanner/FileScanner.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/policy/KwDefineMgr.h"
#include "tests/examples/scanner/PolicyRoot.h"

namespace scanner {
namespace {

class FileScanning : public testing::Test {
  protected:
    static Options OneMebibyte() {
        Options options;
        options.most_file_bytes = 1 << 20;
        return options;
    }

    FileOutcome Scan(std::string const& path) { return scanner_.Work(path); }
    Counters const& Figures() const { return scanner_.counters(); }

    PolicyRoot root_;
    TempTree const& tree_ = root_.tree();
    Policy policy_ = PolicyRoot::InForce("plan");
    Options options_ = OneMebibyte();
    ContentGate gate_;
    FileScanner scanner_{policy_, options_, gate_, nullptr};
};

TEST_F(FileScanning, IsAnsweredTheSecondTime) {
    std::string const file = tree_.Write("a.pem", "the plan");
    FileOutcome const scanned = Scan(file);
    FileOutcome const answered = Scan(file);
    EXPECT_TRUE(scanned.sensitive);
    EXPECT_EQ(scanned.verdict, "File name: *.pem\nplan(1)\n");
    EXPECT_EQ(answered.verdict, scanned.verdict);
    EXPECT_EQ(Figures().misses, 1U);
    EXPECT_EQ(Figures().full_hits, 1U);
    EXPECT_EQ(Figures().answers_scanned(), 3U);
}

TEST_F(FileScanning, OfKnownContentUnderANewNameAsksOnlyWhatDependsOnTheName) {
    Scan(tree_.Write("a.txt", "the plan"));
    FileOutcome const outcome = Scan(tree_.Write("b.pem", "the plan"));
    EXPECT_EQ(outcome.verdict, "File name: *.pem\nplan(1)\n");
    EXPECT_EQ(Figures().partial_hits, 1U);
    EXPECT_EQ(Figures().templates[0].scanned, 2U);
    EXPECT_EQ(Figures().templates[1].scanned, 1U);
}

TEST_F(FileScanning, LooksIntoCompressedText) {
    FileOutcome const outcome = Scan(tree_.Write("a.gz", Gzip("plan, plan")));
    EXPECT_EQ(outcome.verdict, "plan(2)\n");
}

TEST_F(FileScanning, OfAnEmptyFileFindsNothingAndRemembersIt) {
    std::string const file = tree_.Write("empty", "");
    EXPECT_FALSE(Scan(file).sensitive);
    EXPECT_FALSE(Scan(file).sensitive);
    EXPECT_EQ(Figures().full_hits, 1U);
}

TEST_F(FileScanning, DropsAnswersWhoseDefinitionChangedMeanwhile) {
    Scan(tree_.Write("warm-up", "opens the caches"));
    ASSERT_TRUE(KwDefineMgr::pins()->install(PolicyRoot::Definitions("changed")));
    FileOutcome const outcome = Scan(tree_.Write("a.txt", "the plan"));
    EXPECT_EQ(outcome.verdict, "plan(1)\n");
    EXPECT_EQ(Figures().outdated_answers, 1U);

    FileScanner again(policy_, options_, gate_, nullptr);
    (void)again.Work(tree_ / "a.txt");
    EXPECT_EQ(again.counters().partial_hits, 1U);
    EXPECT_EQ(again.counters().templates[1].scanned, 1U);
}

TEST_F(FileScanning, WithoutTheCacheNeitherAsksNorStores) {
    options_.use_cache = false;
    std::string const file = tree_.Write("a.txt", "the plan");
    EXPECT_EQ(Scan(file).verdict, "plan(1)\n");
    EXPECT_EQ(Scan(file).verdict, "plan(1)\n");
    EXPECT_EQ(Figures().answers_scanned(), 6U);
    EXPECT_FALSE(std::filesystem::exists(tree_ / "root/cache/template/words"));
}

TEST_F(FileScanning, TellsWhatItCouldNotRead) {
    FileOutcome const outcome = Scan(tree_ / "vanished");
    EXPECT_FALSE(outcome.read);
    EXPECT_EQ(outcome.trouble, "No such file or directory");
    EXPECT_EQ(Scan(tree_.Write("large", std::string((1 << 20) + 1, 'x'))).trouble, "skipped, larger than 1 MiB");
    EXPECT_EQ(Figures().unreadable, 1U);
    EXPECT_EQ(Figures().too_large, 1U);
    EXPECT_EQ(Figures().files, 0U);
}

}  // namespace
}  // namespace scanner
