#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "host/base/Global.h"
#include "tools/torvane/cli/CommandLine.h"
#include "tools/torvane/output/Escape.h"
#include "tools/torvane/output/Progress.h"

namespace {

using torvane::ExitStatus;

// A standard descriptor that the caller has closed would be given to the first file that is opened, which would then be
// read from or written to as such. These can be neither read nor written.
void HoldStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0) (void)::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

ExitStatus Fail(ExitStatus status, char const* message) noexcept {
    try {
        torvane::Progress::Hide();
        (void)std::fputs(("torvane: " + torvane::Printable(message) + "\n").c_str(), stderr);
    } catch (...) {
        (void)std::fputs("torvane: out of memory\n", stderr);
    }
    return status;
}

ExitStatus Run(int count, char** words) {
    try {
        torvane::CommandLine line(torvane::AllCommands());
        return line.Run(std::vector<std::string>(words + (count > 0 ? 1 : 0), words + count));
    } catch (torvane::ClosedPipe const&) {
        return ExitStatus::kYes;
    } catch (torvane::Stop const& stop) {
        return Fail(stop.status(), stop.what());
    } catch (std::bad_alloc const&) {
        return Fail(ExitStatus::kIo, "out of memory");
    } catch (std::exception const& error) {
        return Fail(ExitStatus::kIo, error.what());
    } catch (...) {
        return Fail(ExitStatus::kIo, "an unknown failure");
    }
}

}  // namespace

int main(int count, char** words) {
    HoldStandardDescriptors();
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a failure like others
    Varnok::Global::pins()->logging = 0;  // reading leaves no trace
    return static_cast<int>(Run(count, words));
}
