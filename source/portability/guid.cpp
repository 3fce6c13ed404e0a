// Time-based GUIDs (version 1) with a random node, and their text form. A GUID is handled as its 16 octets in memory
// order, which makes the same bytes and the same text on machines of either byte order.

#include "zorcomn/portability.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/guid.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include <net/if.h>
#include <sys/ioctl.h>

static_assert(sizeof(qelGuid) == 16 && offsetof(qelGuid, Data2) == 4 && offsetof(qelGuid, Data3) == 6 &&
                  offsetof(qelGuid, Data4) == 8,
              "callers read the octets through the fields");

namespace zor {

namespace {

using Octets = std::array<uint8_t, 16>;

constexpr uint64_t kUnixEpoch = 0x01B21DD213814000u; // 1970-01-01 in units of 100 ns since 1582-10-15
constexpr uint32_t kClockSequenceMask = 0x1FFF;
constexpr uint32_t kLastAdjustment = 10;

/** Asks for the interface list and drops the answer: the node is random, with or without interfaces. */
void queryInterfaces() {
    const Descriptor query = openSocket(AF_INET, SOCK_DGRAM, 0);
    if (!query)
        return;
    ifreq entries[16];
    ifconf list{};
    list.ifc_len = sizeof entries;
    list.ifc_req = entries;
    ioctl(query.get(), SIOCGIFCONF, &list);
}

void drawNode(int (*random)(), uint8_t *node) {
    for (int i = 0; i < 6; ++i)
        node[i] = static_cast<uint8_t>(random() & 0xFF);
    node[0] |= 0x80; // no network card's address
}

uint32_t drawClockSequence(int (*random)()) {
    const uint32_t high = static_cast<uint32_t>(random());
    const uint32_t low = static_cast<uint32_t>(random()) & 0xFF;
    return (high * 256 + low) & kClockSequenceMask;
}

/** Below, at or above 0: now is before, at or after the last time. */
int compareWithLastTime(const GuidState &state, const timeval &now) {
    const long seconds = state.lastSeconds.load(std::memory_order_relaxed);
    const int32_t microseconds = state.lastMicroseconds.load(std::memory_order_relaxed);
    if (now.tv_sec != seconds)
        return now.tv_sec < seconds ? -1 : 1;
    if (now.tv_usec != microseconds)
        return now.tv_usec < microseconds ? -1 : 1;
    return 0;
}

/** Settles clock sequence and adjustment for a time; waits for another time when this one's adjustments are used up. */
timeval settleTime(GuidState &state, const GuidSources &sources, timeval now) {
    for (;; now = sources.now()) {
        const int order = compareWithLastTime(state, now);
        if (order < 0)
            state.clockSequence = (state.clockSequence + 1) & kClockSequenceMask;
        if (order != 0) {
            state.adjustment = 0;
            return now;
        }
        const uint32_t adjustment = state.adjustment;
        if (adjustment < kLastAdjustment) {
            state.adjustment = adjustment + 1;
            return now;
        }
    }
}

uint64_t timeStampOf(const timeval &now, uint32_t adjustment) {
    return static_cast<uint64_t>(now.tv_sec) * 10000000 + static_cast<uint64_t>(now.tv_usec) * 10 + adjustment +
           kUnixEpoch;
}

void writeTime(uint64_t timeStamp, uint32_t clockSequence, Octets &octets) {
    for (unsigned i = 0; i < 4; ++i)
        octets[i] = static_cast<uint8_t>(timeStamp >> (24 - 8 * i));
    octets[4] = static_cast<uint8_t>(timeStamp >> 40);
    octets[5] = static_cast<uint8_t>(timeStamp >> 32);
    octets[6] = static_cast<uint8_t>(timeStamp >> 56 | 0x10); // version 1
    octets[7] = static_cast<uint8_t>(timeStamp >> 48);
    octets[8] = static_cast<uint8_t>(clockSequence >> 8 | 0x80); // variant
    octets[9] = static_cast<uint8_t>(clockSequence);
}

timeval currentTime() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

/** rand() has a lock of its own. */
int drawFromSystem() {
    const ForkDelay delay;
    return std::rand();
}

GuidState generator;

} // namespace

void createGuid(GuidState &state, const GuidSources &sources, qelGuid &guid) {
    const bool first = !state.initialised.load(std::memory_order_acquire);
    if (first)
        queryInterfaces();
    Octets octets;
    drawNode(sources.random, &octets[10]);
    timeval now = sources.now();
    if (first) {
        // Kept: the last time is set here, a second back, and never again; later calls compare with it all the same.
        state.clockSequence = drawClockSequence(sources.random);
        state.lastSeconds = static_cast<long>(now.tv_sec - 1);
        state.lastMicroseconds = static_cast<int32_t>(now.tv_usec);
        state.initialised.store(true, std::memory_order_release);
    }
    now = settleTime(state, sources, now);
    writeTime(timeStampOf(now, state.adjustment), state.clockSequence, octets);
    std::memcpy(&guid, octets.data(), octets.size());
}

} // namespace zor

qelGuid *qelCoCreateGuid(qelGuid *guid) {
    if (!guid)
        return nullptr;
    const zor::UncancellableScope uncancellable;
    zor::createGuid(zor::generator, {zor::currentTime, zor::drawFromSystem}, *guid);
    return guid;
}

char *qelUuidToStringA(const qelGuid *guid, char *buffer) {
    static constexpr char kDigits[] = "0123456789abcdef";
    if (!guid || !buffer)
        return nullptr;
    zor::Octets octets;
    std::memcpy(octets.data(), guid, octets.size());
    char *next = buffer;
    for (size_t i = 0; i < octets.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            *next++ = '-';
        *next++ = kDigits[octets[i] >> 4];
        *next++ = kDigits[octets[i] & 0xF];
    }
    *next = '\0';
    return buffer;
}
