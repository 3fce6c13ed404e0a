// The version of a plug-in module, which the module itself tells through its entry point.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>

namespace {

using Version = std::array<uint16_t, 4>;
using StampText = char[100];

struct ModuleKind {
    using Value = void *;
    static Value none() { return nullptr; }
    static void close(Value value) { qelFreeLibrary(value); }
};
using Module = zor::Unique<ModuleKind>;

std::optional<Version> versionOf(const char *path) {
    const Module module(qelLoadLibrary(path, nullptr));
    if (!module)
        return std::nullopt;
    void *const entry = qelGetProcAddress(module.get(), "ORPLUGIN_GetVersion", nullptr);
    const auto getVersion = reinterpret_cast<qelPluginGetVersion>(entry);
    Version version{};
    if (!getVersion || getVersion(&version[0], &version[1], &version[2], &version[3]) != 0)
        return std::nullopt;
    return version;
}

/** Zeroes the buffer, then puts the module's version there in a format. */
int32_t writeVersion(const char *path, char *buffer, uint32_t size, int (*format)(StampText &, const Version &)) {
    if (!buffer)
        return 0;
    const zor::UncancellableScope uncancellable;
    std::memset(buffer, 0, size);
    if (!path) // which would open the program itself
        return 0;
    const std::optional<Version> version = versionOf(path);
    if (!version)
        return 0;
    StampText text;
    const auto length = static_cast<size_t>(format(text, *version));
    // Kept: a bounded copy, without a terminator when the text does not fit.
    std::memcpy(buffer, text, std::min<size_t>(length + 1, size));
    return 1;
}

} // namespace

int32_t qelcomn_GetFileResourceStringVersionStamp(const char *path, char *buffer, uint32_t size) {
    return writeVersion(path, buffer, size, [](StampText &text, const Version &version) {
        return std::snprintf(text, sizeof text, "%d.%d.%d.%d", version[0], version[1], version[2], version[3]);
    });
}

int32_t qelcomn_GetFileResourceVersionStamp(const char *path, char *buffer, uint32_t size) {
    return writeVersion(path, buffer, size, [](StampText &text, const Version &version) {
        return std::snprintf(text, sizeof text, "%08x%08x", version[0] * 65536u + version[1],
                             version[2] * 65536u + version[3]);
    });
}
