// Follows symbolic links from a path to a regular file, each link's text flattened against the folder that holds the
// link; and the flat form of it for callers without the classes, whose handle is the address of the outcome.

#include "zorcomn/utilities.h"

#include "source/platform/files.h"
#include "source/platform/posix.h"
#include "source/portability/error_cell.h"
#include "source/utilities/file_name_flattener.h"

#include <sys/stat.h>
#include <unistd.h>

namespace zor {

namespace {

enum class FileKind { missing, regular, link, other };

FileKind kindOf(const std::string &path) {
    const auto facts = path.find('\0') == std::string::npos ? host::linkFacts(path.c_str()) : std::nullopt;
    if (!facts)
        return FileKind::missing;
    if (S_ISREG(facts->mode))
        return FileKind::regular;
    return S_ISLNK(facts->mode) ? FileKind::link : FileKind::other;
}

/** Where the link leads, by its text; nothing when it cannot be read, is too long to be read whole, or climbs above the
 * root. */
std::optional<std::string> targetOf(const std::string &link) {
    char text[1024];
    const ssize_t length = readlink(link.c_str(), text, sizeof text);
    if (length < 0 || length == sizeof text)
        return std::nullopt;
    // Kept: for a link in the root the folder is empty, which flattens to the current directory.
    const std::string folder = link.substr(0, link.rfind('/'));
    return flatPath(std::string(text, static_cast<size_t>(length)), folder);
}

/** The regular file that a flat path leads to. Kept: no limit of hops; a chain of any length is followed. Only one that
 * comes back to where it has been ends without a file: the path is compared with one remembered 1, 2, 4, 8... hops ago,
 * which finds every circle. */
std::optional<std::string> followLinks(std::string path) {
    std::string remembered;
    size_t hops = 0;
    size_t nextMark = 1;
    FileKind kind = kindOf(path);
    for (; kind == FileKind::link; kind = kindOf(path)) {
        if (path == remembered)
            return std::nullopt;
        if (++hops == nextMark) {
            remembered = path;
            nextMark *= 2;
        }
        std::optional<std::string> target = targetOf(path);
        if (!target)
            return std::nullopt;
        path = std::move(*target);
    }
    return kind == FileKind::regular ? std::optional<std::string>(std::move(path)) : std::nullopt;
}

/** The regular file that a path leads to. */
std::optional<std::string> resolve(const std::string &path) {
    std::optional<std::string> flat = flatPath(path);
    return flat ? followLinks(std::move(*flat)) : std::nullopt;
}

/** What a handle of the flat form stands for. */
struct Resolution {
    std::optional<std::string> file;
};

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

FileNameResolver::FileNameResolver(const std::string &path) : m_success(0) {
    const zor::UncancellableScope uncancellable;
    m_success = zor::guarded(0, [&] {
        m_input = path;
        std::optional<std::string> file = zor::resolve(m_input);
        if (!file)
            return 0;
        m_absolute = std::move(*file);
        return 1;
    });
}

int32_t FileNameResolver::GetAbsolutePath(std::string &path) const {
    return zor::guarded(0, [&] {
        if (m_success)
            path = m_absolute;
        return m_success;
    });
}

} // namespace vta
} // namespace velmora_com

uint32_t qelcomn_filenameresolver_create(const char *path, void **resolver) {
    if (!path || !resolver)
        return zor::kFailure;
    const zor::UncancellableScope uncancellable;
    return zor::guarded(zor::kFailure, [&]() -> uint32_t {
        *resolver = new zor::Resolution{zor::resolve(path)};
        return 0;
    });
}

uint32_t qelcomn_filenameresolver_get_absolute_filename(void *resolver, char *buffer, uint32_t *size) {
    if (!resolver || !buffer || !size)
        return zor::kFailure;
    const std::optional<std::string> &file = static_cast<zor::Resolution *>(resolver)->file;
    if (!file)
        return zor::kFailure;
    const auto needed = static_cast<uint32_t>(file->size() + 1);
    const bool fits = *size >= needed;
    if (fits)
        std::memcpy(buffer, file->c_str(), needed);
    *size = needed;
    return fits ? 0u : zor::kFailure;
}

uint32_t qelcomn_filenameresolver_destroy(void *resolver) {
    delete static_cast<zor::Resolution *>(resolver);
    return 0;
}
