#pragma once

#include <cstddef>
#include <string>

// Calls `check(damaged)` with the bytes of a file after each of its bits was flipped.
template <class Check>
void ForEveryFlippedBit(std::string const& bytes, Check const& check) {
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
        std::string damaged = bytes;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << (bit % 8)));
        check(damaged);
    }
}

// Calls `check(cut)` with every beginning of the bytes, from none of them on.
template <class Check>
void ForEveryCut(std::string const& bytes, Check const& check) {
    for (std::size_t length = 0; length < bytes.size(); ++length)
        check(bytes.substr(0, length));
}
