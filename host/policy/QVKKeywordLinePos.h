#pragma once

#include <vector>

#include "host/policy/QVKKeywordPos.h"

// The matched positions of one line.
struct QVKKeywordLinePos {
    int line = 0;
    std::vector<QVKKeywordPos> positions;

    friend bool operator==(QVKKeywordLinePos const&, QVKKeywordLinePos const&) noexcept = default;
};
