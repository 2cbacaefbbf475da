#include "tools/torvane/rebuild/Interruption.h"

#include <csignal>
#include <cstdlib>

namespace torvane {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

volatile std::sig_atomic_t came = 0;

void Note(int signal) {
    came = signal;
}

void Handle(void (*handler)(int)) {
    for (int const signal : kSignals) {
        struct sigaction before {};
        if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        (void)::sigaction(signal, &action, nullptr);
    }
}

}  // namespace

Interruption::Interruption() {
    came = 0;
    Handle(Note);
}

Interruption::~Interruption() {
    Handle(SIG_DFL);
}

void Interruption::Check() {
    if (came != 0) throw Interrupted{};
}

void Interruption::EndProgram() {
    constexpr int kEndedBySignal = 128;  // as a shell tells it
    int const signal = came;
    Handle(SIG_DFL);
    (void)std::raise(signal);
    std::_Exit(kEndedBySignal + signal);
}

}  // namespace torvane
