#include "template/DLPCacheTplNode.h"

#include <cstdint>
#include <limits>
#include <utility>

#include "host/base/LittleEndian.h"
#include "host/base/NoThrow.h"
#include "host/base/Reader.h"
#include "host/base/Writer.h"
#include "template/DLPCacheTplLog.h"

namespace DLPCache {

namespace {

constexpr int kNoLimit = -1;
constexpr long long kTotalSizeWidth = 4;
constexpr long long kRuleCountWidth = 2;
constexpr long long kRuleSizeWidth = 4;
constexpr long long kTextLengthWidth = 4;

}  // namespace

int TplNode::Size() const {
    if (rules.empty()) return 0;
    if (rules.size() > kMaxRules) return kTplLog.Failed("DetectCacheSize", 271, kAssertFalse, 0);
    long long size = kTotalSizeWidth + kRuleCountWidth + kRuleSizeWidth * static_cast<long long>(rules.size());
    for (HString const* text : {&reserved, &stored_name})
        size += 2LL * (text->length() + 1LL);
    for (auto const& rule : rules) {
        if (!rule) return kTplLog.Failed("DetectCacheSize", 279, kAssertNull, 0);
        int const rule_size = rule->Size();
        if (rule_size <= 0) return 0;
        size += rule_size;
    }
    if (text_buffer_) size += text_length_ + kTextLengthWidth;
    return size > std::numeric_limits<int>::max() ? 0 : static_cast<int>(size);
}

bool TplNode::Write(Varnok::Writer* w) {
    if (!w) return kTplLog.Failed("Write", 302, kAssertNull, false);
    if (int const n = w->write_int32(Size()); n != 4) return kTplLog.Failed("Write", 305, kAssertWriteInt32, n, false);
    if (!WriteHString(w, reserved, kNoLimit)) return kTplLog.Failed("Write", 307, kAssertFalse, false);
    if (!WriteHString(w, stored_name, kNoLimit)) return kTplLog.Failed("Write", 308, kAssertFalse, false);
    return NoThrow(false, [&] { return WriteRuleSizes(*w); }) && WriteRules(*w) && WriteText(*w);
}

bool TplNode::WriteRuleSizes(Varnok::Writer& w) const {
    if (rules.size() > kMaxRules) return kTplLog.Failed("Write", 311, kAssertFalse, false);
    // Above 32767 the count wraps; the reader takes it as unsigned.
    auto const count = static_cast<short>(static_cast<unsigned short>(rules.size()));
    if (int const n = w.write_int16(count); n != 2) return kTplLog.Failed("Write", 314, kAssertWriteInt16, n, false);

    std::vector<std::uint8_t> table(rules.size() * kRuleSizeWidth);
    std::uint8_t* entry = table.data();
    for (auto const& rule : rules) {
        if (!rule) return kTplLog.Failed("Write", 320, kAssertNull, false);
        Varnok::StoreLittleEndian(rule->Size(), entry);
        entry += kRuleSizeWidth;
    }
    auto const length = static_cast<long long>(table.size());
    long long const n = w.write_buffer(table.data(), length);
    return n == length || kTplLog.Failed("Write", 323, kAssertWriteBuffer, n, false);
}

bool TplNode::WriteRules(Varnok::Writer& w) const {
    for (auto const& rule : rules) {
        if (!rule) return kTplLog.Failed("Write", 328, kAssertNull, false);
        if (!rule->Write(&w)) return kTplLog.Failed("Write", 330, kAssertFalse, false);
    }
    return true;
}

bool TplNode::WriteText(Varnok::Writer& w) const {
    auto const low_bits = static_cast<int>(static_cast<unsigned>(text_length_));
    if (int const n = w.write_int32(low_bits); n != 4) return kTplLog.Failed("Write", 334, kAssertWriteInt32, n, false);
    if (!text_buffer_ || text_length_ <= 0) return true;
    long long const n = w.write_buffer(text_buffer_.get(), text_length_);
    return n == text_length_ || kTplLog.Failed("Write", 338, kAssertWriteBuffer, n, false);
}

bool TplNode::Read(Varnok::Reader* r, int) {
    if (!r) return kTplLog.Failed("Read", 349, kAssertNull, false);
    int total_size = 0;
    if (int const n = r->read_int32(total_size); n != 4) return kTplLog.Failed("Read", 352, kAssertReadInt32, n, false);
    if (total_size != r->data_length()) return kTplLog.Failed("Read", 353, kAssertFalse, false);
    if (!ReadHString(r, reserved, kNoLimit)) return kTplLog.Failed("Read", 355, kAssertFalse, false);
    if (!ReadHString(r, stored_name, kNoLimit)) return kTplLog.Failed("Read", 356, kAssertFalse, false);
    return NoThrow(false, [&] { return ReadRules(*r) && ReadText(*r); });
}

bool TplNode::ReadRules(Varnok::Reader& r) {
    short wrapped_count = 0;
    if (int const n = r.read_int16(wrapped_count); n != 2) {
        return kTplLog.Failed("Read", 359, kAssertReadInt16, n, false);
    }
    std::size_t const count = static_cast<unsigned short>(wrapped_count);
    auto const length = static_cast<long long>(count) * kRuleSizeWidth;
    // Nothing is taken that the record cannot back.
    if (r.remaining() < length) return kTplLog.Failed("Read", 361, kAssertReadBuffer, r.remaining(), false);
    std::vector<std::uint8_t> table(static_cast<std::size_t>(length));
    if (long long const n = r.read_buffer(table.data(), length); n != length) {
        return kTplLog.Failed("Read", 361, kAssertReadBuffer, n, false);
    }
    rules.reserve(rules.size() + count);
    for (std::size_t i = 0; i < count; ++i) {
        if (!ReadRule(r, Varnok::LoadLittleEndian<int>(&table[i * kRuleSizeWidth]))) return false;
    }
    return true;
}

bool TplNode::ReadRule(Varnok::Reader& r, int size) {
    int sub_type = 0;
    if (int const n = r.read_int32(sub_type); n != 4) return kTplLog.Failed("Read", 366, kAssertReadInt32, n, false);
    auto rule = MakeRuleNode(sub_type);
    if (!rule) return kTplLog.Failed("Read", 369, kAssertNull, false);
    rules.push_back(std::move(rule));
    return rules.back()->Read(&r, size) || kTplLog.Failed("Read", 372, kAssertFalse, false);
}

bool TplNode::ReadText(Varnok::Reader& r) {
    int length = 0;
    if (int const n = r.read_int32(length); n != 4) return kTplLog.Failed("Read", 376, kAssertReadInt32, n, false);
    text_buffer_.reset();
    text_length_ = length;
    if (length < 1) return true;
    // Nothing is taken that the record cannot back.
    if (r.remaining() < length) return kTplLog.Failed("Read", 387, kAssertReadBuffer, r.remaining(), false);
    text_buffer_ = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(length));
    long long const n = r.read_buffer(text_buffer_.get(), length);
    return n == length || kTplLog.Failed("Read", 387, kAssertReadBuffer, n, false);
}

