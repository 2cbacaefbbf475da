#include "tools/torvane/commands/Rows.h"

#include <fmt/format.h>

#include <charconv>
#include <ctime>
#include <utility>

#include "host/policy/KwIdName.h"
#include "tools/torvane/cache/SnapshotLook.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

namespace {

void Finish(Row& row, Look const& look) {
    row.soundness = look.soundness;
    row.json["state"] = NameOf(look.soundness);
    row.json["damage"] = look.damage.empty() ? Json() : Json(look.damage);
}

// Where an entry lies: in rows slot, offset and length, of a whole entry the files as well.
void AddPlace(Json& json, StoreView const& store, std::uint64_t number, Slot const& slot, Detail const& detail) {
    json["slot"] = number;
    if (detail.whole) {
        json["index"] = store.place().IndexPath();
        json["slot_offset"] = IndexView::OffsetOf(number);
        json["data"] = store.place().DataPath();
    }
    json["offset"] = HasRecord(slot) ? Json(slot.offset) : Json();
    json["length"] = slot.length;
}

// The length of a sensitive text, and the text itself where it was asked for.
void AddText(Json& json, char const* name, HString const& text, Detail const& detail, bool known = true) {
    json[std::string(name) + "_length"] = known ? Json(text.length()) : Json();
    if (detail.show_text) json[name] = known ? Json(text.get_str()) : Json();
}

// Of a policy's time stamp; null for none, and for one that no time stamp is as large as.
Json NumberOf(std::string const& text) {
    std::int64_t number = 0;
    auto const end = std::from_chars(text.data(), text.data() + text.size(), number);
    return end.ec == std::errc() && end.ptr == text.data() + text.size() && !text.empty() ? Json(number) : Json();
}

Json RuleOf(QVKReportKeywordAttachItem const& item, Detail const& detail) {
    Json json;
    json["id"] = item.rule_id.get_str();
    auto const* const rule =
        detail.definitions == nullptr ? nullptr : detail.definitions->definitions().get_rule_by_id(item.rule_id);
    json["name"] = rule != nullptr && rule->common ? Json(rule->common->name.get_str()) : Json();
    json["sub_type"] = item.sub_type;
    json["match_count"] = item.match_count;
    AddText(json, "match_text_1", item.match_text_1, detail);
    AddText(json, "match_text_2", item.match_text_2, detail);
    AddText(json, "match_text_3", item.match_text_3, detail);
    json["file_short_name"] = item.file_short_name.get_str();
    return json;
}

std::size_t PositionsOf(QVKKeywordText const& text) {
    std::size_t positions = 0;
    for (auto const& line : text.line_positions)
        positions += line.positions.size();
    return positions;
}

void AddKeywordText(Json& json, QVKKeywordText const& text, Detail const& detail, bool known) {
    auto const or_null = [known](Json value) { return known ? value : Json(); };
    json["text_template"] = or_null(text.tpl_id.get_str());
    json["lines"] = or_null(text.line_positions.size());
    json["positions"] = or_null(PositionsOf(text));
    AddText(json, "text", text.text, detail, known);
    json["text_path"] = or_null(text.text_path.get_str());
    AddText(json, "second_text", text.second_text, detail, known);
    json["second_text_path"] = or_null(text.second_text_path.get_str());
    json["second_positions"] = or_null(text.second_positions.size());
}

Json TextsOf(std::vector<HString> const& texts) {
    Json json = Json::array();
    for (HString const& text : texts)
        json.push_back(text.get_str());
    return json;
}

// A directory of findings or definitions without the task's record has lost it; another one is being made, removed or
// was used for a text after that.
bool IsNoTask(StorePlace const& place) {
    return IsGone(place.directory + "/ScanTask.arc") && IsGone(place.IndexPath()) && IsUnfinished(place);
}

Json CurrentOf(StorePlace const& place, Snapshot const* current) {
    if (current == nullptr || !current->exists() || current->damaged()) return {};
    return current->Md5Of(place.id) == place.version;
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

Row AnswerRow(StoreView& store, std::uint64_t number, Slot const& slot, Detail const& detail) {
    Row row;
    Json& json = row.json;
    json["kind"] = "answer";
    json["template"] = store.place().id;
    json["template_md5"] = store.place().version;
    json["key"] = IndexView::KeyOf(slot);
    AnswerRecord answer;
    StoreView::Look const look = store.LookAt(number, slot, [&](RecordBytes bytes) {
        answer = AnswerRecord();
        return DecodeAnswer(bytes, answer);
    });
    bool const matched = HasRecord(look.slot);
    bool const decoded = !answer.rules.empty();
    json["matched"] = matched;
    json["name"] = decoded ? Json(answer.stored_name) : Json();
    json["rules"] = decoded ? Json(answer.rules.size()) : Json();
    json["text_bytes"] = decoded ? Json(answer.text_bytes) : Json();
    AddPlace(json, store, number, look.slot, detail);
    if (detail.whole && decoded) {
        json["rule_list"] = Json::array();
        for (auto const& item : answer.rules)
            json["rule_list"].push_back(RuleOf(item, detail));
        AddKeywordText(json, answer.text, detail, look.damage.empty());
    }
    Finish(row, look);
    return row;
}

Row FindingRow(StoreView& store, std::uint64_t number, Slot const& slot, Detail const& detail) {
    Row row;
    Json& json = row.json;
    json["kind"] = "finding";
    json["task"] = store.place().id;
    json["sn"] = number;
    DLPCache::SensFileNode finding;
    StoreView::Look look = store.LookAt(number, slot, [&](RecordBytes bytes) {
        finding = DLPCache::SensFileNode();
        return DecodeFinding(bytes, finding);
    });
    if (!store.Answers(number, look.slot)) {
        look.soundness = store.HasChanged() ? Soundness::kBusy : Soundness::kDamaged;
        look.damage = "slot holds another key: " + IndexView::KeyOf(look.slot);
    }
    bool const known = look.damage.empty() && HasRecord(look.slot);
    json["path"] = known ? Json(finding.file_path.get_str()) : Json();
    json["md5"] = known ? Json(finding.file_md5.get_str()) : Json();
    json["size"] = known && finding.file_attrs[0] >= 0 ? Json(finding.file_attrs[0]) : Json();
    json["created"] = TimeOf(finding.file_attrs[1]);
    json["modified"] = TimeOf(finding.file_attrs[2]);
    json["found"] = TimeOf(finding.file_attrs[3]);
    json["templates"] = known ? TextsOf(finding.tpl_ids) : Json();
    // A verdict quotes what matched.
    AddText(json, "verdict", finding.extra_1, detail, known);
    AddText(json, "extra", finding.extra_2, detail, known);
    AddPlace(json, store, number, look.slot, detail);
    Finish(row, look);
    return row;
}

Row CounterRow(StoreView& store, std::uint64_t number, Slot const& slot, Detail const& detail) {
    Row row;
    Json& json = row.json;
    json["kind"] = "counter";
    json["policy"] = store.place().id;
    json["policy_version"] = NumberOf(store.place().version);
    json["key"] = IndexView::KeyOf(slot);
    DLPCache::SensRecordNode counts;
    StoreView::Look const look =
        store.LookAt(number, slot, [&](RecordBytes bytes) { return DecodeCounts(bytes, counts); });
    bool const known = look.damage.empty() && HasRecord(look.slot);
    json["realtime"] = known ? Json(counts.realtime_count) : Json();
    json["by_policy"] = known ? Json(counts.policy_count) : Json();
    json["tool"] = known ? Json(counts.tool_count) : Json();
    AddPlace(json, store, number, look.slot, detail);
    Finish(row, look);
    return row;
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
    IndexView const index(place.IndexPath());
    json["buckets"] = index.head() ? Json(index.head()->bucket_count) : Json();
    json["directory"] = place.directory;
    Finish(row, look);
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
    json["templates"] = known ? TextsOf(policy.tpl_ids) : Json();
    json["keep"] = known ? Json(policy.keep) : Json();
    json["note"] = known ? Json(task.note.get_str()) : Json();
    IndexView const index(place.IndexPath());
    json["findings"] = index.slots();
    json["directory"] = place.directory;
    Finish(row, look);
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
