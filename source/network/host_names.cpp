// The machine's domain and its full name, from the system's own names and the resolver. Neither fails: what cannot be
// found is "N/A".

#include "source/network/host_names.h"

#include "zorcomn/network.h"

#include "source/platform/failure.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"

#include <unistd.h>

namespace zor {

namespace {

constexpr wchar_t kNotAvailable[] = L"N/A";

std::optional<std::string> ownHostName() {
    char name[2048] = {};
    if (gethostname(name, sizeof name - 1) != 0) // a name cut to fit may come without a terminator
        return std::nullopt;
    return std::string(name);
}

std::wstring oneName(std::optional<std::string> (HostNames::*name)()) {
    const UncancellableScope uncancellable;
    HostNames names;
    return wideOrNotAvailable(names, name);
}

} // namespace

const std::optional<std::string> &HostNames::own() {
    if (!m_own)
        m_own = ownHostName();
    return *m_own;
}

const std::optional<std::string> &HostNames::official() {
    if (!m_official) {
        errno = 0;
        const std::optional<std::string> &name = own();
        std::optional<std::string> official = name ? host::officialHostName(name->c_str()) : std::nullopt;
        if (name && !official)
            failOnShortage(errno);
        m_official = std::move(official);
    }
    return *m_official;
}

std::optional<std::string> HostNames::domain() {
    auto nisDomain = host::nisDomainName();
    if (nisDomain && !nisDomain->empty())
        return nisDomain;
    if (!official())
        return std::nullopt;
    const size_t dot = official()->find('.');
    if (dot == std::string::npos)
        return std::nullopt;
    return official()->substr(dot + 1);
}

std::optional<std::string> HostNames::full() {
    if (!own() || official())
        return official();
    // Kept: an empty NIS domain still brings its dot; callers know a name that the resolver lacks by it.
    if (const auto nisDomain = host::nisDomainName())
        return *own() + "." + *nisDomain;
    return own();
}

std::wstring wideOrNotAvailable(HostNames &names, std::optional<std::string> (HostNames::*name)()) {
    return guarded(std::wstring(kNotAvailable), [&] {
        const std::optional<std::string> found = (names.*name)();
        return found ? wideOf(*found) : std::wstring(kNotAvailable);
    });
}

} // namespace zor

namespace velmora_com {
namespace vta {

std::wstring getDomainName() {
    return zor::oneName(&zor::HostNames::domain);
}

std::wstring getFqdnAddress() {
    return zor::oneName(&zor::HostNames::full);
}

} // namespace vta
} // namespace velmora_com
