// Wide text to UTF-8 and back for callers: the arguments, the capacities and the buffers that they hand over. The
// conversion itself is one floor below, where the loader of libraries needs it too.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "source/portability/error_cell.h"
#include "source/portability/transcoding.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

using namespace zor;

namespace {

/** Whether two ranges share bytes. */
bool overlap(const void *first, size_t firstBytes, const void *second, size_t secondBytes) {
    const auto a = reinterpret_cast<uintptr_t>(first), b = reinterpret_cast<uintptr_t>(second);
    return a < b ? b - a < firstBytes : a - b < secondBytes;
}

/** Converts from a copy of the text. Kept: source and destination may share bytes; callers convert within one buffer.
 * @return 0, or the failure result when there is no memory.
 */
template <class In, class Out>
[[gnu::noinline]] uint32_t convertFromCopy(void (*convert)(const In *, size_t, Out *), const In *source, size_t length,
                                           Out *destination) {
    const std::unique_ptr<In[]> copy(new (std::nothrow) In[length + 1]);
    if (!copy)
        return kFailure;
    std::memcpy(copy.get(), source, length * sizeof(In));
    copy[length] = In(); // not read again: another thread may be writing there
    convert(copy.get(), length, destination);
    return 0;
}

} // namespace

uint32_t qelcomn_unicode_to_utf8(const wchar_t *source, char *destination, const int32_t *capacity) {
    if (!source || !destination || !capacity || *capacity <= 0)
        return kFailure;
    const size_t length = std::wcslen(source);
    const auto size = static_cast<size_t>(*capacity);
    if (length > (size - 1) / kUtf8BytesPerCharacter)
        return kFailure;
    if (overlap(source, (length + 1) * sizeof *source, destination, length * kUtf8BytesPerCharacter + 1))
        return convertFromCopy(encodeUtf8, source, length, destination);
    encodeUtf8(source, length, destination);
    return 0;
}

uint32_t qelcomn_utf8_to_unicode(const char *source, wchar_t *destination, const int32_t *capacity) {
    if (!source || !destination || !capacity || *capacity <= 0)
        return kFailure;
    const size_t length = std::strlen(source);
    if (length >= static_cast<size_t>(*capacity)) // Kept: a character for each byte, however few the text has.
        return kFailure;
    if (overlap(source, length + 1, destination, (length + 1) * sizeof *destination))
        return convertFromCopy(decodeUtf8, source, length, destination);
    decodeUtf8(source, length, destination);
    return 0;
}

namespace velmora_com {
namespace vta {

std::string qelcomn_wide_to_ansi(const std::wstring text) {
    return guarded(std::string(), [&] { return utf8Of(text); });
}

std::wstring qelcomn_ansi_to_wide(const std::string text) {
    return guarded(std::wstring(), [&] { return wideOf(text); });
}

} // namespace vta
} // namespace velmora_com
