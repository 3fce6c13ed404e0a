#pragma once

// The list of all readers, for the programs that have them all.

#include "tests/fuzz/readers.h"

namespace zor::test {

struct Reader {
    const char *name;
    const char *(*brokenRule)(const std::string &bytes);
};

constexpr Reader kReaders[] = {
#define ZORCOMN_ENTER(name) {#name, readers::name},
    ZORCOMN_READERS(ZORCOMN_ENTER)
#undef ZORCOMN_ENTER
};

} // namespace zor::test
