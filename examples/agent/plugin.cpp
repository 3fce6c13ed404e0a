// A plug-in: three entry points that the library and its agent look up by name. Each of them is optional.

#include <zorcomn/plugin.h>

#include <cstdio>

namespace {

constexpr uint32_t kReportTitle = 1;

} // namespace

// Called when the module is loaded first and unloaded last; the library's table is locked meanwhile, so that nothing
// may be loaded or freed from here. Anything but 1 makes the load fail.
int32_t DllMain(void *, uint32_t, void *) {
    return 1;
}

// A module's texts. What ids, buffer and result mean is agreed between a module and its callers.
int32_t loadString(void *, uint32_t id, char *buffer, int32_t size) {
    if (id != kReportTitle || size <= 0)
        return 0;
    return std::snprintf(buffer, static_cast<size_t>(size), "Report of this machine");
}

// The module's version, 0 for success; read by qelcomn_GetFileResourceStringVersionStamp.
int32_t ORPLUGIN_GetVersion(uint16_t *first, uint16_t *second, uint16_t *third, uint16_t *fourth) {
    *first = 1;
    *second = 2;
    *third = 3;
    *fourth = 4;
    return 0;
}
