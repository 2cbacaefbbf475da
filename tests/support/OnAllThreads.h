#pragma once

#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

// Runs `work(thread)` on so many threads, numbered from 0 and all beginning at once, and waits for them.
template <class Work>
void OnAllThreads(int count, Work const& work) {
    std::barrier start(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&start, &work, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// What `ask()` gives to each of so many threads that ask at the same moment. Not for bool, whose vector they would
// share.
template <class Ask>
auto AskOnAllThreads(int count, Ask const& ask) {
    std::vector<decltype(ask())> given(static_cast<std::size_t>(count));
    OnAllThreads(count, [&](int thread) { given[static_cast<std::size_t>(thread)] = ask(); });
    return given;
}
