// Wide text (UTF-32 in the machine's byte order) to UTF-8 and back; every other module converts through here.
//
// The result is that of the system's converter, iconv, down to the prefix that it delivers of invalid text. What every
// converter agrees on, the Unicode characters in their one well-formed spelling, is transcoded here by hand: both
// encodings are stateless, so a text can change hands between any two characters. From the first doubtful character
// on (a surrogate, a value above 0x10FFFF, an overlong, truncated or stray byte) iconv goes on and has the last word.
// So a converter is opened for invalid text only.

#include "zorcomn/utilities.h"

#include "platform/host.h"
#include "platform/posix.h"
#include "source/error_cell.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <functional>
#include <memory>
#include <new>
#include <optional>

namespace {

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32");

constexpr uint32_t kLastAscii = 0x7F;
constexpr uint32_t kFirstSurrogate = 0xD800;
constexpr uint32_t kLastSurrogate = 0xDFFF;
constexpr uint32_t kLastCharacter = 0x10FFFF;
constexpr size_t kUtf8BytesPerCharacter = 6; // Kept: more than needed, but callers size their buffers by it.

constexpr size_t kBlock = 8; // units of ASCII that are copied at a time

/** How much of a conversion is done, in units of either text. */
struct Progress {
    size_t read;
    size_t written;
};

bool isSurrogate(uint32_t value) {
    return value >= kFirstSurrogate && value <= kLastSurrogate;
}

template <class Unit> bool isAscii(Unit unit) {
    return static_cast<uint32_t>(unit) <= kLastAscii;
}

/** Whether the next kBlock units are ASCII, all of them. */
template <class Unit> bool isAsciiBlock(const Unit *text) {
    constexpr uint64_t kOtherBits = sizeof(Unit) == 1 ? 0x8080808080808080u : 0xFFFFFF80FFFFFF80u;
    uint64_t words[kBlock * sizeof(Unit) / sizeof(uint64_t)];
    std::memcpy(words, text, sizeof words);
    uint64_t bits = 0;
    for (const uint64_t word : words)
        bits |= word;
    return (bits & kOtherBits) == 0;
}

/** Copies ASCII, the same numbers in both encodings, up to the first other unit: blocks first, then one by one.
 * @return how many units.
 */
template <class In, class Out> size_t copyAscii(const In *source, size_t length, Out *destination) {
    size_t done = 0;
    for (; length - done >= kBlock && isAsciiBlock(source + done); done += kBlock) {
        In block[kBlock];
        std::memcpy(block, source + done, sizeof block);
        for (size_t i = 0; i < kBlock; ++i)
            destination[done + i] = static_cast<Out>(block[i]);
    }
    for (; done < length && isAscii(source[done]); ++done)
        destination[done] = static_cast<Out>(source[done]);
    return done;
}

/** Writes a character of more than seven bits; surrogates and values beyond Unicode are the caller's to refuse.
 * @return its length in bytes.
 */
size_t encodeMultibyte(uint32_t value, char *out) {
    const auto continuation = [value](int shift) { return static_cast<char>(0x80 | ((value >> shift) & 0x3F)); };
    if (value < 0x800) {
        out[0] = static_cast<char>(0xC0 | (value >> 6));
        out[1] = continuation(0);
        return 2;
    }
    if (value < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (value >> 12));
        out[1] = continuation(6);
        out[2] = continuation(0);
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (value >> 18));
    out[1] = continuation(12);
    out[2] = continuation(6);
    out[3] = continuation(0);
    return 4;
}

/** Converts up to the first doubtful character; the whole text when there is none. */
Progress encodeWellFormed(const wchar_t *source, size_t length, char *destination) {
    size_t read = 0, written = 0;
    while (read < length) {
        const uint32_t value = static_cast<uint32_t>(source[read]);
        if (isAscii(value)) {
            const size_t copied = copyAscii(source + read, length - read, destination + written);
            read += copied;
            written += copied;
        } else if (value <= kLastCharacter && !isSurrogate(value)) {
            written += encodeMultibyte(value, destination + written);
            ++read;
        } else {
            break;
        }
    }
    return {read, written};
}

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/** Reads a character of two to four bytes, looking at a byte only when all before it fit; the terminator never fits.
 * @return its length, 0 when it is not well formed.
 */
size_t decodeMultibyte(const unsigned char *in, uint32_t &value) {
    const uint32_t lead = in[0];
    if (lead < 0xC2 || lead > 0xF4 || !isContinuation(in[1]))
        return 0;
    value = in[1] & 0x3Fu;
    if (lead < 0xE0) {
        value |= (lead & 0x1F) << 6;
        return 2;
    }
    if (!isContinuation(in[2]))
        return 0;
    value = value << 6 | (in[2] & 0x3Fu);
    if (lead < 0xF0) {
        value |= (lead & 0x0F) << 12;
        return value >= 0x800 && !isSurrogate(value) ? 3 : 0;
    }
    if (!isContinuation(in[3]))
        return 0;
    value = value << 6 | (in[3] & 0x3Fu) | (lead & 0x07) << 18;
    return value >= 0x10000 && value <= kLastCharacter ? 4 : 0;
}

