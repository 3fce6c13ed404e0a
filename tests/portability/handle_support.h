#pragma once

// What the tests of handles share: objects of each kind, and a look at the result together with the error cell.

#include "zorcomn/portability.h"

#include "source/portability/handles.h"

#include <cstdint>

#include <gtest/gtest.h>
#include <pthread.h>

namespace zor::test {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
constexpr bool kHasThreadSanitizer = true;
#else
constexpr bool kHasThreadSanitizer = false;
#endif
constexpr int32_t kUntouched = -7;
constexpr uint32_t kInfinite = 0xFFFFFFFFu;
inline const HANDLE kAllOnes = reinterpret_cast<HANDLE>(~static_cast<uintptr_t>(0));

/** Calls and expects a result and what is in the error cell afterwards. */
template <class Result, class Call> void expectResult(Result result, int32_t cell, Call call) {
    nErrno = kUntouched;
    EXPECT_EQ(call(), result);
    EXPECT_EQ(nErrno, cell);
}

/** Closes a handle at the end of a test. */
class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle() { EXPECT_EQ(qelCloseHandle(m_handle), 1); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

inline HANDLE newEvent(int32_t initialState = 0) {
    return qelCreateEvent(nullptr, 1, initialState, nullptr);
}

inline HANDLE newMutex(int32_t initialOwner = 0) {
    return qelCreateMutex(nullptr, initialOwner, nullptr);
}

inline uint32_t returnNothing(void *) {
    return 0;
}

/** A record of any type, for what no creator makes. */
struct BareRecord : zor::HandleObject {
    explicit BareRecord(int32_t kind) : zor::HandleObject() {
        type = kind;
        referenceCount = 1;
        zor::initialiseGuard(*this);
    }
    HANDLE handle() { return static_cast<zor::HandleObject *>(this); }
};

} // namespace zor::test
