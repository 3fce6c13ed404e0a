#pragma once

// A thread and its handle end in either order. Each owns one of two records, and the start block's signal slot is where
// they agree on who is through first; see threads.cpp.

#include "source/portability/handles.h"

namespace zor {

/** What a thread starts from; fields in the layer's fixed order, then the one that only the hand-over reads. */
struct ThreadStart {
    pthread_mutex_t *guard;
    pthread_cond_t *condition;
    int32_t *signalSlot;
    qelThreadStart start;
    void *argument;
    HandleObject *handle;
};

/** Ends a thread's handle, whose count has fallen to 0, whether the thread runs, ends right now or has ended. */
void closeThread(HandleObject *object);

} // namespace zor
