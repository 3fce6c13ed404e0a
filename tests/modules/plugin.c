/* A plug-in with the entry points that the build asks for. What its DllMain does is up to the test that sets onDllMain.
 */

#include <stdint.h>
#include <stdio.h>

int32_t answer(void);
int32_t answer(void) {
    return 42;
}

#ifdef WITH_DLLMAIN
int32_t DllMain(void *module, uint32_t reason, void *reserved);
int32_t (*onDllMain)(void *module, uint32_t reason, void *reserved);
int32_t DllMain(void *module, uint32_t reason, void *reserved) {
    return onDllMain ? onDllMain(module, reason, reserved) : 1;
}
#endif

#ifdef WITH_LOADSTRING
int32_t loadString(void *module, uint32_t id, char *buffer, int32_t size);
int32_t loadString(void *module, uint32_t id, char *buffer, int32_t size) {
    return snprintf(buffer, (size_t)size, "string %u of %p", (unsigned)id, module);
}
#endif
