#include "tests/tools/other_programs.h"

#include "tests/support/emulator.h"

#include <cstdio>
#include <cstdlib>

#include <sys/wait.h>

namespace zor::test {

std::string zorprops() {
    std::string line;
    for (const std::string &word : underEmulator({ZORPROPS_PROGRAM}))
        line += (line.empty() ? "'" : " '") + word + "'";
    return line;
}

ShellResult shell(const std::string &line) {
    std::fflush(nullptr);
    ShellResult result;
    std::FILE *const pipe = popen(("{ " + line + "\n} 2>&1").c_str(), "r");
    if (!pipe)
        return result;
    char buffer[4096];
    for (size_t got = 1; got > 0;) {
        got = std::fread(buffer, 1, sizeof buffer, pipe);
        result.output.append(buffer, got);
    }
    const int status = pclose(pipe);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}

bool hasProgram(const std::string &name) {
    return shell("command -v " + name + " >/dev/null").code == 0;
}

bool mayMissPrograms() {
    return std::getenv("ZORCOMN_ALL_PROGRAMS") == nullptr;
}

} // namespace zor::test
