#pragma once

#include <string>

#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "host/policy/ScanTask.h"
#include "tests/support/TempRoot.h"

// Policies and tasks as tests want them, and the bytes that they are on disk. These were put together by hand from the
// layout in docs/formats.md; a checksum is what zlib's crc32 gives for the first 20 bytes of the head and the body.
namespace tasks {

// Every field different from that of a fresh one.
inline QVKPolicySensitiveFileAuditNode Policy() {
    QVKPolicySensitiveFileAuditNode node;
    node.policy->time_stamp = 5;
    node.policy->id = "P1";
    node.policy->record_key = "k";
    node.tpl_ids = {"T1"};
    node.flags = 8;
    node.keep = true;
    return node;
}

inline std::string const kPolicyBytes = FromHex(
    "0500000000000000"             // time stamp
    "02000000 5000 3100"           // id "P1"
    "00000000"                     // no name
    "01000000 6b00"                // record key "k"
    "01000000 02000000 5400 3100"  // one template, "T1"
    "08000000"                     // flags
    "01");                         // keep

inline ScanTask Task() {
    ScanTask task;
    task.id = "t1";
    task.name = "n";
    task.start_time = 1700000000;
    task.end_time = 1700000060;
    task.handle = 0x0102030405060708;
    *task.policy->audit_node = Policy();
    *task.policy->kind = 2;
    task.status = kTaskFinished;
    task.note = "x";
    return task;
}

inline std::string const kTaskBody = FromHex(
                                         "02000000 7400 3100"  // id "t1"
                                         "01000000 6e00"       // name "n"
                                         "00f1536500000000"    // start
                                         "3cf1536500000000"    // end
                                         "0807060504030201"    // handle
                                         "02"                  // kind
                                         "03000000"            // status
                                         "01000000 7800") +    // note "x"
                                     kPolicyBytes;

inline std::string const kTaskFile =
    FromHex("54564152 01000000 5354534b 01000000 5c000000 8f1fdf6d") + kTaskBody;  // "TVAR", 1, "STSK", 1 record, 92

// A fresh task.
inline std::string const kFreshTaskFile =
    FromHex("54564152 01000000 5354534b 01000000 46000000 996cb9f4") +
    FromHex("00000000 00000000 0000000000000000 0000000000000000 0000000000000000 00 01000000 00000000") +
    FromHex("0000000000000000 00000000 00000000 00000000 00000000 00000000 00");

inline bool Same(QVKPolicySensitiveFileAuditNode const& a, QVKPolicySensitiveFileAuditNode const& b) {
    QVKPolicyCommon const& first = a.header();
    QVKPolicyCommon const& second = b.header();
    return first.time_stamp == second.time_stamp && first.id == second.id && first.name == second.name &&
           first.record_key == second.record_key && a.tpl_ids == b.tpl_ids && a.flags == b.flags && a.keep == b.keep;
}

inline bool Same(ScanTask const& a, ScanTask const& b) {
    return a.id == b.id && a.name == b.name && a.start_time == b.start_time && a.end_time == b.end_time &&
           a.handle == b.handle && a.kind() == b.kind() && a.status == b.status && a.note == b.note &&
           Same(a.audit_node(), b.audit_node());
}

}  // namespace tasks
