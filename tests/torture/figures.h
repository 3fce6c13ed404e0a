#pragma once

// What a torture counted, and which of its runs are made.

#include <cstdint>
#include <string>
#include <vector>

namespace zor::torture {

struct Figures {
    int calls = 0; // what was tortured
    int runs = 0;  // with a fault that was hit
    int right = 0, failed = 0, wrong = 0;
    std::vector<std::string> messages;

    void add(const Figures &other);
};

/** A number that is the same in all runs for one commit, and another for the next; 0 stands for all faults. */
uint64_t sampleSeed();
/** Whether a run belongs to the sample of one in rate; always when all are wanted. */
bool isSampled(uint64_t seed, uint64_t number, uint64_t rate);

/** Prints the figures, and keeps them in build/deep when all were wanted. */
void tell(const char *subject, const Figures &figures);

} // namespace zor::torture
