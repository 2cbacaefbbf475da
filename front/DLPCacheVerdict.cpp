#include "front/DLPCacheVerdict.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <new>
#include <span>
#include <string>
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

// Verdicts are put together in a string of units: no line costs an allocation of its own.
using Units = std::u16string;
constexpr std::size_t kUsualLength = 100;

HString TimeText(long long seconds) {
    HString text = HTimeHelper::Int2Str2(seconds);
    if (text.empty()) throw std::bad_alloc();
    return text;
}

HString Fill(Wording const& wording, Item const& item) {
    switch (wording.value) {
        case Value::kRuleText:
            return Varnok::Lan1OrThrow(wording.key, item.rule_text);
        case Value::kText2:
            return Varnok::Lan1OrThrow(wording.key, item.match_text_2);
        case Value::kYesNo:
            return Varnok::Lan1OrThrow(wording.key, Varnok::LanOrThrow(item.match_count == 1 ? "DLP_LAN_SENSITIVE_YES"
                                                                                             : "DLP_LAN_SENSITIVE_NO"));
        case Value::kNumber:
            return Varnok::Lan2OrThrow(wording.key, HString(item.match_count));
        case Value::kKilobytes:
            return Varnok::Lan1OrThrow(wording.key, HString(item.match_count)) << "kb";
        case Value::kTime:
            return Varnok::Lan1OrThrow(wording.key, TimeText(item.match_count));
    }
    return HString();
}

// Appends the text of the item's sub-type, or nothing when the table has none.
void AppendFrom(std::span<Wording const> table, Item const& item, Units& text) {
    auto const found = std::ranges::lower_bound(table, item.sub_type, {}, &Wording::sub_type);
    if (found != table.end() && found->sub_type == item.sub_type) text += Fill(*found, item).view();
}

void AppendNumber(long long number, Units& text) {
    char digits[24];
    auto const [end, error] = std::to_chars(std::begin(digits), std::end(digits), number);
    for (char const* digit = digits; digit != end; ++digit)
        text += static_cast<char16_t>(*digit);
}

void AppendKeyword(Item const& item, Units& text) {
    if (item.match_text_2.not_empty()) {
        text += item.match_text_2.view();
        return;
    }
    text += item.rule_text.view();
    text += u'(';
    AppendNumber(item.match_count, text);
    text += u')';
}

void AppendVolume(HString const& volumes, Units& text) {
    std::vector<HString> parts;
    volumes.get_vt_str_by_sep(parts, ";");
    if (parts.size() != kVolumeKeys.size()) return;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].view() == u"0") continue;
        text += Varnok::Lan1OrThrow(kVolumeKeys[i], parts[i]).view();
        // A separator that ends up last stays, but for its blank.
        if (i + 1 < parts.size()) text += u", ";
    }
}

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

// What is left of the text from `start` on, without blanks at its ends, becomes a line.
void EndLine(std::size_t start, Units& text) {
    while (text.size() > start && IsBlank(text.back()))
        text.pop_back();
    if (text.size() == start) return;
    std::size_t first = start;
    while (IsBlank(text[first]))
        ++first;
    if (first != start) text.erase(start, first - start);
    text += u'\n';
}

void AppendContent(Item const& item, Units& text) {
    if (item.sub_type == kKeyword) {
        AppendKeyword(item, text);
    } else {
        AppendFrom(kContent, item, text);
    }
}

void AppendAttribute(Item const& item, Units& text) {
    if (item.sub_type == kVolume) {
        AppendVolume(item.match_text_2, text);
    } else {
        AppendFrom(kAttribute, item, text);
    }
}

void AppendClassification(Item const& item, Units& text) {
    AppendFrom(kClassification, item, text);
}

void AppendExtension(Item const& item, Units& text) {
    if (item.sub_type == kExtension || item.sub_type == kExtensionOther) text += u'-';
}

using AppendRule = void (*)(Item const& item, Units& text);

void AppendLine(AppendRule append, Item const& item, Units& text) {
    std::size_t const start = text.size();
    append(item, text);
    EndLine(start, text);
}

// By rule type, from 1.
constexpr AppendRule kKinds[] = {AppendContent, AppendAttribute, AppendClassification, AppendExtension};

AppendRule KindOf(Item const& item) {
    return item.rule_type >= 1 && item.rule_type <= 4 ? kKinds[item.rule_type - 1] : nullptr;
}

template <class Work>
HString GuardedText(char const* operation, Work&& work) noexcept {
    return DLPCache::Guarded(operation, DLPCache::kLineVerdictFailed, HString(), std::forward<Work>(work));
}

HString LineOf(char const* operation, AppendRule append, Item const& item) noexcept {
    return GuardedText(operation, [&] {
        Units text;
        AppendLine(append, item, text);
        return HString(text);
    });
}

}  // namespace

HString DLPCache::MakeVerdict(std::span<QVKReportKeywordAttachNode const> attach_nodes) {
    Units text;
    text.reserve(kUsualLength);
    for (QVKReportKeywordAttachNode const& node : attach_nodes) {
        for (Item const& item : node.items) {
            if (AppendRule const append = KindOf(item)) AppendLine(append, item, text);
        }
    }
    return HString(text);
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
    return LineOf("GetSensResultByRuleContent", AppendContent, item);
}

HString DLPCacheMgr::GetSensResultByRuleAttr(QVKReportKeywordAttachItem const& item) const noexcept {
    return LineOf("GetSensResultByRuleAttr", AppendAttribute, item);
}

HString DLPCacheMgr::GetSensResultByRuleClassify(QVKReportKeywordAttachItem const& item) const noexcept {
    return LineOf("GetSensResultByRuleClassify", AppendClassification, item);
}

HString DLPCacheMgr::GetSensResultByRuleExtend(QVKReportKeywordAttachItem const& item) const noexcept {
    return LineOf("GetSensResultByRuleExtend", AppendExtension, item);
}
