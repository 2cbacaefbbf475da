#include "tools/torvane/commands/EntryRows.h"

#include <charconv>
#include <string>

#include "tools/torvane/commands/RowParts.h"

namespace torvane {

namespace {

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

}  // namespace

// Where the marker is being made or replaced the index is, too.
Look LookAtMarker(StorePlace const& place) {
    if (!place.version.empty()) return {};
    return LookAtFile(place.IndexPath(), [&] {
        bool const is_marked = IsGone(place.IndexPath()) || !MarkersIn(place.directory).empty();
        return is_marked ? "" : "nothing tells which version of the policy these counts are of";
    });
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
    json["templates"] = known ? ListOfTexts(finding.tpl_ids) : Json();
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
    StoreView::Look look = store.LookAt(number, slot, [&](RecordBytes bytes) { return DecodeCounts(bytes, counts); });
    bool const known = look.damage.empty() && HasRecord(look.slot);
    if (look.damage.empty()) static_cast<Look&>(look) = detail.marker;
    json["realtime"] = known ? Json(counts.realtime_count) : Json();
    json["by_policy"] = known ? Json(counts.policy_count) : Json();
    json["tool"] = known ? Json(counts.tool_count) : Json();
    AddPlace(json, store, number, look.slot, detail);
    Finish(row, look);
    return row;
}

}  // namespace torvane
