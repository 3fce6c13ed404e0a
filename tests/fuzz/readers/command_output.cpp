// What a command prints: as bytes, and as the answers of the system's commands about itself. The input is what they
// print; its first byte says how much is asked for.

#include "source/utilities/command_output.h"
#include "source/sysprops/os_information.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"
#include "tests/support/environment_guard.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/version_list.h"

#include <cstring>

#include <strings.h>

namespace zor::test::readers {

namespace {

/** A folder of commands that print the file "answer" there, and a version file. */
class System {
public:
    System() {
        for (const char *name : {"sw_vers", "serverinfo", "sysctl"})
            m_folder.writeScript(name, "exec cat '" + answer() + "'");
        m_folder.write("version", kVersionList);
    }
    std::string answer() const { return m_folder / "answer"; }
    std::string versionFile() const { return m_folder / "version"; }
    void print(const std::string &bytes) const { m_folder.write("answer", bytes); }
    std::string path() const { return m_folder.path() + ":/usr/bin:/bin"; }

private:
    TemporaryFolder m_folder;
};

bool holds(const std::string &text, const char *word) {
    for (const char *next = text.c_str(); *next; ++next)
        if (strncasecmp(next, word, std::strlen(word)) == 0)
            return true;
    return false;
}

} // namespace

const char *command_output(const std::string &bytes) {
    static const System system;
    Bytes input(bytes);
    const size_t most = input.byte();
    const std::string printed = input.rest();
    system.print(printed);
    if (commandOutput(("cat '" + system.answer() + "'").c_str(), most) != printed.substr(0, most))
        return "the first bytes that a command prints";
    const EnvironmentGuard path("PATH", system.path());
    velmora_com::vta::sysprops::OSInformation info;
    if (!collectOSInformation(system.versionFile().c_str(), "Power Macintosh", info))
        return "a system whose commands answer is told";
    if (info.OSPlatform != (holds(printed.substr(0, 30), "server") ? L"Server" : L"Workstation"))
        return "a server says so in its first thirty bytes";
    if (info.OSVersion != L"10.4.11" || (info.OSBitMode != L"0" && info.OSBitMode != L"1"))
        return "nothing else depends on it but the bit mode";
    return nullptr;
}

} // namespace zor::test::readers
