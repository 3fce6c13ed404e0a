// The spin lock's acquisition, with the schedule of its pauses.

#include "source/lists_locks/spin_lock.h"

#include "source/platform/posix.h"

#include <ctime>

namespace zor {

namespace {

/** Failed attempts, counted from 0: those below `before` (and not below the row above) pause for so long. */
struct Pauses {
    uint32_t before;
    uint32_t microseconds;
};

constexpr uint32_t kFirstPausingAttempt = 4000;
constexpr Pauses kSchedule[] = {{4100, 0}, {4200, 10000}, {4300, 100000}, {4400, 1000000}};
constexpr uint32_t kLastCountedAttempt = 4400;

void pauseAfterAttempt(uint32_t failed, SpinPause pause) {
    if (failed < kFirstPausingAttempt)
        return;
    for (const Pauses &row : kSchedule) {
        if (failed < row.before)
            return pause(row.microseconds);
    }
    // Kept: whoever is still waiting then retries without a pause again, for as long as it takes.
}

/** Sleeps, which a signal may cut short. Never cancelled here: a release spins too and must be able to finish. */
void pauseMicroseconds(uint32_t microseconds) {
    constexpr uint32_t kPerSecond = 1000000;
    CleanUpScope quiet;
    timespec length = {};
    length.tv_sec = static_cast<time_t>(microseconds / kPerSecond);
    length.tv_nsec = static_cast<long>(microseconds % kPerSecond) * 1000;
    nanosleep(&length, nullptr);
}

} // namespace

void acquireSpinLock(volatile int32_t *cell, SpinExchange exchange, SpinPause pause) {
    uint32_t failed = 0;
    while (exchange(cell, 1) != 0) {
        pauseAfterAttempt(failed, pause);
        if (failed < kLastCountedAttempt)
            ++failed;
    }
}

void takeSpinLock(volatile int32_t *cell) {
    acquireSpinLock(cell, qelInterlockedExchange, pauseMicroseconds);
}

} // namespace zor

int32_t qeSL_Get(volatile int32_t *cell) {
    if (cell)
        zor::takeSpinLock(cell);
    return 0;
}

void qeSL_Release(volatile int32_t *cell) {
    if (cell)
        qelInterlockedExchange(cell, 0);
}
