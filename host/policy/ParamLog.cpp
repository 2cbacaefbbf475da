#include "host/policy/ParamLog.h"

namespace {

// The first file node of the param and how many there are.
struct Files {
    QVKKeywordFileNode const* first = nullptr;
    long long count = 0;
};

Files FilesOf(QVKKeywordCheckParam const& param) noexcept {
    Files files;
    for (QVKKeywordFileItem const& item : param.file_items) {
        if (files.first == nullptr && !item.file_nodes.empty()) files.first = &item.file_nodes.front();
        files.count += static_cast<long long>(item.file_nodes.size());
    }
    return files;
}

}  // namespace

HString ParamLog(QVKKeywordCheckParam const& param) {
    Files const files = FilesOf(param);
    HString line("task id: ");
    line << param.task_id << ", kind: " << static_cast<long long>(param.task_kind) << ", files: " << files.count;
    if (files.first == nullptr) return line;
    line << ", path: " << files.first->file_path << ", md5: " << files.first->file_md5;
    return line;
}
