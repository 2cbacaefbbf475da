#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKReportKeywordAttachItem.h"
#include "host/policy/ScanTask.h"
#include "sensrecord/DLPCacheSensRecordNode.h"
#include "task/DLPCacheSensFileNode.h"
#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/cache/IndexView.h"

// What the cache's records hold. Each function takes bytes apart with the library's own decoders, accepts what the
// library accepts and returns what is wrong, for people; an empty text when nothing is. No state; throws Stop(kIo).
namespace torvane {

using RecordBytes = std::span<std::uint8_t const>;

// Whether the slot names a record; a key may also be present without one.
[[nodiscard]] inline bool HasRecord(Slot const& slot) {
    return slot.length != 0 && slot.offset != -1;
}
// Whether the slot's record lies inside a data file of this size.
[[nodiscard]] bool LiesWithin(Slot const& slot, std::uint64_t data_size);

// The bytes of the slot's record. Nothing is allocated that the file cannot back.
[[nodiscard]] std::string ReadRecord(FileView const& data, Slot const& slot, std::vector<std::uint8_t>& bytes);

// A template's answer for a file in which it matched.
struct AnswerRecord {
    std::string stored_name;
    std::vector<QVKReportKeywordAttachItem> rules;  // with the fields that are stored
    std::int64_t text_bytes = 0;                    // of the keyword text in the record
    QVKKeywordText text;
    bool text_damaged = false;  // the library then answers with an empty text
};
[[nodiscard]] std::string DecodeAnswer(RecordBytes bytes, AnswerRecord& answer);
[[nodiscard]] std::string DecodeFinding(RecordBytes bytes, DLPCache::SensFileNode& finding);
[[nodiscard]] std::string DecodeCounts(RecordBytes bytes, DLPCache::SensRecordNode& counts);

// A task's record and a text, which are files of their own.
[[nodiscard]] std::string ReadTask(std::string const& directory, ScanTask& task);
[[nodiscard]] std::string ReadText(std::string const& path, QVKKeywordText& text);

}  // namespace torvane
