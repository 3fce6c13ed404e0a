// The last error, translated from errno.

#include "tests/portability/handle_support.h"

#include <cerrno>
#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

TEST(LastError, EachNumber_IsTranslatedByTheTable_Kept) {
    for (int number = 0; number <= 200; ++number) {
        uint32_t expected = 2147483656u;
        for (const auto &row : std::vector<std::pair<std::vector<int>, uint32_t>>{{{0}, 0},
                                                                                  {{2, 5, 6, 77}, 38},
                                                                                  {{3, 4, 9, 19}, 126},
                                                                                  {{7, 12, 23, 24, 27, 28, 31}, 259},
                                                                                  {{11, 16, 26, 35}, 997},
                                                                                  {{13}, 5},
                                                                                  {{22, 25}, 1010},
                                                                                  {{30}, 19}}) {
            for (const int listed : row.first)
                expected = listed == number ? row.second : expected;
        }
        errno = number;
        EXPECT_EQ(qelGetLastError(), expected) << number;
        EXPECT_EQ(errno, number);
    }
    errno = -1;
    EXPECT_EQ(qelGetLastError(), 2147483656u);
}

TEST(LastError, ErrorCell_IsNotLookedAt_Kept) {
    nErrno = 22;
    errno = 13;
    EXPECT_EQ(qelGetLastError(), 5u);
    uint32_t elsewhere = 77;
    std::thread([&] {
        errno = 0;
        elsewhere = qelGetLastError();
    }).join();
    EXPECT_EQ(elsewhere, 0u) << "each thread has its own errno";
}

} // namespace
