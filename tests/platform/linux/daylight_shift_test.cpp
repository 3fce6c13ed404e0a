// The C library itself says what it does with a daylight flag in a zone without daylight-saving time.

#include "source/platform/host.h"

#include "tests/support/child.h"
#include "tests/support/environment_guard.h"

#include <ctime>

#include <gtest/gtest.h>

TEST(DaylightShift, IsWhatMktimeTakesOff) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const zor::test::EnvironmentGuard zone("TZ", "");
        for (const int flag : {1, 7}) {
            std::tm marked{};
            marked.tm_year = 100;
            marked.tm_mday = 1;
            marked.tm_isdst = flag;
            EXPECT_EQ(std::mktime(&marked), 946684800 - zor::host::daylightShiftWithoutRules().value_or(0));
        }
    }));
}
