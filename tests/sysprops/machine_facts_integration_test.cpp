// The collectors on the shared library and the real system, on machines that a test makes up in a namespace of its own.

#include "zorcomn/sysprops.h"

#include "tests/support/child.h"
#include "tests/support/environment_guard.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/version_list.h"

#include <cwchar>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/mount.h>
#if __has_include(<sys/personality.h>)
#include <sys/personality.h>
#endif
#include <sys/stat.h>
#include <sys/statvfs.h>
#if __has_include(<sys/sysmacros.h>)
#include <sys/sysmacros.h>
#endif
#include <sys/utsname.h>
#include <unistd.h>

namespace {

using namespace velmora_com::vta::sysprops;
using zor::test::childPasses;
using zor::test::kVersionList;
using zor::test::PrivateMachine;

constexpr char kVersionFile[] = "/System/Library/CoreServices/SystemVersion.plist";

/** For a child: a machine that has the target's version file, and commands that answer for it. */
class MadeTarget {
public:
    explicit MadeTarget(const std::string &list)
        : m_machine(makeMachine()), m_path("PATH", std::string(kCommands) + ":" + std::getenv("PATH")) {
        std::filesystem::create_directories("/System/Library/CoreServices");
        std::ofstream(kVersionFile, std::ios::binary) << list;
        std::filesystem::create_directories(kCommands);
        for (const char *name : {"sw_vers", "serverinfo", "sysctl"}) {
            const std::string path = std::string(kCommands) + "/" + name;
            std::ofstream(path) << "#!/bin/sh\necho " << name << " \"$@\" >> /commands.log\necho Mac OS X Server\n";
            chmod(path.c_str(), 0755);
        }
    }
    static std::string log() { return zor::test::readFile("/commands.log"); }

private:
    static PrivateMachine makeMachine() {
        PrivateMachine machine;
        machine.makeRootWritable();
        EXPECT_TRUE(machine.isReady());
        return machine;
    }

    static constexpr char kCommands[] = "/commands";
    PrivateMachine m_machine;
    zor::test::EnvironmentGuard m_path;
};

std::string withPatch(const std::string &from, const std::string &to) {
    std::string list = kVersionList;
    for (size_t at = 0; (at = list.find(from, at)) != std::string::npos; at += to.size())
        list.replace(at, from.size(), to);
    return list;
}

TEST(OSFacts, VersionFileOfTheTarget_FillsTheRecord) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        const MadeTarget target(kVersionList);
        OSInformation info;
        EXPECT_TRUE(ISysProps().GetOSInformation(info));
        EXPECT_EQ(info.PlatformID, L"MAC");
        EXPECT_EQ(info.OSType, L"Mac OS X");
        EXPECT_EQ(info.OSOEMId, L"Apple Macintosh");
        EXPECT_EQ(info.OSVersion, L"10.4.11");
        EXPECT_EQ(info.OSCsdVersion, L"11");
        EXPECT_EQ(info.OSBuildNum, L"8S165");
        EXPECT_EQ(info.OSPlatform, L"Server");
        EXPECT_EQ(target.log().substr(0, 21), "sw_vers -productName\n");
        EXPECT_EQ(qelcomn_get_os_version(), L"10.4.11");
    }));
}

TEST(OSFacts, LaterVersion_AsksTheOtherCommand) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        const MadeTarget target(withPatch("10.4.11", "10.8"));
        OSInformation info;
        EXPECT_TRUE(ISysProps().GetOSInformation(info));
        EXPECT_EQ(info.OSVersion, L"10.8");
        EXPECT_EQ(info.OSCsdVersion, L"N/A");
        EXPECT_EQ(target.log().substr(0, 25), "serverinfo --productname\n");
    }));
}

TEST(OSFacts, ListWithoutBuild_GivesTheVersionForIt_Kept) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        const MadeTarget target(withPatch("ProductBuildVersion", "Other"));
        OSInformation info;
        EXPECT_TRUE(ISysProps().GetOSInformation(info));
        EXPECT_EQ(info.OSBuildNum, L"10.4.11");
    }));
}

