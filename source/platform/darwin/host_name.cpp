// The resolver's answer for a host. Each thread has an answer buffer of its own here.

#include "source/platform/host.h"

#include <netdb.h>

namespace zor::host {

std::optional<std::string> officialHostName(const char *name) {
    const hostent *found = gethostbyname(name);
    return found && found->h_name ? std::optional<std::string>(found->h_name) : std::nullopt;
}

} // namespace zor::host
