#include "tools/torvane/check/RecordCheck.h"

#include <algorithm>
#include <cstring>

#include "sensrecord/DLPCacheSensRecordNode.h"

namespace torvane {

namespace {

constexpr char kOtherSize[] = "the record says another size than the index";
constexpr char kNames[] = "its names cannot be read";
constexpr char kRule[] = "a rule cannot be read";
constexpr char kText[] = "its keyword text cannot be read";
constexpr char kFields[] = "its fields cannot be read";
constexpr char kBehind[] = "bytes lie behind its last field";
constexpr char kNegative[] = "a count is negative";

constexpr int kFingerprintRule = 2005;
constexpr int kCounts = 3;  // of a file
constexpr std::uint8_t kTextVersion = 1;
constexpr std::uint64_t kUnit = 2;      // bytes of a text's unit
constexpr std::uint64_t kPosition = 8;  // bytes of a matched position

// A text of a record: its units, with no zero among them, at which the library would end it.
bool ReadText(RecordCursor& cursor, std::uint64_t* size = nullptr, std::u16string* text = nullptr) {
    std::int16_t count = 0;
    if (!cursor.Get(count) || count < 0) return false;
    auto const length = kUnit * static_cast<std::uint64_t>(count);
    std::uint8_t const* const units = cursor.Take(length);
    if (units == nullptr) return false;
    if (text != nullptr) text->resize(length / kUnit);
    unsigned zeros = 0;
    for (std::uint64_t at = 0; at < length; at += kUnit) {
        std::uint16_t unit = 0;
        std::memcpy(&unit, units + at, sizeof unit);
        zeros += unit == 0 ? 1U : 0U;
        if (text != nullptr) (*text)[at / kUnit] = Varnok::LoadLittleEndian<char16_t>(units + at);
    }
    if (size != nullptr) *size = length;
    return zeros == 0;
}

bool ReadTexts(RecordCursor& cursor, int count) {
    while (count > 0 && ReadText(cursor))
        --count;
    return count == 0;
}

// The next field is there and says so many bytes.
bool SaysSize(RecordCursor& cursor, std::uint32_t length) {
    std::int32_t size = 0;
    return cursor.Get(size) && size >= 0 && static_cast<std::uint32_t>(size) == length;
}

// ---- a count, as archives have it, backed by what is left

bool ReadCount(RecordCursor& cursor, std::uint32_t& count, std::uint64_t least_bytes) {
    return cursor.Get(count) && count <= cursor.left() / least_bytes;
}

bool ReadLongText(RecordCursor& cursor) {
    std::uint32_t count = 0;
    return ReadCount(cursor, count, kUnit) && cursor.Skip(kUnit * count);
}

bool ReadPositions(RecordCursor& cursor) {
    std::uint32_t count = 0;
    return ReadCount(cursor, count, kPosition) && cursor.Skip(kPosition * count);
}

bool ReadLines(RecordCursor& cursor) {
    std::uint32_t count = 0;
    if (!ReadCount(cursor, count, kPosition)) return false;
    for (; count > 0; --count) {
        if (!cursor.Skip(sizeof(std::int32_t)) || !ReadPositions(cursor)) return false;
    }
    return true;
}

// A keyword text that fills the rest of the record.
bool ReadKeywordText(RecordCursor& cursor) {
    std::uint8_t version = 0;
    if (!cursor.Get(version) || version != kTextVersion) return false;
    if (!ReadLongText(cursor) || !ReadLines(cursor)) return false;
    for (int i = 0; i < 4; ++i) {
        if (!ReadLongText(cursor)) return false;
    }
    return ReadPositions(cursor) && cursor.left() == 0;
}

// ---- the records

bool ReadRule(RecordCursor& cursor, std::int32_t size) {
    constexpr std::int64_t kRuleHead = 8;  // sub-type, body length
    std::int32_t sub_type = 0;
    std::int32_t body_length = 0;
    if (!cursor.Get(sub_type) || !cursor.Get(body_length) || body_length + kRuleHead != size) return false;
    std::uint64_t rule_id = 0;
    if (!ReadText(cursor, &rule_id) || rule_id == 0 || !cursor.Skip(sizeof(std::int64_t))) return false;
    // Fingerprint rules are never given back.
    return ReadTexts(cursor, 4) && sub_type != kFingerprintRule;
}

}  // namespace

bool RecordCheck::ReadTplIds() {
    std::int32_t count = 0;
    std::int32_t size = 0;
    if (!cursor_.Get(count) || !cursor_.Get(size)) return false;
    std::int64_t sum = 0;
    std::u16string id;
    for (std::int32_t i = 0; i < count; ++i) {
        std::uint64_t text = 0;
        if (!ReadText(cursor_, &text, templates_ != nullptr ? &id : nullptr)) return false;
        names_other_ |= templates_ != nullptr && !templates_->contains(id);
        sum += static_cast<std::int64_t>(kUnit + text);
    }
    return sum == size;
}

bool RecordCheck::ReadRules() {
    std::uint16_t count = 0;
    if (!cursor_.Get(count) || count == 0) return false;
    rule_sizes_.resize(count);
    for (std::int32_t& size : rule_sizes_) {
        if (!cursor_.Get(size)) return false;
    }
    return std::all_of(rule_sizes_.begin(), rule_sizes_.end(),
                       [this](std::int32_t size) { return ReadRule(cursor_, size); });
}

char const* RecordCheck::WhyNoAnswer(std::uint32_t length) {
    if (!SaysSize(cursor_, length)) return kOtherSize;
    if (!ReadTexts(cursor_, 2)) return kNames;
    if (!ReadRules()) return kRule;
    std::int32_t text_length = 0;
    if (!cursor_.Get(text_length) || text_length < 1) return kText;
    if (static_cast<std::uint64_t>(text_length) > cursor_.left()) return kText;
    if (static_cast<std::uint64_t>(text_length) < cursor_.left()) return kBehind;
    return ReadKeywordText(cursor_) ? nullptr : kText;
}

char const* RecordCheck::WhyNoFinding(std::uint32_t length) {
    constexpr std::uint64_t kAttributes = 4 * sizeof(std::int64_t);
    if (!SaysSize(cursor_, length)) return kOtherSize;
    if (!ReadTexts(cursor_, 2) || !cursor_.Skip(kAttributes) || !ReadText(cursor_)) return kFields;
    if (!ReadTplIds() || !ReadText(cursor_)) return kFields;
    return cursor_.left() == 0 ? nullptr : kBehind;
}

char const* RecordCheck::WhyNoCounts(std::uint32_t length) {
    constexpr std::uint32_t kSize = DLPCache::SensRecordNode::kSize;
    if (length != kSize || !SaysSize(cursor_, kSize)) return kOtherSize;
    for (int i = 0; i < kCounts; ++i) {
        std::int32_t count = 0;
        if (!cursor_.Get(count)) return kOtherSize;
        if (count < 0) return kNegative;  // the library stops at the largest
    }
    return nullptr;
}

char const* RecordCheck::WhyNotDecodable(std::uint64_t offset, std::uint32_t length) {
    names_other_ = false;
    cursor_.Begin(offset, length);
    switch (kind_) {
        case StoreKind::kTemplate:
            return WhyNoAnswer(length);
        case StoreKind::kTask:
            return WhyNoFinding(length);
        case StoreKind::kCounter:
            break;
    }
    return WhyNoCounts(length);
}

}  // namespace torvane
