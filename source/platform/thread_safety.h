#pragma once

// Which lock guards what, said so that a compiler can check it: clang with -Wthread-safety does, in the clang build of
// ./test --all, where a finding is an error. Elsewhere these are nothing.

#if defined(__clang__)
#define ZORCOMN_CHECKED_BY_CLANG(attribute) __attribute__((attribute))
#else
#define ZORCOMN_CHECKED_BY_CLANG(attribute)
#endif

/** A type whose objects can be held. */
#define ZORCOMN_CAPABILITY(kind) ZORCOMN_CHECKED_BY_CLANG(capability(kind))
/** A type that holds something from its construction to its end. */
#define ZORCOMN_SCOPED_CAPABILITY ZORCOMN_CHECKED_BY_CLANG(scoped_lockable)
/** Data that is touched only while the lock is held. */
#define ZORCOMN_GUARDED_BY(lock) ZORCOMN_CHECKED_BY_CLANG(guarded_by(lock))
/** A function that is called only while the lock is held, or only while it is not. */
#define ZORCOMN_REQUIRES(...) ZORCOMN_CHECKED_BY_CLANG(requires_capability(__VA_ARGS__))
#define ZORCOMN_EXCLUDES(...) ZORCOMN_CHECKED_BY_CLANG(locks_excluded(__VA_ARGS__))
/** A function that takes or gives back the lock; without one, what its scope holds. */
#define ZORCOMN_ACQUIRES(...) ZORCOMN_CHECKED_BY_CLANG(acquire_capability(__VA_ARGS__))
#define ZORCOMN_RELEASES(...) ZORCOMN_CHECKED_BY_CLANG(release_capability(__VA_ARGS__))
/** A function whose locking cannot be said in these words; a comment at its place gives the reason. */
#define ZORCOMN_UNCHECKED_LOCKING ZORCOMN_CHECKED_BY_CLANG(no_thread_safety_analysis)
