// Processes in which four threads record findings and answers are killed at random moments and started again over the
// same files. Every answer that DLPCacheTpl::Add acknowledged and every finding for which WaitWritten returned true
// must be there afterwards, byte for byte. Kills $TORVANE_KILLS times in all, else 40.
//
// A writer sleeps half a second at a time, so most of a life is waiting: several families, each with a root of its own,
// live side by side. What was acknowledged is noted in memory that a family's processes share.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/stress/StressAgent.h"
#include "tests/support/Seed.h"
#include "tests/support/TempRoot.h"

namespace {

using namespace stress;

constexpr int kFamilies = 8;
constexpr int kThreads = 4;
constexpr int kMost = 200000;          // answers or findings of one thread, over all lives
constexpr int kBucketsForMany = 1009;  // chains form, but tens of thousands of answers do not take hours
constexpr int kSample = 300;       // of the answers that earlier lives have checked, looked at again by each new one
constexpr int kLongestLife = 900;  // milliseconds
constexpr int kPatience = 120000;  // milliseconds until a queue must be written in the last life
constexpr signed char kNotAcknowledged = -1;

// What one thread has done in all its lives.
struct Notes {
    std::atomic<int> answers_begun;
    std::atomic<int> findings_begun;
    std::atomic<int> answers_settled;  // a later life has checked all before this one
    std::atomic<int> findings_settled;
    std::atomic<int> checked;                             // all in all
    std::array<std::atomic<signed char>, kMost> answers;  // what Add returned
    std::array<std::atomic<bool>, kMost> findings;        // written, as WaitWritten said
};

struct FamilyNotes {
    std::array<Notes, kThreads> threads;
    std::atomic<int> lives;
    std::atomic<int> last_sn;  // when all before findings_settled had been checked
};

// Memory that child processes share with their parent, zero at first.
class SharedNotes {
  public:
    SharedNotes()
        : memory_(::mmap(nullptr, sizeof(FamilyNotes), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ == MAP_FAILED) throw std::bad_alloc();
        notes_ = new (memory_) FamilyNotes();
        for (Notes& notes : notes_->threads) {
            for (auto& answer : notes.answers)
                answer = kNotAcknowledged;
        }
    }
    ~SharedNotes() { ::munmap(memory_, sizeof(FamilyNotes)); }
    SharedNotes(SharedNotes const&) = delete;
    SharedNotes& operator=(SharedNotes const&) = delete;
    FamilyNotes& operator*() const { return *notes_; }
    FamilyNotes* operator->() const { return notes_; }

  private:
    void* memory_;
    FamilyNotes* notes_ = nullptr;
};

// One process's life. Whatever is not as it should be ends it with a message and status 1.
class Life {
  public:
    Life(std::string const& root, FamilyNotes& notes) : notes_(notes), life_(notes.lives.fetch_add(1)) {
        KwLocateMgr::pins()->set_root(HString(root));
        agent_ = std::make_unique<Agent>(root, kBucketsForMany);
        auto const* const tpl = KwDefineMgr::pins()->get_tpl_by_id(HString(TplId(0)));
        answers_ = DLPCacheTplMgr::pins()->GetCache(*tpl, KwDefineMgr::pins()->get_md5_by_tpl(*tpl));
        Demand(answers_ != nullptr, "the template's cache is missing");
        DLPCacheTaskMgr::pins()->AddTask(MakeTask());
        findings_ = DLPCacheTaskMgr::pins()->GetCache(TaskId());
        Demand(findings_ != nullptr, "the task has no writer");
    }

    // What no earlier life has checked, and a sample of the answers that it has. The checks would take longer with each
    // life otherwise.
    void CheckWhatIsNew() {
        int const last_sn = ReadFindings(notes_.last_sn);
        std::mt19937 random(static_cast<unsigned>(life_));
        for (int thread = 0; thread < kThreads; ++thread) {
            Notes& notes = NotesOf(thread);
            if (int const settled = notes.answers_settled; settled > 0) {
                for (int i = 0; i < kSample; ++i)
                    CheckAnswer(thread, static_cast<int>(random() % static_cast<unsigned>(settled)));
            }
            Check(thread, notes.answers_settled, notes.findings_settled);
            notes.answers_settled = notes.answers_begun.load();
            notes.findings_settled = notes.findings_begun.load();
        }
        notes_.last_sn = last_sn;
    }
    void CheckAll() {
        Demand(findings_->WaitWritten(kPatience), "the queue does not get empty");
        ReadFindings(0);
        for (int thread = 0; thread < kThreads; ++thread)
            Check(thread, 0, 0);
    }
    // Until the process is killed.
    [[noreturn]] void Work() {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back([this, thread] { Record(thread); });
        for (;;)
            ::pause();
    }

