#include <zorcomn/sysprops.h>
#include <zorcomn/utilities.h>

#include <cstdio>
#include <map>
#include <string>

using namespace velmora_com::vta;

int main() {
    sysprops::ISysProps machine; // a fresh object: no stale values
    std::map<std::wstring, std::wstring> properties;
    machine.GetAllSystemProperties(properties);
    for (const auto &[name, value] : properties)
        std::printf("%s=%s\n", qelcomn_wide_to_ansi(name).c_str(), qelcomn_wide_to_ansi(value).c_str());

    const std::wstring one = machine.GetOneSystemProperty(sysprops::NumOfCPU_Key);
    return one == properties[sysprops::NumOfCPU_Key] ? 0 : 1;
}
