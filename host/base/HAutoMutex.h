#pragma once

#include "host/base/HMutex.h"

// Holds a mutex from construction to the end of the scope.
class [[nodiscard]] HAutoMutex {
  public:
    explicit HAutoMutex(HMutex& mutex) noexcept : mutex_(mutex) { mutex_.Lock(); }
    ~HAutoMutex() { mutex_.UnLock(); }
    HAutoMutex(HAutoMutex const&) = delete;
    HAutoMutex& operator=(HAutoMutex const&) = delete;

  private:
    HMutex& mutex_;
};