TEST(OSFacts, ListThatIsNotSound_LeavesTheFixedFieldsOnly) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const std::string whole = kVersionList;
    const std::string lists[] = {
        whole.substr(0, whole.size() / 2),
        whole + "junk",
        "<plist version=\"1.0\"><array/></plist>",
        "<plist version=\"1.0\"><dict/></plist>",
        withPatch("<key>ProductVersion</key>", "<key>Other</key>"),
        withPatch("<string>8S165</string>", "<integer>8</integer>"),
        withPatch("<string>10.4.11</string>", "<array/>"),
    };
    for (const std::string &list : lists)
        EXPECT_TRUE(childPasses([&] {
            const MadeTarget target(list);
            OSInformation info;
            EXPECT_FALSE(ISysProps().GetOSInformation(info));
            EXPECT_EQ(info.PlatformID, L"MAC");
            EXPECT_EQ(info.OSType, L"Mac OS X");
            EXPECT_EQ(info.OSOEMId, L"Apple Macintosh");
            for (const std::wstring *field :
                 {&info.OSVersion, &info.OSCsdVersion, &info.OSBuildNum, &info.OSPlatform, &info.OSBitMode})
                EXPECT_EQ(*field, L"N/A");
            EXPECT_EQ(target.log(), "");
        })) << list;
}

TEST(OSFacts, WithoutVersionFile_NoCommandIsRun) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        const MadeTarget target(kVersionList);
        ASSERT_EQ(unlink(kVersionFile), 0);
        OSInformation info;
        EXPECT_FALSE(ISysProps().GetOSInformation(info));
        EXPECT_EQ(info.OSVersion, L"N/A");
        EXPECT_EQ(target.log(), "");
    }));
}

TEST(OSFacts, MachineTypeOfUname_DecidesTheBitMode) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        const MadeTarget target(withPatch("10.4.11", "9.2")); // which asks no command about servers
        personality(PER_LINUX32);
        utsname system;
        ASSERT_EQ(uname(&system), 0);
        const std::string machine = system.machine;
        std::printf("uname says %s\n", machine.c_str());
        const bool is64 = machine.find("_64") != std::string::npos, is86 = machine.find("86") != std::string::npos;
        OSInformation info;
        EXPECT_TRUE(ISysProps().GetOSInformation(info));
        EXPECT_EQ(info.OSPlatform, L"Workstation");
        EXPECT_EQ(info.OSBitMode, is64 ? L"1" : L"0");
        EXPECT_EQ(target.log(), is64 || is86 ? "" : "sysctl hw\n");
    }));
}

TEST(ProcessorFacts, MadeProcessor_FillsTheRecord) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    constexpr struct {
        const char *cpuinfo;
        const wchar_t *type, *speed;
    } kRows[] = {
#if defined(__i386__) || defined(__x86_64__)
        {"vendor_id\t: GenuineIntel\ncpu family\t: 15\nmodel\t\t: 2\ncpu MHz\t\t: 2799.999\n\n", L"Intel Pentium 4",
         L"2799 MHz"},
        {"vendor_id\t: GenuineIntel\ncpu family\t: 6\nmodel\t\t: 3\ncpu MHz\t\t: 233.0\n\n", L"Intel PentiumII",
         L"233 MHz"},
        {"cpu family\t: 6\nmod", L"Intel", nullptr},
#elif defined(__powerpc__)
        {"cpu\t\t: 7410, altivec supported\nclock\t\t: 500.000000MHz\n\n", L"PowerPC G4", L"500 MHz"},
        {"cpu\t\t: PPC970FX, altivec supported\nclock\t\t: 2000.000000MHz\n\n", L"PowerPC", L"2000 MHz"},
        {"cpu", L"PowerPC", nullptr},
#endif
        {"", nullptr, nullptr},
    };
    for (const auto &row : kRows)
        EXPECT_TRUE(childPasses([&] {
            PrivateMachine machine;
            machine.place("/proc/cpuinfo", row.cpuinfo);
            ASSERT_TRUE(machine.isReady());
            CPUInformation info;
            const bool isKnown = ISysProps().GetCPUInformation(info);
            if (row.type) {
                EXPECT_TRUE(isKnown);
                EXPECT_EQ(info.CPUType, row.type);
            }
            if (row.speed) {
                EXPECT_EQ(info.CPUSpeed, row.speed);
            }
            EXPECT_EQ(info.NumOfCPU, std::to_wstring(sysconf(_SC_NPROCESSORS_ONLN)));
            EXPECT_EQ(info.CPUSerialNumber, L"N/A");
        })) << row.cpuinfo;
}

