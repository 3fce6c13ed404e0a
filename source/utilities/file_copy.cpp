// File copy in steps of 512 bytes; larger buffers on both sides keep the steps cheap. The destination is opened before
// it is emptied, so that a file is never emptied for being copied onto itself. Reading and writing can be cancelled,
// nothing else; what the copy holds is then released by a handler.

#include "zorcomn/utilities.h"

#include "source/platform/files.h"
#include "source/platform/open.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zor {

namespace {

constexpr size_t kStepBytes = 512;
constexpr size_t kBufferBytes = size_t{128} * 1024;
constexpr mode_t kPermissions = 0666;

/** A descriptor and a buffer for it. Without memory for one of the usual size, a small one of its own serves. */
class BufferedFile {
public:
    void open(Descriptor descriptor) {
        m_descriptor = std::move(descriptor);
        m_large.reset(m_descriptor ? new (std::nothrow) char[kBufferBytes] : nullptr);
    }
    bool isOpen() const { return static_cast<bool>(m_descriptor); }
    int descriptor() const { return m_descriptor.get(); }
    char *buffer() { return m_large ? m_large.get() : m_small; }
    size_t capacity() const { return m_large ? kBufferBytes : sizeof m_small; }

    /** Closes now; false when the system refuses what was written. That it was interrupted counts too: it cannot be
     * asked again, and nobody knows whether the system took everything. */
    bool close() {
        const UncancellableScope uncancellable;
        return ::close(m_descriptor.release()) == 0;
    }
    void release() {
        m_descriptor.reset();
        m_large.reset();
    }

private:
    Descriptor m_descriptor;
    std::unique_ptr<char[]> m_large;
    char m_small[kStepBytes];
};

class Source : public BufferedFile {
public:
    /** Reads up to count bytes; fewer only at the end of the file and after a failure. */
    size_t read(char *bytes, size_t count) {
        size_t got = 0;
        while (got < count && (m_next < m_end || refill())) {
            const size_t part = std::min(count - got, m_end - m_next);
            std::memcpy(bytes + got, buffer() + m_next, part);
            m_next += part;
            got += part;
        }
        return got;
    }
    bool isAtEnd() const { return m_isAtEnd; }
    bool hasFailed() const { return m_hasFailed; }

private:
    bool refill() {
        if (m_isAtEnd || m_hasFailed)
            return false;
        const ssize_t got = retryInterrupted([&] { return ::read(descriptor(), buffer(), capacity()); });
        m_hasFailed = got < 0;
        m_isAtEnd = got == 0;
        m_next = 0;
        m_end = got > 0 ? static_cast<size_t>(got) : 0;
        return got > 0;
    }

    size_t m_next = 0;
    size_t m_end = 0;
    bool m_isAtEnd = false;
    bool m_hasFailed = false;
};

class Destination : public BufferedFile {
public:
    bool write(const char *bytes, size_t count) {
        if (m_length + count > capacity() && !flush())
            return false;
        std::memcpy(buffer() + m_length, bytes, count); // a step fits into either buffer
        m_length += count;
        return true;
    }
    bool flush() {
        size_t written = 0;
        while (written < m_length) {
            const ssize_t count =
                retryInterrupted([&] { return ::write(descriptor(), buffer() + written, m_length - written); });
            if (count < 0)
                return false;
            written += static_cast<size_t>(count);
        }
        m_length = 0;
        return true;
    }

private:
    size_t m_length = 0;
};

/** A pipe without a writer is waited for, which can be cancelled. Any other file opens at once, and cancellation is
 * held off lest the descriptor be lost. */
Descriptor openSource(const char *path) {
    const UncancellableScope uncancellable;
    const auto facts = host::fileFacts(path);
    if (!facts || !S_ISFIFO(facts->mode))
        return host::openFile(path, O_RDONLY);
    const CancellableScope cancellable(uncancellable);
    return host::openFile(path, O_RDONLY);
}

class FileCopy {
public:
    FileCopy() = default;
    FileCopy(const FileCopy &) = delete;
    FileCopy &operator=(const FileCopy &) = delete;

    bool run(const char *source, const char *destination, bool mayReplace) {
        m_source.open(openSource(source));
        return m_source.isOpen() && openDestination(destination, mayReplace) && copyContent() && m_destination.close();
    }

private:
    void release() {
        m_source.release();
        m_destination.release();
    }
    bool openDestination(const char *path, bool mayReplace) {
        const UncancellableScope uncancellable;
        const auto source = host::openFileFacts(m_source.descriptor());
        if (!source || S_ISDIR(source->mode))
            return false;
        m_destination.open(host::openFile(path, O_RDWR | O_CREAT | (mayReplace ? 0 : O_EXCL), kPermissions));
        const auto facts = m_destination.isOpen() ? host::openFileFacts(m_destination.descriptor()) : std::nullopt;
        if (!facts || host::isSameFile(*facts, *source))
            return false;
        return !S_ISREG(facts->mode) || retryInterrupted([&] { return ftruncate(m_destination.descriptor(), 0); }) == 0;
    }

    bool copyContent() {
        char step[kStepBytes];
        size_t got = m_source.read(step, sizeof step);
        while (got == sizeof step) {
            if (!m_destination.write(step, got))
                return false;
            if (m_source.isAtEnd()) // a full last step is a success like any other
                return m_destination.flush();
            got = m_source.read(step, sizeof step);
        }
        if (m_source.hasFailed())
            return keepSteps();
        return m_destination.write(step, got) && m_destination.flush();
    }
    /** What was read before a failure is written all the same; errno stays that of the failure. */
    bool keepSteps() {
        const int failure = errno;
        m_destination.flush();
        errno = failure;
        return false;
    }

    Source m_source;
    Destination m_destination;
    ThreadEndHandler m_atThreadEnd{[](void *self) { static_cast<FileCopy *>(self)->release(); }, this};
};

} // namespace

} // namespace zor

int32_t qelcomn_copy_file(const char *source, const char *destination, int32_t overwrite) {
    if (!source || !destination)
        return 0;
    qelcomn_MakeRecursiveDirectoryA(destination);
    return zor::FileCopy().run(source, destination, overwrite != 0) ? 1 : 0;
}
