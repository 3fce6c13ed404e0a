// Enumerating the interfaces of a machine with 100 and with 1,000 addresses, beside the system's own list made into
// texts. The counter ratio_to_100 says how many times the work for 100 addresses the work for 1,000 is: about ten.
// Runs in a network namespace of its own, whose loopback interface carries the addresses; without root or the ip
// command every case says why it is skipped.

#include "zorcomn/network.h"

#include "source/platform/posix.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include <netinet/in.h>
#include <sched.h>

namespace {

using velmora_com::vta::NetInterfaceList;

bool enterNetwork() {
    static const bool entered =
        unshare(CLONE_NEWNET) == 0 && std::system("ip link set lo up 2>/dev/null") == 0; // once for the whole run
    return entered;
}

/** Makes the loopback interface carry count addresses; they only ever become more. */
bool haveAddresses(int64_t count) {
    static int64_t present = 1; // 127.0.0.1
    if (!enterNetwork())
        return false;
    const zor::Pipe commands(popen("ip -batch -", "w"));
    if (!commands)
        return false;
    for (; present < count; ++present)
        std::fprintf(commands.get(), "addr add 10.%d.%d.1/32 dev lo\n", static_cast<int>(present / 250),
                     static_cast<int>(present % 250));
    return true;
}

size_t enumerate() {
    NetInterfaceList list(true);
    list.initialize();
    velmora_com::vta::NetInterface loopback;
    list.getNetInterface(1, loopback);
    return loopback.getIPAddress().size();
}

/** The alternative: every address of the system's list as text, without masks, subnets and hardware addresses. */
size_t listAddresses() {
    ifaddrs *head = nullptr;
    if (getifaddrs(&head) != 0)
        return 0;
    const zor::InterfaceEntries entries(head);
    size_t count = 0;
    for (const ifaddrs *entry = entries.get(); entry; entry = entry->ifa_next) {
        char text[NI_MAXHOST];
        if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_INET &&
            getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0)
            ++count;
    }
    return count;
}

template <size_t (*read)()> void measure(benchmark::State &state) {
    static double secondsForHundred = 0;
    if (!haveAddresses(state.range(0))) {
        state.SkipWithError("needs root, network namespaces and the ip command");
        return;
    }
    if (read() < static_cast<size_t>(state.range(0))) {
        state.SkipWithError("not every address is there");
        return;
    }
    const std::clock_t start = std::clock(); // processor time, which other work on the machine does not stretch
    for (auto _ : state)
        benchmark::DoNotOptimize(read());
    const double seconds =
        static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / static_cast<double>(state.iterations());
    if (state.range(0) == 100)
        secondsForHundred = seconds;
    else
        state.counters["ratio_to_100"] = seconds / secondsForHundred;
}

BENCHMARK(measure<enumerate>)->Name("initialize")->Arg(100)->Unit(benchmark::kMicrosecond);
BENCHMARK(measure<listAddresses>)->Name("getifaddrs+getnameinfo")->Arg(100)->Unit(benchmark::kMicrosecond);
BENCHMARK(measure<enumerate>)->Name("initialize")->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(measure<listAddresses>)->Name("getifaddrs+getnameinfo")->Arg(1000)->Unit(benchmark::kMicrosecond);

} // namespace
