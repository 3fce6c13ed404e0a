// Removes "." and ".." from a path by its text alone; the file system is not asked. Both passes read the path once,
// from left to right, so that a long path costs no more than its length.

#include "source/utilities/file_name_flattener.h"

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"

#include <unistd.h>

namespace zor {

namespace {

/** Every "/./" replaced by "/", again and again until none is left. */
std::string withoutDots(const std::string &path) {
    std::string result;
    size_t copied = 0;
    for (size_t i = path.find("/./"); i != std::string::npos; i = path.find("/./", copied)) {
        result.append(path, copied, i - copied);
        copied = i + 2; // to the second "/", with which the next "/./" may begin
    }
    result.append(path, copied);
    return result;
}

/** The leftmost "/../" taken out together with the component before it, again and again until none is left; nothing
 * when one has no component before it. */
std::optional<std::string> withoutDoubleDots(const std::string &path) {
    std::string result;
    size_t copied = 0;
    for (size_t i = path.find("/../"); i != std::string::npos; i = path.find("/../", copied)) {
        result.append(path, copied, i - copied);
        const size_t component = result.rfind('/');
        if (component == std::string::npos)
            return std::nullopt;
        result.resize(component);
        copied = i + 3;
    }
    result.append(path, copied);
    return result;
}

std::optional<std::string> flatten(const std::string &path, const std::string &base) {
    std::string flat = path;
    if (!flat.empty() && flat.back() == '/')
        flat.pop_back();
    // Kept: "/" has become empty by now, and so stands for the base directory.
    if (flat.empty() || flat.front() != '/')
        flat = base + "/" + flat;
    flat += '/';
    std::optional<std::string> result = withoutDoubleDots(withoutDots(flat));
    if (result)
        result->pop_back();
    return result;
}

/** Empty when it cannot be told, or takes more than 1,023 characters. */
std::string workingDirectory() {
    char buffer[1024];
    return getcwd(buffer, sizeof buffer) ? buffer : "";
}

} // namespace

std::optional<std::string> flatPath(const std::string &path) {
    return flatten(path, workingDirectory());
}

std::optional<std::string> flatPath(const std::string &path, const std::string &base) {
    const std::optional<std::string> flatBase = flatPath(base);
    return flatBase ? flatten(path, *flatBase) : std::nullopt;
}

} // namespace zor

namespace velmora_com {
namespace vta {

FileNameFlattener::FileNameFlattener(const std::string &path) : m_success(0) {
    const zor::UncancellableScope uncancellable;
    zor::guarded(0, [&] {
        m_input = path;
        m_base = zor::workingDirectory();
        return Flatten();
    });
}

FileNameFlattener::FileNameFlattener(const std::string &path, const std::string &base) : m_success(0) {
    const zor::UncancellableScope uncancellable;
    zor::guarded(0, [&] {
        m_input = path;
        std::optional<std::string> flatBase = zor::flatPath(base);
        if (!flatBase)
            return 0;
        m_base = std::move(*flatBase);
        return Flatten();
    });
}

int32_t FileNameFlattener::Flatten() {
    m_success = zor::guarded(0, [&] {
        std::optional<std::string> flat = zor::flatten(m_input, m_base);
        if (flat)
            m_flat = std::move(*flat);
        return flat ? 1 : 0;
    });
    return m_success;
}

int32_t FileNameFlattener::GetFlatPath(std::string &path) const {
    return zor::guarded(0, [&] {
        if (m_success)
            path = m_flat;
        return m_success;
    });
}

} // namespace vta
} // namespace velmora_com
