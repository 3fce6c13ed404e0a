#pragma once

// Whether a report that was made under hardship is right where it tells something, and says what it does not know.

#include "tests/tools/program.h"

#include <set>
#include <string>

namespace zor::test {

/** What is wrong with what 'zorprops --json' answered, compared with its output in good order: a value that differs
 * without being named as unread or late, an exit code that does not fit, no report and no sentence. Empty when
 * nothing is. What is in untold may differ all the same. */
std::string faultsOf(const ProgramResult &answer, const std::string &goodOutput,
                     const std::set<std::string> &untold = {});

} // namespace zor::test
