#include "source/utilities/command_output.h"

#include "source/platform/posix.h"

#include <cerrno>
#include <cstdio>

namespace zor {

namespace {

/** Opens a command's output for reading; the descriptor is not handed on to other programs. */
Pipe openCommand(const char *command) {
    Pipe pipe(popen(command, "re"));
    if (!pipe && errno == EINVAL) // a system whose popen knows no close-on-exec
        pipe.reset(popen(command, "r"));
    return pipe;
}

} // namespace

std::optional<std::string> commandOutput(const char *command, size_t maxBytes) {
    std::string output(maxBytes, '\0');
    const Pipe pipe = openCommand(command);
    if (!pipe)
        return std::nullopt;
    size_t length = std::fread(output.data(), 1, maxBytes, pipe.get());
    while (std::ferror(pipe.get()) && errno == EINTR) {
        std::clearerr(pipe.get());
        length += std::fread(output.data() + length, 1, maxBytes - length, pipe.get());
    }
    output.resize(length);
    return output;
}

} // namespace zor
