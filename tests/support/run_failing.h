#pragma once

// An operation on files with one call beneath it failing.

#include "zorcomn/portability.h"

#include "tests/support/descriptors.h"
#include "tests/support/failing_calls.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

namespace zor::test {

constexpr int32_t kUntouched = -7;

struct Failure {
    const char *function;
    int nth;
    int32_t cell;
};

/** Runs an operation with one call failing. Its result; what it left open, allocated or in the cell is checked. */
template <class Operation> auto runFailing(const Failure &row, Operation operation) {
    SCOPED_TRACE(std::string(row.function) + " " + std::to_string(row.nth));
    const size_t descriptors = openDescriptors();
    nErrno = kUntouched;
    const auto [result, live, wasReached] = [&] {
        const AllocationScope allocations;
        const FailingCall failing(row.function, row.nth);
        const auto outcome = operation();
        return std::make_tuple(outcome, allocations.live(), failing.wasReached());
    }();
    EXPECT_TRUE(wasReached);
    EXPECT_EQ(live, 0u);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(nErrno, row.cell);
    return result;
}

} // namespace zor::test
