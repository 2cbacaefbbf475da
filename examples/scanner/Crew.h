#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <vector>

#include "examples/scanner/ContentGate.h"
#include "examples/scanner/Counters.h"
#include "examples/scanner/FileScanner.h"

namespace scanner {

// Works through a list of files with a number of threads, drawing the progress bar meanwhile. Used once, by one thread.
class Crew {
  public:
    // `task`: null when nothing is recorded.
    Crew(Policy const& policy, Options const& options, std::vector<std::string> const& files, TaskRun* task);

    // The outcome of each file, by index. Rethrows what ended a thread; the others stop at their next file.
    [[nodiscard]] std::vector<FileOutcome> Run(unsigned jobs);
    // The figures of all threads, after Run.
    [[nodiscard]] Counters const& counters() const { return counters_; }

  private:
    void Work() noexcept;
    void WorkThrough();
    void Watch();

    Policy const& policy_;
    Options const& options_;
    std::vector<std::string> const& files_;
    TaskRun* task_;
    std::vector<FileOutcome> outcomes_;  // each written by the thread that took the file
    ContentGate gate_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;  // guards all below
    std::condition_variable ended_;
    unsigned running_ = 0;
    Counters counters_;
    std::exception_ptr failure_;
};

}  // namespace scanner
