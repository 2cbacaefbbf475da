#pragma once

#include <mutex>

#include "host/base/Export.h"

// A re-entrant mutex: the thread that holds it may lock it again. Never copied; never throws.
class TORVANE_API HMutex {
  public:
    HMutex() noexcept = default;
    HMutex(HMutex const&) = delete;
    HMutex& operator=(HMutex const&) = delete;

    void Lock() noexcept { mutex_.lock(); }      // waits until no other thread holds it
    void UnLock() noexcept { mutex_.unlock(); }  // once for each Lock, by the same thread

  private:
    std::recursive_mutex mutex_;
};
