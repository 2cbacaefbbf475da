#include "examples/scanner/ContentGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace scanner {
namespace {

TEST(ContentGates, LetOneThreadAtATimeWorkOnOneContent) {
    ContentGate gate;
    std::atomic<int> inside{0};
    std::atomic<bool> crowded{false};
    auto const work = [&] {
        std::string const md5 = "same";
        for (int i = 0; i < 2000; ++i) {
            ContentGate::Pass const pass(gate, md5);
            if (++inside != 1) crowded = true;
            std::this_thread::yield();
            --inside;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(crowded);
}

TEST(ContentGates, DoNotKeepOtherContentsWaiting) {
    ContentGate gate;
    std::string const one = "one", two = "two";
    ContentGate::Pass const first(gate, one);
    ContentGate::Pass const second(gate, two);
    SUCCEED();
}

}  // namespace
}  // namespace scanner
