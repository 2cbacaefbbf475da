#include "tools/torvane/cli/Pause.h"

#include <poll.h>
#include <unistd.h>

#include <csignal>

#include "tools/torvane/output/Output.h"

namespace torvane {
namespace {

volatile std::sig_atomic_t ended = 0;

void End(int) {
    ended = 1;
}

// What whoever started the program has told it to ignore stays ignored.
void Handle(void (*handler)(int)) {
    for (int const signal : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second one ends the program at once
        (void)::sigaction(signal, &action, nullptr);
    }
}

}  // namespace

Pause::Pause() {
    ended = 0;
    Handle(End);
}

Pause::~Pause() {
    Handle(SIG_DFL);
}

bool Pause::Wait(std::chrono::milliseconds time) const {
    if (ended != 0) return false;
    // Asks for no event: what comes unasked is that the reader has gone.
    pollfd out{STDOUT_FILENO, 0, 0};
    int const events = ::poll(&out, 1, static_cast<int>(time.count()));
    if (events > 0 && (out.revents & (POLLERR | POLLHUP)) != 0) throw ClosedPipe{};
    return ended == 0;
}

}  // namespace torvane
