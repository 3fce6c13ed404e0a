// UTF-8 to wide text, against the system's converter, whose answer callers know: down to the prefix of an invalid text.

#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "tests/fuzz/readers.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include <iconv.h>

namespace zor::test::readers {

namespace {

constexpr wchar_t kUntouched = 0x7E57;

std::wstring systemsAnswer(std::string text) {
    static const iconv_t converter = iconv_open(__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? "UCS-4BE" : "UCS-4LE", "UTF8");
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    std::wstring wide(text.size(), L'\0');
    char *in = text.data(), *out = reinterpret_cast<char *>(wide.data());
    size_t inBytes = text.size(), outBytes = wide.size() * sizeof(wchar_t);
    iconv(converter, &in, &inBytes, &out, &outBytes);
    wide.resize(wide.size() - outBytes / sizeof(wchar_t));
    return wide;
}

/** What the library makes of a text in a buffer of so many characters; nothing when it refuses. */
std::optional<std::vector<wchar_t>> converted(const std::string &text, size_t size) {
    std::vector<wchar_t> buffer(size, kUntouched);
    const auto capacity = static_cast<int32_t>(size);
    if (qelcomn_utf8_to_unicode(text.c_str(), buffer.data(), &capacity) != 0)
        return std::nullopt;
    return buffer;
}

} // namespace

const char *utf8_to_wide(const std::string &bytes) {
    const std::string text = bytes.substr(0, bytes.find('\0'));
    const std::wstring expected = systemsAnswer(text);
    const auto buffer = converted(text, text.size() + 1);
    if (!buffer || std::wstring(buffer->data()) != expected.c_str())
        return "the system's converter agrees";
    if (expected.find(L'\0') != std::wstring::npos)
        return "a text without a zero gives none";
    if (!text.empty() && converted(text, text.size()))
        return "a text needs a character for each byte and one more";
    if (velmora_com::vta::qelcomn_ansi_to_wide(bytes) != expected ||
        velmora_com::vta::sysprops::sysprops_ansi_to_wide(bytes) != expected)
        return "all forms of the function agree";
    std::vector<wchar_t> shared(text.size() + 1);
    const auto capacity = static_cast<int32_t>(shared.size());
    std::memcpy(shared.data(), text.c_str(), text.size() + 1);
    if (qelcomn_utf8_to_unicode(reinterpret_cast<const char *>(shared.data()), shared.data(), &capacity) != 0 ||
        shared.data() != expected)
        return "a text is converted within its own buffer";
    return nullptr;
}

} // namespace zor::test::readers
