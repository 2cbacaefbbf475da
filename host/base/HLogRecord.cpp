#include "host/base/HLogRecord.h"

#include <charconv>
#include <string_view>

#include "host/base/NoThrow.h"
#include "host/base/Utf8Units.h"

namespace {

template <class Work>
HLogRecord& Append(HLogRecord& record, Work&& append) noexcept {
    if (record.active) {
        record.active = NoThrow(false, [&append] {
            append();
            return true;
        });
    }
    return record;
}

}  // namespace

HLogRecord& HLogRecord::operator<<(HString const& piece) noexcept {
    return Append(*this, [&] { Varnok::AppendNarrow(text, piece.view()); });
}

HLogRecord& HLogRecord::operator<<(char const* piece) noexcept {
    return Append(*this, [&] { text += piece == nullptr ? "" : piece; });
}

HLogRecord& HLogRecord::operator<<(long long piece) noexcept {
    char digits[24];
    auto const end = std::to_chars(std::begin(digits), std::end(digits), piece).ptr;
    return Append(*this, [&] { text.append(std::begin(digits), end); });
}
