/* A plug-in that does not want to be attached. */

#include <stdint.h>

int32_t DllMain(void *module, uint32_t reason, void *reserved);
int32_t DllMain(void *module, uint32_t reason, void *reserved) {
    (void)module;
    (void)reason;
    (void)reserved;
    return 0;
}
