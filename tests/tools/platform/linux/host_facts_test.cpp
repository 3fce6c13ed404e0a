// A made-up root folder.

#include "tests/support/temporary_folder.h"

#include "tools/zorprops/host_facts.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zorprops;

namespace {

class MadeUpRoot : public ::testing::Test {
protected:
    void place(const std::string &path, const std::string &text) {
        std::filesystem::create_directories(std::filesystem::path(m_folder / path).parent_path());
        m_folder.write(path, text);
    }
    SystemFacts facts() const { return systemFacts(m_folder.path()); }

    zor::test::TemporaryFolder m_folder;
};

using MaybeText = std::optional<std::string>;

} // namespace

TEST_F(MadeUpRoot, WithoutFiles_NothingIsKnown) {
    const SystemFacts facts = this->facts();
    EXPECT_EQ(facts.name, std::nullopt);
    EXPECT_EQ(facts.version, std::nullopt);
    EXPECT_EQ(facts.processor, std::nullopt);
    EXPECT_EQ(facts.memoryTotal, std::nullopt);
    EXPECT_EQ(facts.memoryAvailable, std::nullopt);
    EXPECT_EQ(facts.container, std::nullopt);
    EXPECT_EQ(facts.virtualMachine, std::nullopt);
    EXPECT_EQ(facts.zoneFile, std::nullopt);
}

TEST_F(MadeUpRoot, ReleaseFile_NamesTheSystem) {
    place("usr/lib/os-release", "NAME=Elsewhere\nVERSION_ID=1\n");
    EXPECT_EQ(facts().name, MaybeText("Elsewhere"));
    place("etc/os-release", "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=Debian\nVERSION_ID=\"12\"\n");
    EXPECT_EQ(facts().name, MaybeText("Debian GNU/Linux 12 (bookworm)"));
    EXPECT_EQ(facts().version, MaybeText("12"));
}

TEST_F(MadeUpRoot, ReleaseFileThatIsAPipe_IsNotWaitedFor) {
    std::filesystem::create_directories(m_folder / "etc");
    ASSERT_EQ(mkfifo((m_folder / "etc/os-release").c_str(), 0644), 0);
    EXPECT_EQ(facts().name, std::nullopt);
}

TEST_F(MadeUpRoot, Processor_IsNamedByItsKernel) {
    const struct {
        const char *table;
        MaybeText processor, machine;
    } rows[] = {
        {"processor\t: 0\nmodel name\t: Some CPU @ 2 GHz\nflags\t\t: fpu vme\n", "Some CPU @ 2 GHz", std::nullopt},
        {"model name\t: X\nflags\t\t: fpu hypervisor\n", "X", "unnamed hypervisor"},
        {"processor\t: 0\ncpu\t\t: 7447A, altivec supported\n", "7447A, altivec supported", std::nullopt},
        {"processor\t: 0\nBogoMIPS\t: 48.00\n", std::nullopt, std::nullopt},
        {"model name\t:\n", std::nullopt, std::nullopt},
        {"model name", std::nullopt, std::nullopt},
        {"", std::nullopt, std::nullopt},
    };
    for (const auto &row : rows) {
        place("proc/cpuinfo", row.table);
        EXPECT_EQ(facts().processor, row.processor) << row.table;
        EXPECT_EQ(facts().virtualMachine, row.machine) << row.table;
    }
}

TEST_F(MadeUpRoot, Memory_IsInBytes) {
    place("proc/meminfo", "MemTotal:       24684092 kB\nMemFree:  1 kB\nMemAvailable:   2 kB\n");
    EXPECT_EQ(facts().memoryTotal, std::optional<uint64_t>(24684092ull * 1024));
    EXPECT_EQ(facts().memoryAvailable, std::optional<uint64_t>(2048));
    place("proc/meminfo", "MemTotal: much kB\n");
    EXPECT_EQ(facts().memoryTotal, std::nullopt);
}

TEST_F(MadeUpRoot, Zone_IsWhereTheLinkLeads) {
    std::filesystem::create_directories(m_folder / "etc");
    ASSERT_EQ(symlink("/usr/share/zoneinfo/Europe/Berlin", (m_folder / "etc/localtime").c_str()), 0);
    EXPECT_EQ(facts().zoneFile, MaybeText("/usr/share/zoneinfo/Europe/Berlin"));
}

TEST_F(MadeUpRoot, Container_IsNamedByItsMark) {
    place("proc/1/environ", std::string("HOME=/\0container=lxc\0TERM=linux\0", 32));
    EXPECT_EQ(facts().container, MaybeText("lxc"));
    place(".dockerenv", "");
    EXPECT_EQ(facts().container, MaybeText("docker"));
    place("run/.containerenv", "");
    EXPECT_EQ(facts().container, MaybeText("podman"));
    place("run/systemd/container", "systemd-nspawn\n");
    EXPECT_EQ(facts().container, MaybeText("systemd-nspawn"));
}

TEST_F(MadeUpRoot, VirtualMachine_IsNamedByItsFirmware) {
    const struct {
        const char *vendor, *product;
        MaybeText machine;
    } rows[] = {
        {"QEMU\n", "Standard PC (Q35 + ICH9, 2009)\n", "QEMU"},
        {"Red Hat\n", "KVM\n", "KVM"},
        {"VMware, Inc.\n", "VMware7,1\n", "VMware"},
        {"innotek GmbH\n", "VirtualBox\n", "VirtualBox"},
        {"Microsoft Corporation\n", "Virtual Machine\n", "Hyper-V"},
        {"Dell Inc.\n", "PowerEdge R740\n", std::nullopt},
    };
    for (const auto &row : rows) {
        place("sys/class/dmi/id/sys_vendor", row.vendor);
        place("sys/class/dmi/id/product_name", row.product);
        EXPECT_EQ(facts().virtualMachine, row.machine) << row.product;
    }
}
