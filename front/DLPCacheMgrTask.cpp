#include <ctime>
#include <utility>

#include "front/DLPCacheMgr.h"
#include "front/DLPCacheMgrLog.h"
#include "front/DLPCacheVerdict.h"
#include "host/base/HFile.h"
#include "host/base/HFileTime.h"
#include "host/policy/ParamLog.h"
#include "host/policy/SensFile.h"
#include "task/DLPCacheTaskMgr.h"

using namespace DLPCache;

namespace {

constexpr unsigned kRecordedTaskKind = 0;

// Writes the check's own line and the pieces behind it. Without memory the line is lost, and nothing but the line.
template <class... Pieces>
void LogCheck(LogLevel level, FrontLine line, QVKKeywordCheckParam const& param, Pieces const&... pieces) noexcept {
    if (!Varnok::Global::IsLoggingOn()) return;
    try {
        kFrontLog.Write(level, line, ParamLog(param), pieces...);
    } catch (...) {
    }
}

int Refused(FrontLine line, char const* word = kAssertFalse) noexcept {
    return kFrontLog.Failed("AddTask", line, word, int{kShapeRefused});
}

// kStored, or kShapeRefused when the result does not describe exactly one file.
int CheckShape(QVKKeywordMatchResult const& result) noexcept {
    if (!result.check_param) return Refused(kLineTaskNoParam, kAssertNull);
    auto const& file_items = result.check_param->file_items;
    if (file_items.size() != 1) return Refused(kLineTaskFileItems);
    if (result.match_items.size() != 1) return Refused(kLineTaskMatchItems);
    if (!file_items.front().count_matched) return Refused(kLineTaskCount);
    auto const& nodes = result.match_items.front().match_nodes;
    if (nodes.size() != 1) return Refused(kLineTaskMatchNodes);
    if (nodes.front().attach_nodes.size() != nodes.front().matched_tpl_ids.size()) return Refused(kLineTaskAttachNodes);
    return kStored;
}

// The file as it lies on disk now. What is gone has the length -1 and the times 0; a symbolic link has the length -1
// and its own times.
void TakeFileAttrs(SensFile& file) {
    HFileTime times;
    HFile::get_file_time(file.file_path, times);
    file.file_attrs = {HFile::GetFileLen(file.file_path), times.creation_time, times.modification_time,
                       static_cast<long long>(::time(nullptr))};
}

// The finding that a result of the right shape describes. Throws std::bad_alloc, also where GetSensResult would give
// an empty verdict.
SensFile MakeSensFile(QVKKeywordMatchResult const& result) {
    QVKKeywordMatchItem const& item = result.match_items.front();
    QVKKeywordMatchNode const& node = item.match_nodes.front();
    SensFile file;
    file.task_id = result.check_param->task_id;
    if (node.file_node) {
        file.file_path = node.file_node->file_path;
        file.file_md5 = node.file_node->file_md5;
    }
    TakeFileAttrs(file);
    file.tpl_ids = node.matched_tpl_ids;
    if (result.sensitive && item.sensitive) file.extra_1 = MakeVerdict(node.attach_nodes);
    file.extra_2 = result.check_param->extra;
    return file;
}

DLPCacheTask* FindTaskCache(HString const& task_id) noexcept {
    DLPCacheTaskMgr* const tasks = DLPCacheTaskMgr::pins();
    return tasks == nullptr ? nullptr : tasks->GetCache(task_id);
}

int Record(QVKKeywordMatchResult const& result) {
    QVKKeywordCheckParam const& param = *result.check_param;
    SensFile const file = MakeSensFile(result);
    DLPCacheTask* const cache = FindTaskCache(param.task_id);
    if (cache == nullptr) return kFrontLog.Failed("AddTask", kLineTaskNoCache, kAssertNull, int{kNoTaskCache});
    int const ret = cache->AddNumbered(file);
    if (ret >= 0) return kStored;
    LogCheck(kLogError, kLineTaskRefused, param, ", add cache failed. ret: ", ret);
    return ret;
}

}  // namespace

int DLPCacheMgr::AddCache(QVKKeywordMatchResult const& result) const noexcept {
    if (result.status == kScanCancelled) {
        kFrontLog.Write(kLogInformation, kLineCancelled, "task was cancel, this result will be abandoned.");
        return kStored;
    }
    if (!result.check_param) return kFrontLog.Failed("AddCache", kLineStoreNoParam, kAssertNull, int{kShapeRefused});
    QVKKeywordCheckParam const& param = *result.check_param;
    if (param.task_id.empty()) {
        LogCheck(kLogInformation, kLineStoreNoTaskId, param);
        return kShapeRefused;
    }
    if (param.task_kind == kRecordedTaskKind && result.sensitive) {
        int const ret = AddTask(result);
        LogCheck(kLogInformation, kLineStoreTask, param, ", add task cache, ret : ", ret);
        if (ret != kStored) return ret;
    }
    int const ret = AddTpl(result);
    LogCheck(kLogInformation, kLineStoreTpl, param, ", add tpl cache, ret : ", ret);
    return ret;
}

int DLPCacheMgr::AddTask(QVKKeywordMatchResult const& result) const noexcept {
    if (int const refused = CheckShape(result)) return refused;
    return Guarded("AddTask", kLineTaskFailed, int{kShapeRefused}, [&] { return Record(result); });
}
