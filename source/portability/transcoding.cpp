// The one conversion path between wide text (UTF-32 in the machine's byte order) and UTF-8.
//
// The result is that of the system's converter, iconv, down to the prefix that it delivers of invalid text. What every
// converter agrees on, the Unicode characters in their one well-formed spelling, is transcoded here by hand: both
// encodings are stateless, so a text can change hands between any two characters. From the first doubtful character
// on (a surrogate, a value above 0x10FFFF, an overlong, truncated or stray byte) iconv goes on and has the last word.
// So a converter is opened for invalid text only.

#include "source/portability/transcoding.h"

#include "source/platform/fork.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <optional>
#include <type_traits>

namespace zor {

namespace {

constexpr bool kIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
constexpr unsigned char kLastAscii = 0x7F;
constexpr uint32_t kFirstSurrogate = 0xD800;
constexpr uint32_t kLastSurrogate = 0xDFFF;
constexpr uint32_t kLastCharacter = 0x10FFFF;

// Characters of ASCII that are copied at a time. Large blocks are for texts that are nothing else: between other
// characters most would be looked at in vain.
constexpr ptrdiff_t kBlock = 16, kLargeBlock = 32;

/** Where a conversion has come to in either text. */
template <class In, class Out> struct Place {
    const In *in;
    Out *out;
};

bool isSurrogate(uint32_t value) {
    return value >= kFirstSurrogate && value <= kLastSurrogate;
}

/** Whether a unit of a text is an ASCII character; the terminator is none. */
bool isAscii(unsigned char unit) {
    return unit != 0 && unit <= kLastAscii;
}
bool isAscii(wchar_t unit) {
    return unit > 0 && unit <= wchar_t{kLastAscii};
}

/** Copies a block of ASCII, the same numbers in both encodings; false, and nothing, when something else is in it. */
template <ptrdiff_t block, class In, class Out> bool copyAsciiBlock(const In *__restrict in, Out *__restrict out) {
    std::make_unsigned_t<In> bits = 0;
    for (ptrdiff_t i = 0; i < block; ++i)
        bits |= static_cast<std::make_unsigned_t<In>>(in[i]);
    if (bits > kLastAscii)
        return false;
    for (ptrdiff_t i = 0; i < block; ++i)
        out[i] = static_cast<Out>(in[i]);
    return true;
}

// The next three are inlined without fail: their callers keep both places in registers.

/** Copies ASCII as long as it comes in whole blocks. */
template <ptrdiff_t block, class In, class Out>
[[gnu::always_inline]] inline void copyAsciiBlocks(const In *&in, const In *end, Out *&out) {
    for (; end - in >= block && copyAsciiBlock<block>(in, out); in += block)
        out += block;
}

/** Copies up to four ASCII characters; false when another unit or the terminator comes before the fourth. */
template <class In, class Out> [[gnu::always_inline]] inline bool copyFourAscii(const In *&in, Out *&out) {
    if (!isAscii(in[0]))
        return false;
    out[0] = static_cast<Out>(in[0]);
    if (!isAscii(in[1])) {
        in += 1;
        out += 1;
        return false;
    }
    out[1] = static_cast<Out>(in[1]);
    if (!isAscii(in[2])) {
        in += 2;
        out += 2;
        return false;
    }
    out[2] = static_cast<Out>(in[2]);
    if (!isAscii(in[3])) {
        in += 3;
        out += 3;
        return false;
    }
    out[3] = static_cast<Out>(in[3]);
    in += 4;
    out += 4;
    return true;
}

/** Copies ASCII up to the first other unit or the terminator. Short runs, as between other characters, do without
 * blocks; four steps written out cost them half of what a loop does. */
template <class In, class Out> [[gnu::always_inline]] inline void copyAscii(const In *&in, const In *end, Out *&out) {
    if (!copyFourAscii(in, out))
        return;
    copyAsciiBlocks<kBlock>(in, end, out);
    while (copyFourAscii(in, out)) {
    }
}

/** The continuation byte for the lowest six bits. */
char continuation(uint32_t bits) {
    return static_cast<char>(0x80 | (bits & 0x3F));
}

/** Converts up to the first doubtful character; the whole text when there is none. */
Place<wchar_t, char> encodeWellFormed(const wchar_t *source, size_t length, char *destination) {
    const wchar_t *in = source, *const end = source + length;
    char *out = destination;
    copyAsciiBlocks<kLargeBlock>(in, end, out);
    copyAsciiBlocks<kBlock>(in, end, out);
    for (;; ++in) {
        copyAscii(in, end, out);
        const uint32_t value = static_cast<uint32_t>(*in); // NOLINT(bugprone-signed-char-misuse): no char
        if (value == 0)
            break;
        if (value < 0x800) {
            out[0] = static_cast<char>(0xC0 | value >> 6);
            out[1] = continuation(value);
            out += 2;
        } else if (value < 0x10000) {
            if (isSurrogate(value))
                break;
            out[0] = static_cast<char>(0xE0 | value >> 12);
            out[1] = continuation(value >> 6);
            out[2] = continuation(value);
            out += 3;
        } else {
            if (value > kLastCharacter)
                break;
            out[0] = static_cast<char>(0xF0 | value >> 18);
            out[1] = continuation(value >> 12);
            out[2] = continuation(value >> 6);
            out[3] = continuation(value);
            out += 4;
        }
    }
    return {in, out};
}

/** The six bits of a continuation byte; of another byte a number above them. */
uint32_t continuationBits(unsigned char byte) {
    return byte ^ 0x80u;
}
constexpr uint32_t kMaxContinuationBits = 0x3F;

/** Converts up to the first doubtful character; the whole text when there is none. A byte is looked at only when all
 * before it fit, and the terminator never fits. */
Place<unsigned char, wchar_t> decodeWellFormed(const unsigned char *source, size_t length, wchar_t *destination) {
    const unsigned char *in = source, *const end = source + length;
    wchar_t *out = destination;
    copyAsciiBlocks<kLargeBlock>(in, end, out);
    copyAsciiBlocks<kBlock>(in, end, out);
    for (;;) {
        copyAscii(in, end, out);
        unsigned char lead;
        while ((lead = *in) > kLastAscii) {
            const uint32_t second = continuationBits(in[1]);
            if (second > kMaxContinuationBits)
                break;
            if (lead < 0xE0) {
                if (lead < 0xC2)
                    break;
                *out++ = static_cast<wchar_t>((lead & 0x1Fu) << 6 | second);
                in += 2;
                continue;
            }
            const uint32_t third = continuationBits(in[2]);
            if (third > kMaxContinuationBits)
                break;
            if (lead < 0xF0) {
                const uint32_t value = (lead & 0x0Fu) << 12 | second << 6 | third;
                if (value < 0x800 || isSurrogate(value))
                    break;
                *out++ = static_cast<wchar_t>(value);
                in += 3;
                continue;
            }
            const uint32_t fourth = continuationBits(in[3]);
            if (fourth > kMaxContinuationBits)
                break;
            const uint32_t value = (lead - 0xF0u) << 18 | second << 12 | third << 6 | fourth;
            if (value < 0x10000 || value > kLastCharacter)
                break;
            *out++ = static_cast<wchar_t>(value);
            in += 4;
        }
        if (!isAscii(lead))
            return {in, out};
    }
}

/** Hands the rest of a text, from its first doubtful character on, to the system's converter. Not inlined: the usual
 * way of its callers would pay for its frame.
 * @return units written; nothing when there is no converter.
 */
template <class In, class Out>
[[gnu::noinline]] std::optional<size_t> convertRest(const char *to, const char *from, const In *rest, size_t length,
                                                    Out *destination, size_t room) {
    const UncancellableScope uncancellable; // a converter may be a file that is read
    const ForkDelay delay;                  // and the system keeps its list under a lock
    const Converter converter(iconv_open(to, from));
    if (!converter)
        return std::nullopt;
    char *in = reinterpret_cast<char *>(const_cast<In *>(rest));
    char *out = reinterpret_cast<char *>(destination);
    size_t inBytes = length * sizeof(In), outBytes = room * sizeof(Out);
    // Kept: where it stops at what it cannot convert, the text ends, and nothing tells; callers rely on the prefix.
    convert(iconv, converter, &in, &inBytes, &out, &outBytes);
    return room - outBytes / sizeof(Out);
}

} // namespace

void encodeUtf8(const wchar_t *source, size_t length, char *destination) {
    auto [in, out] = encodeWellFormed(source, length, destination);
    if (const size_t left = static_cast<size_t>(source + length - in); left > 0) {
        const auto written =
            convertRest("UTF8", host::wideEncodingName(), in, left, out, left * kUtf8BytesPerCharacter);
        out = written ? out + *written : destination; // without a converter an invalid text yields nothing
    }
    *out = '\0';
}

void decodeUtf8(const char *source, size_t length, wchar_t *destination) {
    const auto *const bytes = reinterpret_cast<const unsigned char *>(source);
    auto [in, out] = decodeWellFormed(bytes, length, destination);
    if (const size_t left = static_cast<size_t>(bytes + length - in); left > 0) {
        const char *const wideEncoding = kIsBigEndian ? "UCS-4BE" : "UCS-4LE";
        const auto written = convertRest(wideEncoding, "UTF8", in, left, out, left);
        out = written ? out + *written : destination;
    }
    *out = L'\0';
}

std::string utf8Of(const std::wstring &text) {
    const size_t length = std::wcslen(text.c_str()); // a zero inside ends the text
    const std::unique_ptr<char[]> buffer(new char[length * kUtf8BytesPerCharacter + 1]);
    encodeUtf8(text.c_str(), length, buffer.get());
    return buffer.get();
}

std::wstring wideOf(const std::string &text) {
    const size_t length = std::strlen(text.c_str());
    const std::unique_ptr<wchar_t[]> buffer(new wchar_t[length + 1]);
    decodeUtf8(text.c_str(), length, buffer.get());
    return buffer.get();
}

} // namespace zor
