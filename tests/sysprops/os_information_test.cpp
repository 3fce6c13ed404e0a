#include "source/sysprops/os_information.h"

#include "source/platform/posix.h"

#include "tests/support/descriptors.h"
#include "tests/support/environment_guard.h"
#include "tests/support/failing_calls.h"
#include "tests/support/fake_host.h"
#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using velmora_com::vta::sysprops::ISysProps;
using velmora_com::vta::sysprops::OSInformation;
using zor::collectOSInformation;
using zor::host::fakeHost;
using zor::test::EnvironmentGuard;
using zor::test::FailingCall;
using zor::test::readFile;

using Texts = std::vector<std::optional<std::string>>;

/** Collects from a made version file, with scripts of the test's own in the place of the commands. Each writes its name
 * and arguments, one line for each run, into a log. */
class OSTest : public zor::host::FakeHostTest {
protected:
    OSTest() : m_path("PATH", m_folder.path() + ":" + std::getenv("PATH")) {
        makeCommand("sw_vers", "echo Mac OS X");
        makeCommand("serverinfo", "echo Mac OS X");
        makeCommand("sysctl", "echo hw.cpu64bit_capable: 1");
        m_versionFile = m_folder.write("version", "the list's bytes");
        setVersion("10.4.11", "8S165");
    }

    void makeCommand(const std::string &name, const std::string &body) {
        // One write for a line: the commands of a pipeline run at the same time.
        m_folder.writeScript(name, "line=$(printf '%s|' " + name + " \"$@\"); printf '%s\\n' \"$line\" >> '" +
                                       m_folder.path() + "/log'\n" + body);
    }

    /** The commands run so far. */
    std::string log() const { return readFile(m_folder / "log"); }

    static void setVersion(const std::optional<std::string> &version, const std::optional<std::string> &build) {
        fakeHost.lookUpInPropertyList = [=](const std::string &bytes, const std::vector<std::string> &keys) {
            EXPECT_EQ(bytes, "the list's bytes");
            EXPECT_EQ(keys, (std::vector<std::string>{"ProductVersion", "ProductBuildVersion"}));
            return Texts{version, build};
        };
    }

    OSInformation collect(const std::string &machine = "x86_64") {
        OSInformation info;
        EXPECT_TRUE(collectOSInformation(m_versionFile.c_str(), machine, info));
        return info;
    }

    /** Collects from this file and expects the failure that leaves all but the fixed fields. */
    void expectFailure(const std::string &path) {
        OSInformation info;
        info.OSVersion = L"before";
        EXPECT_FALSE(collectOSInformation(path.c_str(), "Power Macintosh", info));
        EXPECT_EQ(info.PlatformID, L"MAC");
        EXPECT_EQ(info.OSType, L"Mac OS X");
        EXPECT_EQ(info.OSOEMId, L"Apple Macintosh");
        EXPECT_EQ(info.OSVersion, L"before");
        for (const std::wstring *field : {&info.OSCsdVersion, &info.OSBuildNum, &info.OSPlatform, &info.OSBitMode})
            EXPECT_EQ(*field, L"N/A");
        EXPECT_EQ(log(), "") << "no command is run";
    }

    zor::test::TemporaryFolder m_folder;
    EnvironmentGuard m_path;
    std::string m_versionFile;
};

TEST_F(OSTest, VersionOfThreeParts_FillsTheRecord) {
    const OSInformation info = collect();
    EXPECT_EQ(info.PlatformID, L"MAC");
    EXPECT_EQ(info.OSType, L"Mac OS X");
    EXPECT_EQ(info.OSOEMId, L"Apple Macintosh");
    EXPECT_EQ(info.OSVersion, L"10.4.11");
    EXPECT_EQ(info.OSCsdVersion, L"11");
    EXPECT_EQ(info.OSBuildNum, L"8S165");
    EXPECT_EQ(info.OSPlatform, L"Workstation");
    EXPECT_EQ(info.OSBitMode, L"1");
}

