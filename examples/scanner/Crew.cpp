#include "examples/scanner/Crew.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "examples/scanner/Progress.h"

namespace scanner {

Crew::Crew(Policy const& policy, Options const& options, std::vector<std::string> const& files, TaskRun* task)
    : policy_(policy),
      options_(options),
      files_(files),
      task_(task),
      outcomes_(files.size()),
      counters_(policy.templates().size()) {}

std::vector<FileOutcome> Crew::Run(unsigned jobs) {
    running_ = jobs;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < jobs; ++i) {
        try {
            threads.emplace_back([this] { Work(); });
        } catch (...) {  // the threads that there are do the work
            std::lock_guard const lock(mutex_);
            running_ -= jobs - i;
            if (i == 0) throw;
            break;
        }
    }
    Watch();
    for (std::thread& thread : threads)
        thread.join();
    if (failure_) std::rethrow_exception(failure_);
    return std::move(outcomes_);
}

void Crew::Watch() {
    Progress const progress(files_.size());
    std::unique_lock lock(mutex_);
    auto const all_ended = [this] { return running_ == 0; };
    if (!progress.is_on()) return ended_.wait(lock, all_ended);
    while (!ended_.wait_for(lock, std::chrono::milliseconds(100), all_ended)) {
        progress.Draw(std::min(next_.load(std::memory_order_relaxed), files_.size()));
    }
}

void Crew::Work() noexcept {
    std::exception_ptr failure;
    try {
        WorkThrough();
    } catch (...) {
        failure = std::current_exception();
        next_ = files_.size();
    }
    std::lock_guard const lock(mutex_);
    if (failure && !failure_) failure_ = failure;
    --running_;
    ended_.notify_one();
}

void Crew::WorkThrough() {
    FileScanner scanner(policy_, options_, gate_, task_);
    for (std::size_t i = next_++; i < files_.size(); i = next_++)
        outcomes_[i] = scanner.Work(files_[i]);
    std::lock_guard const lock(mutex_);
    counters_ += scanner.counters();
}

}  // namespace scanner
