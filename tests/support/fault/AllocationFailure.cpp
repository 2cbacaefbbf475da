#include "tests/support/fault/AllocationFailure.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool armed = false;
thread_local long calls = 0;
thread_local long first = 0;
thread_local bool all_from_there = false;
thread_local bool happened = false;

bool MustFail() noexcept {
    if (!armed) return false;
    ++calls;
    if (calls != first && (!all_from_there || calls < first)) return false;
    happened = true;
    return true;
}

void* Allocate(std::size_t size) noexcept {
    if (MustFail()) return nullptr;
    return std::malloc(size == 0 ? 1 : size);
}

void* AllocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
    if (MustFail()) return nullptr;
    auto const step = static_cast<std::size_t>(alignment);
    return std::aligned_alloc(step, (size + step - 1) / step * step);
}

void* OrThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

AllocationFailure::AllocationFailure(long nth, Extent extent) noexcept {
    calls = 0;
    first = nth;
    all_from_there = extent == Extent::kAllFromThere;
    happened = false;
    armed = true;
}

AllocationFailure::~AllocationFailure() {
    armed = false;
}

bool AllocationFailure::Happened() const noexcept {
    return happened;
}

long AllocationFailure::Count() const noexcept {
    return calls;
}

void* operator new(std::size_t size) {
    return OrThrow(Allocate(size));
}
void* operator new[](std::size_t size) {
    return OrThrow(Allocate(size));
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return OrThrow(AllocateAligned(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return OrThrow(AllocateAligned(size, alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::nothrow_t const&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::nothrow_t const&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