bool TplNode::SetKeywordAttach(QVKReportKeywordAttachNode const& node, QVKKeywordText const& text) noexcept {
    return NoThrow(false, [&] {
        for (auto const& item : node.items) {
            auto rule = MakeRuleNode(item.sub_type);
            if (!rule) return kTplLog.Failed("SetKeywordAttach", 229, kAssertNull, false);
            rules.push_back(std::move(rule));
            if (!rules.back()->SetKeywordAttachItem(item)) {
                return kTplLog.Failed("SetKeywordAttach", 232, kAssertFalse, false);
            }
        }
        char* buffer = nullptr;
        long long length = 0;
        // Without memory there is no buffer, and the node cannot be encoded.
        (void)text.to_buffer(buffer, length);
        text_buffer_.reset(buffer);
        text_length_ = length;
        return true;
    });
}

bool TplNode::GetKeywordAttach(QVKReportKeywordAttachNode& node, QVKKeywordText& text) noexcept {
    return NoThrow(false, [&] { return GetItems(node, &RuleNode::GetKeywordAttachItem) && (GetText(text), true); });
}

bool TplNode::GiveKeywordAttach(QVKReportKeywordAttachNode& node, QVKKeywordText& text) noexcept {
    return NoThrow(false, [&] { return GetItems(node, &RuleNode::GiveKeywordAttachItem) && (GetText(text), true); });
}

bool TplNode::GetItems(QVKReportKeywordAttachNode& node, ItemGetter get) {
    node.items.reserve(node.items.size() + rules.size());
    for (auto const& rule : rules) {
        if (!rule) return kTplLog.Failed("GetKeywordAttach", 203, kAssertNull, false);
        if ((*rule.*get)(node.items.emplace_back())) continue;
        node.items.pop_back();
        return kTplLog.Failed("GetKeywordAttach", 206, kAssertFalse, false);
    }
    return true;
}

void TplNode::GetText(QVKKeywordText& text) const {
    // A damaged text comes back empty; the rules are still right.
    (void)text.decode(text_buffer_.get(), text_length_);
}

}  // namespace DLPCache
