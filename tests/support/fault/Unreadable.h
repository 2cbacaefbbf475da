#pragma once

#include <cerrno>
#include <string>

#include "tests/support/fault/FaultInjection.h"

// While it lives the file cannot be opened, for want of rights say, though it may be sound. One at a time, and no other
// fault with it; to be used with torvane_fault_injection.
class Unreadable {
  public:
    explicit Unreadable(std::string const& file) {
        faults_.OnlyBelow(file);
        faults_.FailFrom(SystemCall::kOpen, 1, EACCES);
    }

  private:
    FaultInjection faults_;
};