  private:
    static void Demand(bool met, char const* what, int thread = -1, int number = -1, int code = 0) {
        if (met) return;
        std::fprintf(stderr, "life: %s (thread %d, number %d, code %d)\n", what, thread, number, code);
        std::_Exit(1);
    }
    static HString TaskId() { return HString("task"); }
    static ScanTask* MakeTask() {
        static ScanTask* const task = new ScanTask;  // the registry wants it for the life of the process
        task->id = TaskId();
        task->policy->audit_node->tpl_ids = EveryTpl();
        return task;
    }

    static std::string Name(int thread, int number) {
        return "file " + std::to_string(thread) + "-" + std::to_string(number);
    }
    // Every third answer is "no match". The text of the others is of its own length and content.
    static QVKReportKeywordAttachNode NodeOf(int thread, int number) {
        QVKKeywordMatchNode node;
        AddMatch(thread * kMost + number, 0, 0, node);
        return number % 3 == 0 ? QVKReportKeywordAttachNode() : node.attach_nodes[0];
    }
    static QVKKeywordText TextOf(int thread, int number) {
        QVKKeywordText text;
        if (number % 3 == 0) return text;
        text.tpl_id = HString(TplId(0));
        text.text = HString(Name(thread, number) + std::string(static_cast<std::size_t>(number % 200), 'x'));
        text.line_positions = {{number, {{1, 2}, {3, number}}}};
        return text;
    }
    static SensFile FindingOf(int thread, int number) {
        SensFile file;
        file.file_path = HString("/data/" + Name(thread, number));
        file.file_md5 = HString(Name(thread, number)).get_md5_std_format("");
        file.file_attrs = {number, thread, -number, 1LL << 40};
        file.tpl_ids = {HString(TplId(0)), HString(TplId(number % kTemplates))};
        file.extra_1 = HString(std::string(static_cast<std::size_t>(number % 300), 'v'));
        return file;
    }

    [[nodiscard]] Notes& NotesOf(int thread) const { return notes_.threads[static_cast<std::size_t>(thread)]; }

    void Record(int thread) {
        Notes& notes = NotesOf(thread);
        std::vector<int> queued;
        while (notes.answers_begun < kMost - 10 && notes.findings_begun < kMost - 10) {
            for (int i = 0; i < 5; ++i) {
                int const number = notes.answers_begun.fetch_add(1);
                int const code = answers_->Add(HString(Name(thread, number)), NodeOf(thread, number),
                                               TextOf(thread, number), HString(Name(thread, number)));
                if (code >= 0) notes.answers[static_cast<std::size_t>(number)] = static_cast<signed char>(code);
            }
            for (int i = 0; i < 3; ++i) {
                queued.push_back(notes.findings_begun.fetch_add(1));
                Demand(findings_->AddNumbered(FindingOf(thread, queued.back())) == DLPCache::kTaskFileStored,
                       "AddNumbered failed", thread);
            }
            if (!findings_->WaitWritten(10)) continue;
            for (int const number : queued)
                notes.findings[static_cast<std::size_t>(number)] = true;
            queued.clear();
        }
    }

    void Check(int thread, int first_answer, int first_finding) {
        for (int i = first_answer; i < NotesOf(thread).answers_begun; ++i)
            CheckAnswer(thread, i);
        for (int i = first_finding; i < NotesOf(thread).findings_begun; ++i)
            CheckFinding(thread, i);
    }

    void CheckAnswer(int thread, int number) {
        Notes& notes = NotesOf(thread);
        int const code = notes.answers[static_cast<std::size_t>(number)];
        if (code == kNotAcknowledged) return;
        QVKReportKeywordAttachNode node;
        QVKKeywordText text;
        HString name;
        int const found = answers_->Find(HString(Name(thread, number)), node, text, name);
        ++notes.checked;
        if (number % 3 == 0)
            return Demand(found == DLPCache::kTplNotMatched && code == DLPCache::kTplStoredEmpty, "an answer is lost",
                          thread, number, found);
        Demand(found == DLPCache::kTplMatched && code == DLPCache::kTplStored, "an answer is lost", thread, number,
               found);
        Demand(name == HString(Name(thread, number)) && text == TextOf(thread, number) && node.items.size() == 1,
               "an answer has changed", thread, number, found);
        QVKReportKeywordAttachItem const& item = node.items[0];
        QVKReportKeywordAttachItem const stored = NodeOf(thread, number).items[0];
        Demand(item.tpl_id == HString(TplId(0)) && item.rule_id == stored.rule_id && item.sub_type == stored.sub_type &&
                   item.match_count == stored.match_count,
               "an answer has changed", thread, number, found);
    }

