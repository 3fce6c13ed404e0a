#pragma once

// Starting a built program on a target that the machine at hand only emulates: it cannot be executed as it is.

#include <string>
#include <vector>

namespace zor::test {

/** A program's path and arguments, behind the emulator and its options where the target has one. */
std::vector<std::string> underEmulator(const std::vector<std::string> &arguments);

/** The words as exec takes them; they point into words. */
std::vector<char *> argumentVector(std::vector<std::string> &words);

} // namespace zor::test
