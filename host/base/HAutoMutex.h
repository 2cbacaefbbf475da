#pragma once

#include "host/base/HMutex.h"

// Holds a mutex, which must outlive it, from construction to the end of the scope. One object, one thread.
class [[nodiscard]] HAutoMutex {
  public:
    explicit HAutoMutex(HMutex& mutex) noexcept : mutex_(mutex) { mutex_.Lock(); }  // waits for it
    ~HAutoMutex() { mutex_.UnLock(); }
    HAutoMutex(HAutoMutex const&) = delete;
    HAutoMutex& operator=(HAutoMutex const&) = delete;

  private:
    HMutex& mutex_;
};
