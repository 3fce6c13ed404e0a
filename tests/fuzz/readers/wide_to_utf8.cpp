// Wide text to UTF-8, against the system's converter.

#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include <iconv.h>

namespace zor::test::readers {

namespace {

constexpr size_t kMostBytes = 6; // that callers make room for, per character

/** A byte that says how many belong to the character, then these: the short texts of all planes and of none. */
std::wstring wideTextIn(const std::string &bytes) {
    Bytes input(bytes);
    std::wstring text;
    while (!input.atEnd()) {
        const unsigned lead = input.byte();
        if (lead < 0x80)
            text += static_cast<wchar_t>(lead);
        else if (lead < 0xC0)
            text += static_cast<wchar_t>((lead & 0x3Fu) << 8 | input.byte());
        else if (lead < 0xF0)
            text += static_cast<wchar_t>(input.number<uint16_t>() | (lead & 0x1Fu) << 16);
        else
            text += static_cast<wchar_t>(input.number<uint32_t>());
    }
    return text;
}

std::string systemsAnswer(std::wstring text) {
    static const iconv_t converter = iconv_open("UTF8", "WCHAR_T");
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    std::string narrow(text.size() * kMostBytes, '\0');
    char *in = reinterpret_cast<char *>(text.data()), *out = narrow.data();
    size_t inBytes = text.size() * sizeof(wchar_t), outBytes = narrow.size();
    iconv(converter, &in, &inBytes, &out, &outBytes);
    narrow.resize(narrow.size() - outBytes);
    return narrow;
}

} // namespace

const char *wide_to_utf8(const std::string &bytes) {
    const std::wstring whole = wideTextIn(bytes);
    const std::wstring text = whole.substr(0, whole.find(L'\0'));
    const std::string expected = systemsAnswer(text);
    std::vector<char> buffer(text.size() * kMostBytes + 1, '#');
    auto capacity = static_cast<int32_t>(buffer.size());
    if (qelcomn_unicode_to_utf8(text.c_str(), buffer.data(), &capacity) != 0 || buffer.data() != expected)
        return "the system's converter agrees";
    --capacity;
    if (qelcomn_unicode_to_utf8(text.c_str(), buffer.data(), &capacity) == 0)
        return "a text needs six bytes for each character and one more";
    if (velmora_com::vta::qelcomn_wide_to_ansi(whole) != expected ||
        velmora_com::vta::sysprops::sysprops_wide_to_ansi(whole) != expected)
        return "all forms of the function agree";
    if (std::vector<wchar_t> shared((text.size() * kMostBytes) / sizeof(wchar_t) + text.size() + 2); !text.empty()) {
        std::memcpy(shared.data(), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
        ++capacity;
        auto *const destination = reinterpret_cast<char *>(shared.data());
        if (qelcomn_unicode_to_utf8(shared.data(), destination, &capacity) != 0 || destination != expected)
            return "a text is converted within its own buffer";
    }
    if (velmora_com::vta::qelcomn_ansi_to_wide(expected) !=
        text.substr(0, velmora_com::vta::qelcomn_ansi_to_wide(expected).size()))
        return "what was converted comes back";
    return nullptr;
}

} // namespace zor::test::readers
