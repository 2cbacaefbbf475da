#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

#include "bench/Duel.h"
#include "bench/RawCalls.h"
#include "bench/Require.h"
#include "bench/TaskRoot.h"
#include "bench/rows/Rows.h"
#include "storage/DLPCacheIndex.h"

namespace bench {
namespace {

using DLPCache::IndexHead;
using DLPCache::IndexKey;

constexpr int kPatience = 120000;  // milliseconds until a queue must be empty
constexpr double kAddFigure = 5e3;

// The slots of an integer index file.
long long SlotsOf(std::string const& index_path) {
    struct stat status {};
    Require(::stat(index_path.c_str(), &status) == 0, "a task's index is missing");
    return (status.st_size - static_cast<long long>(IndexHead::kSize)) / static_cast<long long>(IndexKey::kSize);
}

// One task with its writer.
class Recording {
  public:
    Recording() : root_(1), writer_(root_.Writer(0)) {}

    // The writer has nothing to do for the next half second.
    void WaitUntilIdle() { Require(writer_.WaitWritten(kPatience), "the writer did not come to its end"); }
    void Record(int count) {
        for (int i = 0; i < count; ++i) {
            finding_.sn = ++recorded_;
            Require(writer_.Add(finding_) == DLPCache::kTaskFileStored, "DLPCacheTask::Add failed");
        }
    }
    void Find(std::size_t i) {
        SensFile file;
        int const sn = 1 + static_cast<int>(i % static_cast<std::size_t>(recorded_));
        Require(
            root_.registry().FindTaskSensFileBySN(TaskId(0), sn, file) && file.sn == sn && file.tpl_names.size() == 2,
            "FindTaskSensFileBySN failed");
    }
    void FindPlaces() {
        DLPCache::Index const index{HString(root_.IndexPath(0))};
        for (int sn = 1; sn <= recorded_; ++sn) {
            long long offset = 0;
            int length = 0;
            Require(index.Find(sn, offset, length) == DLPCache::kFound, "a finding is not in the index");
            places_.push_back({index.GetFirstKeyOffset(sn, IndexHead()), offset, static_cast<std::size_t>(length)});
        }
    }
    void RawLookUp(std::size_t i) {
        char bytes[4096];
        RawFind(root_.IndexPath(0), root_.DataPath(0), places_[i % places_.size()], bytes);
    }
    // Nanoseconds per finding, from when the writer is seen at work to its end.
    double Drain(int count) {
        WaitUntilIdle();
        long long const before = SlotsOf(root_.IndexPath(0));
        Record(count);
        long long at_start = 0;
        while ((at_start = SlotsOf(root_.IndexPath(0))) == before)
            continue;
        double const start = Now();
        WaitUntilIdle();
        return (Now() - start) / static_cast<double>(before + count - at_start);
    }

  private:
    TaskRoot root_;
    DLPCacheTask& writer_;
    SensFile finding_ = MakeFinding(0);
    int recorded_ = 0;
    std::vector<Place> places_;
};

// What writing findings one by one takes in raw calls, in a directory of its own that lies as deep as a task's.
class RawDrain {
  public:
    RawDrain()
        : index_path_(directory_.File("cache/task/task-0/index")),
          data_path_(directory_.File("cache/task/task-0/cache")),
          record_(kRecord, 'x') {
        std::filesystem::create_directories(directory_.File("cache/task/task-0"));
        Require(DLPCache::Index(HString(index_path_)).Init(0) == DLPCache::kDone, "Index::Init failed");
        RawWriteZeros(data_path_, 0);
    }
    double Run(int count) {
        double const start = Now();
        for (int i = 0; i < count; ++i)
            RawAddNumbered(index_path_, data_path_, ++written_, record_.data(), record_.size());
        return (Now() - start) / count;
    }

  private:
    static constexpr std::size_t kRecord = 400;  // bytes of a stored MakeFinding

    TempDir directory_;
    std::string index_path_, data_path_, record_;
    int written_ = 0;
};

Round AddOne() {
    constexpr int kPerRound = 1000;
    auto const recording = std::make_shared<Recording>();
    return [recording] {
        recording->WaitUntilIdle();
        double const start = Now();
        recording->Record(kPerRound);
        return Sample{(Now() - start) / kPerRound, kAddFigure};
    };
}

Round DrainAll() {
    constexpr int kFindings = 100000;
    auto const recording = std::make_shared<Recording>();
    auto const floor = std::make_shared<RawDrain>();
    // Neither has the better place in every round.
    return [recording, floor, floor_first = false]() mutable {
        floor_first = !floor_first;
        double const raw = floor_first ? floor->Run(kFindings) : 0;
        double const ours = recording->Drain(kFindings);
        return Sample{ours, floor_first ? raw : floor->Run(kFindings)};
    };
}

Round FindStored() {
    constexpr int kFindings = 1000;
    auto const recording = std::make_shared<Recording>();
    recording->Record(kFindings);
    recording->WaitUntilIdle();
    recording->FindPlaces();
    return Duel(Repeat([recording](std::size_t i) { recording->Find(i); }),
                Repeat([recording](std::size_t i) { recording->RawLookUp(i); }));
}

// 1,000 texts with 1,000 positions each, over 100 lines.
std::vector<QVKKeywordText> MakeTexts(std::vector<QVKKeywordPos>& all) {
    constexpr int kTexts = 1000, kLines = 100, kPerLine = 10, kLineLength = 100000;
    std::mt19937 random(2026);
    std::vector<QVKKeywordText> texts(kTexts);
    for (QVKKeywordText& text : texts) {
        for (int line = 1; line <= kLines; ++line) {
            QVKKeywordLinePos& positions = text.line_positions.emplace_back();
            positions.line = line;
            for (int i = 0; i < kPerLine; ++i) {
                int const start = static_cast<int>(random() % kLineLength);
                positions.positions.push_back({start, start + static_cast<int>(random() % 20)});
                all.push_back(positions.positions.back());
            }
        }
    }
    return texts;
}

Round Merge() {
    auto const root = std::make_shared<TaskRoot>(0);
    auto const positions = std::make_shared<std::vector<QVKKeywordPos>>();
    auto const texts = std::make_shared<std::vector<QVKKeywordText>>(MakeTexts(*positions));
    return [root, positions, texts] {
        QVKKeywordText merged;
        double const start = Now();
        root->registry().MergeMatchFileText(*texts, merged);
        double const ours = Now() - start;
        Require(merged.line_positions.size() == 100 && merged.line_positions[0].positions.size() > 1000,
                "MergeMatchFileText failed");
        std::vector<QVKKeywordPos> sorted = *positions;
        double const sort_start = Now();
        std::sort(sorted.begin(), sorted.end(), [](QVKKeywordPos const& a, QVKKeywordPos const& b) {
            return std::tie(a.start, a.end) < std::tie(b.start, b.end);
        });
        return Sample{ours, Now() - sort_start};
    };
}

}  // namespace

void AddTaskRows() {
    AddRow({"task/add", "DLPCacheTask::Add as the caller sees it, writer idle", "5 us, the figure aimed at",
            Target::kAtMost, 2},
           11, AddOne);
    AddRow({"task/drain", "the writer draining 100,000 findings", "their fourteen calls each", Target::kAtMost, 1.3}, 5,
           DrainAll);
    AddRow({"task/find", "FindTaskSensFileBySN, stored", "its seven calls", Target::kAtMost, 1.5}, 251, FindStored);
    AddRow({"task/merge", "MergeMatchFileText, 1,000 texts of 1,000 positions", "one std::sort of the positions",
            Target::kAtMost, 3},
           11, Merge);
}

}  // namespace bench
