// Eight threads at random on one lock and two lists, for two seconds or for ZORCOMN_STRESS_SECONDS. Only exclusive
// holders change the pair, so whoever holds the lock in any way finds its halves equal; and every node that goes round
// is in exactly one place. A run that hangs tells what the lock's record says before it fails.

#include "tests/lists_locks/lock_support.h"
#include "tests/support/test_seed.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>

namespace {

using namespace zor;
using namespace zor::test;

constexpr int kThreads = 8;
constexpr int kNodes = 12;
constexpr int kRegistrations = 16; // a release serves one, and a longer list would be all that the threads walk

std::chrono::seconds lengthOfThisRun() {
    const char *given = std::getenv("ZORCOMN_STRESS_SECONDS");
    const long seconds = given ? std::strtol(given, nullptr, 10) : 2;
    return std::chrono::seconds(seconds > 0 ? seconds : 1);
}

struct StackItem {
    qeLLNode link;
    int holders; // changed by whoever has taken the item out
};
struct RowItem {
    qeLL2Node links;
    int holders;
};

// What a callback does is under the lock's spin lock and needs no other.
std::atomic<int> callbacksServed{0};

uint32_t serveOnce(uint32_t, uint32_t event, uint32_t, uint32_t) {
    if (event != kLockIsFree)
        return 1; // not withdrawn: a withdrawn registration would stay on the heap
    ++callbacksServed;
    return 0;
}

struct Stress {
    qeSELock *lock = nullptr;
    uint64_t first = 0, second = 0; // under the lock
    qeSLL *stack = nullptr;
    qeSLL2 *row = nullptr;
    std::array<StackItem, kNodes> stackItems{};
    std::array<RowItem, kNodes> rowItems{};
    std::chrono::steady_clock::time_point end;
    std::atomic<int> broken{0};
    std::atomic<int> callbacksRegistered{0};
    std::atomic<unsigned long> turns{0};
    std::atomic<int> finished{0};

    Stress() {
        qeSO_SELockCreate(&lock);
        qeSLL_Create(&stack);
        qeSLL2_Create(&row);
        for (StackItem &item : stackItems)
            qeSLL_XInsertHead(stack, &item.link);
        for (RowItem &item : rowItems)
            qeSLL2_XInsertTail(row, &item.links);
        end = std::chrono::steady_clock::now() + lengthOfThisRun();
    }
    ~Stress() {
        qeSLL2_Release(row);
        qeSLL_Release(stack);
        qeSO_Release(lock);
    }

    void expect(bool holds) { broken += holds ? 0 : 1; }
};

/** One thread's random work. */
class Worker {
public:
    Worker(Stress &stress, uint32_t seed) : m_stress(stress), m_random(seed) {}

    void run() {
        while (std::chrono::steady_clock::now() < m_stress.end) {
            for (int turn = 0; turn < 64; ++turn)
                work();
            m_stress.turns += 64;
        }
        ++m_stress.finished;
    }

private:
    void work() {
        switch (m_random() % 10) {
        case 0:
            return writeWhenHeld(qeSO_SELockExclusive(m_stress.lock, 1));
        case 1:
            return writeWhenHeld(qeSO_SELock(m_stress.lock, 1, 0));
        case 2:
            return writeTwice();
        case 3:
            return writeThenShare();
        case 4:
            return writeOrRegister();
        case 5:
            return readWhenHeld(qeSO_SELockSharedStarveExclusive(m_stress.lock, m_random() % 2));
        case 6:
            return readWhenHeld(qeSO_SELockSharedWaitForExclusive(m_stress.lock, 1));
        case 7:
            return readWhenHeld(qeSO_SELock(m_stress.lock, 0, m_random() % 2));
        case 8:
            return moveStackItem();
        default:
            return moveRowItem();
        }
    }

    void write() {
        read();
        ++m_stress.first;
        ++m_stress.second;
    }
    void read() { m_stress.expect(m_stress.first == m_stress.second); }
    void release() { qeSO_SELockRelease(m_stress.lock); }

