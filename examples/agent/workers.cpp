// Worker threads, a list of jobs and three events. Two habits of the library shape this file:
// - Events are all manual-reset. Who resets one looks at the list again before it sleeps, or a job that came in between
//   would wait for the next.
// - A library thread's end frees every thread-local index of the process, and with it the index by which threads hold
//   locks. So no worker returns before all of them are through with the list, and nobody locks anything afterwards.

#include "workers.h"

#include <stdexcept>

namespace {

HANDLE createEvent() {
    return qelCreateEvent(nullptr, 1, 0, nullptr);
}

} // namespace

Workers::Workers(uint32_t count)
    : m_jobWaits(createEvent()), m_stop(createEvent()), m_allLeave(createEvent()), m_working(0) {
    if (qeSLL2_Create(&m_jobs) != ZORCOMN_SUCCESS || !m_jobs || !m_jobWaits || !m_stop || !m_allLeave)
        throw std::runtime_error("no memory for the list of jobs");
    m_working = static_cast<int32_t>(count);
    m_threads.reserve(count);
    while (m_threads.size() < count) {
        const HANDLE thread = qelCreateThread(nullptr, 0, run, this, 0, nullptr);
        if (!thread) {
            for (size_t missing = m_threads.size(); missing < count; ++missing)
                leave(); // so that the others wait for none of them
            end();
            throw std::runtime_error("no thread");
        }
        m_threads.push_back(thread);
    }
}

Workers::~Workers() {
    end();
}

void Workers::end() {
    qelSetEvent(m_stop);
    for (const HANDLE thread : m_threads) {
        qelWaitForSingleObject(thread, ZORCOMN_INFINITE);
        qelCloseHandle(thread);
    }
    qeSLL2_Release(m_jobs);
    for (const HANDLE event : {m_jobWaits, m_stop, m_allLeave})
        qelCloseHandle(event);
}

void Workers::give(std::function<void()> job) {
    qeSLL2_XInsertTail(m_jobs, &(new Job{{}, std::move(job)})->links);
    qelSetEvent(m_jobWaits);
}

uint32_t Workers::run(void *self) {
    qeSO_ThreadAttach();
    static_cast<Workers *>(self)->doJobs();
    qeSO_ThreadDetach();
    static_cast<Workers *>(self)->leaveTogether();
    return 0;
}

void Workers::doJobs() {
    const HANDLE events[] = {m_stop, m_jobWaits};
    for (;;) {
        while (Job *job = nextJob()) {
            job->work();
            delete job;
        }
        qelResetEvent(m_jobWaits);
        if (!qeSLL2_IsEmpty(m_jobs))
            continue;
        if (qelWaitForMultipleObjects(2, events, 0, ZORCOMN_INFINITE) == ZORCOMN_WAIT_SIGNALLED &&
            qeSLL2_IsEmpty(m_jobs))
            return;
    }
}

Workers::Job *Workers::nextJob() {
    return reinterpret_cast<Job *>(qeSLL2_XRemoveHead(m_jobs));
}

void Workers::leave() {
    if (qelInterlockedDecrement(&m_working) == 0)
        qelSetEvent(m_allLeave);
}

void Workers::leaveTogether() {
    leave();
    qelWaitForSingleObject(m_allLeave, ZORCOMN_INFINITE);
}
