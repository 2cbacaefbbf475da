#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKKeywordText.h"
#include "text/DLPCacheText.h"

namespace scanner {

// The texts that were extracted from contents with matches under one task, by the content's MD5, so that a repeated
// scan need not extract them again. What lies there at the start is listed once: asking for what is not there costs no
// system call. Any thread, but one thread at a time per content; throws std::bad_alloc.
class KeptTexts {
  public:
    static constexpr std::size_t kMostText = std::size_t{4} << 20;  // bytes of a text that is kept

    explicit KeptTexts(HString const& task_id);

    // The whole text, byte for byte; nothing when it is not kept, or not to be read.
    [[nodiscard]] std::optional<std::string> Find(std::string const& md5);
    // Keeps a whole text with the places of its matches (`matched`: one record per template). A text without a place,
    // one of more than kMostText bytes, or one that would not come back as it is, is not kept.
    void Keep(std::string const& md5, std::string_view text, std::vector<QVKKeywordText> const& matched);

  private:
    [[nodiscard]] bool IsKnown(std::string const& md5) const;

    DLPCacheText cache_;
    mutable std::mutex mutex_;  // guards names_; never held while a text is read or written
    std::set<std::string> names_;
};

}  // namespace scanner
