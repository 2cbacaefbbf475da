#pragma once

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

// The seed of a random test: the environment's TORVANE_TEST_SEED, else a new one. Printed, so that a failure can be run
// again.
inline unsigned TestSeed() {
    char const* const given = std::getenv("TORVANE_TEST_SEED");
    unsigned const seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
    std::cout << "TORVANE_TEST_SEED=" << seed << std::endl;
    return seed;
}
