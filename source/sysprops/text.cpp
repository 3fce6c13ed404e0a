// Helpers that the collectors share with callers: text conversion under the namespace's own names, the computer's name
// and the name of a user identifier.

#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "source/platform/posix.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

using Memory = std::unique_ptr<char, zor::Releaser<std::free>>;

/** Makes the buffer size bytes long; false, and the old buffer stays, when there is no memory. */
bool resize(Memory &buffer, size_t size) {
    char *const resized = static_cast<char *>(std::realloc(buffer.get(), size));
    if (!resized)
        return false;
    static_cast<void>(buffer.release()); // realloc has taken it over
    buffer.reset(resized);
    return true;
}

/** Assigns a text that came from the system; false when there is no memory. */
bool assign(std::string &target, const char *text, size_t length) {
    return zor::guarded(false, [&] {
        target.assign(text, length);
        return true;
    });
}

} // namespace

namespace velmora_com {
namespace vta {
namespace sysprops {

std::string sysprops_wide_to_ansi(std::wstring text) {
    return zor::guarded(std::string(), [&] { return qelcomn_wide_to_ansi(text); });
}

std::wstring sysprops_ansi_to_wide(std::string text) {
    return zor::guarded(std::wstring(), [&] { return qelcomn_ansi_to_wide(text); });
}

bool getComputerName(std::string &name) {
    const zor::UncancellableScope uncancellable;
    utsname system;
    if (uname(&system) < 0)
        return false;
    return assign(name, system.nodename, std::strcspn(system.nodename, "."));
}

bool GetPwUid(unsigned int uid, std::string &name) {
    const zor::UncancellableScope uncancellable;
    const long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    Memory buffer;
    for (size_t size = suggested > 0 ? static_cast<size_t>(suggested) : 1024; resize(buffer, size); size *= 2) {
        passwd entry;
        passwd *found = nullptr;
        const int error = getpwuid_r(uid, &entry, buffer.get(), size, &found);
        if (error == ERANGE && size <= SIZE_MAX / 2)
            continue;
        return error == 0 && found && assign(name, found->pw_name, std::strlen(found->pw_name));
    }
    return false;
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
