// The resolver's answer for a host. Each thread has an answer buffer of its own here.

#include "source/platform/host.h"

#include <cerrno>

#include <netdb.h>

namespace zor::host {

std::optional<std::string> officialHostName(const char *name) {
    errno = 0;
    const hostent *found = gethostbyname(name);
    if (found || h_errno != NETDB_INTERNAL)
        errno = 0;
    return found && found->h_name ? std::optional<std::string>(found->h_name) : std::nullopt;
}

} // namespace zor::host
