#pragma once

// A run of matched characters in a line, as the scanner counts them.
struct QVKKeywordPos {
    int start = 0;
    int end = 0;

    friend bool operator==(QVKKeywordPos const&, QVKKeywordPos const&) noexcept = default;
};
