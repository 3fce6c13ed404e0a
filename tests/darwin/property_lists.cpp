// Property lists for machine.c, by the reader that the library has for systems without CoreFoundation.
#include "source/platform/host.h"

#include <cstdio>

extern "C" int textInList(const char *list, long length, const char *key, char *text, size_t size) {
    const auto found = zor::host::lookUpInPropertyList(std::string(list, static_cast<size_t>(length)), {key});
    if (!found)
        return -1;
    const std::optional<std::string> &value = found->front();
    std::snprintf(text, size, "%s", value ? value->c_str() : "");
    return value ? 1 : 0;
}
