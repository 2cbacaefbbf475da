#pragma once

#include "host/base/Export.h"
#include "host/base/Global.h"
#include "host/base/HFileLog.h"
#include "host/base/HLogRecord.h"
#include "host/base/HString.h"

// The library's own log, "DLPCache". Any thread may call; nothing throws.
class TORVANE_API DLPCacheLog {
  public:
    // The logger, made on first use and never destroyed; making it turns logging on for the whole process. Null only
    // without memory.
    [[nodiscard]] static HFileLog* pins() noexcept;
};

namespace DLPCache {

// The assertion words. Their blanks are part of the log's form.
inline constexpr char kAssertFalse[] = ", ASSERT_FALSE";
inline constexpr char kAssertNull[] = ", ASSERT_NULL";
inline constexpr char kAssertReadInt16[] = ", ASSERT_READ_INT16  Ret: ";
inline constexpr char kAssertReadInt32[] = ", ASSERT_READ_INT32 Ret: ";
inline constexpr char kAssertReadInt64[] = ", ASSERT_READ_INT64 Ret: ";
inline constexpr char kAssertReadBuffer[] = ", ASSERT_READ_BUFFER Ret: ";
inline constexpr char kAssertWriteInt16[] = ", ASSERT_WRITE_INT16  Ret: ";
inline constexpr char kAssertWriteUInt16[] = ", ASSERT_WRITE_UINT16 Ret: ";
inline constexpr char kAssertWriteInt32[] = ", ASSERT_WRITE_INT32 Ret: ";
inline constexpr char kAssertWriteInt64[] = ", ASSERT_WRITE_INT64 Ret: ";
inline constexpr char kAssertWriteBuffer[] = ", ASSERT_WRITE_BUFFER Ret: ";
inline constexpr char kNoExistFile[] = ", No exist file: ";
// How grave a line is.
enum LogLevel : int { kLogError = 1, kLogWarning = 2, kLogInformation = 3 };

// The log as one source file uses it: one constant per source file, made from the name that its lines carry. Nothing is
// formatted while logging is off. Checks read as one line each:
//
//     if (key.length() != 32) return kLog.Failed("Find", 59, kAssertFalse, kKeyRefused);
class SourceLog {
  public:
    explicit constexpr SourceLog(wchar_t const* source) noexcept : source_(source) {}  // a literal: kept as a pointer

    // Writes one line of the given pieces (HString, char const*, numbers).
    template <class... Pieces>
    void Write(LogLevel level, int line, Pieces const&... pieces) const noexcept {
        if (!Varnok::Global::IsLoggingOn()) return;
        try {
            HLogRecord record = HFileLog::ins()->get(level, source_, line);
            (record << ... << pieces);
            if (HFileLog* log = DLPCacheLog::pins()) log->log(record);
        } catch (...) {  // without memory the line is lost
        }
    }

    // Writes the assertion line `operation`, ", Line:", `line`, `word` and gives `result` back.
    template <class Result>
    [[nodiscard]] Result Failed(char const* operation, int line, char const* word, Result result) const noexcept {
        Write(kLogError, line, operation, ", Line:", line, word);
        return result;
    }
    // The same with what follows the word: the host's byte count, or a path.
    template <class Result, class Detail>
    [[nodiscard]] Result Failed(char const* operation, int line, char const* word, Detail const& detail,
                                Result result) const noexcept {
        Write(kLogError, line, operation, ", Line:", line, word, detail);
        return result;
    }

  private:
    wchar_t const* source_;
};

}  // namespace DLPCache
