#pragma once

// A stand-in for the call that gives a thread a working folder of its own.

namespace zor::test {

/** Whether the calling thread stands in a folder of its own now. */
bool standsInOwnFolder();

} // namespace zor::test
