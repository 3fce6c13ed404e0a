// Connects a socket within a time limit.

#include "zorcomn/network.h"

#include "source/platform/posix.h"

#include <algorithm>
#include <chrono>
#include <climits>

#include <fcntl.h>
#include <poll.h>

namespace zor {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kLongestWaitSeconds = 0x7FFFFFFF; // what a time of 32 bits can say
constexpr int kWithoutLimit = -1;

/** Waits until a socket is writable or in error, as select's write set would, but for a descriptor of any number. */
bool isWritableWithin(int socket, int milliseconds) {
    pollfd ready{socket, POLLOUT, 0};
    const int count = poll(&ready, 1, milliseconds);
    if (count == 0)
        errno = ETIMEDOUT;
    else if (count > 0 && (ready.revents & POLLNVAL))
        errno = EBADF;
    return count > 0 && !(ready.revents & POLLNVAL);
}

/** What is left until the deadline, rounded up, in the bounds of poll. */
int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

bool becomesWritable(int socket, unsigned int seconds) {
    const auto deadline = Clock::now() + std::chrono::seconds(std::min(seconds, kLongestWaitSeconds));
    for (;;) {
        const int left = millisecondsUntil(deadline);
        if (isWritableWithin(socket, left))
            return true;
        const bool isInterrupted = errno == EINTR;
        const bool isTimeLeft = errno == ETIMEDOUT && left == INT_MAX; // poll counts no further
        if (!isInterrupted && !isTimeLeft)
            return false;
    }
}

bool readPendingError(int socket, int &error) {
    socklen_t length = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0;
}

/** Waits for the end of a connection attempt that a signal interrupted, and which goes on without us. */
int finishConnecting(int socket) {
    while (!isWritableWithin(socket, kWithoutLimit))
        if (errno != EINTR)
            return -1;
    int error = 0;
    if (!readPendingError(socket, error))
        return -1;
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}

int connectWithoutLimit(int socket, const sockaddr *address, socklen_t length) {
    const int result = connect(socket, address, length);
    return result == -1 && errno == EINTR ? finishConnecting(socket) : result;
}

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

bool ANetworkUtil::makeSocketNonBlocking(int socket) {
    const zor::UncancellableScope uncancellable;
    const int flags = fcntl(socket, F_GETFL);
    return fcntl(socket, F_SETFL, flags == -1 ? O_NONBLOCK : flags | O_NONBLOCK) != -1;
}

// A cancellation point: whatever it calls, it holds nothing.
int ANetworkUtil::ConnectWithTimeout(int socket, sockaddr *address, int length, unsigned int seconds) {
    if (!address || length < 0) {
        errno = EINVAL;
        return -1;
    }
    const auto size = static_cast<socklen_t>(length);
    if (seconds == 0)
        return zor::connectWithoutLimit(socket, address, size);
    if (!makeSocketNonBlocking(socket))
        return -1;
    const int result = connect(socket, address, size);
    if (result >= 0)
        return result;
    // Kept: neither why the connection was not made at once nor the pending error is looked at. A refused connection
    // that reports writable counts as connected; callers learn of it when they send.
    int pending = 0;
    return zor::becomesWritable(socket, seconds) && zor::readPendingError(socket, pending) ? 0 : -1;
}

} // namespace vta
} // namespace velmora_com
