#include <zorcomn/session.h>

#include <cstdio>
#include <functional>
#include <thread>

#include <unistd.h>

using namespace velmora_com::vta;

int main() {
    SignalHandler signals; // filled before any thread is started: all of them inherit the mask
    signals.addSignalToBlock(SIGHUP);
    signals.addSignalToBlock(SIGTERM); // without a callback: the request to stop
    bool reloaded = false;
    signals.registerOnSignalCallback(SIGHUP, [&] {
        reloaded = true;
        LogInSystemLog(SyslogInfo, "[EXAMPLE]", "%s", "reloaded");
        kill(getpid(), SIGTERM);
    });
    std::thread listener(std::ref(signals));
    kill(getpid(), SIGHUP);
    listener.join();
    std::puts(reloaded ? "reloaded, then stopped" : "stopped");
    return reloaded ? 0 : 1;
}
