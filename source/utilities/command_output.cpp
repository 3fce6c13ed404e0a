// What the shell prints last is a mark of our own: it tells a whole answer from one that was cut short, and that
// nothing more is to come, although a process which the command left behind may hold the pipe open for as long as it
// lives.

#include "source/utilities/command_output.h"

#include "source/platform/failure.h"
#include "source/platform/open.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace zor {

namespace {

constexpr size_t kEndLength = sizeof kEndOfOutput - 1;

/** A word of the shell's that stands for the text itself. */
std::string quoted(const std::string &text) {
    std::string word = "'";
    for (const char c : text)
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

/** Nothing of the caller's environment counts where he must not decide what runs: neither PATH nor what a shell or a
 * tool takes from other variables. (exec, a special built-in, is the one name that no imported function can take.) */
std::string inCleanEnvironment(const std::string &script) {
    return "exec /usr/bin/env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin /bin/sh -c " + quoted(script);
}

/** Closes a command's pipe; whether its shell left by itself, and was not ended before its time. */
bool hasExited(Pipe pipe) {
    const int status = pclose(pipe.release());
    return status != -1 && WIFEXITED(status);
}

} // namespace

std::optional<std::string> commandOutput(const char *command, size_t maxBytes) {
    const std::string script = command + ("\nprintf %s " + quoted(kEndOfOutput) + " 2>/dev/null");
    const std::string started = host::hasRaisedPrivileges() ? inCleanEnvironment(script) : script;
    std::string output(maxBytes + kEndLength, '\0');
    Pipe pipe = host::startCommand(started.c_str());
    if (!pipe && errno == ENOMEM)
        fail(ENOMEM);
    if (!pipe)
        return std::nullopt;
    size_t length = 0, end = std::string::npos;
    // The first maxBytes are known when nothing among them may still turn out to be the mark's beginning.
    while (length < output.size() && (length < maxBytes || output.find(kEndOfOutput[0]) < maxBytes)) {
        const ssize_t got =
            retryInterrupted([&] { return read(fileno(pipe.get()), &output[length], output.size() - length); });
        if (got < 0)
            fail(errno);
        length += static_cast<size_t>(got);
        end = got > 0 ? output.find(kEndOfOutput) : length;
        if (got == 0 && !hasExited(std::move(pipe)))
            fail(EIO);
        if (end != std::string::npos)
            break;
    }
    output.resize(std::min(end, maxBytes));
    return output;
}

} // namespace zor
