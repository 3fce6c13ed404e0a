#include "source/utilities/command_output.h"

#include "source/platform/open.h"

#include <cerrno>
#include <cstdio>

namespace zor {

std::optional<std::string> commandOutput(const char *command, size_t maxBytes) {
    std::string output(maxBytes, '\0');
    const Pipe pipe = host::startCommand(command);
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
