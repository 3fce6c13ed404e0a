// A small agent: it answers SIGHUP with a report of the machine, written by worker threads as a file, and SIGTERM by
// ending.
//
//   agent FOLDER PLUGIN HOST PORT
//
// FOLDER receives the reports, of which the newest three stay; PLUGIN is the path of the plug-in; HOST and PORT are
// those of the server, towards which the agent finds out its own address.

#include "reports.h"
#include "workers.h"

#include <zorcomn/zorcomn.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

#include <netdb.h>

using namespace velmora_com::vta;

namespace {

constexpr uint32_t kWorkers = 2;
constexpr size_t kReportsKept = 3;
constexpr int kConnectSeconds = 2;
constexpr uint32_t kReportTitle = 1;

/** The ident is given: without it, a text as third argument would be taken for the format. */
void log(const std::string &text) {
    LogInSystemLog(SyslogInfo, "[AGENT]", "%s", text.c_str());
}

/** A loaded plug-in, until the end of its scope. */
class Plugin {
public:
    explicit Plugin(const char *path) : m_module(qelLoadLibrary(path, &m_error)) {}
    ~Plugin() {
        if (m_module)
            qelFreeLibrary(m_module);
    }
    Plugin(const Plugin &) = delete;
    Plugin &operator=(const Plugin &) = delete;

    bool isLoaded() const { return m_module != nullptr; }
    std::string error() const { return m_error; }
    std::string text(uint32_t id) const {
        char buffer[128] = "";
        qelLoadString(m_module, id, buffer, sizeof buffer);
        return buffer;
    }

private:
    const char *m_error = ""; // before the module, whose loading sets it
    void *m_module;
};

/** A handle, closed at the end of its scope. */
class OwnedHandle {
public:
    explicit OwnedHandle(HANDLE handle) : m_handle(handle) {}
    ~OwnedHandle() { qelCloseHandle(m_handle); }
    OwnedHandle(const OwnedHandle &) = delete;
    OwnedHandle &operator=(const OwnedHandle &) = delete;

    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

/** Whether this machine is one that the plug-in was made for; MAC is found in MACX, and 10.4 is in the range. */
bool isPlatformSupported() {
    return qelcomn_IsPlatformMatch("MACX:10:4:11", "WNT|MAC:10:3:0-10:5:0") == 0;
}

/** The report prefers the address by which the server is reached. */
void findLocalAddress(const std::string &host, const std::string &port) {
    std::string address;
    ANetworkUtil network;
    if (network.zorGetLocalIPAddress(host, port, address, false, kConnectSeconds, NI_NUMERICHOST) != 0) {
        log("the server cannot be reached: " + host + ", port " + port);
        return;
    }
    qelcomn_set_local_ip_addr(qelcomn_ansi_to_wide(address));
    std::printf("local address %s\n", address.c_str());
}

/** Runs what may throw on a thread that must go on: there is no report then, but the next may succeed. */
template <class Body> void unlessItFails(Body body) {
    try {
        body();
    } catch (const std::exception &error) {
        LogInSystemLog(SyslogInfo, "[AGENT]", "no report: %s", error.what());
    }
}

/** Runs until SIGTERM; every SIGHUP queues a report. Signals are taken by a thread of their own. That one is no thread
 * of the library, whose end would take the locks' thread-local index from the workers. */
void serve(SignalHandler &signals, const std::string &folder, const std::string &title) {
    const OwnedHandle oneReport(
        qelCreateMutex(nullptr, 0, nullptr)); // the list of users serves one collection at a time
    Workers workers(kWorkers);
    int number = 0;
    const bool isRegistered = signals.registerOnSignalCallback(SIGHUP, [&] {
        unlessItFails([&] {
            workers.give([&folder, &title, &oneReport, number = ++number] {
                if (qelWaitForSingleObject(oneReport.get(), ZORCOMN_INFINITE) != ZORCOMN_WAIT_SIGNALLED)
                    return;
                unlessItFails([&] {
                    const std::string name = writeReport(folder, title, number);
                    LogInSystemLog(SyslogInfo, "[AGENT]", "%s %s", name.empty() ? "could not write report" : "wrote",
                                   name.c_str());
                    pruneReports(folder, kReportsKept);
                });
                qelReleaseMutex(oneReport.get());
            });
        });
    }) == 0;
    if (!isRegistered)
        throw std::runtime_error("no memory for the signals");
    std::thread listener([&signals] {
        qeSO_ThreadAttach(); // the callback locks the list of jobs
        signals();
        qeSO_ThreadDetach();
    });
    std::puts("ready");
    std::fflush(stdout);
    listener.join();
}

int run(const std::string &folder, const char *pluginPath, const std::string &host, const std::string &port) {
    SignalHandler signals;
    signals.addSignalToBlock(SIGHUP); // before any thread is started: all inherit the mask
    signals.addSignalToBlock(SIGTERM);

    const Plugin plugin(pluginPath);
    if (!plugin.isLoaded()) {
        std::fprintf(stderr, "agent: %s\n", plugin.error().c_str());
        return 1;
    }
    char version[24];
    if (!qelcomn_GetFileResourceStringVersionStamp(pluginPath, version, sizeof version)) {
        std::fputs("agent: the plug-in tells no version\n", stderr);
        return 1;
    }
    std::printf("plug-in %s\n", version);
    if (!isPlatformSupported()) {
        std::fputs("agent: the plug-in is not for this platform\n", stderr);
        return 1;
    }
    findLocalAddress(host, port);

    qeSO_ProcessAttach();
    serve(signals, folder, plugin.text(kReportTitle));
    log("ended");
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 5) {
        std::fputs("usage: agent FOLDER PLUGIN HOST PORT\n", stderr);
        return 2;
    }
    try {
        return run(argv[1], argv[2], argv[3], argv[4]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "agent: %s\n", error.what());
        return 1;
    }
}
