#pragma once

// Runs cases with every fault in turn, each in a forked child with a deadline, and judges what came of it.

#include "tests/torture/cases.h"

#include <cstdint>
#include <functional>
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

/** Every fault of a case. */
Figures torture(const Case &one, bool isWarm, uint64_t seed, uint64_t rate);

/** Prints the figures, and keeps them in build/deep when all were wanted. */
void tell(const char *subject, const Figures &figures);

/** The machine's files, written once into a folder that is gone with the process. */
void prepareMachine();

} // namespace zor::torture