    void writeWhenHeld(int32_t held) {
        if (!held)
            return;
        write();
        release();
    }
    void readWhenHeld(int32_t held) {
        if (!held)
            return;
        read();
        release();
    }
    void writeTwice() {
        m_stress.expect(qeSO_SELockExclusive(m_stress.lock, 1) == 1);
        write();
        m_stress.expect(qeSO_SELockExclusive(m_stress.lock, 0) == 1);
        m_stress.expect(qeSO_SELockSharedWaitForExclusive(m_stress.lock, 0) == 1);
        release();
        release();
        write();
        release();
    }
    void writeThenShare() {
        m_stress.expect(qeSO_SELockExclusive(m_stress.lock, 1) == 1);
        write();
        qeSO_SELockExclusiveToShared(m_stress.lock);
        read();
        release();
    }
    void writeOrRegister() {
        if (m_stress.callbacksRegistered - callbacksServed > kRegistrations)
            return;
        const uint32_t argument = m_random() % 4;
        if (qeSO_SELockExclusiveNotify(m_stress.lock, serveOnce, argument, 0) == 1) {
            write();
            return release();
        }
        ++m_stress.callbacksRegistered;
        m_stress.expect(qeSO_SELockExclusiveUnnotify(m_stress.lock, serveOnce, argument, 0) == 0);
    }

    template <class Item> void holdAlone(Item &item) {
        m_stress.expect(++item.holders == 1);
        --item.holders;
    }
    void moveStackItem() {
        if (qeSLL_IsEmpty(m_stress.stack))
            return;
        auto *item = reinterpret_cast<StackItem *>(qeSLL_XRemoveHead(m_stress.stack));
        if (!item)
            return;
        holdAlone(*item);
        qeSLL_XInsertHead(m_stress.stack, &item->link);
    }
    void moveRowItem() {
        const bool atHead = m_random() % 2 == 0;
        auto *item = reinterpret_cast<RowItem *>((atHead ? qeSLL2_XRemoveHead : qeSLL2_XRemoveTail)(m_stress.row));
        if (item) {
            holdAlone(*item);
            (m_random() % 2 == 0 ? qeSLL2_XInsertHead : qeSLL2_XInsertTail)(m_stress.row, &item->links);
        }
        walkRow();
    }
    void walkRow() {
        int length = 0;
        for (qeLL2Node *node = qeSLL2_XGetHead(m_stress.row, 0, 1); !qeLL2_XIsEnd(node); node = qeLL2_XGetNext(node))
            ++length;
        qeSLL2_LockRelease(m_stress.row);
        m_stress.expect(length <= kNodes && length > kNodes - kThreads);
    }

    Stress &m_stress;
    std::mt19937 m_random;
};

/** Prints the records of all three locks and ends the process: its threads can no longer be joined. */
[[noreturn]] void reportHang(const Stress &stress) {
    std::cerr << "hung; finished " << stress.finished << " of " << kThreads << " threads\n";
    for (const qeSELock *lock : {stress.lock, stress.stack->lock, stress.row->lock})
        std::cerr << "spin lock " << lock->spinLock << ", " << imageWithoutSpinLock(*lock) << std::endl;
    std::abort();
}

TEST_F(LockTest, Stress_KeepsTheInvariant) {
    const uint32_t seed = seedOfThisRun();
    Stress stress;
    callbacksServed = 0;
    {
        std::vector<std::unique_ptr<AttachedThread>> threads;
        for (uint32_t thread = 0; thread < kThreads; ++thread)
            threads.push_back(
                std::make_unique<AttachedThread>([&stress, seed, thread] { Worker(stress, seed + thread).run(); }));
        if (!eventually([&] { return stress.finished == kThreads; }, lengthOfThisRun() + std::chrono::seconds(120)))
            reportHang(stress);
    }
    EXPECT_EQ(stress.broken, 0);
    EXPECT_EQ(stress.first, stress.second);
    EXPECT_GT(stress.turns, 0u);
    for (qeSELock *each : {stress.lock, stress.stack->lock, stress.row->lock}) {
        const LockImage image = imageOf(each);
        EXPECT_TRUE(image.count == 0 && image.owner == noThread() && image.exclusiveWaiters == 0 &&
                    image.sharedWaiters == 0)
            << image;
    }
    while (imageOf(stress.lock).registrations > 0) { // each release serves one
        qeSO_SELockExclusive(stress.lock, 1);
        qeSO_SELockRelease(stress.lock);
    }
    EXPECT_EQ(callbacksServed, stress.callbacksRegistered);
    int left = 0;
    while (qeSLL_XRemoveHead(stress.stack))
        ++left;
    while (qeSLL2_XRemoveTail(stress.row))
        ++left;
    EXPECT_EQ(left, 2 * kNodes);
}

} // namespace
