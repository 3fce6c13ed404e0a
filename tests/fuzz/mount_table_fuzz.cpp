#include "tests/fuzz/rules.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (const char *rule = zor::test::brokenMountTableRule(std::string(reinterpret_cast<const char *>(data), size))) {
        std::fprintf(stderr, "broken: %s\n", rule);
        std::abort();
    }
    return 0;
}
