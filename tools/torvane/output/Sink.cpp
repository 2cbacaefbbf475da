#include "tools/torvane/output/Sink.h"

#include <cerrno>
#include <cstring>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/output/Output.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {
namespace {

[[noreturn]] void Fail(int error) {
    if (error == EPIPE) throw ClosedPipe{};
    throw Stop(ExitStatus::kIo, std::string("cannot write the output: ") + std::strerror(error));
}

}  // namespace

void Sink::Write(std::string_view bytes) {
    if (bytes.empty()) return;
    Progress::Hide();
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail(errno);
}

void Sink::Flush() {
    errno = 0;
    if (std::fflush(file_) != 0) Fail(errno);
}

}  // namespace torvane
