#include "zorcomn/portability.h"

#include "source/platform/posix.h"
#include "source/portability/guid.h"
#include "tests/support/descriptors.h"
#include "tests/support/failing_calls.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Octets = std::array<uint8_t, 16>;

Octets octetsOf(const qelGuid &guid) {
    Octets octets;
    std::memcpy(octets.data(), &guid, octets.size());
    return octets;
}

uint64_t timeStampIn(const qelGuid &guid) {
    const Octets octets = octetsOf(guid);
    uint64_t stamp = octets[6] & 0x0F;
    for (const size_t i : {7u, 4u, 5u, 0u, 1u, 2u, 3u})
        stamp = stamp << 8 | octets[i];
    return stamp;
}

uint32_t clockSequenceIn(const qelGuid &guid) {
    const Octets octets = octetsOf(guid);
    return (octets[8] & 0x3Fu) << 8 | octets[9];
}

uint64_t stampOf(const timeval &time) {
    return static_cast<uint64_t>(time.tv_sec) * 10000000 + static_cast<uint64_t>(time.tv_usec) * 10 +
           0x01B21DD213814000;
}

/** A clock that shows each of its times once and then stays at the last, and random numbers 1, 2, 3... */
class GuidSteps : public ::testing::Test {
protected:
    GuidSteps() { s_random = 0; }

    qelGuid create() {
        qelGuid guid;
        zor::createGuid(m_state, {showTime, drawNumber}, guid);
        return guid;
    }
    static void setClock(std::vector<timeval> times) {
        s_times = std::move(times);
        s_shown = 0;
    }
    static size_t timesShown() { return s_shown; }
    static int randomNumbersDrawn() { return s_random; }
    static void setRandom(int last) { s_random = last; }

    zor::GuidState m_state;

private:
    static timeval showTime() {
        const size_t i = std::min(s_shown, s_times.size() - 1);
        ++s_shown;
        return s_times[i];
    }
    static int drawNumber() { return ++s_random; }

    static inline std::vector<timeval> s_times;
    static inline size_t s_shown = 0;
    static inline int s_random = 0;
};

TEST_F(GuidSteps, Octets_HoldTimeVersionVariantSequenceAndNode) {
    setClock({{0x12345678, 654321}});
    const Octets octets = octetsOf(create());
    const uint64_t stamp = 0x12345678 * uint64_t{10000000} + 6543210 + 0x01B21DD213814000;
    // The node takes the first six numbers drawn, the clock sequence the next two: 7 * 256 + 8.
    const Octets expected = {static_cast<uint8_t>(stamp >> 24),
                             static_cast<uint8_t>(stamp >> 16),
                             static_cast<uint8_t>(stamp >> 8),
                             static_cast<uint8_t>(stamp),
                             static_cast<uint8_t>(stamp >> 40),
                             static_cast<uint8_t>(stamp >> 32),
                             static_cast<uint8_t>(stamp >> 56 | 0x10),
                             static_cast<uint8_t>(stamp >> 48),
                             0x87,
                             0x08,
                             0x81,
                             0x02,
                             0x03,
                             0x04,
                             0x05,
                             0x06};
    EXPECT_EQ(octets, expected);
}

TEST_F(GuidSteps, LaterCalls_DrawTheNodeAnew) {
    setClock({{1000, 0}, {1001, 0}});
    create();
    EXPECT_EQ(randomNumbersDrawn(), 8);
    setRandom(0x1FE);
    const Octets octets = octetsOf(create());
    EXPECT_EQ(randomNumbersDrawn(), 0x1FE + 6);
    EXPECT_EQ(std::vector<int>(octets.begin() + 10, octets.end()), (std::vector<int>{0xFF, 0, 1, 2, 3, 4}));
}

TEST_F(GuidSteps, ClockSequence_Has13Bits) {
    setClock({{1000, 0}});
    setRandom(0x7FFFFFF0);
    EXPECT_EQ(clockSequenceIn(create()), (0xF7u << 8 | 0xF8u) & 0x1FFF);
}

TEST_F(GuidSteps, LastTime_IsSetAtTheFirstCallOnly_Kept) {
    setClock({{1000, 7}, {1000, 7}, {1000, 7}, {999, 8}});
    const qelGuid first = create();
    EXPECT_EQ(m_state.lastSeconds, 999);
    EXPECT_EQ(m_state.lastMicroseconds, 7);
    // The same microsecond again: no adjustment, since it is not the last time.
    EXPECT_EQ(timeStampIn(create()), timeStampIn(first));
    EXPECT_EQ(timeStampIn(create()), timeStampIn(first));
    // A clock set back, but not behind the first call's last time, goes unnoticed.
    EXPECT_EQ(clockSequenceIn(create()), clockSequenceIn(first));
    EXPECT_EQ(m_state.lastSeconds, 999);
    EXPECT_EQ(m_state.lastMicroseconds, 7);
}

TEST_F(GuidSteps, ClockSetBackBehindTheLastTime_AdvancesTheSequenceEachTime) {
    setClock({{1000, 7}, {999, 6}, {998, 999999}, {2000, 0}});
    const uint32_t sequence = clockSequenceIn(create());
    const qelGuid earlier = create();
    EXPECT_EQ(clockSequenceIn(earlier), sequence + 1);
    EXPECT_EQ(timeStampIn(earlier), stampOf({999, 6}));
    EXPECT_EQ(clockSequenceIn(create()), sequence + 2);
    EXPECT_EQ(clockSequenceIn(create()), sequence + 2);
}

