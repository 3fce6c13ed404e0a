#pragma once

// A file system that the test serves itself, and stops serving: whoever then needs it waits for ever, as below a dead
// server. For a child in a mount namespace of its own (see child.h). The server is a process that ends after a time, so
// that a test that does hang, where it must not, hangs no longer than that.

#include <atomic>
#include <string>

#include <sys/types.h>

namespace zor::test {

class MuteFileSystem {
public:
    enum class Requests {
        left,     // nobody takes them: who waits can still be killed
        taken,    // taken and never answered: not even killing ends the wait
        answered, // until mute() is called: every name is a folder; then taken
    };

    /** Mounts it on a file or folder that exists. Under the type "fuseblk" a block device is its source. */
    MuteFileSystem(const std::string &path, Requests requests, const std::string &type = "fuse",
                   const std::string &source = "none");
    /** Ends it: who waits gets an error. */
    ~MuteFileSystem();
    MuteFileSystem(const MuteFileSystem &) = delete;
    MuteFileSystem &operator=(const MuteFileSystem &) = delete;

    /** Whether requests can be answered: not under an emulator, whose byte order may be another than the kernel's. */
    static bool canAnswer();
    bool isMounted() const { return m_isMounted; }
    void mute() { *m_isMute = true; }

private:
    [[noreturn]] void serve() const;

    int m_device = -1;
    bool m_isMounted = false;
    std::atomic<bool> *m_isMute; // shared with the server
    pid_t m_server = -1;
};

/** How long a child may take that hangs where it must not; the server lives longer. */
constexpr int kHangSeconds = 30;

} // namespace zor::test

#define ZORCOMN_SKIP_WITHOUT_FUSE()                                                                                    \
    if (access("/dev/fuse", R_OK | W_OK) != 0)                                                                         \
    GTEST_SKIP() << "needs /dev/fuse"
