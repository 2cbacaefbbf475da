#include "tests/support/fault/ThreadFailure.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

namespace {

using Create = int(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*);

std::atomic<bool> armed{false};
std::atomic<int> calls{0};
std::atomic<int> first{0};  // 0: none
std::atomic<bool> all_from_there{false};
std::atomic<bool> happened{false};

bool MustFail() noexcept {
    if (!armed.load(std::memory_order_acquire)) return false;
    int const call = calls.fetch_add(1) + 1;
    int const from = first.load();
    if (from == 0 || call < from || (call > from && !all_from_there.load())) return false;
    happened.store(true);
    return true;
}

}  // namespace

ThreadFailure::ThreadFailure(int nth, Extent extent) noexcept {
    calls.store(0);
    first.store(nth);
    all_from_there.store(extent == Extent::kAllFromThere);
    happened.store(false);
    armed.store(true, std::memory_order_release);
}

ThreadFailure::~ThreadFailure() {
    armed.store(false, std::memory_order_release);
}

bool ThreadFailure::Happened() const noexcept {
    return happened.load();
}

int ThreadFailure::Count() const noexcept {
    return calls.load();
}

extern "C" {

// The one of a sanitizer that is linked into the program itself: it must know of every thread.
Create __interceptor_pthread_create __attribute__((weak));

// Visible, so that the C++ library calls it as well.
__attribute__((visibility("default"))) int pthread_create(pthread_t* thread, pthread_attr_t const* attributes,
                                                          void* (*body)(void*), void* argument) noexcept {
    if (MustFail()) return EAGAIN;
    static Create* const next = __interceptor_pthread_create != nullptr
                                    ? &__interceptor_pthread_create
                                    : reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    return next(thread, attributes, body, argument);
}

}  // extern "C"
