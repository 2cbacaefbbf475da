#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <initializer_list>
#include <string>
#include <type_traits>

#include "tests/support/fault/FaultInjection.h"

// Operations under every fault in turn. To be used with torvane_fault_injection; each stops at the first failed
// expectation, whose trace names the fault.
namespace fault {

using Step = std::function<void()>;
inline void Nothing() {}

// One call that fails below a directory, by itself or with all of its kind that follow.
struct Fault {
    SystemCall call{};
    int nth = 1;
    int error = 0;
    bool from_there = false;
};

// Runs `work` under the fault. False when it makes fewer than `nth` such calls.
inline bool HappensIn(Step const& work, Fault const& fault, std::string const& root) {
    FaultInjection faults;
    faults.OnlyBelow(root);
    if (fault.from_there) {
        faults.FailFrom(fault.call, fault.nth, fault.error);
    } else {
        faults.Fail(fault.call, fault.nth, fault.error);
    }
    work();
    return faults.Fired() > 0;
}

// Calls `attempt` with every fault until it gives false, which means that the fault did not happen any more. Returns
// how many happened, one at least.
inline int ForEveryFault(std::initializer_list<int> errors, std::function<bool(Fault const&)> const& attempt) {
    int faults = 0;
    for (int call = 0; call < static_cast<int>(SystemCall::kSize); ++call) {
        for (int const error : errors) {
            for (bool const from_there : {false, true}) {
                bool happened = true;
                for (int nth = 1; happened && !testing::Test::HasFailure(); ++nth) {
                    SCOPED_TRACE(testing::Message() << "call " << call << " number " << nth << " errno " << error
                                                    << (from_there ? " and all that follow" : ""));
                    happened = attempt({static_cast<SystemCall>(call), nth, error, from_there});
                    faults += happened ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(faults, 0);
    return faults;
}

// Runs `work` with every system call below `root` failing in turn, alone and with all of its kind that follow. `before`
// comes before each run and `check` after it, the last one, without a fault, included.
inline int WithEveryFault(std::string const& root, std::initializer_list<int> errors, Step const& before,
                          Step const& work, Step const& check) {
    return ForEveryFault(errors, [&](Fault const& fault) {
        before();
        bool const happened = HappensIn(work, fault, root);
        check();
        return happened;
    });
}

// Runs `work` in a child that dies in place of its nth change of the file system. Whether it died; otherwise it makes
// fewer changes.
inline bool DiesAtChange(int nth, Step const& work) {
    pid_t const child = ::fork();
    if (child == 0) {
        FaultInjection faults;
        faults.KillAtChange(nth);
        work();
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL));
    return WIFSIGNALED(status);
}

// Runs `work` in a child that dies at each change in turn. `before` comes before each child and `check()`, or
// `check(died)`, after it, the last one, which does not die, included. Returns how many died, one at least.
template <class Check>
int WithEveryKill(Step const& before, Step const& work, Check const& check) {
    int nth = 1;
    for (bool died = true; died && !testing::Test::HasFailure(); nth += died ? 1 : 0) {
        SCOPED_TRACE(testing::Message() << "killed at change " << nth);
        before();
        died = DiesAtChange(nth, work);
        if constexpr (std::is_invocable_v<Check const&, bool>) {
            check(died);
        } else {
            check();
        }
    }
    EXPECT_GT(nth, 1);
    return nth - 1;
}

}  // namespace fault
