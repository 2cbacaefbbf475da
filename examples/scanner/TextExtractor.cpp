#include "examples/scanner/TextExtractor.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace scanner {
namespace {

constexpr std::size_t kFirstCapacity = std::size_t{256} << 10;
constexpr int kGzipWindow = 15 + 16;  // zlib's way to ask for the gzip format

bool IsGzip(std::string_view content) {
    return content.starts_with("\x1f\x8b");
}

std::string_view TextOrNothing(std::string_view bytes) {
    bool const binary = bytes.substr(0, TextExtractor::kProbe).find('\0') != std::string_view::npos;
    return binary ? std::string_view() : bytes;
}

}  // namespace

TextExtractor::TextExtractor() {
    if (::inflateInit2(&stream_, kGzipWindow) != Z_OK) throw std::bad_alloc();
}

TextExtractor::~TextExtractor() {
    ::inflateEnd(&stream_);
}

ExtractedText TextExtractor::Extract(std::string_view content) {
    if (!IsGzip(content)) return {.text = TextOrNothing(content)};
    ExtractedText inflated = Inflate(content);
    inflated.text = TextOrNothing(inflated.text);
    return inflated;
}

void TextExtractor::Grow() {
    std::size_t const capacity = capacity_ == 0 ? kFirstCapacity : std::min(capacity_ * 2, kMostText);
    std::unique_ptr<char[]> larger(new char[capacity]);
    if (capacity_ > 0) std::memcpy(larger.get(), buffer_.get(), capacity_);
    buffer_ = std::move(larger);
    capacity_ = capacity;
}

ExtractedText TextExtractor::Inflate(std::string_view content) {
    ::inflateReset2(&stream_, kGzipWindow);
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));  // zlib does not write there
    stream_.avail_in = static_cast<uInt>(content.size());
    ExtractedText result;
    result.inflated = true;
    std::size_t length = 0;
    while (true) {
        if (length == capacity_) {
            if (capacity_ == kMostText) {
                result.cut = true;
                break;
            }
            Grow();
        }
        stream_.next_out = reinterpret_cast<Bytef*>(buffer_.get() + length);
        stream_.avail_out = static_cast<uInt>(capacity_ - length);
        int const code = ::inflate(&stream_, Z_NO_FLUSH);
        length = capacity_ - stream_.avail_out;
        if (code == Z_OK) continue;
        std::string_view const rest(reinterpret_cast<char const*>(stream_.next_in), stream_.avail_in);
        if (code == Z_STREAM_END && IsGzip(rest)) {
            ::inflateReset(&stream_);
            continue;
        }
        result.damaged = code != Z_STREAM_END;
        break;
    }
    result.text = std::string_view(buffer_.get(), length);
    return result;
}

}  // namespace scanner
