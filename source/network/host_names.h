#pragma once

// What the system calls this machine. A look-up may wait long for a name server that does not answer, so one object
// asks at most once, and only when a name needs it.

#include <optional>
#include <string>

namespace zor {

class HostNames {
public:
    /** The domain name; nothing when none is found. */
    std::optional<std::string> domain();
    /** The full name; nothing when there is no host name. */
    std::optional<std::string> full();

private:
    /** A question and its answer, once it has been asked. */
    using Answer = std::optional<std::optional<std::string>>;

    const std::optional<std::string> &own();
    const std::optional<std::string> &official();

    Answer m_own, m_official;
};

/** One of the names in wide text; "N/A" for nothing, and where something runs out on the way. */
std::wstring wideOrNotAvailable(HostNames &names, std::optional<std::string> (HostNames::*name)());

} // namespace zor
