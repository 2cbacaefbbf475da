// What a scan that is a task hands over besides answers: findings, counts, texts.
#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>

#include "examples/scanner/Digest.h"
#include "examples/scanner/FileScanner.h"
#include "examples/scanner/Registry.h"
#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskStore.h"
#include "tests/examples/scanner/PolicyRoot.h"
#include "tests/examples/scanner/PutPolicy.h"

namespace scanner {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

class TaskScanning : public testing::Test {
  protected:
    static Options OneMebibyte() {
        Options options;
        options.most_file_bytes = 1 << 20;
        return options;
    }

    FileOutcome Scan(std::string const& path) { return scanner_.Work(path); }
    // Scans again with another keyword in the template "words", under the same task or another.
    FileOutcome ScanEdited(std::string const& path, std::string const& word, HString const& task = "job") {
        Policy const edited = PolicyRoot::InForce(word);
        TaskRun run(task, "", audit_, 60s);
        FileScanner scanner(edited, options_, gate_, &run);
        FileOutcome outcome = scanner.Work(path);
        edited_counters_ = scanner.counters();
        return outcome;
    }
    Counters const& Figures() const { return scanner_.counters(); }

    static std::vector<SensFile> Findings() {
        DLPCacheTask const& cache = *TaskRegistry().GetCache("job");
        std::vector<SensFile> findings;
        while (true) {
            SensFile file;
            int const code = cache.Find(static_cast<int>(findings.size()) + 1, file);
            if (code < 0) ADD_FAILURE() << "finding " << findings.size() + 1 << ": code " << code;
            if (code <= 0) return findings;
            findings.push_back(file);
        }
    }
    // Bytes of every file of a template's caches.
    [[nodiscard]] std::uintmax_t StoredBytes(std::string const& tpl) const {
        std::uintmax_t bytes = 0;
        for (auto const& entry : std::filesystem::recursive_directory_iterator(tree_ / ("root/cache/template/" + tpl)))
            bytes += entry.is_regular_file() ? entry.file_size() : 0;
        return bytes;
    }
    [[nodiscard]] bool IsKept(std::string const& content) const {
        std::string const md5 = Digest(Digest::Kind::kMd5).Of(content);
        return std::filesystem::exists(tree_ / ("root/cache/task/job/text/" + md5 + ".arc"));
    }

    PolicyRoot root_;
    TempTree const& tree_ = root_.tree();
    Policy policy_ = PolicyRoot::InForce("plan");
    Options options_ = OneMebibyte();
    ContentGate gate_;
    QVKPolicySensitiveFileAuditNode audit_ = PutPolicyInForce("daily", policy_.ids());
    TaskRun task_{"job", "", audit_, 60s};
    FileScanner scanner_{policy_, options_, gate_, &task_};
    Counters edited_counters_{3};
};

TEST_F(TaskScanning, RecordsASensitiveFileThatWasScannedWithEveryTemplate) {
    std::string const file = tree_.Write("a.pem", "the plan");
    Scan(file);
    std::vector<SensFile> const findings = Findings();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].file_path, HString(file));
    EXPECT_EQ(findings[0].file_attrs[0], 8);
    EXPECT_THAT(findings[0].tpl_ids, ElementsAre(HString("names"), HString("words")));
    EXPECT_EQ(findings[0].extra_1, "File name: *.pem\nplan(1)\n");
    EXPECT_EQ(findings[0].extra_2, "1");
    Scan(file);
    EXPECT_EQ(Figures().full_hits, 1U);  // the answers were stored as well
}

TEST_F(TaskScanning, RecordsASensitiveFileThatTheCacheAnswered) {
    Scan(tree_.Write("a.txt", "the plan"));
    FileOutcome const outcome = Scan(tree_.Write("copy.txt", "the plan"));
    EXPECT_TRUE(outcome.sensitive);
    ASSERT_EQ(Findings().size(), 2U);
    EXPECT_EQ(Findings()[1].file_path, HString(tree_ / "copy.txt"));
    EXPECT_EQ(Findings()[1].extra_1, "plan(1)\n");
}

TEST_F(TaskScanning, RecordsAPartlyAnsweredFileOnceWithAllItsTemplates) {
    Scan(tree_.Write("a.txt", "the plan"));
    Scan(tree_.Write("b.pem", "the plan"));  // the name is asked anew, the text is answered
    EXPECT_EQ(Figures().partial_hits, 1U);
    ASSERT_EQ(Findings().size(), 2U);
    EXPECT_THAT(Findings()[1].tpl_ids, ElementsAre(HString("names"), HString("words")));
    EXPECT_EQ(Findings()[1].extra_1, "File name: *.pem\nplan(1)\n");
    Scan(tree_ / "b.pem");
    EXPECT_EQ(Figures().full_hits, 1U);
}

TEST_F(TaskScanning, StoresOnlyTheAnswersThatWereMissing) {
    Scan(tree_.Write("a.txt", "the plan"));
    std::uintmax_t const stored = StoredBytes("words");
    Scan(tree_.Write("b.pem", "the plan"));
    EXPECT_EQ(Figures().partial_hits, 1U);
    EXPECT_EQ(StoredBytes("words"), stored);
}

