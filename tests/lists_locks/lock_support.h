#pragma once

// What the tests of the shared/exclusive lock have in common: attached threads, and a look at the lock's record. The
// record is read under its spin lock, so a test can wait until a thread has really queued.

#include "zorcomn/lists_locks.h"

#include "source/lists_locks/shared_exclusive_lock.h"
#include "source/lists_locks/spin_lock.h"
#include "source/lists_locks/thread_attach.h"
#include "tests/support/eventually.h"

#include <cstddef>
#include <functional>
#include <ostream>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace zor::test {

/** A thread that is attached to the lock for its life, and joined at the end. */
class AttachedThread {
public:
    explicit AttachedThread(std::function<void()> body)
        : m_thread([body = std::move(body)] {
              qeSO_ThreadAttach();
              body();
              qeSO_ThreadDetach();
          }) {}
    ~AttachedThread() { join(); }
    AttachedThread(const AttachedThread &) = delete;
    AttachedThread &operator=(const AttachedThread &) = delete;

    void join() {
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    std::thread m_thread;
};

/** Runs body on an attached thread of its own and waits for it. */
inline void onAnotherThread(std::function<void()> body) {
    AttachedThread(std::move(body)).join();
}

/** A lock's record as it was at one moment. */
struct LockImage {
    HANDLE owner;
    int32_t count;
    size_t sharedWaiters;
    size_t exclusiveWaiters;
    size_t registrations;
    pid_t lastProcessId;
    int32_t state;
};

inline size_t lengthOf(const qeLLNode *node) {
    size_t length = 0;
    for (; node; node = node->next)
        ++length;
    return length;
}

inline LockImage imageWithoutSpinLock(const qeSELock &lock) {
    return {lock.owner,
            lock.count,
            lengthOf(lock.sharedWaiters),
            lengthOf(lock.exclusiveWaiters),
            lengthOf(lock.registrations),
            lock.lastProcessId,
            lock.state};
}

inline LockImage imageOf(qeSELock *lock) {
    SpinGuard guard(lock->spinLock);
    return imageWithoutSpinLock(*lock);
}

inline bool operator==(const LockImage &left, const LockImage &right) {
    return left.owner == right.owner && left.count == right.count && left.sharedWaiters == right.sharedWaiters &&
           left.exclusiveWaiters == right.exclusiveWaiters && left.registrations == right.registrations &&
           left.lastProcessId == right.lastProcessId && left.state == right.state;
}

inline std::ostream &operator<<(std::ostream &out, const LockImage &image) {
    return out << "owner " << image.owner << ", count " << image.count << ", shared waiters " << image.sharedWaiters
               << ", exclusive waiters " << image.exclusiveWaiters << ", registrations " << image.registrations
               << ", state " << image.state;
}

/** Waits until so many threads are queued. */
inline ::testing::AssertionResult waitersAre(qeSELock *lock, size_t exclusive, size_t shared) {
    const auto queued = [&] {
        const LockImage image = imageOf(lock);
        return image.exclusiveWaiters == exclusive && image.sharedWaiters == shared;
    };
    if (eventually(queued))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << imageOf(lock);
}

/** The token of the thread that queued last. */
inline HANDLE latestWaiter(qeSELock *lock, qeLLNode *qeSELock::*queue) {
    SpinGuard guard(lock->spinLock);
    const auto *waiter = reinterpret_cast<const WaitRecord *>(lock->*queue);
    return waiter ? waiter->token : noThread();
}

/** An attached process, an attached thread and a lock. */
class LockTest : public ::testing::Test {
protected:
    LockTest() {
        EXPECT_LT(qeSO_ProcessAttach(), 512u);
        EXPECT_EQ(qeSO_ThreadAttach(), 1u);
        EXPECT_EQ(qeSO_SELockCreate(&lock), 0u);
    }
    ~LockTest() override {
        qeSO_Release(lock);
        EXPECT_EQ(qeSO_ThreadDetach(), 1);
        EXPECT_EQ(qeSO_ProcessDetach(), 1);
    }

    /** Takes the lock exclusively, whoever waits, notes who it was, and releases it. */
    std::function<void()> exclusively(char name) {
        return [this, name] {
            EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
            served += name;
            qeSO_SELockRelease(lock);
        };
    }

    void expectFree() {
        const LockImage image = imageOf(lock);
        EXPECT_EQ(image.owner, noThread());
        EXPECT_EQ(image.count, 0);
        EXPECT_EQ(image.sharedWaiters, 0u);
        EXPECT_EQ(image.exclusiveWaiters, 0u);
        EXPECT_EQ(lock->spinLock, 0);
    }

    qeSELock *lock = nullptr;
    std::string served; // by exclusive holders only
};

} // namespace zor::test