TEST(MemoryFacts, MadeMemory_FillsTheRecord) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        PrivateMachine machine;
        machine.place("/proc/meminfo", "MemTotal:        1024000 kB\nMemFree:          512000 kB\n");
        ASSERT_TRUE(machine.isReady());
        MemoryInformation info;
        EXPECT_TRUE(ISysProps().GetMemoryInformation(info));
        EXPECT_EQ(info.TotalPhysicalMemory, L"1048576000");
        EXPECT_EQ(info.FreeMemory, L"471859200") << "half lies exactly on the tenth step";
    }));
}

TEST(MemoryFacts, MemoryThatIsNotKnown_Fails) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        PrivateMachine machine;
        machine.place("/proc/meminfo", "MemTotal: lots\n");
        ASSERT_TRUE(machine.isReady());
        MemoryInformation info;
        EXPECT_FALSE(ISysProps().GetMemoryInformation(info));
        EXPECT_EQ(info.TotalPhysicalMemory, L"N/A");
        EXPECT_EQ(info.FreeMemory, L"N/A");
    }));
}

/** Runs a command of a test's set-up. */
bool run(const std::string &command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

std::wstring twoDecimals(double number) {
    wchar_t text[64];
    std::swprintf(text, 64, L"%0.2lf", number);
    return text;
}

/** For a child: mounts a small disk of its own, a fifth of it kept for the superuser, on a path that exists. */
bool mountDisk(const std::string &path) {
    const std::string image = "/mnt/image";
    return run("PATH=$PATH:/usr/sbin:/sbin; truncate -s 8M " + image + " && mkfs.ext4 -q -F -m 20 " + image) &&
           run("PATH=$PATH:/usr/sbin:/sbin; mount -o loop " + image + " \"$(printf '" + path + "')\"");
}

TEST(DiskFacts, SecondDisk_IsToldOnceWithAllItsFreeBlocks) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    zor::test::ChildResult result = zor::test::runInChild([] {
        PrivateMachine machine;
        DiskInformation before;
        ISysProps().GetDiskInformation(before);
        const std::string path = machine.scratch("odd \n\t\\name\xC3\xA9");
        std::filesystem::create_directories(path);
        if (!machine.isReady() || !mountDisk("/mnt/odd \\n\\t\\\\name\\303\\251"))
            return 77;
        // The same disk and parts of it once more, one of them covered.
        std::filesystem::create_directories(path + "/part");
        std::ofstream(path + "/file") << "content";
        for (const char *name : {"whole", "part", "covered"})
            std::filesystem::create_directories(machine.scratch(name));
        std::ofstream(machine.scratch("file")).flush();
        EXPECT_EQ(mount(path.c_str(), "/mnt/whole", nullptr, MS_BIND, nullptr), 0);
        EXPECT_EQ(mount((path + "/part").c_str(), "/mnt/part", nullptr, MS_BIND, nullptr), 0);
        EXPECT_EQ(mount((path + "/part").c_str(), "/mnt/covered", nullptr, MS_BIND, nullptr), 0);
        EXPECT_EQ(mount("none", "/mnt/covered", "tmpfs", 0, nullptr), 0);
        EXPECT_EQ(mount((path + "/file").c_str(), "/mnt/file", nullptr, MS_BIND, nullptr), 0);
        DiskInformation info;
        EXPECT_TRUE(ISysProps().GetDiskInformation(info));
        EXPECT_EQ(std::stoi(info.NumberOfFileSystems), std::stoi(before.NumberOfFileSystems) + 1);
        EXPECT_EQ(info.FileSystems.size(), before.FileSystems.size() + 1);
        struct statvfs space;
        EXPECT_EQ(statvfs(path.c_str(), &space), 0);
        EXPECT_LT(space.f_bavail, space.f_bfree);
        const double megabyte = 1048576.0 / static_cast<double>(space.f_frsize);
        const double total = static_cast<double>(space.f_blocks) / megabyte;
        const double free = static_cast<double>(space.f_bfree) / megabyte;
        const auto &entry = info.FileSystems[L"/mnt/odd \n\t\\name\u00E9"];
        EXPECT_EQ(entry.first, twoDecimals(total));
        EXPECT_EQ(entry.second, twoDecimals(get_closest_floor<double>(free, total, 0.0, 20)));
        return 0;
    });
    if (result.exited && result.code == 77)
        GTEST_SKIP() << "no disk can be made here: needs mkfs.ext4 and loop devices";
    EXPECT_TRUE(result.exited && result.code == 0) << result.output;
}

