#pragma once

#include <zlib.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace scanner {

// What was extracted. The view lasts until the extractor's next call, or as long as the content where that is the text.
struct ExtractedText {
    std::string_view text;  // empty for what is no text
    bool inflated = false;  // the text is not the content itself
    bool damaged = false;   // compressed data ended in an error; the text is what came before it
    bool cut = false;       // the text is longer than TextExtractor::kMostText
};

// Gets the text out of a file's content: gzip data (RFC 1952, any number of members) is inflated, anything else is
// taken as it is; what has a zero byte near its beginning is no text. The limits are constants and no options, because
// answers that were stored depend on them. One object, one thread; memory failure throws.
class TextExtractor {
  public:
    static constexpr std::size_t kMostText = std::size_t{64} << 20;  // bytes inflated from one file
    static constexpr std::size_t kProbe = 8192;                      // bytes that are searched for a zero byte

    TextExtractor();
    ~TextExtractor();
    TextExtractor(TextExtractor const&) = delete;
    TextExtractor& operator=(TextExtractor const&) = delete;

    [[nodiscard]] ExtractedText Extract(std::string_view content);

  private:
    [[nodiscard]] ExtractedText Inflate(std::string_view content);
    void Grow();

    z_stream stream_{};
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
};

}  // namespace scanner
