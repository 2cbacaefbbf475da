#include "sensrecord/DLPCacheSensRecordMgr.h"

#include <limits>
#include <new>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "sensrecord/DLPCacheSensRecord.h"
#include "sensrecord/DLPCacheSensRecordLog.h"

namespace DLPCache {

namespace {

constexpr int kFirstCount = 1;  // also what is told when nothing can be counted

int& CountOf(SensRecordNode& node, DLPCacheSensRecordMgr::DLP_CHECK_TYPE type) noexcept {
    switch (type) {
        case DLPCacheSensRecordMgr::kRealtimeCheck:
            return node.realtime_count;
        case DLPCacheSensRecordMgr::kPolicyCheck:
            return node.policy_count;
        default:
            return node.tool_count;
    }
}

int CountOne(DLPCacheSensRecord& record, HString const& key, QVKPolicySensitiveFileAuditNode const& policy,
             DLPCacheSensRecordMgr::DLP_CHECK_TYPE type) noexcept {
    record.Lock();
    record.Update(policy);
    SensRecordNode node;
    (void)record.Find(key, node);  // counts from zero when nothing can be found
    int& count = CountOf(node, type);
    if (count < std::numeric_limits<int>::max()) ++count;
    (void)record.Add(key, node);
    record.UnLock();
    return count;
}

}  // namespace

DLPCacheSensRecordMgr* DLPCacheSensRecordMgr::pins() noexcept {
    static DLPCacheSensRecordMgr* const instance = new (std::nothrow) DLPCacheSensRecordMgr;
    return instance;
}

DLPCacheSensRecordMgr::~DLPCacheSensRecordMgr() {
    for (auto const& [key, record] : records_)
        delete record;
}

DLPCacheSensRecord* DLPCacheSensRecordMgr::GetDLPCacheSensRecord(HString key) noexcept {
    HAutoMutex const lock(mutex_);
    return NoThrow<DLPCacheSensRecord*>(nullptr, [&] {
        DLPCacheSensRecord*& record = records_[key];
        if (!record) record = new (std::nothrow) DLPCacheSensRecord;
        return record;
    });
}

int DLPCacheSensRecordMgr::GetFileFoundTimes(HString const& file, QVKPolicySensitiveFileAuditNode const& node,
                                             DLP_CHECK_TYPE type) noexcept {
    DLPCacheSensRecord* const record = GetDLPCacheSensRecord(node.header().record_key);
    if (!record) {
        kSensRecordLog.Write(kLogError, 271, "pSensRecord is NULL.");
        return kFirstCount;
    }
    return NoThrow(kFirstCount, [&] { return CountOne(*record, file.get_md5_std_format(HString()), node, type); });
}

int DLPCacheSensRecordMgr::GetRealTimeFileFoundTimes(HString const& file,
                                                     QVKPolicySensitiveFileAuditNode const& node) noexcept {
    return GetFileFoundTimes(file, node, kRealtimeCheck);
}

int DLPCacheSensRecordMgr::GetPolicyFileFoundTimes(HString const& file,
                                                   QVKPolicySensitiveFileAuditNode const& node) noexcept {
    return GetFileFoundTimes(file, node, kPolicyCheck);
}

int DLPCacheSensRecordMgr::GetToolFileFoundTimes(HString const& file,
                                                 QVKPolicySensitiveFileAuditNode const& node) noexcept {
    return GetFileFoundTimes(file, node, kToolCheck);
}

}  // namespace DLPCache
