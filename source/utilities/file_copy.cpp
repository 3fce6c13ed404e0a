// File copy over streams, in steps of 512 bytes; larger stream buffers keep the steps cheap. The destination is opened
// before it is emptied, so that a file is never emptied for being copied onto itself.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"

#include <cstdio>
#include <memory>
#include <new>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zor {

namespace {

constexpr size_t kStepBytes = 512;
constexpr size_t kStreamBufferBytes = size_t{128} * 1024;
constexpr mode_t kPermissions = 0666;

Descriptor openFile(const char *path, int flags) {
    return Descriptor(retryInterrupted([&] { return open(path, flags | O_CLOEXEC, kPermissions); }));
}

/** A stream and its buffer, which must live as long. Without memory for it the stream's own buffer serves. */
class BufferedFile {
public:
    BufferedFile(Descriptor descriptor, const char *mode)
        : m_buffer(descriptor ? new (std::nothrow) char[kStreamBufferBytes] : nullptr),
          m_file(descriptor ? fdopen(descriptor.get(), mode) : nullptr) {
        if (!m_file)
            return;
        descriptor.release();
        if (m_buffer)
            setvbuf(m_file.get(), m_buffer.get(), _IOFBF, kStreamBufferBytes);
    }
    explicit operator bool() const { return m_file != nullptr; }
    std::FILE *get() const { return m_file.get(); }
    std::optional<struct stat> facts() const {
        struct stat facts;
        return fstat(fileno(m_file.get()), &facts) == 0 ? std::make_optional(facts) : std::nullopt;
    }
    bool empty() {
        return retryInterrupted([&] { return ftruncate(fileno(m_file.get()), 0); }) == 0;
    }
    /** Closes now; false when the system refuses what was written. */
    bool close() { return std::fclose(m_file.release()) == 0; }

private:
    std::unique_ptr<char[]> m_buffer;
    File m_file;
};

bool isSameFile(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool writeStep(std::FILE *to, const char *step, size_t count) {
    return std::fwrite(step, 1, count, to) == count;
}

bool copyContent(std::FILE *from, std::FILE *to) {
    char step[kStepBytes];
    size_t got = std::fread(step, 1, sizeof step, from);
    while (got == sizeof step) {
        if (!writeStep(to, step, got))
            return false;
        if (std::feof(from)) // a full last step is a success like any other
            return true;
        got = std::fread(step, 1, sizeof step, from);
    }
    return !std::ferror(from) && writeStep(to, step, got);
}

bool copyFile(const char *source, const char *destination, bool mayReplace) {
    const BufferedFile from(openFile(source, O_RDONLY), "rb");
    const auto sourceFacts = from ? from.facts() : std::nullopt;
    if (!sourceFacts || S_ISDIR(sourceFacts->st_mode))
        return false;
    BufferedFile to(openFile(destination, O_RDWR | O_CREAT | (mayReplace ? 0 : O_EXCL)), "wb+");
    const auto facts = to ? to.facts() : std::nullopt;
    if (!facts || isSameFile(*facts, *sourceFacts) || (S_ISREG(facts->st_mode) && !to.empty()))
        return false;
    return copyContent(from.get(), to.get()) && to.close();
}

} // namespace

} // namespace zor

int32_t qelcomn_copy_file(const char *source, const char *destination, int32_t overwrite) {
    if (!source || !destination)
        return 0;
    qelcomn_MakeRecursiveDirectoryA(destination);
    return zor::copyFile(source, destination, overwrite != 0) ? 1 : 0;
}
