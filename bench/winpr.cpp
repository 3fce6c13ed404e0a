#include "bench/winpr.h"

#include <winpr/handle.h>
#include <winpr/interlocked.h>
#include <winpr/synch.h>

namespace zor::bench {

WinprEvent::WinprEvent() : m_event(CreateEventA(nullptr, 1, 0, nullptr)) {}

WinprEvent::~WinprEvent() {
    CloseHandle(m_event);
}

bool WinprEvent::set() {
    return SetEvent(m_event) != 0;
}

bool WinprEvent::reset() {
    return ResetEvent(m_event) != 0;
}

bool WinprEvent::wait() {
    return WaitForSingleObject(m_event, INFINITE) == WAIT_OBJECT_0;
}

int32_t winprIncrement(volatile int32_t *value) {
    return InterlockedIncrement(const_cast<LONG *>(value));
}

} // namespace zor::bench