TEST_F(TaskScanning, RecordsNothingOfOtherFiles) {
    std::string const file = tree_.Write("a.txt", "nothing");
    EXPECT_EQ(Scan(file).found_times, 0);
    EXPECT_EQ(Scan(file).found_times, 0);
    EXPECT_THAT(Findings(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(tree_ / "root/cache/sensrecord"));
}

TEST_F(TaskScanning, CountsHowOftenAFileWasFound) {
    std::string const file = tree_.Write("a.txt", "the plan");
    std::string const other = tree_.Write("b.txt", "the plan");
    EXPECT_EQ(Scan(file).found_times, 1);
    EXPECT_EQ(Scan(file).found_times, 2);
    EXPECT_EQ(Scan(other).found_times, 1);
    EXPECT_EQ(Findings()[1].extra_2, "2");
}

TEST_F(TaskScanning, CountsOnAcrossTasksOfOnePolicy) {
    std::string const file = tree_.Write("a.txt", "the plan");
    Scan(file);
    EXPECT_EQ(ScanEdited(file, "plan", "tomorrow's").found_times, 2);
}

TEST_F(TaskScanning, RecordsWhatItFoundAlsoUnderADefinitionThatChangedMeanwhile) {
    Scan(tree_.Write("warm-up", "opens the caches"));
    ASSERT_TRUE(KwDefineMgr::pins()->install(PolicyRoot::Definitions("changed")));
    EXPECT_EQ(Scan(tree_.Write("a.txt", "the plan")).verdict, "plan(1)\n");
    EXPECT_EQ(Figures().outdated_answers, 1U);
    ASSERT_EQ(Findings().size(), 1U);
    EXPECT_EQ(Findings()[0].extra_1, "plan(1)\n");
}

TEST_F(TaskScanning, WithoutATaskRecordsAndCountsNothing) {
    FileScanner scanner(policy_, options_, gate_, nullptr);
    FileOutcome const outcome = scanner.Work(tree_.Write("a.txt", "the plan"));
    EXPECT_TRUE(outcome.sensitive);
    EXPECT_EQ(outcome.found_times, 0);
    EXPECT_THAT(Findings(), IsEmpty());
}

TEST_F(TaskScanning, TakesAKeptTextWhenATemplateWasEditedWithTheSameVerdict) {
    std::string const content = Gzip("the plan, x@example.com, \xff and the schedule");
    std::string const file = tree_.Write("a.gz", content);
    EXPECT_EQ(Scan(file).verdict, "plan(1)\nE-mail addresses: 1\n");
    ASSERT_TRUE(IsKept(content));
    FileOutcome const edited = ScanEdited(file, "\\u00ff");  // a character that the text does not hold
    EXPECT_EQ(edited.verdict, "E-mail addresses: 1\n");
    EXPECT_EQ(ScanEdited(file, "schedule").verdict, "schedule(1)\nE-mail addresses: 1\n");
    EXPECT_EQ(edited_counters_.texts_kept, 1U);
    EXPECT_EQ(edited_counters_.answers_scanned(), 1U);
}

TEST_F(TaskScanning, KeepsNoTextOfPlainContent) {
    std::string const file = tree_.Write("a.txt", "the plan");
    Scan(file);
    EXPECT_FALSE(IsKept("the plan"));
    EXPECT_TRUE(ScanEdited(file, "pla").sensitive);
    EXPECT_EQ(edited_counters_.texts_kept, 0U);
}

TEST_F(TaskScanning, KeepsNoTextOfTheFileBefore) {
    Scan(tree_.Write("b.txt", "another plan"));
    Scan(tree_.Write("a.gz", Gzip("the plan")));
    Scan(tree_.Write("b.pem", "another plan"));  // asks for its name alone, no text is extracted
    EXPECT_EQ(Figures().partial_hits, 1U);
    EXPECT_FALSE(IsKept("another plan"));
}

TEST_F(TaskScanning, KeepsNoTextWithoutAMatch) {
    std::string const content = Gzip("nothing");
    Scan(tree_.Write("a.gz", content));
    EXPECT_FALSE(IsKept(content));
}

TEST_F(TaskScanning, KeepsNoTextOfDamagedContent) {
    std::string content = Gzip("the plan, the plan and more of the plan");
    content.resize(content.size() - 4);
    std::string const file = tree_.Write("a.gz", content);
    EXPECT_TRUE(Scan(file).sensitive);
    EXPECT_EQ(Figures().damaged, 1U);
    EXPECT_FALSE(IsKept(content));
    (void)ScanEdited(file, "more");
    EXPECT_EQ(edited_counters_.damaged, 1U);
}

TEST_F(TaskScanning, KeepsNoTextThatWasCut) {
    std::string const content = Gzip("the plan" + std::string(TextExtractor::kMostText, ' '));
    EXPECT_TRUE(Scan(tree_.Write("a.gz", content)).sensitive);
    EXPECT_EQ(Figures().texts_cut, 1U);
    EXPECT_FALSE(IsKept(content));
}

TEST_F(TaskScanning, ExtractsAgainWhatOnlyAnotherTaskHasKept) {
    std::string const file = tree_.Write("a.gz", Gzip("the plan"));
    Scan(file);
    EXPECT_EQ(ScanEdited(file, "the", "another").verdict, "the(1)\n");
    EXPECT_EQ(edited_counters_.texts_kept, 0U);
}

}  // namespace
}  // namespace scanner
