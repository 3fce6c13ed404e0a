#pragma once

// Waits for a condition instead of a time: true as soon as the predicate holds, false once the deadline has passed.

#include <chrono>
#include <thread>

namespace zor::test {

template <class Predicate> bool eventually(Predicate predicate, std::chrono::seconds limit = std::chrono::seconds(30)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace zor::test
