#include <zorcomn/zorcomn.h>

#include <cstdio>

int main() {
    const HANDLE event = qelCreateEvent(nullptr, 1, 1, nullptr);
    const uint32_t result = qelWaitForSingleObject(event, 0);
    qelCloseHandle(event);
    std::printf("%u %s\n", result, velmora_com::vta::qelcomn_wide_to_ansi(qelcomn_get_os_platform_id()).c_str());
    return result == ZORCOMN_WAIT_SIGNALLED ? 0 : 1;
}