TEST(DiskFacts, DiskHiddenBelowALaterMount_IsLeftOut) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    zor::test::ChildResult result = zor::test::runInChild([] {
        PrivateMachine machine;
        DiskInformation before;
        ISysProps().GetDiskInformation(before);
        std::filesystem::create_directories("/mnt/folder/disk");
        if (!machine.isReady() || !mountDisk("/mnt/folder/disk"))
            return 77;
        DiskInformation seen;
        EXPECT_TRUE(ISysProps().GetDiskInformation(seen));
        EXPECT_EQ(seen.FileSystems.count(L"/mnt/folder/disk"), 1u);
        // A folder of the same name in the later mount, so that the path still leads somewhere.
        EXPECT_EQ(mount("none", "/mnt/folder", "tmpfs", 0, nullptr), 0);
        std::filesystem::create_directories("/mnt/folder/disk");
        DiskInformation hidden;
        EXPECT_TRUE(ISysProps().GetDiskInformation(hidden));
        EXPECT_EQ(hidden.NumberOfFileSystems, before.NumberOfFileSystems);
        EXPECT_EQ(hidden.FileSystems.count(L"/mnt/folder/disk"), 0u);
        return 0;
    });
    if (result.exited && result.code == 77)
        GTEST_SKIP() << "no disk can be made here: needs mkfs.ext4 and loop devices";
    EXPECT_TRUE(result.exited && result.code == 0) << result.output;
}

TEST(DiskFacts, DiskThatCannotBeAsked_IsPassedOver) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    zor::test::ChildResult result = zor::test::runInChild([] {
        PrivateMachine machine;
        DiskInformation before;
        ISysProps().GetDiskInformation(before);
        std::filesystem::create_directories("/mnt/secret/disk");
        if (!machine.isReady() || !mountDisk("/mnt/secret/disk"))
            return 77;
        EXPECT_EQ(chmod("/mnt/secret", 0700), 0);
        EXPECT_EQ(seteuid(65534), 0); // who may not enter the folder
        DiskInformation info;
        EXPECT_TRUE(ISysProps().GetDiskInformation(info));
        EXPECT_EQ(info.NumberOfFileSystems, before.NumberOfFileSystems);
        EXPECT_EQ(info.FileSystems.size(), before.FileSystems.size());
        return 0;
    });
    if (result.exited && result.code == 77)
        GTEST_SKIP() << "no disk can be made here: needs mkfs.ext4 and loop devices";
    EXPECT_TRUE(result.exited && result.code == 0) << result.output;
}

TEST(DiskFacts, WithoutProc_NoDiskIsTold) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
        DiskInformation info;
        EXPECT_TRUE(ISysProps().GetDiskInformation(info));
        EXPECT_EQ(info.NumberOfFileSystems, L"0");
        EXPECT_EQ(info.TotalDiskSpace, L"0.00");
        EXPECT_EQ(info.FreeDiskSpace, L"0.00");
        EXPECT_TRUE(info.FileSystems.empty());
    }));
}

} // namespace
