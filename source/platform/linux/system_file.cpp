#include "source/platform/linux/system_file.h"

#include "source/platform/posix.h"

#include <algorithm>

#include <fcntl.h>

namespace zor::host {

namespace {

constexpr size_t kChunkBytes = 4096; // one page, as much as the kernel prepares at a time

/** Appends up to room bytes of a file; how many there were, 0 at the end, -1 on failure. */
ssize_t appendChunk(int file, std::string &content, size_t room) {
    char chunk[kChunkBytes];
    const ssize_t got = retryInterrupted([&] { return read(file, chunk, std::min(sizeof chunk, room)); });
    if (got > 0)
        content.append(chunk, static_cast<size_t>(got));
    return got;
}

/** Reads until isEnough(content) or the end of the file; nothing on failure or beyond maxBytes. */
template <class Predicate> std::optional<std::string> readUntil(const char *path, size_t maxBytes, Predicate isEnough) {
    // Without O_NONBLOCK, a pipe put in the file's place would hold us up for ever.
    const Descriptor file(retryInterrupted([&] { return open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
    if (!file)
        return std::nullopt;
    std::string content;
    while (!isEnough(content)) {
        const ssize_t got = appendChunk(file.get(), content, maxBytes + 1 - content.size());
        if (got == 0)
            return content;
        if (got < 0 || content.size() > maxBytes)
            return std::nullopt;
    }
    return content;
}

} // namespace

std::optional<std::string> readSystemFile(const char *path, size_t maxBytes) {
    return readUntil(path, maxBytes, [](const std::string &) { return false; });
}

std::optional<std::string> readFirstParagraph(const char *path, size_t maxBytes) {
    constexpr char kEmptyLine[] = "\n\n";
    std::optional<std::string> content =
        readUntil(path, maxBytes, [&](const std::string &text) { return text.find(kEmptyLine) != std::string::npos; });
    if (content && content->find(kEmptyLine) != std::string::npos)
        content->resize(content->find(kEmptyLine) + 1);
    return content;
}

} // namespace zor::host
