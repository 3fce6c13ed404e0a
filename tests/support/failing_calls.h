#pragma once

// Makes a system call fail on purpose and tells what was left allocated, for the tests of failure paths:
//
//     AllocationScope allocations;
//     FailingCall failing("pthread_mutex_init", 2, EAGAIN); // the second one from here on
//     const HANDLE mutex = qelCreateMutex(nullptr, 0, nullptr);
//     EXPECT_TRUE(failing.wasReached());
//     EXPECT_EQ(mutex, nullptr);
//     EXPECT_EQ(allocations.live(), 0u);
//
// Only for tests added by zorcomn_add_failing_call_tests (tests/CMakeLists.txt), which link with --wrap for each name
// in ZORCOMN_FAILING_CALLS: calls out of the objects under test and out of the test itself are caught, those inside the
// C library are not. To add a function, name it there and write one line at the end of failing_calls.cpp. The name
// "operator new" stands for all its forms; the plain ones throw std::bad_alloc. Works under the sanitizers.

#include <cstddef>
#include <functional>

#include <sys/time.h>

namespace zor::test {

/** Makes the nth call (1: the next) that this thread makes of a function fail, once. Calls of other threads are not
 * counted. A failing call does nothing but report: a failing pthread_mutex_unlock leaves the mutex locked. One plan at
 * a time per function and thread. */
class FailingCall {
public:
    /** @param error  what a pthread function returns, and what errno is set to by the others. */
    explicit FailingCall(const char *function, int nth = 1, int error = 12);
    ~FailingCall();
    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;

    /** Whether the nth call was made: a test that does not look here may be testing nothing. */
    bool wasReached() const;

private:
    size_t m_index;
};

/** Runs an action right after the nth call that this thread makes of a function, before the caller goes on: what
 * another thread might do in that gap, every time. Not for the allocation functions and gettimeofday. */
class AfterCall {
public:
    AfterCall(const char *function, int nth, std::function<void()> action);
    ~AfterCall();
    AfterCall(const AfterCall &) = delete;
    AfterCall &operator=(const AfterCall &) = delete;

    bool wasReached() const;

private:
    size_t m_index;
    std::function<void()> m_action;
};

/** AfterCall's counterpart: runs the action right before the nth call. */
class BeforeCall {
public:
    BeforeCall(const char *function, int nth, std::function<void()> action);
    ~BeforeCall();
    BeforeCall(const BeforeCall &) = delete;
    BeforeCall &operator=(const BeforeCall &) = delete;

    bool wasReached() const;

private:
    size_t m_index;
    std::function<void()> m_action;
};

/** Counts what is allocated in its lifetime, by any thread, and not yet released; by operator new, malloc, calloc and
 * realloc alike. One at a time. Take live() before an expectation, since a failing one allocates. */
class AllocationScope {
public:
    AllocationScope();
    ~AllocationScope();
    AllocationScope(const AllocationScope &) = delete;
    AllocationScope &operator=(const AllocationScope &) = delete;

    size_t live() const;
};

/** Makes gettimeofday answer this time, for all threads. */
class FixedTimeOfDay {
public:
    explicit FixedTimeOfDay(const timeval &now);
    ~FixedTimeOfDay();
    FixedTimeOfDay(const FixedTimeOfDay &) = delete;
    FixedTimeOfDay &operator=(const FixedTimeOfDay &) = delete;
};

} // namespace zor::test
