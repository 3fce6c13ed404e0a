#pragma once

// The files of the machine that machine.cpp makes up.

#include "source/utilities/command_output.h"
#include "tests/support/temporary_folder.h"

#include <string>
#include <utility>

namespace zor::torture {

inline void writeMachineFiles(const test::TemporaryFolder &folder) {
    folder.write("meminfo", "MemTotal:        1024000 kB\nMemFree:          512000 kB\nMemAvailable:     700000 kB\n");
    folder.write("cpuinfo", "processor\t: 0\nvendor_id\t: GenuineIntel\ncpu family\t: 6\nmodel\t\t: 85\n"
                            "cpu MHz\t\t: 2500.000\n\nprocessor\t: 1\n\n");
    folder.write("stat", "cpu  1 2 3 4\nbtime 1163500000\nprocesses 12\n");
    for (const auto &[command, answer] :
         {std::pair("nothing", ""), std::pair("alice", "dsAttrTypeNative:userPrincipalName: alice@example.org\n"),
          std::pair("sw_vers", "Mac OS X Server\n"), std::pair("sysctl", "1\n")})
        folder.write(command, std::string(answer) + kEndOfOutput);
    folder.write("SystemVersion.plist", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                                        "<key>ProductBuildVersion</key><string>8S165 of some length</string>\n"
                                        "<key>ProductName</key><string>Mac OS X</string>\n"
                                        "<key>ProductVersion</key><string>10.4.11</string>\n</dict>\n</plist>\n");
}

} // namespace zor::torture
