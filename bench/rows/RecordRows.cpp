#include <memory>
#include <string>

#include "bench/Duel.h"
#include "bench/Require.h"
#include "bench/TempDir.h"
#include "bench/rows/Rows.h"
#include "host/base/Global.h"
#include "host/policy/KwLocateMgr.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"

namespace bench {
namespace {

constexpr int kOften = 10000;
constexpr int kRounds = 101;

// A policy's counts in a root of their own. One file was found often, others are found for the first time.
class Counting {
  public:
    Counting() {
        KwLocateMgr::pins()->set_root(HString(directory_.path()));
        Varnok::Global::pins()->logging = 0;
        policy_.policy->id = "policy";
        policy_.policy->time_stamp = 1700000000;
        policy_.policy->record_key = HString("bench");
        while (count_ < kOften - kRounds / 2)
            CountOften();
    }

    void CountOften() {
        Require(counts_.GetPolicyFileFoundTimes("/srv/share/often.txt", policy_) == ++count_, "a count was lost");
    }
    void CountFirst(std::size_t i) {
        HString const file("/srv/share/file-" + std::to_string(i) + ".txt");
        Require(counts_.GetPolicyFileFoundTimes(file, policy_) == 1, "a first count is not 1");
    }

  private:
    TempDir directory_;
    DLPCache::DLPCacheSensRecordMgr counts_;
    QVKPolicySensitiveFileAuditNode policy_;
    int count_ = 0;
};

Round CountManyTimes() {
    auto const counting = std::make_shared<Counting>();
    auto const next = std::make_shared<std::size_t>(0);
    return [counting, next] {
        double const start = Now();
        counting->CountOften();
        double const often = Now() - start;
        double const first_start = Now();
        counting->CountFirst((*next)++);
        return Sample{often, Now() - first_start};
    };
}

}  // namespace

void AddRecordRows() {
    AddRow({"sensrecord/count", "the 10,000th count of one file", "the first count of another", Target::kAtMost, 12},
           kRounds, CountManyTimes);
}

}  // namespace bench
