#pragma once

#include <vector>

#include "front/DLPCacheMgrCodes.h"
#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordCheckParam.h"
#include "host/policy/QVKKeywordMatchResult.h"

// The scanner's door: asks for cached answers before a scan, stores answers after it, words verdicts. Holds no state;
// any thread may call; nothing throws (without memory an operation gives its failing code, a text is empty). A
// parameter or result belongs to one call at a time.
class TORVANE_API DLPCacheMgr {
  public:
    // The instance, made on first call (which checks the version stamp, front/DLPCacheVersion.h) and never destroyed.
    // Never null.
    [[nodiscard]] static DLPCacheMgr* pins() noexcept;

    // Copies `param` into the result's check param and answers it from the cache. `result` must be fresh: answers are
    // appended. kFullHit: every file was answered for every template, the result is complete; kPartialHit: some were,
    // or look-up stopped early; kMiss: none, or nothing to check; kQueryFailed: also when the result has no check
    // param.
    [[nodiscard]] int QueryCache(QVKKeywordCheckParam const& param, QVKKeywordMatchResult& result) const noexcept;
    // Answers the result's own check param. True; false only without a check param or memory.
    bool QueryTpl(QVKKeywordMatchResult& result) const noexcept;
    // Answers one file item, one file node. True; false only without memory.
    bool QueryMatchItem(QVKKeywordFileItem const& file_item, QVKKeywordMatchItem& item) const noexcept;
    bool QueryMatchNode(QVKKeywordFileNode const& file_node, std::vector<HString> const& tpl_ids, bool lookup_flag,
                        QVKKeywordMatchNode& node) const noexcept;

    // Stores a scanned result: a sensitive one of task kind 0 is recorded against its task (AddTask), then AddTpl. The
    // result of a cancelled scan (status kScanCancelled) is dropped. kStored (0), kShapeRefused (also: no check param
    // or no task id), or the first code other than 0 of AddTask or AddTpl; after a failing AddTask nothing goes into
    // the template caches (AddTpl can still be called). The duties of AddTpl hold here too.
    int AddCache(QVKKeywordMatchResult const& result) const noexcept;
    // Records the one file of a sensitive result against the scan task of its check param, under the task's next serial
    // number. kStored; kShapeRefused: not exactly one file item (counting matched templates) with one match node and
    // one attach node per matched template id; kNoTaskCache: no such task, a task whose record cannot be read, or one
    // whose store or writer's thread cannot be had for now (the next call tries again); else a negative code of the
    // task's writer. kTaskFileNotEncoded (-17) among them also means a verdict or an extra text of more than 32767
    // units or with a zero character: the same file gets it each time, so that AddCache never stores its answers.
    int AddTask(QVKKeywordMatchResult const& result) const noexcept;

    // Stores every template's answer of a scanned result. kStored, or kShapeRefused when a match node has not exactly
    // one attach node per matched template id: then nothing of that node, nor of what follows it, is stored. An answer
    // that a template's cache refuses is logged and left out.
    //
    // Duties of the caller, since a key that is present is never replaced (adding it again leaves a further slot behind
    // and can spoil the first record):
    // - hand over only answers that did not come from the cache;
    // - let one thread at a time work on one content (MD5): others wait and then ask again;
    // - drop an answer when the template's MD5 after the scan is not the one that the query was made with;
    // - let one process at a time write below one root.
    int AddTpl(QVKKeywordMatchResult const& result) const noexcept;
    int AddMatchItem(QVKKeywordMatchItem const& item) const noexcept;
    int AddMatchNode(QVKKeywordMatchNode const& node) const noexcept;

    // The verdict: one line, ending in a newline, per matched rule. Of a result or an item only when it is sensitive
    // and has exactly one match item or node; else empty.
    [[nodiscard]] HString GetSensResult(QVKKeywordMatchResult const& result) const noexcept;
    [[nodiscard]] HString GetSensResult(QVKKeywordMatchItem const& item) const noexcept;
    [[nodiscard]] HString GetSensResult(QVKKeywordMatchNode const& node) const noexcept;
    // The line for one rule of each kind, or empty when the sub-type has none.
    [[nodiscard]] HString GetSensResultByRuleContent(QVKReportKeywordAttachItem const& item) const noexcept;
    [[nodiscard]] HString GetSensResultByRuleAttr(QVKReportKeywordAttachItem const& item) const noexcept;
    [[nodiscard]] HString GetSensResultByRuleClassify(QVKReportKeywordAttachItem const& item) const noexcept;
    [[nodiscard]] HString GetSensResultByRuleExtend(QVKReportKeywordAttachItem const& item) const noexcept;

  private:
    DLPCacheMgr() noexcept;
};