TEST_F(OSTest, Versions_AreSplitAtDots) {
    constexpr struct {
        const char *version;
        const wchar_t *osVersion, *csdVersion;
    } kRows[] = {
        {"10.5", L"10.5", L"N/A"},        {"10.4.11", L"10.4.11", L"11"},
        {"10.4.11.7", L"10.4.11", L"11"}, {"10.4.11.7.8.9", L"10.4.11", L"11"},
        {"10..4", L"10.4", L"N/A"},       {".10.4.", L"10.4", L"N/A"},
        {"a.b c.d", L"a.b c.d", L"d"},    {"10.4.\xC3\xA9", L"10.4.\u00E9", L"\u00E9"},
    };
    for (const auto &row : kRows) {
        setVersion(row.version, "B");
        const OSInformation info = collect();
        EXPECT_EQ(info.OSVersion, row.osVersion) << row.version;
        EXPECT_EQ(info.OSCsdVersion, row.csdVersion) << row.version;
    }
}

TEST_F(OSTest, VersionOfOnePart_KeepsItsDot_Kept) {
    for (const std::string version : {"9", "", "."}) {
        setVersion(version, "B");
        EXPECT_EQ(collect().OSVersion, version == "9" ? L"9." : L".") << version;
    }
}

TEST_F(OSTest, MissingBuild_IsTheVersion_Kept) {
    setVersion("10.4.11", std::nullopt);
    EXPECT_EQ(collect().OSBuildNum, L"10.4.11");
    setVersion("10.4.11", "");
    EXPECT_EQ(collect().OSBuildNum, L"") << "an empty one is there";
}

TEST_F(OSTest, EachVersion_AsksItsCommand) {
    constexpr struct {
        const char *version, *log;
    } kRows[] = {
        {"10.7", "sw_vers|-productName|\n"},
        {"10.8", "serverinfo|--productname|\n"},
        {"10.10", "serverinfo|--productname|\n"},
        {"10", "sw_vers|-productName|\n"},
        {"11.0", "sw_vers|-productName|\n"},
        {"11.8.3", "serverinfo|--productname|\n"},
        {"99999999999999999999.8", "serverinfo|--productname|\n"},
        {"9.9", ""},
        {"9", ""},
        {"", ""},
        {"x10.8", ""},
        {"-10.8", ""},
    };
    for (const auto &row : kRows) {
        unlink((m_folder / "log").c_str());
        setVersion(row.version, "B");
        EXPECT_EQ(collect().OSPlatform, L"Workstation") << row.version;
        EXPECT_EQ(log(), row.log) << row.version;
    }
}

TEST_F(OSTest, ServerInTheProductName_MakesAServer) {
    const struct {
        const char *body;
        bool isServer;
    } rows[] = {
        {"echo Mac OS X Server", true},
        {"echo mac os x sErVeR", true},
        {"echo Server; exit 3", true},
        {"echo Mac OS X", false},
        {"echo Serve r", false},
        {"exit 1", false},
        {"echo Server >&2", false},
        {"printf '123456789012345678901234Server'", true},
        {"printf '1234567890123456789012345Server'", false}, // its last letter is the 31st
        {"printf 'Mac\\000Server'", false},                  // a text ends at its null byte
        {"printf Ser; sleep 0.01; printf ver", true},
        {"yes Server", true}, // ends when nobody reads on
    };
    for (const auto &row : rows) {
        for (const char *name : {"sw_vers", "serverinfo"})
            makeCommand(name, row.body);
        for (const char *version : {"10.7", "10.8"}) {
            setVersion(version, "B");
            EXPECT_EQ(collect().OSPlatform, row.isServer ? L"Server" : L"Workstation") << row.body;
        }
    }
}

TEST_F(OSTest, CommandThatDoesNotExist_IsSilent) {
    for (const char *name : {"sw_vers", "serverinfo", "sysctl"})
        unlink((m_folder / name).c_str());
    for (const char *version : {"10.7", "10.8"}) {
        setVersion(version, "B");
        testing::internal::CaptureStderr();
        const OSInformation info = collect("ppc");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(info.OSPlatform, L"Workstation");
    }
}

TEST_F(OSTest, MachineType_DecidesTheBitMode) {
    setVersion("9.2", "B");
    constexpr struct {
        const char *machine;
        const wchar_t *bitMode;
    } kRows[] = {{"x86_64", L"1"}, {"ppc_64", L"1"}, {"i386", L"0"}, {"i686", L"0"}, {"86", L"0"}, {"_64", L"1"}};
    for (const auto &row : kRows)
        EXPECT_EQ(collect(row.machine).OSBitMode, row.bitMode) << row.machine;
    EXPECT_EQ(log(), "") << "no command is run";
}

