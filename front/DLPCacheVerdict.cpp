#include "front/DLPCacheVerdict.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "front/DLPCacheMgrLog.h"
#include "host/base/HTimeHelper.h"
#include "host/base/Language.h"

namespace {

using Item = QVKReportKeywordAttachItem;

// What a language text is filled with.
enum class Value { kRuleText, kText2, kYesNo, kNumber, kKilobytes, kTime };

struct Wording {
    int sub_type;
    char const* key;
    Value value;
};

// In the order of the sub-types, which are looked up by bisection.
constexpr std::array kContent = {
    Wording{1002, "DLP_LAN_RULE_REG", Value::kNumber},
    Wording{1003, "DLP_LAN_RULE_NAME", Value::kNumber},
    Wording{1004, "DLP_LAN_RULE_ADDR", Value::kNumber},
    Wording{1005, "DLP_LAN_RULE_PHONE", Value::kNumber},
    Wording{1006, "DLP_LAN_RULE_EMAIL_ADDR", Value::kNumber},
    Wording{1007, "DLP_LAN_RULE_ID_CARD", Value::kNumber},
    Wording{1008, "DLP_LAN_RULE_BANK_CARD", Value::kNumber},
    Wording{1009, "DLP_LAN_RULE_EXPRESS_NUM", Value::kNumber},
    Wording{1011, "DLP_LAN_RULE_BANK_CARD", Value::kNumber},
    Wording{1013, "DLP_LAN_RULE_PDS", Value::kNumber},
    Wording{1015, "DLP_LAN_RULE_SOCIAL_SECURITY", Value::kNumber},
};
constexpr std::array kAttribute = {
    Wording{2001, "DLP_LAN_RULE_FILE_NAME", Value::kRuleText},
    Wording{2002, "DLP_LAN_RULE_FILE_TYPE", Value::kText2},
    Wording{2003, "DLP_LAN_RULE_FILE_ENCRYPT", Value::kYesNo},
    Wording{2004, "DLP_LAN_RULE_FILE_MD5", Value::kRuleText},
    Wording{2005, "DLP_LAN_RULE_FILE_DNA", Value::kRuleText},
    Wording{2006, "DLP_LAN_RULE_FILE_SIZE", Value::kKilobytes},
    Wording{2007, "DLP_LAN_RULE_FILE_CDATE", Value::kTime},
    Wording{2008, "DLP_LAN_RULE_FILE_MDATE", Value::kTime},
    Wording{2009, "DLP_LAN_RULE_FILE_UNRECOG", Value::kYesNo},
    Wording{2010, "DLP_LAN_RULE_FILE_CODE", Value::kRuleText},
    Wording{2012, "DLP_LAN_RULE_FILE_CLASS", Value::kRuleText},
    Wording{2013, "DLP_LAN_RULE_SAFEDOC", Value::kYesNo},
};
constexpr std::array kClassification = {Wording{3001, "DLP_LAN_RULE_FILE_CLASS", Value::kRuleText}};

constexpr int kKeyword = 1001;
constexpr int kVolume = 2011;
constexpr int kExtension = 4001;
constexpr int kExtensionOther = 4002;

// Pages, lines, words, images, embedded objects.
constexpr std::array kVolumeKeys = {"DLP_LAN_RULE_FILE_VOLUME_PAGE", "DLP_LAN_RULE_FILE_VOLUME_LINE",
                                    "DLP_LAN_RULE_FILE_VOLUME_WORD", "DLP_LAN_RULE_FILE_VOLUME_IMAGE",
                                    "DLP_LAN_RULE_FILE_VOLUME_EMBED"};

HString Fill(Wording const& wording, Item const& item) {
    switch (wording.value) {
        case Value::kRuleText:
            return Varnok::Lan1(wording.key, item.rule_text);
        case Value::kText2:
            return Varnok::Lan1(wording.key, item.match_text_2);
        case Value::kYesNo:
            return Varnok::Lan1(wording.key,
                                Varnok::Lan(item.match_count == 1 ? "DLP_LAN_SENSITIVE_YES" : "DLP_LAN_SENSITIVE_NO"));
        case Value::kNumber:
            return Varnok::Lan2(wording.key, HString(item.match_count));
        case Value::kKilobytes:
            return Varnok::Lan1(wording.key, HString(item.match_count)) << "kb";
        case Value::kTime:
            return Varnok::Lan1(wording.key, HTimeHelper::Int2Str2(item.match_count));
    }
    return HString();
}

// The text of the item's sub-type, or nothing when the table has none.
HString FillFrom(std::span<Wording const> table, Item const& item) {
    auto const found = std::ranges::lower_bound(table, item.sub_type, {}, &Wording::sub_type);
    if (found == table.end() || found->sub_type != item.sub_type) return HString();
    return Fill(*found, item);
}

HString KeywordText(Item const& item) {
    if (item.match_text_2.not_empty()) return item.match_text_2;
    HString text = item.rule_text;
    return text << "(" << item.match_count << ")";
}

HString VolumeText(HString const& volumes) {
    std::vector<HString> parts;
    volumes.get_vt_str_by_sep(parts, ";");
    HString text;
    if (parts.size() != kVolumeKeys.size()) return text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] == HString("0")) continue;
        text << Varnok::Lan1(kVolumeKeys[i], parts[i]);
        // A separator that ends up last stays, but for its blank.
        if (i + 1 < parts.size()) text << ", ";
    }
    return text;
}

