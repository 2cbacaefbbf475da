#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "bench/Duel.h"
#include "bench/TemplateRoot.h"
#include "bench/rows/Rows.h"

namespace bench {
namespace {

constexpr std::size_t kOperations = 4000;  // of each thread in each round

// Operation `i` of thread `thread`.
using ThreadOperation = std::function<void(std::size_t thread, std::size_t i)>;

// Runs the operations on so many threads at once; nanoseconds from the first start to the last end.
double RunThreads(std::size_t threads, ThreadOperation const& operation) {
    std::vector<double> starts(threads), ends(threads);
    std::atomic<std::size_t> ready = 0;
    auto const body = [&](std::size_t thread) {
        for (++ready; ready < threads;)
            std::this_thread::yield();
        starts[thread] = Now();
        for (std::size_t i = 0; i < kOperations; ++i)
            operation(thread, i);
        ends[thread] = Now();
    };
    std::vector<std::thread> running;
    for (std::size_t thread = 0; thread < threads; ++thread)
        running.emplace_back(body, thread);
    for (std::thread& thread : running)
        thread.join();
    return *std::max_element(ends.begin(), ends.end()) - *std::min_element(starts.begin(), starts.end());
}

// How many times as much two threads get done in the time of one.
double Gain(ThreadOperation const& operation) {
    double const one = RunThreads(1, operation);
    double const two = RunThreads(2, operation);
    return 2 * one / two;
}

Round GainOfTwo() {
    TemplateRoot const& root = TemplateRoot::Instance();
    auto const checks = std::make_shared<std::vector<std::vector<QVKKeywordCheckParam>>>(2);
    for (std::size_t i = 0; i < TemplateRoot::kFiles; ++i) {
        for (std::size_t tpl : {0U, 1U})
            (*checks)[tpl].push_back(root.Check(i, tpl, 1));
    }
    ThreadOperation const query = [&root, checks](std::size_t thread, std::size_t i) {
        root.Query((*checks)[thread][i % TemplateRoot::kFiles]);
    };
    ThreadOperation const raw_calls = [&root](std::size_t thread, std::size_t i) { root.RawCalls(thread, i); };
    return Duel([query] { return Gain(query); }, [raw_calls] { return Gain(raw_calls); });
}

}  // namespace

void AddThreadRows() {
    AddRow({"threads/two", "QueryCache on 2 threads with a template each, against one", "the gain of raw calls",
            Target::kGain, 0.95},
           21, GainOfTwo);
}

}  // namespace bench
