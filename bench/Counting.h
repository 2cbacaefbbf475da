#pragma once

#include <cstddef>
#include <string>

#include "bench/Require.h"
#include "bench/TempDir.h"
#include "host/base/Global.h"
#include "host/policy/KwLocateMgr.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"

namespace bench {

// A policy's counts in a root of their own, which becomes the process's; logging is off.
class Counting {
  public:
    // One file was found `often` times already.
    explicit Counting(int often) {
        KwLocateMgr::pins()->set_root(HString(directory_.path()));
        Varnok::Global::pins()->logging = 0;
        policy_.policy->id = "policy";
        policy_.policy->time_stamp = 1700000000;
        policy_.policy->record_key = HString("bench");
        while (count_ < often)
            CountOften();
    }

    void CountOften() {
        Require(counts_.GetPolicyFileFoundTimes("/srv/share/often.txt", policy_) == ++count_, "a count was lost");
    }
    // A file that was not found before.
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

}  // namespace bench
