#pragma once

#include <string>

#include "host/base/Export.h"
#include "host/base/HLogRecord.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"

// A log file, <root>/log/<name>.log, made (directory 0700, file 0600) with its first line. Each line is one write: UTC
// time, level, source and line, then the record's text with control characters and bytes that are not UTF-8 escaped
// (\n, \r, \t, \xNN). A line that would take the file beyond 16 MiB goes to a new one, and the full one is renamed to
// <name>.log.old, replacing an older one. Several processes may write the same file, and it may be moved or removed
// under the writers: before each line the open file is compared with what the path names now. Any thread may call;
// nothing throws; a line that cannot be written is lost.
class TORVANE_API HFileLog {
  public:
    HFileLog();
    ~HFileLog();
    HFileLog(HFileLog const&) = delete;
    HFileLog& operator=(HFileLog const&) = delete;

    // The shared logger, used to obtain records; it has no file of its own.
    [[nodiscard]] static HFileLog* ins() noexcept;
    // A record for one line; it is active while the global logging flag is set.
    [[nodiscard]] HLogRecord get(int level, wchar_t const* source, int line) const noexcept;
    // Writes the record's text as one line. Does nothing for an inactive record or a logger without a name.
    void log(HLogRecord const& record) noexcept;
    // With the check on (the default), lines are written only while the file <root>/log/<name>.mark exists.
    void set_check_mark_file(bool on) noexcept;
    void set_name(HString const& name) noexcept;

  private:
    // All three with the mutex held. False when the line is lost.
    [[nodiscard]] bool Write(std::string const& line);
    // Makes `fd_` the file that `path` names now.
    [[nodiscard]] bool OpenCurrent(char const* path, long long& size);
    void Rotate(char const* path, std::string const& line);

    // Guards all members below; held while one line is written. Nothing else is locked under it but the root's path.
    HMutex mutex_;
    HString name_;
    bool check_mark_ = true;
    int fd_ = -1;
};

namespace Varnok {

// Names the file of `log`, an HFileLog.
TORVANE_API void SetLogFileName(void* log, HString const& name) noexcept;

}  // namespace Varnok
