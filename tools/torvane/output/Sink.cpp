#include "tools/torvane/output/Sink.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/output/Output.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

Sink::Sink(std::FILE* file) : file_(file), on_terminal_(::isatty(::fileno(file)) == 1) {}

void Sink::Fail(int error) {
    if (error != EPIPE) throw Stop(ExitStatus::kIo, std::string("cannot write the output: ") + std::strerror(error));
    if (!outlives_) throw ClosedPipe{};
    closed_ = true;
}

void Sink::Write(std::string_view bytes) {
    if (bytes.empty() || closed_) return;
    if (on_terminal_) Progress::Hide();
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail(errno);
}

void Sink::Flush() {
    if (closed_) return;
    errno = 0;
    if (std::fflush(file_) != 0) Fail(errno);
}

}  // namespace torvane