    // Every finding that is in the store under a later number than this. Returns the last number.
    int ReadFindings(int sn) {
        stored_.clear();
        SensFile file;
        for (;;) {
            int const code = findings_->Find(++sn, file);
            if (code == DLPCache::kTaskFileAbsent) return sn - 1;
            Demand(code == DLPCache::kTaskFileFound && file.sn == sn, "a finding cannot be read", -1, sn, code);
            std::string path = file.file_path.get_str();
            Demand(stored_.emplace(std::move(path), file).second, "a finding has two numbers", -1, sn);
        }
    }
    void CheckFinding(int thread, int number) {
        Notes& notes = NotesOf(thread);
        if (!notes.findings[static_cast<std::size_t>(number)]) return;
        SensFile const expected = FindingOf(thread, number);
        auto const found = stored_.find(expected.file_path.get_str());
        Demand(found != stored_.end(), "a finding is lost", thread, number);
        SensFile const& file = found->second;
        Demand(file.file_md5 == expected.file_md5 && file.file_attrs == expected.file_attrs &&
                   file.tpl_ids == expected.tpl_ids && file.extra_1 == expected.extra_1 && file.extra_2.empty(),
               "a finding has changed", thread, number);
        ++notes.checked;
    }

    FamilyNotes& notes_;
    int life_;
    std::unique_ptr<Agent> agent_;
    DLPCacheTpl* answers_ = nullptr;
    DLPCacheTask* findings_ = nullptr;
    std::map<std::string, SensFile> stored_;
};

int Kills() {
    char const* const kills = std::getenv("TORVANE_KILLS");
    return kills ? std::atoi(kills) : 40;
}

// The processes over one root, one after the other.
class Family {
  public:
    Family() = default;
    // No child outlives a test that gave up.
    ~Family() {
        if (child_ > 0 && ::waitpid(child_, nullptr, WNOHANG) == 0) Kill();
    }
    Family(Family const&) = delete;
    Family& operator=(Family const&) = delete;

    void BeginLife(std::mt19937& random) {
        std::chrono::milliseconds const life(random() % kLongestLife);
        death_ = std::chrono::steady_clock::now() + life;
        child_ = ::fork();
        if (child_ != 0) return;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        Life process(root_.Path(), *notes_);
        process.CheckWhatIsNew();
        process.Work();
    }
    [[nodiscard]] std::chrono::steady_clock::time_point death() const { return death_; }
    void Kill() {
        ::kill(child_, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child_, &status, 0), child_);
        child_ = -1;
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;
    }
    void LiveToTheEnd() {
        child_ = ::fork();
        if (child_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            Life(root_.Path(), *notes_).CheckAll();
            std::_Exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child_, &status, 0), child_);
        child_ = -1;
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
    // Whether a thread has come to the end of its notes and done nothing since.
    [[nodiscard]] bool HasBeenIdle() const {
        return std::any_of(notes_->threads.begin(), notes_->threads.end(), [](Notes const& notes) {
            return notes.answers_begun >= kMost - 10 || notes.findings_begun >= kMost - 10;
        });
    }
    [[nodiscard]] int Checked() const {
        int count = 0;
        for (Notes const& notes : notes_->threads)
            count += notes.checked;
        return count;
    }
    [[nodiscard]] int Acknowledged() const {
        int count = 0;
        for (Notes const& notes : notes_->threads)
            count += static_cast<int>(std::count(notes.findings.begin(), notes.findings.end(), true));
        return count;
    }

  private:
    TempRoot root_;
    SharedNotes notes_;
    pid_t child_ = -1;
    std::chrono::steady_clock::time_point death_;
};

TEST(TaskKilledTest, WhatWasAcknowledgedSurvivesSuddenDeath) {
    std::mt19937 random(TestSeed());
    std::vector<std::unique_ptr<Family>> families;
    for (int family = 0; family < kFamilies; ++family)
        families.push_back(std::make_unique<Family>());
    for (auto const& family : families)
        family->BeginLife(random);
    for (int killed = 0; killed < Kills(); ++killed) {
        auto const next = std::min_element(families.begin(), families.end(),
                                           [](auto const& a, auto const& b) { return a->death() < b->death(); });
        std::this_thread::sleep_until((*next)->death());
        ASSERT_NO_FATAL_FAILURE((*next)->Kill());
        (*next)->BeginLife(random);
    }
    // All of them before the first is looked through: a family left alive would have the more to look through.
    for (auto const& family : families)
        ASSERT_NO_FATAL_FAILURE(family->Kill());
    int acknowledged = 0, checked = 0;
    for (auto const& family : families) {
        ASSERT_NO_FATAL_FAILURE(family->LiveToTheEnd());
        EXPECT_FALSE(family->HasBeenIdle());
        acknowledged += family->Acknowledged();
        checked += family->Checked();
    }
    EXPECT_GT(acknowledged, 0);
    EXPECT_GT(checked, acknowledged);  // answers too
    RecordProperty("findings", acknowledged);
}

}  // namespace
