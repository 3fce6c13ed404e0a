// gethostbyname's answer without its static buffer, which any other thread's call would overwrite.

#include "source/platform/host.h"

#include <cerrno>

#include <netdb.h>

namespace zor::host {

std::optional<std::string> officialHostName(const char *name) {
    constexpr size_t kLargestAnswer = 1 << 20;
    std::string buffer(1024, '\0');
    for (;;) {
        hostent entry{};
        hostent *found = nullptr;
        int resolverError = 0;
        const int error = gethostbyname_r(name, &entry, buffer.data(), buffer.size(), &found, &resolverError);
        errno = error == ERANGE ? 0 : error; // a resolver that fails within itself gives the number of what it lacked
        if (error == 0)
            return found && found->h_name ? std::optional<std::string>(found->h_name) : std::nullopt;
        if (error != ERANGE || buffer.size() >= kLargestAnswer)
            return std::nullopt;
        buffer.resize(2 * buffer.size());
    }
}

} // namespace zor::host
