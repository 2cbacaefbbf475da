#include "tools/torvane/commands/Rows.h"

#include <fmt/format.h>

#include <ctime>
#include <functional>
#include <utility>

#include "host/policy/KwIdName.h"
#include "tools/torvane/cache/SnapshotLook.h"
#include "tools/torvane/commands/RowParts.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

namespace {

// A directory of findings or definitions without the task's record has lost it; another one is being made, removed or
// was used for a text after that.
bool IsNoTask(StorePlace const& place) {
    return IsGone(place.directory + "/ScanTask.arc") && IsGone(place.IndexPath()) && IsUnfinished(place);
}

Json CurrentOf(StorePlace const& place, Snapshot const* current) {
    if (current == nullptr || !current->exists() || current->damaged()) return {};
    return current->Md5Of(place.id) == place.version;
}

// What `read` tells of the index of a store, and how that is as a whole.
Look LookAtIndexOf(StorePlace const& place, std::function<void(IndexView const&)> const& read) {
    return LookAtFile(place.IndexPath(), [&] {
        IndexView const index(place.IndexPath());
        index.file().RequireReadable();
        read(index);
        return DamageOf(index);
    });
}

// The serial numbers that a task's index holds; null where that cannot be told, and of findings that are half removed.
Look CountFindings(StorePlace const& place, Json& findings) {
    return LookAtIndexOf(place, [&](IndexView const& index) {
        bool const is_missing = index.file().state() == FileView::State::kMissing;
        bool const is_known = is_missing || index.IsHeadValid();
        bool const is_leftover = index.slots() != 0 && MayBeHalfRemoved(StoreKind::kTask, FileView(place.DataPath()));
        findings = is_known && !is_leftover ? Json(index.slots()) : Json();
    });
}

char const* StatusName(int status) {
    switch (status) {
        case kTaskCreated:
            return "created";
        case kTaskRunning:
            return "running";
        case kTaskFinished:
            return "finished";
        case kTaskEnded:
            return "ended";
        default:
            return "unknown";
    }
}

}  // namespace

std::string Md5WithProgress(std::string const& path, bool progress) {
    Progress shown(progress, "Reading");
    return Md5OfFile(path, [&](std::uint64_t done, std::uint64_t total) { shown.AtBlock(done, total, path); });
}

Json TimeOf(std::int64_t seconds) {
    constexpr int kLastYear = 9999 - 1900;
    auto const time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    if (seconds == 0 || ::gmtime_r(&time, &fields) == nullptr) return {};
    if (fields.tm_year > kLastYear || fields.tm_year < -1900) return {};
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
                       fields.tm_hour, fields.tm_min, fields.tm_sec);
}

Row TemplateRow(StorePlace const& place, Snapshot const* current) {
    Row row;
    Json& json = row.json;
    json["kind"] = "template";
    json["id"] = place.id;
    SnapshotLook const look = LookAtSnapshot(place);
    Snapshot const* const snapshot = look.snapshot.get();
    auto const* const tpl = snapshot->Template(place.id);
    json["name"] = tpl != nullptr && tpl->common ? Json(tpl->common->name.get_str()) : Json();
    json["md5"] = place.version;
    json["current"] = CurrentOf(place, current);
    json["made"] = TimeOf(snapshot->made());
    json["rules"] = tpl == nullptr ? Json() : Json(tpl->rule_ids.size());
    json["data_class"] = tpl == nullptr ? Json() : Json(tpl->data_class_id.get_str());
    json["data_level"] = tpl == nullptr ? Json() : Json(tpl->data_level_id.get_str());
    json["depends_on_name"] = tpl == nullptr ? Json() : Json(snapshot->DependsOnName(place.id));
    Look const look_at_index = LookAtIndexOf(place, [&](IndexView const& index) {
        json["buckets"] = index.IsHeadValid() ? Json(index.head()->bucket_count) : Json();
    });
    json["directory"] = place.directory;
    Finish(row, look.soundness == Soundness::kSound ? look_at_index : look);
    row.gone = row.soundness != Soundness::kSound && IsUnfinished(place);
    return row;
}

Row TaskRow(StorePlace const& place) {
    Row row;
    Json& json = row.json;
    json["kind"] = "task";
    ScanTask task;
    Look const look = LookAtFile(place.directory + "/ScanTask.arc", [&] {
        std::string wrong = ReadTask(place.directory, task);
        if (!wrong.empty() || Varnok::IdToFileName(task.id) == HString(place.directory).get_short_name()) return wrong;
        return "task record names another id: " + task.id.get_str();
    });
    bool const known = !task.id.empty();
    QVKPolicySensitiveFileAuditNode const& policy = task.audit_node();
    json["id"] = place.id;
    json["name"] = known ? Json(task.name.get_str()) : Json();
    json["status"] = known ? Json(StatusName(task.status)) : Json();
    json["started"] = TimeOf(task.start_time);
    json["ended"] = TimeOf(task.end_time);
    json["handle"] = known ? Json(task.handle) : Json();
    json["by_policy"] = known ? Json(task.kind() == kScanTaskByPolicy) : Json();
    json["policy"] = known ? Json(policy.header().id.get_str()) : Json();
    json["policy_version"] = known ? Json(policy.header().time_stamp) : Json();
    json["templates"] = known ? ListOfTexts(policy.tpl_ids) : Json();
    json["keep"] = known ? Json(policy.keep) : Json();
    json["note"] = known ? Json(task.note.get_str()) : Json();
    Look const look_at_index = CountFindings(place, json["findings"]);
    json["directory"] = place.directory;
    Finish(row, look.soundness == Soundness::kSound ? look_at_index : look);
    row.gone = row.soundness != Soundness::kSound && IsNoTask(place);
    return row;
}

Row TextRow(StorePlace const& task, std::string const& name, Detail const& detail) {
    Row row;
    Json& json = row.json;
    json["kind"] = "text";
    json["task"] = task.id;
    HString id;
    json["name"] = Varnok::FileNameToId(HString(name), id) ? id.get_str() : name;
    std::string const path = task.directory + "/text/" + name + ".arc";
    QVKKeywordText text;
    Look const look = LookAtFile(path, [&] {
        std::string wrong = ReadText(path, text);
        row.gone = !wrong.empty() && IsGone(path);
        return row.gone ? std::string() : wrong;
    });
    json["file"] = path;
    json["bytes"] = FileView(path).size();
    AddKeywordText(json, text, detail, look.damage.empty());
    Finish(row, look);
    return row;
}

}  // namespace torvane
