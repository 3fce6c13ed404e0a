/* A plug-in that tells its version, or refuses to, as the build asks. */

#include <stdint.h>

int32_t ORPLUGIN_GetVersion(uint16_t *first, uint16_t *second, uint16_t *third, uint16_t *fourth);
int32_t ORPLUGIN_GetVersion(uint16_t *first, uint16_t *second, uint16_t *third, uint16_t *fourth) {
    *first = VERSION_FIRST;
    *second = 8;
    *third = 0;
    *fourth = 1234;
    return VERSION_RESULT;
}
