#pragma once

// Whether this is built with a sanitizer that needs memory, descriptors and system calls of its own.

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZORCOMN_IS_SANITIZED
#endif
#endif

namespace zor::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(ZORCOMN_IS_SANITIZED)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

} // namespace zor::test
