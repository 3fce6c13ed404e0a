#include "zorcomn/sysprops.h"

#include "tests/support/failing_calls.h"
#include "tests/support/fake_host.h"

#include <cstring>

namespace {

using namespace velmora_com::vta::sysprops;
using zor::host::fakeHost;

using ProcessorTest = zor::host::FakeHostTest;

constexpr struct {
    long code;
    const char *name;
} kProcessors[] = {
    {0, "68000"},
    {1, "68010"},
    {2, "68020"},
    {3, "68030"},
    {4, "68040"},
    {0x101, "601"},
    {0x103, "603"},
    {0x104, "604"},
    {0x106, "603e"},
    {0x107, "603ev"},
    {0x108, "750"},
    {0x109, "604e"},
    {0x10A, "604ev"},
    {0x10C, "G4"},
    {0x110, "G47450"},
    {0x69343836, "486"},
    {0x69353836, "Pentium"},
    {0x69356969, "PentiumII"},
    {0x69356976, "Pentium 4"},
    {0x69357072, "PentiumPro"},
    {0x69787878, "X86"},
};

constexpr struct {
    long code;
    const char *name;
} kArchitectures[] = {{1, "MC680x0"}, {2, "PowerPC"}, {10, "Intel"}};

TEST(ProcessorNames, EachCode_HasItsName_Kept) {
    for (const auto &row : kProcessors) {
        char name[32];
        std::memset(name, '#', sizeof name);
        EXPECT_TRUE(ConvertGestaltCPUTypeToString(row.code, name)) << row.code;
        EXPECT_STREQ(name, row.name) << row.code;
        EXPECT_EQ(name[std::strlen(row.name) + 1], '#') << "nothing behind the terminator";
    }
}

TEST(ProcessorNames, UnknownCodeOrNoBuffer_FailsAndLeavesTheBuffer) {
    for (const long code :
         {-1L, 5L, 0x100L, 0x102L, 0x105L, 0x10BL, 0x10DL, 0x10FL, 0x111L, 0x69353837L, 0x36383469L, 0x7FFFFFFFL}) {
        char name[32] = "before";
        EXPECT_FALSE(ConvertGestaltCPUTypeToString(code, name)) << code;
        EXPECT_STREQ(name, "before") << code;
    }
    EXPECT_FALSE(ConvertGestaltCPUTypeToString(0x10C, nullptr));
    EXPECT_FALSE(ConvertGestaltCPUTypeToString(-1, nullptr));
}

TEST(ArchitectureNames, EachCode_HasItsName) {
    for (const auto &row : kArchitectures) {
        char name[32];
        std::memset(name, '#', sizeof name);
        EXPECT_TRUE(ConvertGestaltSysArchToString(row.code, name)) << row.code;
        EXPECT_STREQ(name, row.name) << row.code;
        EXPECT_EQ(name[std::strlen(row.name) + 1], '#') << "nothing behind the terminator";
    }
}

TEST(ArchitectureNames, UnknownCodeOrNoBuffer_FailsAndLeavesTheBuffer) {
    for (const long code : {-1L, 0L, 3L, 9L, 11L, 0x7FFFFFFFL}) {
        char name[32] = "before";
        EXPECT_FALSE(ConvertGestaltSysArchToString(code, name)) << code;
        EXPECT_STREQ(name, "before") << code;
    }
    EXPECT_FALSE(ConvertGestaltSysArchToString(2, nullptr));
}

TEST_F(ProcessorTest, KnownFacts_FillTheRecord) {
    fakeHost.processorCount = 2;
    fakeHost.processorClockHertz = 1333333000;
    fakeHost.architectureCode = 2;
    fakeHost.processorCode = 0x10C;
    fakeHost.hardwareModel = "PowerBook6,8";
    CPUInformation info;
    EXPECT_TRUE(ISysProps().GetCPUInformation(info));
    EXPECT_EQ(info.NumOfCPU, L"2");
    EXPECT_EQ(info.CPUSpeed, L"1333 MHz");
    EXPECT_EQ(info.CPUType, L"PowerPC G4");
    EXPECT_EQ(info.IsPortable, L"1");
    EXPECT_EQ(info.CPUSerialNumber, L"N/A");
}

TEST_F(ProcessorTest, Type_IsMadeOfTheKnownNames) {
    constexpr int32_t kUnknown = 0x139;
    const struct {
        std::optional<int32_t> architecture, processor;
        const wchar_t *type;
    } rows[] = {
        {2, 0x10C, L"PowerPC G4"}, {10, 0x69356976, L"Intel Pentium 4"},
        {2, kUnknown, L"PowerPC"}, {2, std::nullopt, L"PowerPC"},
        {kUnknown, 0x10C, L"G4"},  {std::nullopt, 0x110, L"G47450"},
        {1, 4, L"MC680x0 68040"},  {std::nullopt, 0, L"68000"},
    };
    for (const auto &row : rows) {
        fakeHost.architectureCode = row.architecture;
        fakeHost.processorCode = row.processor;
        CPUInformation info;
        EXPECT_TRUE(ISysProps().GetCPUInformation(info)) << row.type;
        EXPECT_EQ(info.CPUType, row.type);
        EXPECT_EQ(info.IsPortable, L"-1") << row.type;
    }
}

TEST_F(ProcessorTest, NoName_FailsWithAnEmptyTypeAndLeavesIsPortable_Kept) {
    fakeHost.processorCount = 4;
    fakeHost.processorClockHertz = 800000000;
    fakeHost.hardwareModel = "MacBook2,1";
    for (const std::optional<int32_t> code : {std::optional<int32_t>(), std::optional<int32_t>(0x139)}) {
        fakeHost.architectureCode = code;
        fakeHost.processorCode = code;
        CPUInformation info;
        EXPECT_FALSE(ISysProps().GetCPUInformation(info));
        EXPECT_EQ(info.CPUType, L"");
        EXPECT_EQ(info.IsPortable, L"");
        EXPECT_EQ(info.NumOfCPU, L"4");
        EXPECT_EQ(info.CPUSpeed, L"800 MHz");
    }
}

TEST_F(ProcessorTest, UnknownCount_LeavesTheField) {
    fakeHost.architectureCode = 2;
    CPUInformation info;
    EXPECT_TRUE(ISysProps().GetCPUInformation(info));
    EXPECT_EQ(info.NumOfCPU, L"N/A");
    info.NumOfCPU = L"before";
    EXPECT_TRUE(ISysProps().GetCPUInformation(info));
    EXPECT_EQ(info.NumOfCPU, L"before");
}

TEST_F(ProcessorTest, Clock_IsCutToMegahertzAndZeroWhenUnknown_Kept) {
    fakeHost.architectureCode = 2;
    const struct {
        std::optional<int64_t> hertz;
        const wchar_t *speed;
    } rows[] = {
        {std::nullopt, L"0 MHz"},  {0, L"0 MHz"},
        {999999, L"0 MHz"},        {1000000, L"1 MHz"},
        {1999999999, L"1999 MHz"}, {2147483648, L"2147 MHz"},
        {4294967296, L"4294 MHz"}, {5700000000, L"5700 MHz"},
        {-1999999, L"-1 MHz"},
    };
    for (const auto &row : rows) {
        fakeHost.processorClockHertz = row.hertz;
        CPUInformation info;
        EXPECT_TRUE(ISysProps().GetCPUInformation(info));
        EXPECT_EQ(info.CPUSpeed, row.speed);
    }
}

TEST_F(ProcessorTest, BookInTheModel_MakesAPortable_Kept) {
    const struct {
        const char *model;
        bool isPortable;
    } rows[] = {
        {"MacBookPro1,1", true}, {"PowerBook6,8", true}, {"iBook", true},      {"BOOK", true}, {"EliteBook 840", true},
        {"Notebook", true},      {"PowerMac7,2", false}, {"Mac Bo ok", false}, {"boo", false}, {"", false},
    };
    fakeHost.architectureCode = 2;
    for (const auto &row : rows) {
        fakeHost.hardwareModel = row.model;
        bool isPortable = !row.isPortable;
        EXPECT_TRUE(IsPortableComputer(isPortable)) << row.model;
        EXPECT_EQ(isPortable, row.isPortable) << row.model;
        CPUInformation info;
        EXPECT_TRUE(ISysProps().GetCPUInformation(info));
        EXPECT_EQ(info.IsPortable, row.isPortable ? L"1" : L"0") << row.model;
    }
}

TEST_F(ProcessorTest, UnknownModel_FailsAndIsNoPortable) {
    bool isPortable = true;
    EXPECT_FALSE(IsPortableComputer(isPortable));
    EXPECT_FALSE(isPortable);
}

TEST_F(ProcessorTest, NoMemoryAtAnyPoint_FailsOrLeavesThePortableFlagUnknown) {
    fakeHost.processorClockHertz = 1333333000;
    fakeHost.architectureCode = 2;
    fakeHost.processorCode = 0x10C;
    fakeHost.hardwareModel = "PowerBook6,8, the one of a longer name";
    bool wasReached = true;
    int points = 0;
    while (wasReached) {
        CPUInformation info;
        const zor::test::FailingCall failing("operator new", points + 1);
        const bool result = ISysProps().GetCPUInformation(info);
        wasReached = failing.wasReached();
        EXPECT_EQ(result, !wasReached || info.IsPortable == L"-1") << points;
        points += wasReached;
    }
    EXPECT_GT(points, 2);
}

} // namespace
