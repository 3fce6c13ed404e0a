// What tells a time is no cancellation point: a thread whose cancellation is due comes back from it with everything
// done and nothing left open.

#include "zorcomn/portability.h"
#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"

#include <atomic>
#include <functional>

#include <gtest/gtest.h>
#include <pthread.h>
#include <utmpx.h>

using namespace velmora_com::vta;
using zor::test::childPasses;

namespace {

struct Cancelled {
    std::function<void()> call;
    std::atomic<bool> cameBack{false};
};

void *callCancelled(void *argument) {
    auto &cancelled = *static_cast<Cancelled *>(argument);
    pthread_cancel(pthread_self());
    cancelled.call();
    cancelled.cameBack = true;
    pthread_testcancel();
    return nullptr;
}

void expectUncancelled(const char *name, std::function<void()> call) {
    EXPECT_TRUE(childPasses([&] {
        setutxent(); // the system keeps its login database open, where there is one
        const size_t descriptors = zor::test::openDescriptors();
        Cancelled cancelled{std::move(call)};
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, nullptr, callCancelled, &cancelled), 0);
        void *result = nullptr;
        pthread_join(thread, &result);
        EXPECT_TRUE(cancelled.cameBack);
        EXPECT_EQ(result, PTHREAD_CANCELED) << "the cancellation is put off, not lost";
        EXPECT_EQ(zor::test::openDescriptors(), descriptors);
    })) << name;
}

TEST(CancelledClocks, EachComesBack) {
    expectUncancelled("get_system_uptime_osx", [] { get_system_uptime_osx(); });
    expectUncancelled("qelcomn_get_system_uptime", [] { qelcomn_get_system_uptime(); });
    expectUncancelled("zorcomn_timegm", [] {
        std::tm time{};
        zorcomn_timegm(&time);
    });
    expectUncancelled("zorcomn_gettimezone", [] {
        std::wstring name;
        zorcomn_gettimezone(name);
    });
    expectUncancelled("qelcomn_get_time_stamp_wide", [] { qelcomn_get_time_stamp_wide(); });
    expectUncancelled("qelGetSystemTime", [] {
        qelSystemTime time;
        qelGetSystemTime(&time);
    });
    expectUncancelled("GetMiscInformation", [] {
        sysprops::MiscInformation info;
        sysprops::ISysProps().GetMiscInformation(info);
    });
}

} // namespace
