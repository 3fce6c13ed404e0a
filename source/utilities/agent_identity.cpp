// Who this agent is: its software identifier, new GUIDs in the form of the registry, and the users it runs for.

#include "zorcomn/session.h"
#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "source/portability/error_cell.h"
#include "source/portability/transcoding.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

constexpr char kSoftwareId[] = "TZXAGENT" // the product
                               "4800"     // version 4.8.0 as "%1d%1d%1d0"; compiled in, not read from anywhere
                               "MACX";    // the platform
constexpr size_t kSoftwareIdLength = sizeof kSoftwareId - 1;

/** ASCII alone, whatever the locale. */
char upperCase(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

} // namespace

// Kept: a bounded copy of size - 1 bytes, so that a buffer of just the length and one more gets no terminator; callers
// hand in zeroed buffers. The wide form always writes one.
void qelcomn_get_agent_softwareid(char *buffer, uint32_t size) {
    if (buffer && size > kSoftwareIdLength)
        std::strncpy(buffer, kSoftwareId, size - 1);
}

void qelcomn_get_agent_softwareid_W(wchar_t *buffer, uint32_t size) {
    if (buffer && size > kSoftwareIdLength)
        std::copy_n(kSoftwareId, sizeof kSoftwareId, buffer);
}

int32_t qelcomn_create_guid(qelGuid *guid, char *text, uint32_t size) {
    const zor::UncancellableScope uncancellable;
    qelGuid created;
    char braced[] = "{00000000-0000-0000-0000-000000000000}";
    if (!qelCoCreateGuid(&created) || !qelUuidToStringA(&created, braced + 1))
        return 0;
    braced[sizeof braced - 2] = '}'; // where the text's own terminator is
    for (char &character : braced)
        character = upperCase(character);
    // Kept: a bounded copy, without a terminator when size is 38 or less.
    if (text)
        std::strncpy(text, braced, size);
    if (guid)
        *guid = created;
    return 1;
}

uint32_t qelcomn_get_user_name(char *buffer, uint32_t size) {
    if (!buffer)
        return zor::kFailure;
    const zor::UncancellableScope uncancellable;
    return zor::guarded(zor::kFailure, [&] {
        std::wstring users;
        const int callersErrno = std::exchange(errno, 0);
        velmora_com::vta::session::CollectAllLoggedonUsers(users);
        if (std::exchange(errno, callersErrno) != 0) // not every user could be collected
            return zor::kFailure;
        if (users.empty())
            users = L"NA";
        const std::string narrow = zor::utf8Of(users);
        if (narrow.size() + 1 > size)
            return zor::kFailure;
        std::memcpy(buffer, narrow.c_str(), narrow.size() + 1);
        return 0u;
    });
}
