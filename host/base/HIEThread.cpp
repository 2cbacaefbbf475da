#include "host/base/HIEThread.h"

#include <csignal>
#include <utility>

namespace HIEUtil {
namespace {

// Everything that is sent to the process. What a thread's own fault raises stays open, for the agent's handler of
// crashes.
sigset_t SentSignals() noexcept {
    sigset_t signals;
    sigfillset(&signals);
    for (int const fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
        sigdelset(&signals, fault);
    return signals;
}

// Holds signals back from the calling thread to the end of the scope; a thread started meanwhile inherits that.
class SignalsHeldBack {
  public:
    SignalsHeldBack() noexcept {
        sigset_t const signals = SentSignals();
        (void)::pthread_sigmask(SIG_BLOCK, &signals, &before_);
    }
    ~SignalsHeldBack() { (void)::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeldBack(SignalsHeldBack const&) = delete;
    SignalsHeldBack& operator=(SignalsHeldBack const&) = delete;

  private:
    sigset_t before_;
};

extern "C" void* RunThread(void* object) {
    auto* const thread = static_cast<Thread*>(object);
    thread->run();
    thread->release();
    return nullptr;
}

}  // namespace

Shared::~Shared() = default;

void Shared::add_ref() noexcept {
    references_.fetch_add(1, std::memory_order_relaxed);
}

void Shared::release() noexcept {
    // What every holder did with the object is done before it goes.
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void ThreadControl::detach() noexcept {
    if (std::exchange(started_, false)) (void)::pthread_detach(thread_);
}

void ThreadControl::join() noexcept {
    if (std::exchange(started_, false)) (void)::pthread_join(thread_, nullptr);
}

Thread::~Thread() = default;

ThreadControl Thread::start() noexcept {
    SignalsHeldBack const held_back;
    pthread_t thread{};
    add_ref();
    if (::pthread_create(&thread, nullptr, &RunThread, this) == 0) return ThreadControl(thread);
    release();
    return {};
}

}  // namespace HIEUtil
