#pragma once

// What holds for whatever bytes a reader gets, beyond not breaking. Used with the fuzzer's inputs and with the
// deterministic mutations of the test suite.

#include <string>

namespace zor::test {

/** The rule that the property list reader breaks on these bytes; null for none. */
const char *brokenPropertyListRule(const std::string &bytes);

/** The rule that the reader of the mount table breaks on these bytes; null for none. */
const char *brokenMountTableRule(const std::string &bytes);

} // namespace zor::test
