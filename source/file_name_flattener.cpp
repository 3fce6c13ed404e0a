// Removes "." and ".." from a path by its text alone; the file system is not asked. Both passes read the path once,
// left to right, so that a path of any length costs its length.

#include "zorcomn/utilities.h"

#include "platform/posix.h"

#include <optional>

#include <unistd.h>

namespace zor {

namespace {

bool continuesWith(const std::string &text, size_t position, const char *expected) {
    return text.compare(position, std::strlen(expected), expected) == 0;
}

/** Every "/./" replaced by "/", again and again until none is left. */
std::string withoutDots(const std::string &path) {
    std::string result;
    result.reserve(path.size());
    for (size_t i = 0; i < path.size(); ++i) {
        while (continuesWith(path, i, "/./"))
            i += 2;
        result += path[i];
    }
    return result;
}

/** The leftmost "/../" taken out together with the component before it, again and again until none is left; nothing
 * when one has no component before it. */
std::optional<std::string> withoutDoubleDots(const std::string &path) {
    std::string result;
    result.reserve(path.size());
    for (size_t i = 0; i < path.size(); ++i) {
        while (continuesWith(path, i, "/../")) {
            const size_t component = result.rfind('/');
            if (component == std::string::npos)
                return std::nullopt;
            result.resize(component);
            i += 3; // to the last "/", with which the next "/../" may begin
        }
        result += path[i];
    }
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

} // namespace zor

namespace velmora_com {
namespace vta {

FileNameFlattener::FileNameFlattener(const std::string &path) : m_success(0) {
    zor::guarded(0, [&] {
        m_input = path;
        m_base = zor::workingDirectory();
        return Flatten();
    });
}

FileNameFlattener::FileNameFlattener(const std::string &path, const std::string &base) : m_success(0) {
    zor::guarded(0, [&] {
        m_input = path;
        return FileNameFlattener(base).GetFlatPath(m_base) ? Flatten() : 0;
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