TEST_F(OSTest, OtherMachineType_AsksSysctl) {
    setVersion("9.2", "B");
    constexpr struct {
        const char *body;
        const wchar_t *bitMode;
    } kRows[] = {
        {"echo hw.cpu64bit_capable: 1", L"1"},
        {"echo hw.cpu64bit_capable: 0", L"0"},
        {"echo hw.ncpu: 2; echo hw.cpu64bit_capable: 1; echo hw.memsize: 0", L"1"},
        {"echo hw.ncpu: 2", L"0"},
        {"echo hw.cpu64bit_capable: yes", L"0"},
        {"echo hw.cpu64bit_capable: 00001", L"0"}, // four bytes are read
        {"echo hw.cpu64bit_capable: 12345", L"1"},
        {"echo hw.cpu64bit_capable: -1", L"1"},
        {"exit 1", L"0"},
    };
    for (const char *machine : {"Power Macintosh", "ppc", "aarch64", ""})
        for (const auto &row : kRows) {
            unlink((m_folder / "log").c_str());
            makeCommand("sysctl", row.body);
            EXPECT_EQ(collect(machine).OSBitMode, row.bitMode) << machine << ": " << row.body;
            EXPECT_EQ(log(), "sysctl|hw|\n");
        }
}

TEST_F(OSTest, SysctlsAnswer_GoesThroughGrepAndAwk) {
    setVersion("9.2", "B");
    makeCommand("grep", "cat");
    makeCommand("awk", "cat > /dev/null; echo 1");
    EXPECT_EQ(collect("ppc").OSBitMode, L"1");
    const std::string commands = log();
    for (const char *command : {"sysctl|hw|\n", "grep|64bit|\n", "awk|{ print $2 }|\n"})
        EXPECT_NE(commands.find(command), std::string::npos) << commands;
}

TEST_F(OSTest, CommandThatCannotBeStarted_IsAWorkstationOfUnknownBitMode) {
    {
        const FailingCall failing("popen", 1, EMFILE);
        EXPECT_EQ(collect().OSPlatform, L"Workstation");
        EXPECT_TRUE(failing.wasReached());
    }
    setVersion("9.2", "B");
    const FailingCall failing("popen", 1, EMFILE);
    EXPECT_EQ(collect("ppc").OSBitMode, L"-1");
    EXPECT_TRUE(failing.wasReached());
}

TEST_F(OSTest, NoMemoryForACommand_FailsAndLeavesTheRecord) {
    const FailingCall failing("popen", 1, ENOMEM);
    EXPECT_THROW(collect(), std::bad_alloc);
    EXPECT_TRUE(failing.wasReached());
}

int acknowledgements = -1; // where the signal's handler writes to

TEST_F(OSTest, SignalWhileACommandRuns_DoesNotCutItsAnswer) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "this sanitizer holds a signal back until the read that it should interrupt has ended";
#endif
    const std::string pipe = m_folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const zor::Descriptor end(open(pipe.c_str(), O_RDWR | O_CLOEXEC));
    acknowledgements = end.get();
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) { static_cast<void>(!write(acknowledgements, "\n", 1)); };
    action.sa_flags = 0; // no SA_RESTART: what waits for the command's output is interrupted
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    // The command goes on only when the signal has been handled, so that its output does not come first.
    const std::string interrupt = "kill -USR1 " + std::to_string(getpid()) + "; read answer < '" + pipe + "'; ";
    makeCommand("sw_vers", interrupt + "printf Ser; " + interrupt + "printf ver");
    EXPECT_EQ(collect().OSPlatform, L"Server");
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(OSTest, VersionFileThatCannotBeRead_LeavesTheFixedFieldsOnly) {
    expectFailure(m_folder / "missing");
    expectFailure(m_folder.write("empty", ""));
    expectFailure(m_folder.write("zero", std::string("\0the list's bytes", 17)));
    expectFailure(m_folder.path());
    expectFailure("/dev/null");
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    expectFailure(m_folder / "pipe");
    if (geteuid() != 0) {
        ASSERT_EQ(chmod(m_versionFile.c_str(), 0), 0);
        expectFailure(m_versionFile);
    }
}

