#pragma once

// Wide text (UTF-32 in the machine's byte order) to UTF-8 and back, as every module converts. Invalid text yields the
// prefix that the system's converter delivers; where no converter can be opened, it yields nothing.

#include <cstddef>
#include <string>

namespace zor {

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32");

constexpr size_t kUtf8BytesPerCharacter = 6; // Kept: more than needed, but callers size their buffers by it.

/** Converts a terminated text of the given length; destination holds kUtf8BytesPerCharacter times that and one more. */
void encodeUtf8(const wchar_t *source, size_t length, char *destination);

/** Converts a terminated text of the given length; destination holds as many characters and one more. */
void decodeUtf8(const char *source, size_t length, wchar_t *destination);

/** The same as texts of their own, up to the first zero; throws when there is no memory. */
std::string utf8Of(const std::wstring &text);
std::wstring wideOf(const std::string &text);

} // namespace zor
