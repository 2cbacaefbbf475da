#pragma once

#include <memory>

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"

// What binds a task to its policy.
struct ScanTaskPolicy {
    std::shared_ptr<QVKPolicySensitiveFileAuditNode> audit_node = std::make_shared<QVKPolicySensitiveFileAuditNode>();
    std::shared_ptr<unsigned char> kind = std::make_shared<unsigned char>();  // kScanTaskByPolicy or another
};

inline constexpr unsigned char kScanTaskByPolicy = 0;

// The states of a task; the last two are final and treated alike.
enum ScanTaskStatus : int {
    kTaskCreated = 1,
    kTaskRunning = 2,
    kTaskFinished = 3,
    kTaskEnded = 4,
};

// Whether the task is over.
[[nodiscard]] constexpr bool IsFinal(int status) noexcept {
    return status == kTaskFinished || status == kTaskEnded;
}

// One run of the scanner under one policy. A value; copies share the policy binding. Null pointers in it stand for
// empty objects.
//
// The record file is an archive with the tag "STSK" and one record: id, name, start time, end time, handle (64 bits
// each), kind (one byte), status (32 bits), note, then the policy node as an archive of policies holds it.
struct TORVANE_API ScanTask {
    HString id;
    HString name;              // for people
    long long start_time = 0;  // seconds since 1970-01-01 UTC
    long long end_time = 0;    // the same; 0: not over
    long long handle = 0;      // the agent's own
    std::shared_ptr<ScanTaskPolicy> policy = std::make_shared<ScanTaskPolicy>();
    int status = kTaskCreated;
    HString note;

    // The policy node and the kind, or empty ones that live as long as the process.
    [[nodiscard]] QVKPolicySensitiveFileAuditNode const& audit_node() const noexcept;
    [[nodiscard]] unsigned char kind() const noexcept;

    // Replaces the record file in one step and makes its directory when that is missing. 0, else errno and an older
    // file is as it was. Never throws.
    int to_file(HString const& path) const noexcept;
    // Reads a record file; the policy binding becomes a new object, so that copies keep theirs. 0; ENOENT: missing;
    // EBADMSG: damaged or foreign; any other errno: could not be read. On failure the task is as a fresh one (its id is
    // empty). Never throws.
    int from_file(HString const& path) noexcept;
};
