#include "tests/torture/figures.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace zor::torture {

namespace {

uint64_t mixed(uint64_t value) {
    value ^= value >> 33;
    value *= 0xff51afd7ed558ccdull;
    value ^= value >> 33;
    value *= 0xc4ceb9fe1a85ec53ull;
    return value ^ value >> 33;
}

} // namespace

void Figures::add(const Figures &other) {
    calls += other.calls;
    runs += other.runs;
    right += other.right;
    failed += other.failed;
    wrong += other.wrong;
    messages.insert(messages.end(), other.messages.begin(), other.messages.end());
}

uint64_t sampleSeed() {
    if (std::getenv("ZORCOMN_TORTURE_ALL"))
        return 0;
    const char *const epoch = std::getenv("SOURCE_DATE_EPOCH");
    return mixed(epoch ? std::strtoull(epoch, nullptr, 10) : ZORCOMN_COMMIT_DATE) | 1;
}

bool isSampled(uint64_t seed, uint64_t number, uint64_t rate) {
    return seed == 0 || mixed(seed + number) % rate == 0;
}

void tell(const char *subject, const Figures &figures) {
    std::printf("%s: %d calls, %d runs, %d right, %d failed as stated, %d wrong\n", subject, figures.calls,
                figures.runs, figures.right, figures.failed, figures.wrong);
    if (const char *const folder = std::getenv("ZORCOMN_TORTURE_ALL"))
        std::ofstream(std::string(folder) + "/faults.txt", std::ios::app)
            << subject << ": calls " << figures.calls << " runs " << figures.runs << " right " << figures.right
            << " failed " << figures.failed << " wrong " << figures.wrong << "\n";
}

} // namespace zor::torture
