#pragma once

// What a thread that ends or is cancelled gives back on its way. Some C libraries unwind the frames of such a thread,
// so that destructors do it. Darwin's keeps a list of handlers in the thread, to which pthread_cleanup_push adds, and
// runs those and nothing else. An owner of what others wait for, held across a call that can be cancelled or can end
// its thread, has a handler as a member, for that system alone.

#include <type_traits>

#include <pthread.h>

namespace zor {

/** Where frames are unwound: nothing. */
template <class Thread, class = void> class ThreadEndHandlerOf {
public:
    ThreadEndHandlerOf(void (*)(void *), void *) {}
    ThreadEndHandlerOf(const ThreadEndHandlerOf &) = delete;
    ThreadEndHandlerOf &operator=(const ThreadEndHandlerOf &) = delete;
};

/** Where the thread has a list of handlers: on it from here on, as by pthread_cleanup_push, whose end is a brace. */
template <class Thread> class ThreadEndHandlerOf<Thread, std::void_t<decltype(Thread()->__cleanup_stack)>> {
public:
    ThreadEndHandlerOf(void (*release)(void *), void *argument)
        : m_thread(pthread_self()), m_record{release, argument, m_thread->__cleanup_stack} {
        m_thread->__cleanup_stack = &m_record;
    }
    ~ThreadEndHandlerOf() { m_thread->__cleanup_stack = m_record.__next; }
    ThreadEndHandlerOf(const ThreadEndHandlerOf &) = delete;
    ThreadEndHandlerOf &operator=(const ThreadEndHandlerOf &) = delete;

private:
    Thread m_thread;
    std::remove_pointer_t<decltype(Thread()->__cleanup_stack)> m_record;
};

/** Calls release(argument) when the thread ends or is cancelled while this lives and its frames are not unwound; not
 * when it is destroyed as usual. On the stack alone, and destroyed in the order of the stack. */
using ThreadEndHandler = ThreadEndHandlerOf<pthread_t>;

} // namespace zor
