#pragma once

namespace torvane {

// For commands that make something: while one of these lives, the first SIGINT, SIGTERM, SIGHUP or SIGQUIT only ends
// the work at its next step, so that what was made is removed on the way out; a second one of the same ends the program
// at once. Signals that are ignored stay so. One at a time; the main thread.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(Interruption const&) = delete;
    Interruption& operator=(Interruption const&) = delete;

    // What Check throws. No std::exception, so that nobody takes it for a failure on the way.
    struct Interrupted {};
    // To be called at each step, whoever does it. Throws Interrupted once a signal has come.
    static void Check();

    // Ends the program by the signal that has come, as it would have ended without this.
    [[noreturn]] static void EndProgram();
};

}  // namespace torvane
