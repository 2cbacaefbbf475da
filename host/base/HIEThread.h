#pragma once

#include <pthread.h>

#include <atomic>
#include <utility>

#include "host/base/Export.h"

namespace HIEUtil {

// Base of objects that live as long as someone refers to them. Made with one reference, its maker's; whoever gives back
// the last one deletes the object, which must have been made with new. Any thread.
class TORVANE_API Shared {
  public:
    Shared() noexcept = default;
    Shared(Shared const&) = delete;
    Shared& operator=(Shared const&) = delete;
    virtual ~Shared();

    void add_ref() noexcept;  // one reference more; the caller must hold one
    void release() noexcept;  // one less; the last one deletes the object

  private:
    std::atomic<int> references_{1};
};

// A started thread, as its starter holds it: to be detached or joined once. Moved, not copied; one object, one thread.
class TORVANE_API ThreadControl {
  public:
    ThreadControl() noexcept = default;                                                     // no thread
    explicit ThreadControl(pthread_t thread) noexcept : thread_(thread), started_(true) {}  // a started one
    ThreadControl(ThreadControl&& other) noexcept
        : thread_(other.thread_), started_(std::exchange(other.started_, false)) {}
    ThreadControl& operator=(ThreadControl&& other) noexcept {
        std::swap(thread_, other.thread_);
        std::swap(started_, other.started_);
        return *this;
    }

    [[nodiscard]] bool started() const noexcept { return started_; }  // there is a thread, not yet detached or joined
    // Lets the thread run on by itself, or waits for its end. Without a thread, or called again: nothing.
    void detach() noexcept;
    void join() noexcept;

  private:
    pthread_t thread_{};
    bool started_ = false;
};

// An object with a thread of its own.
class TORVANE_API Thread : public virtual Shared {
  public:
    ~Thread() override;
    // The thread's body; must not throw.
    virtual void run() = 0;
    // Starts a thread that calls run. It holds a reference of its own to the object until run returns, and takes no
    // signals but those that its own faults raise: the others stay the agent's. `started()` of the result is false when
    // the system gives no thread. An object is started at most once.
    [[nodiscard]] ThreadControl start() noexcept;
};

}  // namespace HIEUtil
