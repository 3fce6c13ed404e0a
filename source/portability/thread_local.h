#pragma once

#include <cstdint>

namespace zor {

/** The calling thread's value in an index; null when it has none or the index is free, which is no fault here. */
void *tlsValue(uint32_t index);

/** Frees every index that this process has allocated; what a thread's end does. Leaves the error cell alone. */
void freeTlsIndicesOfProcess();

} // namespace zor
