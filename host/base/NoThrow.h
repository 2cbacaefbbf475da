#pragma once

#include <utility>

// Runs `work` and returns its result, or `failed` when anything was thrown (in practice: no memory). Every exported
// operation ends in one of these, so that no exception crosses the library's boundary.
template <class Result, class Work>
Result NoThrow(Result failed, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return failed;
    }
}