// What is left of a text without blanks at its ends makes a line.
HString Line(HString text) {
    text.trim_both(" \t\r\n");
    if (text.not_empty()) text << "\n";
    return text;
}

HString ContentLine(Item const& item) {
    return Line(item.sub_type == kKeyword ? KeywordText(item) : FillFrom(kContent, item));
}

HString AttributeLine(Item const& item) {
    return Line(item.sub_type == kVolume ? VolumeText(item.match_text_2) : FillFrom(kAttribute, item));
}

HString ClassificationLine(Item const& item) {
    return Line(FillFrom(kClassification, item));
}

HString ExtensionLine(Item const& item) {
    return item.sub_type == kExtension || item.sub_type == kExtensionOther ? HString("-\n") : HString();
}

HString RuleLine(Item const& item) {
    switch (item.rule_type) {
        case 1:
            return ContentLine(item);
        case 2:
            return AttributeLine(item);
        case 3:
            return ClassificationLine(item);
        case 4:
            return ExtensionLine(item);
        default:
            return HString();
    }
}

template <class Work>
HString GuardedText(char const* operation, Work&& work) noexcept {
    return DLPCache::Guarded(operation, DLPCache::kLineVerdictFailed, HString(), std::forward<Work>(work));
}

}  // namespace

HString DLPCache::MakeVerdict(std::span<QVKReportKeywordAttachNode const> attach_nodes) {
    HString verdict;
    for (QVKReportKeywordAttachNode const& node : attach_nodes) {
        for (Item const& item : node.items)
            verdict << RuleLine(item);
    }
    return verdict;
}

HString DLPCacheMgr::GetSensResult(QVKKeywordMatchResult const& result) const noexcept {
    if (!result.sensitive || result.match_items.size() != 1) return HString();
    return GetSensResult(result.match_items.front());
}

HString DLPCacheMgr::GetSensResult(QVKKeywordMatchItem const& item) const noexcept {
    if (!item.sensitive || item.match_nodes.size() != 1) return HString();
    return GetSensResult(item.match_nodes.front());
}

HString DLPCacheMgr::GetSensResult(QVKKeywordMatchNode const& node) const noexcept {
    return GuardedText("GetSensResult", [&] { return DLPCache::MakeVerdict(node.attach_nodes); });
}

HString DLPCacheMgr::GetSensResultByRuleContent(QVKReportKeywordAttachItem const& item) const noexcept {
    return GuardedText("GetSensResultByRuleContent", [&] { return ContentLine(item); });
}

HString DLPCacheMgr::GetSensResultByRuleAttr(QVKReportKeywordAttachItem const& item) const noexcept {
    return GuardedText("GetSensResultByRuleAttr", [&] { return AttributeLine(item); });
}

HString DLPCacheMgr::GetSensResultByRuleClassify(QVKReportKeywordAttachItem const& item) const noexcept {
    return GuardedText("GetSensResultByRuleClassify", [&] { return ClassificationLine(item); });
}

HString DLPCacheMgr::GetSensResultByRuleExtend(QVKReportKeywordAttachItem const& item) const noexcept {
    return GuardedText("GetSensResultByRuleExtend", [&] { return ExtensionLine(item); });
}
