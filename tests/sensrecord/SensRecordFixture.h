#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"
#include "sensrecord/DLPCacheSensRecordNode.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"

// A root of its own, a manager, and the policy "P1" of the time 1700000000. A further manager on the same root stands
// for a later process.
class SensRecordFixture : public testing::Test {
  protected:
    using Mgr = DLPCache::DLPCacheSensRecordMgr;

    static constexpr long long kStamp = 1700000000;

    int Count(std::string const& file, Mgr::DLP_CHECK_TYPE type = Mgr::kRealtimeCheck) {
        return manager_.GetFileFoundTimes(HString(file), policy_, type);
    }
    // In a later process.
    int CountLater(std::string const& file) const {
        return Mgr().GetFileFoundTimes(HString(file), policy_, Mgr::kRealtimeCheck);
    }
    void CountTimes(int times, std::string const& file) {
        for (int i = 0; i < times; ++i)
            Count(file);
    }
    void SetStamp(long long stamp) { policy_.policy->time_stamp = stamp; }
    // The directory of a policy whose id needs no mapping, ending in a separator.
    std::string Dir(std::string const& policy = "P1") const { return root_ / "cache/sensrecord/1/" + policy + "/"; }

    TempRoot root_;
    QVKPolicySensitiveFileAuditNode policy_ = MakePolicy("P1");
    Mgr manager_;

  public:
    static QVKPolicySensitiveFileAuditNode MakePolicy(std::string const& id);
};

DLPCache::SensRecordNode MakeRecord(int realtime, int policy, int tool);
bool SameCounts(DLPCache::SensRecordNode const& a, DLPCache::SensRecordNode const& b);

// The lines that sensrecord/ has written since the last call, as "<level> <line> <text>".
std::vector<std::string> TakeOwn(LogLines& log);
// An assertion line in that form.
std::string Assertion(char const* operation, int line, std::string const& word);
