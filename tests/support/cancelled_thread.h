#pragma once

// A call made by a thread that has been cancelled already: the first cancellation point that it reaches ends it. What
// is none returns, and leaves nothing behind either way.

#include "tests/support/descriptors.h"
#include "tests/support/failing_calls.h"

#include <cstddef>
#include <functional>

#include <gtest/gtest.h>
#include <pthread.h>

namespace zor::test {

struct CancelledCall {
    bool returned = false;  // else the thread ended in it
    size_t descriptors = 0; // more than before
    size_t allocations = 0; // that are left
};

/** Makes the call on a thread of its own, cancelled before it; or, where it is to be later, by the call itself. */
inline CancelledCall callCancelled(const std::function<void()> &call, bool fromTheBeginning = true) {
    struct Job {
        const std::function<void()> &call;
        bool fromTheBeginning;
    } job{call, fromTheBeginning};
    CancelledCall outcome;
    const size_t before = openDescriptors();
    {
        const AllocationScope allocations;
        pthread_t thread;
        const auto run = [](void *argument) -> void * {
            const Job &todo = *static_cast<Job *>(argument);
            if (todo.fromTheBeginning)
                pthread_cancel(pthread_self());
            todo.call();
            return argument; // anything but PTHREAD_CANCELED
        };
        void *result = nullptr;
        if (pthread_create(&thread, nullptr, run, &job) != 0 || pthread_join(thread, &result) != 0) {
            ADD_FAILURE() << "no thread";
            return outcome;
        }
        outcome.returned = result != PTHREAD_CANCELED;
        outcome.allocations = allocations.live();
    }
    const size_t after = openDescriptors();
    outcome.descriptors = after > before ? after - before : 0;
    return outcome;
}

} // namespace zor::test
