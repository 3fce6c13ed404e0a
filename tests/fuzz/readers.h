#pragma once

// Everything of the library and the reporter that reads text or records from outside, each with what holds for whatever
// bytes it gets, beyond not breaking. The fuzzer hands them its inputs, the test suite the seeds and damaged seeds.

#include <string>

// One reader for each file of readers/ and each folder of seeds/, which a test makes sure of.
#define ZORCOMN_READERS(X)                                                                                             \
    X(addresses)                                                                                                       \
    X(command_output)                                                                                                  \
    X(cpuinfo)                                                                                                         \
    X(directory_answers)                                                                                               \
    X(display)                                                                                                         \
    X(file_name_flattener)                                                                                             \
    X(file_name_resolver)                                                                                              \
    X(guid)                                                                                                            \
    X(ipv6_text)                                                                                                       \
    X(login_records)                                                                                                   \
    X(meminfo)                                                                                                         \
    X(mount_table)                                                                                                     \
    X(platform_match)                                                                                                  \
    X(property_list)                                                                                                   \
    X(property_names)                                                                                                  \
    X(radix_text)                                                                                                      \
    X(report_json)                                                                                                     \
    X(time_stamps)                                                                                                     \
    X(utf8_to_wide)                                                                                                    \
    X(version_stamps)                                                                                                  \
    X(wide_to_utf8)                                                                                                    \
    X(wildcard)

namespace zor::test {

// Each gives the rule that its reader breaks on these bytes; null for none.
namespace readers {
#define ZORCOMN_DECLARE(name) const char *name(const std::string &bytes);
ZORCOMN_READERS(ZORCOMN_DECLARE)
#undef ZORCOMN_DECLARE
} // namespace readers

} // namespace zor::test
