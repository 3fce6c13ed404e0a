// The version stamps of a module that says anything: its result, four numbers, and the size of the caller's buffer. The
// linker leads the loader's calls here.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

enum : uint8_t { kNoModule = 1, kNoEntry = 2 };
uint8_t lacks = 0;
int32_t result = 0;
uint16_t version[4];
int loaded = 0;

int32_t tellVersion(uint16_t *first, uint16_t *second, uint16_t *third, uint16_t *fourth) {
    *first = version[0];
    *second = version[1];
    *third = version[2];
    *fourth = version[3];
    return result;
}

} // namespace

extern "C" {

void *__wrap_qelLoadLibrary(const char *path, const char **error);
void *__wrap_qelGetProcAddress(void *module, const char *name, const char **error);
int32_t __wrap_qelFreeLibrary(void *module);

void *__wrap_qelLoadLibrary(const char *, const char **) {
    if (lacks == kNoModule)
        return nullptr;
    ++loaded;
    return version;
}

void *__wrap_qelGetProcAddress(void *, const char *name, const char **) {
    return lacks == kNoEntry || std::strcmp(name, "ORPLUGIN_GetVersion") != 0 ? nullptr
                                                                              : reinterpret_cast<void *>(tellVersion);
}

int32_t __wrap_qelFreeLibrary(void *) {
    --loaded;
    return 1;
}
}

namespace zor::test::readers {

const char *version_stamps(const std::string &bytes) {
    Bytes input(bytes);
    lacks = input.byte() % 8;
    result = input.byte() % 4 == 3 ? input.number<int32_t>() : 0;
    for (uint16_t &number : version)
        number = input.number<uint16_t>();
    const uint32_t size = input.byte() % 64u;
    char texts[2][64];
    std::snprintf(texts[0], sizeof texts[0], "%u.%u.%u.%u", version[0], version[1], version[2], version[3]);
    std::snprintf(texts[1], sizeof texts[1], "%04x%04x%04x%04x", version[0], version[1], version[2], version[3]);
    int32_t (*const makers[])(const char *, char *, uint32_t) = {qelcomn_GetFileResourceStringVersionStamp,
                                                                 qelcomn_GetFileResourceVersionStamp};
    const bool isTold = lacks != kNoModule && lacks != kNoEntry && result == 0;
    for (size_t i = 0; i < 2; ++i) {
        std::vector<char> buffer(size + 1, '#'), expected(size + 1, '\0');
        if (isTold)
            std::strncpy(expected.data(), texts[i], size);
        expected[size] = '#';
        if (makers[i]("module", buffer.data(), size) != (isTold ? 1 : 0) || buffer != expected)
            return "printf agrees, within the buffer, or the buffer is zeroed";
        if (loaded != 0)
            return "the module does not stay loaded";
    }
    return nullptr;
}

} // namespace zor::test::readers
