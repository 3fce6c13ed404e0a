#pragma once

// The seed of a randomised test: the same in every run unless ZORCOMN_TEST_SEED sets another, and always printed.

#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace zor::test {

inline uint32_t seedOfThisRun() {
    const char *given = std::getenv("ZORCOMN_TEST_SEED");
    const uint32_t seed = given ? static_cast<uint32_t>(std::strtoul(given, nullptr, 10)) : 20080203u;
    std::cout << "seed " << seed << " (ZORCOMN_TEST_SEED sets another)\n";
    return seed;
}

} // namespace zor::test
