#include "tests/support/mute_file_system.h"

#include "tests/support/emulator.h"

#include <csignal>
#include <cstring>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/fuse.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zor::test {

namespace {

constexpr size_t kRequestBytes = 256 * 1024;

template <class Body> void reply(int device, const fuse_in_header &request, const Body &body) {
    char bytes[sizeof(fuse_out_header) + sizeof body];
    const fuse_out_header header{static_cast<uint32_t>(sizeof bytes), 0, request.unique};
    std::memcpy(bytes, &header, sizeof header);
    std::memcpy(bytes + sizeof header, &body, sizeof body);
    static_cast<void>(!write(device, bytes, sizeof bytes));
}

fuse_attr folder(uint64_t number) {
    fuse_attr attributes{};
    attributes.ino = number;
    attributes.mode = S_IFDIR | 0755;
    attributes.nlink = 2;
    return attributes;
}

} // namespace

MuteFileSystem::MuteFileSystem(const std::string &path, Requests requests, const std::string &type,
                               const std::string &source)
    : m_device(open("/dev/fuse", O_RDWR | O_CLOEXEC)),
      m_isMute(static_cast<std::atomic<bool> *>(
          mmap(nullptr, sizeof *m_isMute, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    *m_isMute = requests != Requests::answered;
    struct stat facts {};
    const bool isFolder = stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
    const std::string options = "fd=" + std::to_string(m_device) + ",rootmode=" + (isFolder ? "40000" : "100000") +
                                ",user_id=0,group_id=0" + (type == "fuseblk" ? ",blksize=512" : "");
    m_isMounted = mount(source.c_str(), path.c_str(), type.c_str(), 0, options.c_str()) == 0;
    if (!m_isMounted || requests == Requests::left)
        return;
    m_server = fork();
    if (m_server == 0)
        serve();
    close(std::exchange(m_device, -1)); // the server's end is the end
}

bool MuteFileSystem::canAnswer() {
    return underEmulator({}).empty();
}

MuteFileSystem::~MuteFileSystem() {
    if (m_server > 0) {
        kill(m_server, SIGKILL);
        waitpid(m_server, nullptr, 0);
    }
    if (m_device >= 0)
        close(m_device);
    munmap(m_isMute, sizeof *m_isMute);
}

void MuteFileSystem::serve() const {
    signal(SIGALRM, SIG_DFL);
    alarm(2 * kHangSeconds);
    std::vector<char> request(kRequestBytes);
    for (;;) {
        if (read(m_device, request.data(), request.size()) < static_cast<ssize_t>(sizeof(fuse_in_header)))
            _exit(0);
        fuse_in_header header;
        std::memcpy(&header, request.data(), sizeof header);
        if (header.opcode == FUSE_INIT) {
            fuse_init_out agreed{};
            agreed.major = FUSE_KERNEL_VERSION;
            agreed.minor = 31;
            agreed.max_write = 4096;
            reply(m_device, header, agreed);
        } else if (!*m_isMute && header.opcode == FUSE_LOOKUP) {
            fuse_entry_out entry{}; // not valid for any time: asked for again on the next walk
            entry.nodeid = 2;
            entry.attr = folder(2);
            reply(m_device, header, entry);
        } else if (!*m_isMute && header.opcode == FUSE_GETATTR) {
            fuse_attr_out attributes{};
            attributes.attr = folder(header.nodeid);
            reply(m_device, header, attributes);
        }
    }
}

} // namespace zor::test
