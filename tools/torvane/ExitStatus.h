#pragma once

#include <stdexcept>
#include <string>

namespace torvane {

// What a command ends with. kNo never means "could not look".
enum class ExitStatus {
    kYes = 0,            // yes, found, sound
    kNo = 1,             // no, not found, damage found
    kUsage = 2,          // wrong command, option or argument
    kIo = 3,             // something could not be read or written
    kNoCache = 4,        // no cache at that root
    kBusy = 5,           // it kept changing while it was looked at
    kUnknownFormat = 6,  // a format that this version does not know
};

// Ends a command with a status and a line on stderr.
class Stop : public std::runtime_error {
  public:
    Stop(ExitStatus status, std::string const& message) : std::runtime_error(message), status_(status) {}
    [[nodiscard]] ExitStatus status() const { return status_; }

  private:
    ExitStatus status_;
};

}  // namespace torvane
