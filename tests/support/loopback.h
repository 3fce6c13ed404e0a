#pragma once

namespace zor::test {

/** Where the machine's loopback interface is down, this process gets a network of its own in which it is up, and so do
 * the programs that it starts. Before any thread of the process. Where that is not permitted, nothing changes. */
void ensureLoopback();

} // namespace zor::test
