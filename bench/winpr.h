#pragma once

// The same objects in another project's layer, apart from ours, whose names for types are the same.

#include <cstdint>

namespace zor::bench {

class WinprEvent {
public:
    WinprEvent();
    ~WinprEvent();
    WinprEvent(const WinprEvent &) = delete;
    WinprEvent &operator=(const WinprEvent &) = delete;
    bool set();
    bool reset();
    bool wait();

private:
    void *m_event;
};

int32_t winprIncrement(volatile int32_t *value);

} // namespace zor::bench
