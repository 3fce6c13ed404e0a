#pragma once

namespace zor {

/** Frees every index that this process has allocated; what a thread's end does. Leaves the error cell alone. */
void freeTlsIndicesOfProcess();

} // namespace zor