/** Converts up to the first doubtful character; the whole text, which must be terminated, when there is none. */
Progress decodeWellFormed(const char *source, size_t length, wchar_t *destination) {
    const auto *const bytes = reinterpret_cast<const unsigned char *>(source);
    size_t read = 0, written = 0;
    while (read < length) {
        if (isAscii(bytes[read])) {
            const size_t copied = copyAscii(bytes + read, length - read, destination + written);
            read += copied;
            written += copied;
            continue;
        }
        uint32_t value = 0;
        const size_t units = decodeMultibyte(bytes + read, value);
        if (units == 0)
            break;
        destination[written++] = static_cast<wchar_t>(value);
        read += units;
    }
    return {read, written};
}

/** Hands the rest of a text, from its first doubtful character on, to the system's converter.
 * @return units written; nothing when there is no converter.
 */
template <class In, class Out>
std::optional<size_t> convertRest(const char *to, const char *from, const In *rest, size_t length, Out *destination,
                                  size_t room) {
    const zor::Converter converter(iconv_open(to, from));
    if (!converter)
        return std::nullopt;
    char *in = reinterpret_cast<char *>(const_cast<In *>(rest));
    char *out = reinterpret_cast<char *>(destination);
    size_t inBytes = length * sizeof(In), outBytes = room * sizeof(Out);
    // Kept: where it stops at what it cannot convert, the text ends, and nothing tells; callers rely on the prefix.
    iconv(converter.get(), &in, &inBytes, &out, &outBytes);
    return room - outBytes / sizeof(Out);
}

/** Converts a text of the given length; destination holds kUtf8BytesPerCharacter times that and a terminator. */
void encode(const wchar_t *source, size_t length, char *destination) {
    const auto [read, written] = encodeWellFormed(source, length, destination);
    char *end = destination + written;
    if (read < length) {
        const auto more = convertRest("UTF8", zor::host::wideEncodingName(), source + read, length - read, end,
                                      (length - read) * kUtf8BytesPerCharacter);
        end = more ? end + *more : destination; // without a converter an invalid text yields nothing
    }
    *end = '\0';
}

/** Converts a terminated text of the given length; destination holds as many characters and a terminator. */
void decode(const char *source, size_t length, wchar_t *destination) {
    const auto [read, written] = decodeWellFormed(source, length, destination);
    wchar_t *end = destination + written;
    if (read < length) {
        const char *const wideEncoding = velmora_com::vta::isBigEndian() ? "UCS-4BE" : "UCS-4LE";
        const auto more = convertRest(wideEncoding, "UTF8", source + read, length - read, end, length - read);
        end = more ? end + *more : destination;
    }
    *end = L'\0';
}

/** Runs a conversion. Kept: source and destination may share bytes, so that callers can convert within one buffer.
 * @return 0, or the failure result when there is no memory for the copy.
 */
template <class In, class Out>
uint32_t convertBetween(void (*convert)(const In *, size_t, Out *), const In *source, size_t length, Out *destination,
                        size_t capacity) {
    const std::less<const void *> before;
    if (!before(source, destination + capacity) || !before(destination, source + length + 1)) {
        convert(source, length, destination);
        return 0;
    }
    const std::unique_ptr<In[]> copy(new (std::nothrow) In[length + 1]);
    if (!copy)
        return zor::kFailure;
    std::memcpy(copy.get(), source, (length + 1) * sizeof(In));
    convert(copy.get(), length, destination);
    return 0;
}

} // namespace

uint32_t qelcomn_unicode_to_utf8(const wchar_t *source, char *destination, const int32_t *capacity) {
    if (!source || !destination || !capacity || *capacity <= 0)
        return zor::kFailure;
    const size_t length = std::wcslen(source);
    const auto size = static_cast<size_t>(*capacity);
    if (length > (size - 1) / kUtf8BytesPerCharacter)
        return zor::kFailure;
    return convertBetween(encode, source, length, destination, length * kUtf8BytesPerCharacter + 1);
}

uint32_t qelcomn_utf8_to_unicode(const char *source, wchar_t *destination, const int32_t *capacity) {
    if (!source || !destination || !capacity || *capacity <= 0)
        return zor::kFailure;
    const size_t length = std::strlen(source);
    if (length >= static_cast<size_t>(*capacity)) // Kept: a character for each byte, however few the text has.
        return zor::kFailure;
    return convertBetween(decode, source, length, destination, length + 1);
}

namespace velmora_com {
namespace vta {

std::string qelcomn_wide_to_ansi(const std::wstring text) {
    return zor::guarded(std::string(), [&] {
        const size_t length = std::wcslen(text.c_str()); // a zero inside ends the text
        const std::unique_ptr<char[]> buffer(new char[length * kUtf8BytesPerCharacter + 1]);
        encode(text.c_str(), length, buffer.get());
        return std::string(buffer.get());
    });
}

std::wstring qelcomn_ansi_to_wide(const std::string text) {
    return zor::guarded(std::wstring(), [&] {
        const size_t length = std::strlen(text.c_str());
        const std::unique_ptr<wchar_t[]> buffer(new wchar_t[length + 1]);
        decode(text.c_str(), length, buffer.get());
        return std::wstring(buffer.get());
    });
}

} // namespace vta
} // namespace velmora_com
