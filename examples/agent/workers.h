#pragma once

#include <zorcomn/lists_locks.h>

#include <functional>
#include <vector>

/** Threads of the library that take jobs from a synchronized list. One thread may give jobs at a time. */
class Workers {
public:
    /** Starts count threads; qeSO_ProcessAttach must have been called. */
    explicit Workers(uint32_t count);
    /** Does the jobs that are waiting, then ends the threads. */
    ~Workers();
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    /** Queues a job. The calling thread must be attached (qeSO_ThreadAttach), since the list is locked for it. */
    void give(std::function<void()> job);

private:
    struct Job {
        qeLL2Node links; // first: a node's address is its links' address
        std::function<void()> work;
    };

    static uint32_t run(void *self);
    void doJobs();
    Job *nextJob();
    void leave();
    void leaveTogether();
    void end();

    qeSLL2 *m_jobs = nullptr;
    HANDLE m_jobWaits;
    HANDLE m_stop;
    HANDLE m_allLeave;
    int32_t m_working;
    std::vector<HANDLE> m_threads;
};
