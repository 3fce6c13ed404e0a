// Signals are only noted; a byte in a pipe ends the pause between two looks, also when it comes just before that
// begins.

#include "watch.h"

#include "answers.h"
#include "json_report.h"
#include "text_report.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <time.h>
#include <unistd.h>

namespace zorprops {

namespace {

volatile std::sig_atomic_t wasInterrupted = 0;
int wakeUp[2] = {-1, -1};

void noteInterruption(int) {
    const int before = errno;
    wasInterrupted = 1;
    if (write(wakeUp[1], "", 1) < 0)
        wasInterrupted = 1; // full: it wakes all the same
    errno = before;
}

bool listenForInterruption() {
    if (pipe(wakeUp) != 0)
        return false;
    for (const int end : wakeUp) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action {};
    action.sa_handler = noteInterruption;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    return true;
}

/** Waits for the next look; false when there is none: interrupted, or the reader is gone. */
bool pause(std::chrono::milliseconds interval, const OwnOutput &output) {
    const auto end = std::chrono::steady_clock::now() + interval;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        pollfd events[] = {{wakeUp[0], POLLIN, 0}, {output.descriptor(), 0, 0}};
        const int ready = poll(events, 2, left > 0 ? static_cast<int>(left) : 0);
        if (wasInterrupted || (ready > 0 && (events[1].revents & (POLLERR | POLLHUP))))
            return false;
        if (left <= 0)
            return true;
    }
}

std::string now() {
    const time_t seconds = time(nullptr);
    tm local{};
    char text[32] = "";
    if (localtime_r(&seconds, &local))
        strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &local);
    return text;
}

std::string linesOf(const std::vector<Change> &changes, Format format) {
    const std::string time = now();
    std::string lines;
    for (const Change &change : changes)
        lines += format == Format::Text ? time + " " + asText(change) : asJsonLine(time, change);
    return lines;
}

/** The last that is known: what was not told this time stays as it was. */
void keepUntold(const Snapshot &last, Snapshot &next) {
    for (const auto &value : last.values)
        if (next.untold.count(value.first) > 0) {
            bool isReplaced = false;
            for (auto &entry : next.values)
                if (entry.first == value.first) {
                    entry = value;
                    isReplaced = true;
                }
            if (!isReplaced)
                next.values.push_back(value);
            if (last.untold.count(value.first) == 0)
                next.untold.erase(value.first);
        }
}

int notWritten(int error, const OwnOutput &output) {
    output.tell(message(std::string("cannot write the output: ") + std::strerror(error)));
    return NotAnswered;
}

} // namespace

int watch(const Request &request, OwnOutput &output, Patience patience) {
    if (!listenForInterruption())
        return NotAnswered;
    patience.isGivenUp = [] { return wasInterrupted != 0; };
    Snapshot last;
    std::string complaints;
    for (unsigned long look = 0; !wasInterrupted; ++look) {
        const Report report = collectReport(patience);
        if (wasInterrupted)
            break;
        const std::string complaint = complaintsAbout(report, patience).messages;
        if (complaint != complaints)
            output.tell(complaint);
        complaints = complaint;
        Snapshot next = snapshotOf(report);
        if (look > 0) {
            const std::string lines = linesOf(changesBetween(last, next, request.all), request.format);
            if (const int error = output.write(lines))
                return error == EPIPE ? Answered : notWritten(error, output);
            keepUntold(last, next);
        }
        last = std::move(next);
        if ((request.count > 0 && look + 1 == request.count) || !pause(request.interval, output))
            break;
    }
    return Answered;
}

} // namespace zorprops
