#include <zorcomn/configuration.h>
#include <zorcomn/utilities.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>

using namespace velmora_com::vta;

int main() {
    std::map<std::pair<std::wstring, std::wstring>, std::wstring> store; // the agent's own
    store[{section_logging, key_log_bEnableLog}] = L"1";
    for (const auto &[place, value] : store)
        std::printf("[%s] %s=%s\n", qelcomn_wide_to_ansi(place.first).c_str(),
                    qelcomn_wide_to_ansi(place.second).c_str(), qelcomn_wide_to_ansi(value).c_str());
    return section_logging == L"AgentLogging" ? 0 : 1;
}