TEST_F(OSTest, VersionFileOfAnySize_IsReadWhole) {
    // More than any limit that might tempt one, and the list knows it by its last byte.
    const size_t size = size_t{17} * 1024 * 1024;
    fakeHost.lookUpInPropertyList = [=](const std::string &bytes, const std::vector<std::string> &) {
        EXPECT_EQ(bytes.size(), size);
        EXPECT_EQ(bytes.back(), '>');
        return Texts{"10.4.11", "8S165"};
    };
    m_versionFile = m_folder.write("version", "<" + std::string(size - 2, ' ') + ">");
    EXPECT_EQ(collect().OSVersion, L"10.4.11");
}

TEST_F(OSTest, VersionFileOfALateDate_IsRead) {
    if (std::system(("touch -d 2100-01-01 '" + m_versionFile + "'").c_str()) != 0)
        GTEST_SKIP() << "the file system here holds no such date";
    EXPECT_EQ(collect().OSVersion, L"10.4.11");
}

TEST_F(OSTest, ReadOfTheVersionFile_GoesOnAfterASignalAndEndsWithAFault) {
    {
        const FailingCall failing("read", 1, EINTR);
        EXPECT_EQ(collect().OSVersion, L"10.4.11");
        EXPECT_TRUE(failing.wasReached());
    }
    unlink((m_folder / "log").c_str());
    const FailingCall failing("read", 1, EIO);
    expectFailure(m_versionFile);
    EXPECT_TRUE(failing.wasReached());
}

TEST_F(OSTest, NoMemoryAtAnyPoint_FillsTheRecordWholeOrLeavesIt) {
    const std::string part(20, '9'); // beyond a short string
    setVersion("1." + part + "." + part, "build " + part);
    const OSInformation whole = collect();
    bool wasReached = true, hasFailed = false;
    for (int nth = 1; wasReached; ++nth) {
        OSInformation info;
        bool isCollected = false;
        {
            const FailingCall failing("operator new", nth);
            isCollected =
                zor::guarded(false, [&] { return collectOSInformation(m_versionFile.c_str(), "x86_64", info); });
            wasReached = failing.wasReached();
        }
        EXPECT_EQ(info.OSVersion, isCollected ? whole.OSVersion : L"N/A") << nth;
        EXPECT_EQ(info.OSCsdVersion, isCollected ? whole.OSCsdVersion : L"N/A") << nth;
        EXPECT_EQ(info.OSBuildNum, isCollected ? whole.OSBuildNum : L"N/A") << nth;
        EXPECT_EQ(info.OSBitMode, isCollected ? whole.OSBitMode : L"N/A") << nth;
        hasFailed = hasFailed || !isCollected;
    }
    EXPECT_TRUE(hasFailed);
}

TEST_F(OSTest, NoMemory_Fails) {
    OSInformation info;
    const FailingCall failing("operator new");
    EXPECT_FALSE(ISysProps().GetOSInformation(info));
    EXPECT_TRUE(failing.wasReached());
}

TEST_F(OSTest, ListThatTellsNoVersion_LeavesTheFixedFieldsOnly) {
    setVersion(std::nullopt, "8S165");
    expectFailure(m_versionFile);
    setVersion(std::nullopt, std::nullopt);
    expectFailure(m_versionFile);
    fakeHost.lookUpInPropertyList = nullptr; // does not parse
    expectFailure(m_versionFile);
}

TEST_F(OSTest, TextThatDoesNotFit_LeavesTheFixedFieldsOnly) {
    const std::string longest(255, '1');
    setVersion(longest, longest);
    EXPECT_EQ(collect().OSBuildNum, std::wstring(255, L'1'));
    unlink((m_folder / "log").c_str());
    setVersion(longest + "1", "B");
    expectFailure(m_versionFile);
    setVersion("10.4", longest + "1");
    expectFailure(m_versionFile);
}

TEST_F(OSTest, Descriptors_AreClosedOnEveryPath) {
    const size_t before = zor::test::openDescriptors();
    collect("ppc");
    OSInformation info;
    collectOSInformation(m_folder.path().c_str(), "ppc", info);
    {
        const FailingCall failing("popen", 1, EMFILE);
        collect("ppc");
    }
    EXPECT_EQ(zor::test::openDescriptors(), before);
}

} // namespace
