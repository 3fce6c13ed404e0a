#pragma once

// Calls a function in a thread whose cancellation comes due in the middle of it.

#include "tests/support/failing_calls.h"

#include <atomic>
#include <functional>

#include <gtest/gtest.h>
#include <pthread.h>

namespace zor::test {

/** Expects a call to come back although its thread is cancelled right after a system call of it, which is made a
 * cancellation point here; and the thread to be cancelled behind the call. */
inline void expectCancellationPutOff(const char *systemCall, const std::function<void()> &call) {
    struct State {
        const char *systemCall;
        const std::function<void()> &call;
        std::atomic<bool> wasReached{false};
        std::atomic<bool> cameBack{false};
    } state{systemCall, call};
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void *argument) -> void * {
                      State &own = *static_cast<State *>(argument);
                      {
                          const AfterCall due(own.systemCall, 1, [&own] {
                              own.wasReached = true;
                              pthread_cancel(pthread_self());
                              pthread_testcancel();
                          });
                          own.call();
                          own.cameBack = true;
                      }
                      pthread_testcancel();
                      return nullptr;
                  },
                  &state),
              0);
    void *result = nullptr;
    pthread_join(thread, &result);
    EXPECT_TRUE(state.wasReached);
    EXPECT_TRUE(state.cameBack);
    EXPECT_EQ(result, PTHREAD_CANCELED) << "put off, not lost";
}

} // namespace zor::test
