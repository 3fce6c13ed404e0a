// The fuzzer of all readers; the first argument names the reader, all others are libFuzzer's:
//   fuzzer wildcard -max_total_time=60 CORPUS tests/fuzz/seeds/wildcard
//   fuzzer --list

#include "tests/fuzz/reader_list.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

const zor::test::Reader *reader = nullptr;

void list() {
    for (const zor::test::Reader &known : zor::test::kReaders)
        std::puts(known.name);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *count, char ***arguments) {
    const char *const name = *count > 1 ? (*arguments)[1] : "";
    if (std::strcmp(name, "--list") == 0) {
        list();
        std::exit(0);
    }
    reader = std::find_if(std::begin(zor::test::kReaders), std::end(zor::test::kReaders),
                          [&](const zor::test::Reader &known) { return std::strcmp(known.name, name) == 0; });
    if (reader == std::end(zor::test::kReaders)) {
        std::fprintf(stderr, "no reader \"%s\"; --list names all\n", name);
        std::exit(2);
    }
    (*arguments)[1] = (*arguments)[0];
    ++*arguments;
    --*count;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (const char *rule = reader->brokenRule(std::string(reinterpret_cast<const char *>(data), size))) {
        std::fprintf(stderr, "%s, broken: %s\n", reader->name, rule);
        std::abort();
    }
    return 0;
}
