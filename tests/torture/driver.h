#pragma once

// Runs cases with every fault in turn, each in a forked child with a deadline, and judges what came of it.

#include "tests/torture/cases.h"
#include "tests/torture/figures.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zor::torture {

/** Every fault of a case. */
Figures torture(const Case &one, bool isWarm, uint64_t seed, uint64_t rate);

/** The machine's files, written once into a folder that is gone with the process. */
void prepareMachine();

} // namespace zor::torture