TEST_F(GuidSteps, ClockSequence_WrapsTo0) {
    setClock({{1000, 0}, {1, 0}});
    create();
    m_state.clockSequence = 0x1FFF;
    EXPECT_EQ(clockSequenceIn(create()), 0u);
}

TEST_F(GuidSteps, LastTimeAgain_IsAdjustedTenTimesThenReadAgain) {
    setClock({{1000, 7}});
    create();
    setClock(std::vector<timeval>(10, timeval{999, 7}));
    for (uint64_t i = 1; i <= 10; ++i)
        EXPECT_EQ(timeStampIn(create()), stampOf({999, 7}) + i);
    setClock({{999, 7}, {999, 7}, {999, 8}});
    EXPECT_EQ(timeStampIn(create()), stampOf({999, 8}));
    EXPECT_EQ(timesShown(), 3u);
    EXPECT_EQ(m_state.adjustment, 0u) << "another time begins without one";
}

TEST_F(GuidSteps, ReadingAgain_NoticesAClockSetBack) {
    setClock({{1000, 7}});
    const uint32_t sequence = clockSequenceIn(create());
    m_state.adjustment = 10;
    setClock({{999, 7}, {999, 6}});
    const qelGuid guid = create();
    EXPECT_EQ(timeStampIn(guid), stampOf({999, 6}));
    EXPECT_EQ(clockSequenceIn(guid), sequence + 1);
}

TEST(Guid, VersionVariantAndTime_AreThoseOfTheCall) {
    timeval before;
    gettimeofday(&before, nullptr);
    qelGuid guid;
    EXPECT_EQ(qelCoCreateGuid(&guid), &guid);
    timeval after;
    gettimeofday(&after, nullptr);
    const Octets octets = octetsOf(guid);
    EXPECT_EQ(octets[6] >> 4, 1);
    EXPECT_EQ(octets[8] >> 6, 2);
    EXPECT_EQ(octets[10] & 0x80, 0x80);
    EXPECT_GE(timeStampIn(guid), stampOf(before));
    EXPECT_LE(timeStampIn(guid), stampOf(after));
}

TEST(Guid, HundredThousandInARow_AreDistinct) {
    std::set<Octets> seen;
    for (int i = 0; i < 100000; ++i) {
        qelGuid guid;
        qelCoCreateGuid(&guid);
        ASSERT_TRUE(seen.insert(octetsOf(guid)).second) << i;
    }
}

// Nothing locks the generator; its calls side by side must still only ever yield well-formed GUIDs.
TEST(Guid, ConcurrentCalls_YieldWellFormedGuids) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 1000; ++j) {
                qelGuid guid;
                qelCoCreateGuid(&guid);
                EXPECT_EQ(octetsOf(guid)[6] >> 4, 1);
                EXPECT_EQ(octetsOf(guid)[8] >> 6, 2);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(Guid, Null_IsReturnedAsItCame) {
    EXPECT_EQ(qelCoCreateGuid(nullptr), nullptr);
}

TEST_F(GuidSteps, FirstCall_LeavesNoDescriptorOpen) {
    setClock({{1000, 0}});
    const size_t before = zor::test::openDescriptors();
    create();
    EXPECT_EQ(zor::test::openDescriptors(), before);
}

TEST_F(GuidSteps, OnlyTheFirstCall_OpensASocket) {
    setClock({{1000, 0}});
    {
        const zor::test::FailingCall failing("socket");
        EXPECT_EQ(timeStampIn(create()), stampOf({1000, 0})) << "none is needed, though";
        EXPECT_TRUE(failing.wasReached());
    }
    const zor::test::FailingCall failing("socket");
    create();
    EXPECT_FALSE(failing.wasReached());
}

TEST(Socket, IsClosedWhenAProgramStarts) {
    const zor::Descriptor opened = zor::openSocket(AF_INET, SOCK_DGRAM, 0);
    if (!opened)
        GTEST_SKIP() << "no socket of this family here";
    EXPECT_EQ(fcntl(opened.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(GuidText, OctetsInMemoryOrder_OnEveryMachine) {
    qelGuid guid;
    Octets octets;
    for (size_t i = 0; i < octets.size(); ++i)
        octets[i] = static_cast<uint8_t>(i);
    std::memcpy(&guid, octets.data(), octets.size());
    char text[38];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(qelUuidToStringA(&guid, text), text);
    EXPECT_STREQ(text, "00010203-0405-0607-0809-0a0b0c0d0e0f");
    EXPECT_EQ(text[37], '#') << "37 bytes, terminator included";
}

TEST(GuidText, Letters_AreLowerCase) {
    qelGuid guid;
    std::memset(&guid, 0xFE, sizeof guid);
    char text[37];
    EXPECT_STREQ(qelUuidToStringA(&guid, text), "fefefefe-fefe-fefe-fefe-fefefefefefe");
}

TEST(GuidText, Null_GivesNull) {
    const qelGuid guid{};
    EXPECT_EQ(qelUuidToStringA(&guid, nullptr), nullptr);
    char text[37] = "#";
    EXPECT_EQ(qelUuidToStringA(nullptr, text), nullptr);
    EXPECT_STREQ(text, "#");
}

} // namespace
