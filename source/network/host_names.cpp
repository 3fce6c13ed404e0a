// The machine's domain and its full name, from the system's own names and the resolver. Neither fails: what cannot be
// found is "N/A".

#include "zorcomn/network.h"

#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"

#include <optional>

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

std::optional<std::string> domainName() {
    auto nisDomain = host::nisDomainName();
    if (nisDomain && !nisDomain->empty())
        return nisDomain;
    const auto name = ownHostName();
    const auto official = name ? host::officialHostName(name->c_str()) : std::nullopt;
    if (!official)
        return std::nullopt;
    const size_t dot = official->find('.');
    if (dot == std::string::npos)
        return std::nullopt;
    return official->substr(dot + 1);
}

std::optional<std::string> fullHostName() {
    auto name = ownHostName();
    if (!name)
        return std::nullopt;
    if (auto official = host::officialHostName(name->c_str()))
        return official;
    // Kept: an empty NIS domain still brings its dot; callers know a name that the resolver lacks by it.
    if (const auto nisDomain = host::nisDomainName())
        return *name + "." + *nisDomain;
    return name;
}

std::wstring wideOrNotAvailable(std::optional<std::string> (*read)()) {
    return guarded(std::wstring(kNotAvailable), [&] {
        const auto text = read();
        return text ? wideOf(*text) : std::wstring(kNotAvailable);
    });
}

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

std::wstring getDomainName() {
    return zor::wideOrNotAvailable(zor::domainName);
}

std::wstring getFqdnAddress() {
    return zor::wideOrNotAvailable(zor::fullHostName);
}

} // namespace vta
} // namespace velmora_com
