/** @file
 * Handles and waits, threads and thread-local storage, files, directory search, dynamic libraries, numeric
 * text, GUIDs and clocks: what code written against the Windows API calls. C99 and C++.
 *
 * @include subsystems/portability.c
 */
#pragma once
#include "api.h"

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>
#include <wchar.h>
struct dirent;

/* A directory entry's layout follows the caller's size of a file offset, and the library's has 64 bits. */
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L)
#ifndef __cplusplus
_Static_assert(
#else
static_assert(
#endif
    sizeof(off_t) == 8, "zorcomn: on 32 bits define _FILE_OFFSET_BITS=64 before every include");
#else
typedef char zorcomn_on_32_bits_define__FILE_OFFSET_BITS_as_64_before_every_include[sizeof(off_t) == 8 ? 1 : -1];
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* For all functions of this header:
 *
 * Cancellation. What does not say that it is a cancellation point is none: a request that is pending, or comes
 * meanwhile, waits until the call has returned. That holds for a load and a free too, with the module's constructors
 * and its DllMain. What says so leaves nothing behind when it is cancelled.
 *
 * Forks. A child may use everything here, whatever other threads were doing at the fork, and also when a DllMain has
 * forked: the child goes on in it. The exported mutexes are free in a child, except MutexDynamicLibraryList in one that
 * a DllMain or a constructor forked, which holds it until the load or free returns. What other threads held stays held:
 * a handle that one of them was setting, resetting, releasing, waiting for or closing, a mutex that it owned, its open
 * searches, its thread-local indices (a thread's end in the child frees those alone that the child has allocated). The
 * handles of the other threads are never signalled there. A fork waits, for half a second at most, until no other
 * thread of the layer is inside dlopen(), dlclose(), rand() or localtime_r(), whose own locks come to no child, and for
 * nothing else. Excluded is therefore what the program's own threads, or constructors that take longer, were doing in
 * them at the fork: loading and freeing libraries after dlopen() or dlclose(), qelCoCreateGuid after rand(),
 * qelGetSystemTime after localtime() and its like. A child draws the same random numbers as its parent: it should call
 * srand() before it makes GUIDs.
 *
 * Unloading. The library stays mapped once it is loaded, so a plug-in host may wait for a thread, close its handle and
 * dlclose() the library at once; what it has allocated and not released stays too. */

/* handles, events, mutexes and waits */

/** An object of the layer: an event, a mutex, a thread or a file. 0 stands for no object, all-ones for the invalid
 * handle value. A handle is the address of its record, in this process alone; there is no table of handles, so using a
 * closed one is undefined. Each is released once, with qelCloseHandle. */
typedef void *HANDLE;
/** The handle that stands for none, all bits set: what qelBeginThread answers when it fails. */
#ifdef __cplusplus
#define ZORCOMN_INVALID_HANDLE (reinterpret_cast<HANDLE>(UINTPTR_MAX))
#else
#define ZORCOMN_INVALID_HANDLE ((HANDLE)UINTPTR_MAX)
#endif
/** A time-out without limit. */
#define ZORCOMN_INFINITE ZORCOMN_ALL_ONES
/** Results of the waits, the layer's own numbers; of several handles, ZORCOMN_WAIT_SIGNALLED + the index of the one
 * that was signalled. The index 1 has the number of a time-out: see qelWaitForMultipleObjects. */
///@{
#define ZORCOMN_WAIT_FAILED 0u    /**< a refused argument or a failing call */
#define ZORCOMN_WAIT_SIGNALLED 2u /**< what was waited for is there */
#define ZORCOMN_WAIT_TIMED_OUT 3u /**< it is not, and the time has run out */
///@}
/** What the error cell nErrno holds, the same numbers on every system. */
///@{
#define ZORCOMN_CELL_NO_MEMORY 12 /**< memory ran out */
#define ZORCOMN_CELL_BUSY 16      /**< a system object could not be had */
#define ZORCOMN_CELL_REFUSED 22   /**< a bad argument or handle */
#define ZORCOMN_CELL_FULL 35      /**< a table of the process is full */
///@}

/** Creates an event: a flag that threads wait for, set until it is reset. Only manual-reset events without a name
 * exist.
 * @param securityAttributes  ignored; null is fine.
 * @param manualReset         1; anything else is refused.
 * @param initialState        1 creates the event set, anything else not set.
 * @param name                null or empty; anything else is refused.
 * @return the event; 0 when refused or when memory or a system object is short.
 * Error cell: nErrno = 22 when refused, 12 without memory, 16 when it could not be set at once, else untouched.
 * Threads: safe.  Owns: release the handle with qelCloseHandle.
 */
ZORCOMN_API HANDLE qelCreateEvent(void *securityAttributes, int32_t manualReset, int32_t initialState,
                                  const char *name);
/** Sets an event and wakes all who wait for it. The kind of the handle is not tested: whatever it is becomes signalled.
 * An owned mutex stays owned all the same.
 * @param event  0 and all-ones are refused.
 * @return 1; 0 when refused or when a pthread call failed (the flag may be set then).
 * Error cell: nErrno = 22 when refused, else untouched.
 * Threads: safe. The call is through with the event before a wait that it satisfies returns.  Owns: nothing.
 */
ZORCOMN_API int32_t qelSetEvent(HANDLE event);
/** Resets an event, or the flag of any other kind of handle.
 * @param event  0 and all-ones are refused.
 * @return 1; 0 when refused or when a pthread call failed.
 * Error cell: nErrno = 22 when refused, else untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelResetEvent(HANDLE event);
/** Creates a mutex. A wait makes the waiter its owner, qelReleaseMutex frees it. It does not count: an owner that waits
 * for it again waits for itself.
 * @param securityAttributes  ignored; null is fine.
 * @param initialOwner        1 makes the calling thread the owner, anything else creates the mutex free.
 * @param name                ignored; every mutex is a new one.
 * @return the mutex; 0 when memory or a system object is short.
 * Error cell: nErrno = 12 without memory, else untouched.
 * Threads: safe.  Owns: release the handle with qelCloseHandle, once nobody owns the mutex or waits for it.
 */
ZORCOMN_API HANDLE qelCreateMutex(void *securityAttributes, int32_t initialOwner, const char *name);
/** Opens a mutex by its name. There are no named mutexes.
 * @param desiredAccess, inheritHandle, name  ignored.
 * @return 0, always.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API HANDLE qelOpenMutex(uint32_t desiredAccess, int32_t inheritHandle, const char *name);
/** Frees a mutex and wakes all who wait for it; one of them becomes the owner. Who releases is not checked beyond what
 * the system's own mutex checks, so release only what this thread owns.
 * @param mutex  0, all-ones and other kinds of handles are refused.
 * @return 1; 0 when refused or when a pthread call failed.
 * Error cell: nErrno = 22 for a refused handle other than 0, which leaves it alone; else untouched.
 * Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelReleaseMutex(HANDLE mutex);
/** Waits for an event to be set, a thread to end, or a mutex, which it then owns. Blocks; a cancellation point, and a
 * thread cancelled here leaves nothing locked. On events and threads it sleeps once: whatever wakes it, which the
 * system may do without a reason, counts as signalled. The time-out is measured on the clock of the day, so setting
 * that clock moves it.
 * When to close the handle afterwards: a thread's at any time. An event's when whoever sets it is known to be through,
 * because its thread has ended or by a word of the caller's own: the 2 alone is no proof, since a wait may be woken
 * without a reason, and the event be set later. A mutex's once nobody owns it or waits for it.
 * @param handle        0, all-ones, files and unknown kinds are refused.
 * @param milliseconds  longest wait; 0 looks once, 0xFFFFFFFF waits without limit.
 * @return 2 signalled, 3 time ran out, 0 failed: the layer's own numbers. It also fails, about once in a million waits
 *         that must sleep and whose time-out is no whole number of seconds, when the deadline's nanoseconds add up to
 *         exactly one second; waiting again is all that it takes.
 * Error cell: nErrno = 22 when refused, else untouched.
 * Threads: any number may wait for one handle; none may close it meanwhile.  Owns: release an owned mutex with
 * qelReleaseMutex. Should the clock itself fail, the handle's guard stays locked and the handle is of no more use.
 */
ZORCOMN_API uint32_t qelWaitForSingleObject(HANDLE handle, uint32_t milliseconds);
/** Waits for one of several handles by polling them in turn, 10 ms each, as qelWaitForSingleObject does. Blocks; a
 * cancellation point.
 * @param count         how many handles there are; 0 is refused.
 * @param handles       the handles; null is refused, and so is each handle that a single wait refuses, on its turn.
 * @param waitAll       0; waiting for all of them is refused.
 * @param milliseconds  longest wait. Each handle polled counts as 10 ms, however long it took; 0 looks at no handle and
 *                      returns 3. 0xFFFFFFFF has no end of its own, but each poll may fail as a single wait may: with
 *                      nothing signalled, expect a 0 after some hours, and wait again.
 * @return 2 + the index of the handle that was signalled (a mutex is owned then), 3 time ran out, 0 failed. So index 1
 *         gives 3 as well. To tell them apart, put an event that nobody sets at index 1; looking at handle 1 once more
 *         tells too, but not for a mutex, which would wait for itself.
 * Error cell: nErrno = 22 when refused, else untouched.
 * Threads: as qelWaitForSingleObject.  Owns: release an owned mutex with qelReleaseMutex.
 */
ZORCOMN_API uint32_t qelWaitForMultipleObjects(uint32_t count, const HANDLE *handles, int32_t waitAll,
                                               uint32_t milliseconds);
/** Closes a handle of any kind and frees what belongs to it. A thread goes on running; a file that was opened to be
 * deleted is removed by the path it was opened with, whatever file or link bears it now, but never a folder.
 * @param handle  0 and all-ones: closing nothing succeeds.
 * @return 1; 0 when a pthread call failed, or, for a file, when closing or removing it failed. The file's record is
 *         kept then, but nothing can be done with it any more: a second call returns 1 and does nothing. A path of 260
 *         bytes or more is removed only if its first 260 name the file itself.
 * Error cell: untouched; errno as the failing close() or unlink() left it, ENAMETOOLONG for a path too long to be
 * removed, EISDIR for a folder in the file's place.
 * Threads: nobody may use the handle any more. Closing a thread's handle while that thread ends is safe.
 * Owns: nothing.
 */
ZORCOMN_API int32_t qelCloseHandle(HANDLE handle);
/** Translates the calling thread's errno by the layer's own table, which is not the one of Windows: 0 gives 0; 2, 5, 6,
 * 77 give 38; 3, 4, 9, 19 give 126; 7, 12, 23, 24, 27, 28, 31 give 259; 11, 16, 26, 35 give 997; 13 gives 5; 22 and 25
 * give 1010; 30 gives 19; everything else gives 0x80000008. Does not look at nErrno.
 * @return the number.
 * Error cell: untouched, errno too.  Threads: safe; errno is the thread's own.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetLastError(void);
/** Adds 1, wrapping, under MutexInterlockedLong.
 * @param value  null is refused.
 * @return the value as it is after the mutex was unlocked, so that two callers may both get the later one; 0 when
 *         refused.
 * Error cell: nErrno = 22 when refused, else untouched.
 * Threads: safe against increments and decrements of the same value, not against exchanges.  Owns: nothing. The value
 * must outlive every call: it is read after the unlock.
 */
ZORCOMN_API int32_t qelInterlockedIncrement(volatile int32_t *value);
/** Subtracts 1, wrapping; all else as qelInterlockedIncrement. Not for reference counts: two callers may both get 0,
 * and the later read may meet what the other one has freed. Count under a lock, or with atomic variables.
 * @param value  null is refused.
 * @return the value as it is after the mutex was unlocked; 0 when refused.
 * Error cell: nErrno = 22 when refused, else untouched.  Threads: as qelInterlockedIncrement.  Owns: nothing.
 */
ZORCOMN_API int32_t qelInterlockedDecrement(volatile int32_t *value);
/** Stores a new value under MutexInterlockedExchange.
 * @param value     null is refused.
 * @param newValue  what to store.
 * @return the value before; 0 when refused.
 * Error cell: nErrno = 22 when refused, else untouched.
 * Threads: safe against other exchanges of the same value, not against increments and decrements.  Owns: nothing.
 */
ZORCOMN_API int32_t qelInterlockedExchange(volatile int32_t *value, int32_t newValue);
/** The error cell: the number of the last fault that a function of the layer found itself, a bad argument for one. It
 * is one for the whole process, written without a lock: read it only where one thread uses the layer. Never cleared. */
ZORCOMN_API extern int32_t nErrno;
/** Held while a value is incremented or decremented. Like each exported mutex it is free in a forked child, also when
 * the caller that forked had locked it himself. */
ZORCOMN_API extern pthread_mutex_t MutexInterlockedLong;
/** Held while a value is exchanged. */
ZORCOMN_API extern pthread_mutex_t MutexInterlockedExchange;
/** What a running thread signals once its handle is closed; 1. */
ZORCOMN_API extern int32_t bDummyThreadSignalled;

/* threads and thread-local storage */

/** What a thread runs; its result becomes the thread's exit value, which nobody can fetch. */
typedef uint32_t (*qelThreadStart)(void *argument);
/** Starts a detached thread. Its handle is signalled once it has ended: by returning, by pthread_exit or by
 * cancellation.
 * @param securityAttributes, stackSize, creationFlags  ignored: the thread runs at once, on a stack of the usual size.
 * @param start     what it runs; null is refused.
 * @param argument  handed to start.
 * @param threadId  receives 0 (the result of the thread's creation, not an identifier); null is fine. Untouched on
 * failure.
 * @return the thread's handle; all-ones when refused or when memory or a thread is short.
 * Error cell: nErrno = 22 when refused, 12 without memory, else untouched.
 * Threads: safe.  Owns: release the handle with qelCloseHandle, at any time; that does not end the thread.
 */
ZORCOMN_API HANDLE qelBeginThread(void *securityAttributes, uint32_t stackSize, qelThreadStart start, void *argument,
                                  uint32_t creationFlags, uint32_t *threadId);
/** Starts a thread as qelBeginThread does, and fails with 0.
 * @param securityAttributes, stackSize, start, argument, creationFlags, threadId  as there.
 * @return the thread's handle; 0 where qelBeginThread gives all-ones.
 * Error cell, Threads, Owns: as qelBeginThread.
 */
ZORCOMN_API HANDLE qelCreateThread(void *securityAttributes, uint32_t stackSize, qelThreadStart start, void *argument,
                                   uint32_t creationFlags, uint32_t *threadId);
/** What every thread of the layer runs: its start routine, then qelCleanupThread, also when the thread exits or is
 * cancelled. Not for callers.
 * @param startBlock  from qelBeginThread; null does nothing.
 * @return the start routine's result, widened.
 * Error cell: untouched.  Threads: the new thread only.  Owns: frees the start block.
 */
ZORCOMN_API void *qelThreadJuggle(void *startBlock);
/** The end of a thread: frees all thread-local indices of the process, signals the handle unless it is closed, and
 * frees the start block. Not for callers.
 * @param startBlock  from qelBeginThread; null does nothing.
 * Error cell: untouched.  Threads: the ending thread only.  Owns: frees the start block.
 */
ZORCOMN_API void qelCleanupThread(void *startBlock);
/** Leaves a thread's scheduling as it is.
 * @param thread  ignored.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void set_pthread_sched_param(HANDLE thread);
/** Allocates the lowest free of 512 indices, in which every thread has a value of its own, null at first. The end of
 * any thread of the layer (qelBeginThread, qelCreateThread) frees all indices that the process has allocated: use them
 * where no such thread ends, or for as long as none does. An index that is being allocated while one ends may be free
 * again when it is returned; storing into it is refused then.
 * @return the index, 0 to 511; 0xFFFFFFFF when all are allocated or when memory or a key of the system is short.
 * Error cell: nErrno = 35 when all are allocated, 12 without memory, else untouched.
 * Threads: the tables have no lock. Calls at once touch no freed memory and get different indices.  Owns: release the
 * index with qelTlsFree; what the values point at stays the caller's and is not released by a thread's end.
 */
ZORCOMN_API uint32_t qelTlsAlloc(void);
/** Frees an index and forgets its values in all threads.
 * @param index  from qelTlsAlloc; one that is out of 0..511 or free is refused.
 * @return 1; 0 when refused or when the system would not delete its key (the index is free all the same).
 * Error cell: nErrno = 22 when refused, else untouched.  Threads: as qelTlsAlloc.  Owns: nothing.
 */
ZORCOMN_API int32_t qelTlsFree(uint32_t index);
/** Stores the calling thread's value in an index.
 * @param index  from qelTlsAlloc; one that is out of 0..511 or free is refused.
 * @param value  any.
 * @return 1; 0 when refused or when the system has no memory for it.
 * Error cell: nErrno = 22 when refused, else untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelTlsSetValue(uint32_t index, void *value);
/** Fetches the calling thread's value in an index.
 * @param index  from qelTlsAlloc; one that is out of 0..511 or free is refused.
 * @return the value, null when this thread has stored none; null when refused.
 * Error cell: nErrno = 22 when refused, else untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void *qelTlsGetValue(uint32_t index);
/** Marks a loaded library as one that need not hear of threads, which none ever does. May be called from a DllMain; a
 * library that is being attached is not in the table yet.
 * @param module  from qelLoadLibrary.
 * @return 1 when the module is in the table (its first entry is marked), else 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelDisableThreadLibraryCalls(void *module);
/** Who allocated an index: a process identifier, 0 when the index is free. */
ZORCOMN_API extern pid_t nTlsOwnerTable[512];
/** The POSIX key of each index, null when it is free. Both tables are cleared by the first qelTlsAlloc. */
ZORCOMN_API extern pthread_key_t *pTlsKeyTable[512];

/* Files: handles over POSIX descriptors, closed with qelCloseHandle. They cannot be waited on. What an operation does
 * to a handle that is 0, all-ones or of another kind is refuse it: nErrno = 22, result 0 (all-ones where the result is
 * a size or a position). One file serves one thread at a time; different files are independent. Of the functions on
 * files and searches those that read, write or copy are cancellation points; the others hold cancellation off and run
 * to their end, also when they have to wait. What a signal interrupts goes on. On 32 bits a file of any date is a file.
 */

/** How qelCreateFileAW and qeCreateFile open a file: access, which may be joined with |, then disposition, then flags.
 */
///@{
#define ZORCOMN_READ 0x80000000u            /**< access: reading */
#define ZORCOMN_WRITE 0x40000000u           /**< access: writing */
#define ZORCOMN_CREATE_NEW 1u               /**< create, fail if it exists */
#define ZORCOMN_CREATE_ALWAYS 2u            /**< create or empty */
#define ZORCOMN_OPEN_EXISTING 3u            /**< open, fail if it does not exist */
#define ZORCOMN_OPEN_ALWAYS 4u              /**< open or create */
#define ZORCOMN_NORMAL 128u                 /**< flags: none */
#define ZORCOMN_DELETE_ON_CLOSE 0x04000000u /**< flags: delete the file when the handle is closed */
///@}
/** Where qelSetFilePointer counts from. */
///@{
#define ZORCOMN_FROM_START 0u   /**< the file's start */
#define ZORCOMN_FROM_CURRENT 1u /**< the current position */
#define ZORCOMN_FROM_END 2u     /**< the file's end */
///@}

/** Opens or creates a file. New files get the permission bits 0660 within the process's mask. The descriptor is closed
 * in programs that the process starts; on a system that cannot open a file so in one call, a program that other code of
 * the process starts at that moment may get it. Opening a pipe waits for its other end.
 * @param path                 narrow text; null is refused. The handle keeps its first 260 bytes. A file to be deleted
 *                             on closing wants a path of no more: closing removes nothing and fails when those 260
 *                             name something else.
 * @param desiredAccess        0x80000000 read, 0x40000000 write, 0xC0000000 both; nothing else.
 * @param shareMode, securityAttributes, templateFile  ignored.
 * @param creationDisposition  1 create, fail if it exists; 2 create or empty; 3 open, fail if it does not exist; 4 open
 *                             or create. Nothing else: 5 (empty an existing file) is refused.
 * @param flagsAndAttributes   0, 128 (normal) or 0x04000000 (delete the file when the handle is closed); nothing else.
 * @return a file handle; 0 on failure - not the all-ones handle. A file that was created or emptied before memory ran
 *         short stays so.
 * Error cell: nErrno = 22 when refused, 12 when memory is short, else untouched; errno as open() left it.
 * Threads: safe.  Owns: release the handle with qelCloseHandle.
 */
ZORCOMN_API HANDLE qelCreateFileAW(const char *path, uint32_t desiredAccess, uint32_t shareMode,
                                   void *securityAttributes, uint32_t creationDisposition, uint32_t flagsAndAttributes,
                                   HANDLE templateFile);
/** Reads from the current position, in one read() that may deliver less than asked for. May block; a cancellation
 * point.
 * @param file         from qelCreateFileAW.
 * @param buffer       receives at most bytesToRead bytes, not terminated.
 * @param bytesToRead  capacity of buffer in bytes.
 * @param bytesRead    receives the count, 0 at the end of the file; null is refused. Untouched on failure.
 * @param overlapped   ignored.
 * @return 1, also at the end of the file; 0 on failure.
 * Error cell: nErrno = 22 for a bad handle or a null bytesRead, else untouched; errno as read() left it.
 * Threads: one at a time on a file.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelReadFile(HANDLE file, void *buffer, uint32_t bytesToRead, uint32_t *bytesRead, void *overlapped);
/** Writes at the current position, in one write() that may take less than given. May block; a cancellation point.
 * @param file          from qelCreateFileAW.
 * @param buffer        at least bytesToWrite bytes.
 * @param bytesToWrite  in bytes.
 * @param bytesWritten  receives the count; null is refused. Untouched on failure.
 * @param overlapped    ignored.
 * @return 1; 0 on failure.
 * Error cell: nErrno = 22 for a bad handle or a null bytesWritten, else untouched; errno as write() left it.
 * Threads: one at a time on a file.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelWriteFile(HANDLE file, const void *buffer, uint32_t bytesToWrite, uint32_t *bytesWritten,
                                 void *overlapped);
/** Moves the current position.
 * @param file          from qelCreateFileAW.
 * @param distance      signed, in bytes.
 * @param distanceHigh  ignored: neither read nor written.
 * @param moveMethod    0 from the start, 1 from the current position, 2 from the end; handed to lseek() as it is.
 * @return the new position, its low 32 bits; all-ones on failure. A position whose low 32 bits are all ones cannot be
 *         told from a failure.
 * Error cell: nErrno = 22 for a bad handle, else untouched; errno as lseek() left it.
 * Threads: one at a time on a file.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelSetFilePointer(HANDLE file, int32_t distance, int32_t *distanceHigh, uint32_t moveMethod);
/** Makes the current position the end of the file: cuts it off, or extends it with zero bytes.
 * @param file  from qelCreateFileAW, opened for writing.
 * @return 1; 0 on failure.
 * Error cell: nErrno = 22 for a bad handle, else untouched; errno as lseek() or ftruncate() left it.
 * Threads: one at a time on a file.  Owns: nothing.
 */
ZORCOMN_API int32_t qelSetEndOfFile(HANDLE file);
/** Tells the size of an open file.
 * @param file      from qelCreateFileAW.
 * @param sizeHigh  null, or receives the result divided by 65535, rounded down - not the upper half of the size,
 * whatever the name says. Untouched on failure.
 * @return the size in bytes, its low 32 bits; all-ones on failure.
 * Error cell: nErrno = 22 for a bad handle, else untouched; errno as fstat() left it.
 * Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetFileSize(HANDLE file, uint32_t *sizeHigh);
/** Creates an empty file, readable and writable by its owner alone, under a name that did not exist:
 * directory + "/" + prefix + six characters of mkstemp()'s choice.
 * @param directory  an existing folder; null is refused.
 * @param prefix     null counts as empty.
 * @param unique     only returned; the name does not depend on it.
 * @param name       receives the whole path and its terminator; its size is not passed, so it must hold
 *                   strlen(directory) + 1 + strlen(prefix) + 6 + 1 bytes. Null is refused. Untouched on failure.
 * @return unique, or 1 when unique is 0; 0 on failure.
 * Error cell: nErrno = 22 for a null argument, else untouched; errno as mkstemp() left it.
 * Threads: safe.  Owns: the file stays until the caller removes it.
 */
ZORCOMN_API uint32_t qelGetTempFileName(const char *directory, const char *prefix, uint32_t unique, char *name);
/** Copies a file: qelcomn_copy_file (utilities.h) with its overwrite flag turned round.
 * @param source, destination  as there.
 * @param failIfExists  0 replaces an existing destination, any other number does not.
 * @return 1; 0 on failure.
 * Error cell: untouched; errno as there.  Threads: safe on different destinations. May block; a cancellation point as
 * there.  Owns: nothing.
 */
ZORCOMN_API int32_t qelCopyFile(const char *source, const char *destination, int32_t failIfExists);
/** Renames a file or folder within its file system; an existing file of the new name is replaced by a file, an empty
 * folder by a folder.
 * @return 1; 0 when rename() fails or a path is null.
 * Error cell: nErrno = 22 for a null path, else untouched; errno as rename() left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelMoveFile(const char *oldPath, const char *newPath);
/** Does nothing: these attributes do not exist here. Any arguments.
 * @return 1.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelSetFileAttributes(const char *path, uint32_t attributes);
/** Not supported. Any arguments; the buffer is untouched.
 * @return 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetModuleFileName(void *module, char *buffer, uint32_t size);
/** Not supported. Any arguments; data is untouched.
 * @return 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelGetFileVersionInfo(const char *path, uint32_t handle, uint32_t length, void *data);
/** Not supported. Any arguments; value and length are untouched.
 * @return 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelVerQueryValue(const void *block, const char *subBlock, void **value, uint32_t *length);
/** Answers with the fixed text "/Library".
 * @param buffer  receives the text and its terminator, 9 bytes; may be null when size is too small.
 * @param size    capacity of buffer in bytes.
 * @return 8, the length copied; 9, the size that it takes, when size is less (buffer is then untouched); 0 for a null
 *         buffer with a size that is large enough.
 * Error cell: nErrno = 22 for that null buffer, else untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qelGetWindowsDirectory(char *buffer, uint32_t size);
/** Answers with the fixed text "/usr".
 * @param buffer  receives the text and its terminator, 5 bytes; may be null when size is too small.
 * @param size    capacity of buffer in bytes.
 * @return 4, the length copied; 5, the size that it takes, when size is less (buffer is then untouched); 0 for a null
 *         buffer with a size that is large enough.
 * Error cell: nErrno = 22 for that null buffer, else untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qelGetSystemDirectory(char *buffer, uint32_t size);

/* directory enumeration and wildcard matching */

/** The search handle that stands for none: what qelFindFirstDirEnt answers when it fails. */
#define ZORCOMN_NO_SEARCH (-1)
/** The attributes of a directory in a find-data record. */
#define ZORCOMN_DIRECTORY 16u

/** What a search tells about one entry. 284 bytes; cleared before each fill. The facts are those of stat(), so of a
 * link's target; when stat() fails only the name is filled and every other field is 0. Times are seconds since
 * 1970-01-01 UTC, cut to 32 bits. A search whose path has no '/' looks its entries up as "." followed by the name and
 * so, normally, finds no facts for any of them: write "./" before the pattern to get them.
 */
typedef struct qelFindData {
    uint32_t attributes;    /**< ZORCOMN_DIRECTORY (16) for a directory, else 0 */
    uint32_t reserved0;     /**< 0 */
    int32_t lastAccessTime; /**< in seconds */
    int32_t lastWriteTime;  /**< in seconds */
    uint32_t size;          /**< in bytes, the low 32 bits */
    char name[260];         /**< at most 259 bytes and a terminator */
    char reserved1[4];      /**< 0 */
} qelFindData;              /* 284 bytes */
/** Starts a search of one directory and delivers its first match. "." and ".." are entries like all others; the order
 * is the system's.
 * @param path  what follows the last '/' is the pattern (see qelWildCardMatch; empty matches everything), what stands
 *              before it, the '/' included, the directory; "." when there is no '/'. Each part counts up to its 260th
 *              byte, the rest is cut off. Null is refused.
 * @param data  receives the first match; untouched when there is none. Null is refused.
 * @return a search handle, 1 to 50; -1 when refused, when the directory cannot be opened, when all 50 searches of the
 *         process are in use, and when nothing matches (no search is open then).
 * Error cell: nErrno = 22 for a null argument, 35 when no search is free or memory is short, else untouched; errno as
 * the failing opendir() left it.
 * Threads: safe; MutexDirEnt is held while a slot is taken.  Owns: release the handle with qelFindCloseDirEnt.
 */
ZORCOMN_API int32_t qelFindFirstDirEnt(const char *path, qelFindData *data);
/** Delivers the next match of a search.
 * @param search  from qelFindFirstDirEnt.
 * @param data    receives the match; untouched when there is none. Null is refused.
 * @return 1; 0 when nothing is left or the arguments are refused.
 * Error cell: nErrno = 22 for a handle out of 1..50 or not in use and for null data, else untouched; errno may tell of
 * an entry's failed stat().
 * Threads: one search serves one thread at a time; takes no lock.  Owns: nothing.
 */
ZORCOMN_API int32_t qelFindNextDirEnt(int32_t search, qelFindData *data);
/** Ends a search and frees its handle for the next one.
 * @param search  from qelFindFirstDirEnt.
 * @return 1; 0 when refused or when closing the directory failed (the handle is free all the same).
 * Error cell: nErrno = 22 for a handle out of 1..50 or not in use, else untouched; errno as closedir() left it.
 * Threads: one search serves one thread at a time; takes no lock.  Owns: nothing.
 */
ZORCOMN_API int32_t qelFindCloseDirEnt(int32_t search);
/** Fills a find-data record from a directory entry, as a search does.
 * @param data       receives the name and what stat() tells; cleared first. Null is refused.
 * @param entry      from readdir(). Null is refused.
 * @param directory  put before the name as it stands, no '/' added, to look the entry up; counts up to its 259th byte.
 *                   Null is refused.
 * @return data; null when refused.
 * Error cell: nErrno = 22 for a null argument, else untouched; errno as a failed stat() left it.
 * Threads: safe on different records.  Owns: nothing.
 */
ZORCOMN_API qelFindData *qelSetFindDataDirEnt(qelFindData *data, const struct dirent *entry, const char *directory);
/** Matches a name against a pattern, byte by byte and case-sensitively, by rules of its own: '?' is any one byte; '*'
 * is any bytes, also none; a pattern matches every name that begins with what it matches ("abc" matches "abcdef",
 * "*.log" matches "a.log.1"). A '*' reached at the end of the name is a match, whatever follows it in the pattern
 * ("a*b" matches "a"); what follows a '*' is never tried at the end of the name ("*b*" does not match "a"). No
 * character escapes. Takes no memory, and time in proportion to both lengths; only where '?' stands between stars, up
 * to the product of what stands between them and the name.
 * @param pattern  null or empty matches everything.
 * @param name     null counts as empty.
 * @return as a comparison: 0 when the name matches, 1 when it does not.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelWildCardMatch(const char *pattern, const char *name);
/** Splits a text into tokens: strtok_r() under the layer's name.
 * @param text        writable; null goes on with the text that save stands in.
 * @param delimiters  the bytes that end a token.
 * @param save        the caller's cell that keeps the place between calls.
 * @return the next token, inside the text; null when none is left.
 * Error cell: untouched.  Threads: safe on different texts.  Owns: the text stays the caller's.
 */
ZORCOMN_API char *qelTstrtok_r(char *text, const char *delimiters, char **save);
struct qelSearch; /* layout is the library's own */
/** The open searches of the process; handle h is slot h - 1, null when free. Cleared by the first qelFindFirstDirEnt.
 */
ZORCOMN_API extern struct qelSearch *pDirEntTable[50];
/** Held while a search takes its slot, and at no other time. */
ZORCOMN_API extern pthread_mutex_t MutexDirEnt;

/* dynamic libraries and string resources */

/** Why a DllMain is called. */
///@{
#define ZORCOMN_DETACH 0u /**< the module is about to be closed */
#define ZORCOMN_ATTACH 1u /**< the module was loaded for the first time */
///@}
/** A module's entry point, exported as "DllMain", called once when the module is loaded for the first time and once
 * before it is closed, with MutexDynamicLibraryList held: it must not load or free libraries through the table, and
 * neither may the module's constructors and destructors: they would wait for themselves. Nor may those of a library
 * that is opened or closed past the table (dlopen(), load_shared_object_image) while other threads use the table: they
 * run under the system loader's own lock, which is taken after the table's, and two threads could wait for each other.
 * Cancellation is held off while it runs. It may fork, and may end its thread: the table is free then, and the module,
 * which stays open, is not in it.
 * @param module    the module's own handle.
 * @param reason    ZORCOMN_ATTACH (1) or ZORCOMN_DETACH (0); no other comes.
 * @param reserved  null.
 * @return on attach 1; anything else refuses, and the load fails. On detach it is not looked at. A module declares its
 * entry points by including zorcomn/plugin.h.
 */
typedef int32_t (*qelDllMain)(void *module, uint32_t reason, void *reserved);
/** A module's server of string resources, exported as "loadString". What the arguments mean is the module's affair. */
typedef int32_t (*qelLoadStringEntry)(void *module, uint32_t id, char *buffer, int32_t size);
/** Loads a library, or counts one more use of a loaded one. The process has room for 50, known by their path: another
 * spelling of it is another entry. Calls the module's DllMain on the first load; a module that refuses stays open.
 * @param path       in the file system's encoding, compared byte by byte; null is refused. The table keeps 260 bytes of
 * it, so a longer path never finds itself again, and is found by its first 260 bytes.
 * @param errorText  receives a pointer to the reason of a failure, at most 510 bytes, empty on success: "locked",
 * "library list full", "out of memory", "dllmain returned false", "no path", or the system's own. Null is fine.
 * @return the module, also for dlsym(); null on failure.
 * Error cell: nErrno = 22 for a null path, 16 when the table could not be locked, 12 when it is full, else untouched.
 * Threads: safe, but the text is one for the process: the next call of any thread overwrites it.
 * Owns: release each load with one qelFreeLibrary; the text is the library's.
 */
ZORCOMN_API void *qelLoadLibrary(const char *path, const char **errorText);
/** Loads a library as qelLoadLibrary does, by a wide path.
 * @param path       converted to UTF-8 (see qelcomn_wide_to_ansi); null, or a path of which nothing converts, is
 * refused.
 * @param errorText  receives a pointer to the reason of this call's failure, widened, at most 2047 characters; it has a
 * buffer of its own, one for all wide calls. Null is fine.
 * @return the module; null on failure.
 * Error cell: nErrno = 22 when refused, else as qelLoadLibrary.
 * Threads: as qelLoadLibrary.  Owns: as qelLoadLibrary.
 */
ZORCOMN_API void *qelLoadLibraryW(const wchar_t *path, const wchar_t **errorText);
/** Looks up a symbol.
 * @param module     from qelLoadLibrary or from dlopen().
 * @param symbol     null is refused.
 * @param errorText  receives a pointer to the system's message, at most 510 bytes, empty when the symbol was found; its
 *                   buffer is not qelLoadLibrary's. Null is fine.
 * @return the symbol's address; null on failure.
 * Error cell: nErrno = 22 for a null symbol, else untouched.
 * Threads: safe, but the text is one for the process; loading a library and qelLoadString overwrite it too.
 * Owns: the text is the library's.
 */
ZORCOMN_API void *qelGetProcAddress(void *module, const char *symbol, const char **errorText);
/** Gives back one load. The last one calls the module's DllMain and closes the module.
 * @param module  from qelLoadLibrary; one that is not in the table is refused, without waiting for anybody.
 * @return 1; 0 when refused or when the system could not close the module (the table has forgotten it all the same).
 * Error cell: nErrno = 22 when refused, 16 when the table could not be locked, else untouched.
 * Threads: safe.  Owns: nothing of the module may be used after the last call.
 */
ZORCOMN_API int32_t qelFreeLibrary(void *module);
/** Asks a module for a string resource: hands all four arguments to its "loadString". A cancellation point where the
 * module's entry is one.
 * @param module  from qelLoadLibrary or from dlopen(); null is refused.
 * @param id, buffer, size  as the module defines them.
 * @return what the module returns; 0 when refused and when it has no "loadString".
 * Error cell: untouched by the layer.  Threads: as the module's.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelLoadString(void *module, uint32_t id, char *buffer, int32_t size);
/** Opens a shared object with lazy binding, past the table and without DllMain.
 * @param handle     receives the handle, null on failure; null is refused.
 * @param path       as dlopen() takes it; null is the program itself.
 * @param errorText  the system's message is appended to the text there: room for 511 bytes beyond it is the caller's to
 *                   provide. Null is fine; untouched on success.
 * @return 1; 0 when refused or on failure.
 * Error cell: untouched.  Threads: safe on different buffers.  Owns: release the handle with
 * unload_shared_object_image.
 */
ZORCOMN_API int32_t load_shared_object_image(void **handle, const char *path, char *errorText);
/** Closes a shared object that was opened past the table.
 * @param handle  from load_shared_object_image; null is refused.
 * @return 1; 0 when refused or when the system could not close it.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t unload_shared_object_image(void *handle);
struct qelDynamicLibrary; /* layout is the library's own */
/** The loaded libraries; null where a slot is free. Cleared by the first qelLoadLibrary. */
ZORCOMN_API extern struct qelDynamicLibrary *pDynamicLibraryList[50];
/** Guards the table; held while a module is opened, attached, detached and closed. */
ZORCOMN_API extern pthread_mutex_t MutexDynamicLibraryList;

/* numeric text, GUIDs, clocks and system names */

/** 16 octets: in memory octet 0 to 15 in order on every machine, so that the fields hold big-endian numbers. */
typedef struct qelGuid {
    uint32_t Data1;   /**< octets 0 to 3 */
    uint16_t Data2;   /**< octets 4 and 5 */
    uint16_t Data3;   /**< octets 6 and 7 */
    uint8_t Data4[8]; /**< octets 8 to 15 */
} qelGuid;
/** A local time, taken apart. dayOfWeek counts from Sunday = 0, month from January = 1; milliseconds is always 0. */
typedef struct qelSystemTime {
    /** Each in the unit of its name, the hour from 0 to 23. */
    ///@{
    uint16_t year, month, dayOfWeek, day, hour, minute, second, milliseconds;
    ///@}
} qelSystemTime;
/** Writes a number as text: signed in radix 10, else the 32 bits unsigned, with lower-case letters and no prefix.
 * @param value   any.
 * @param buffer  receives the text and its terminator, at most 12 bytes; its size is not passed. Null is refused.
 * @param radix   10, 16 or 8.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelItoa(int32_t value, char *buffer, int32_t radix);
/** qelItoa under a second name; all that is said there holds. */
ZORCOMN_API char *qelItot(int32_t value, char *buffer, int32_t radix);
/** Writes the low 32 bits of a number as text, in radix 10 as a signed number: 4294967295 gives "-1".
 * @param value   any; the high 32 bits are left out.
 * @param buffer  receives the text and its terminator, at most 12 bytes; its size is not passed. Null is refused.
 * @param radix   10, 16 or 8.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelUltot(uint64_t value, char *buffer, int32_t radix);
/** Writes a number as text: signed in radix 10, else the 64 bits unsigned, with lower-case letters and no prefix.
 * @param value   any.
 * @param buffer  receives the text and its terminator, at most 23 bytes; its size is not passed. Null is refused.
 * @param radix   10, 16 or 8.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelI64toa(int64_t value, char *buffer, int32_t radix);
/** qelI64toa under a second name; all that is said there holds. */
ZORCOMN_API char *qelI64tot(int64_t value, char *buffer, int32_t radix);
/** Reads decimal digits. Every character up to the terminator counts, whatever it is: value = value x 10 + code - 48,
 * so that there are no signs ("-1" is -29), no blanks to skip and no end at a non-digit. Codes are those of a signed
 * char on every machine: bytes above 127 count as -128 to -1. The value wraps in 64 bits.
 * @param text  terminated; null counts as empty.
 * @return the value; 0 for an empty text.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int64_t qelAtoi64(const char *text);
/** qelAtoi64 under a second name; all that is said there holds. */
ZORCOMN_API int64_t qelTtoi64(const char *text);
/** Converts text in the encoding of the current locale (LC_CTYPE) to wide characters: mbsrtowcs() from a fresh state.
 * For UTF-8 whatever the locale use qelcomn_utf8_to_unicode.
 * @param source        terminated; null converts nothing.
 * @param maximumCount  the most wide characters to write, terminator included.
 * @param destination   receives the characters; a terminator only where the count leaves room for it. Null writes
 *                      nothing and counts the whole source.
 * @return the number of wide characters converted, without the terminator; 0 at an invalid sequence.
 * Error cell: untouched; errno is EILSEQ at an invalid sequence.
 * Threads: safe while none changes the locale.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API size_t qelStandardAtoU(const char *source, size_t maximumCount, wchar_t *destination);
/** Converts wide characters to the encoding of the current locale (LC_CTYPE): wcsrtombs() from a fresh state. For UTF-8
 * whatever the locale use qelcomn_unicode_to_utf8.
 * @param source        terminated; null converts nothing.
 * @param maximumBytes  the most bytes to write, terminator included; a character that does not fit is not begun.
 * @param destination   receives the bytes; a terminator only where the maximum leaves room for it. Null writes nothing
 *                      and counts the whole source.
 * @return the number of bytes converted, without the terminator; 0 at a character that the encoding does not have.
 * Error cell: untouched; errno is EILSEQ at such a character.
 * Threads: safe while none changes the locale.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API size_t qelStandardUtoA(const wchar_t *source, size_t maximumBytes, char *destination);
/** Creates a GUID of version 1: the time in units of 100 ns, a 13-bit clock sequence drawn on the first call, and a
 * node drawn from rand() for every GUID, its top bit set. Within one microsecond only the node tells GUIDs apart, and
 * it is as random as the program's srand() and rand() make it: not for secrets.
 * @param guid  receives the GUID; null is refused.
 * @return guid.
 * Error cell: untouched; errno may change on the first call, which opens a socket and closes it again.
 * Threads: may be called side by side, as far as the system's rand() may; the generator has no lock, and such calls may
 * share a time stamp, with different nodes.  Owns: nothing.
 */
ZORCOMN_API qelGuid *qelCoCreateGuid(qelGuid *guid);
/** Writes a GUID as text: 36 lower-case characters like "00010203-0405-0607-0809-0a0b0c0d0e0f", the 16 octets in the
 * order of memory.
 * @param guid    null is refused.
 * @param buffer  receives the text and its terminator, 37 bytes; its size is not passed. Null is refused.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelUuidToStringA(const qelGuid *guid, char *buffer);
/** Tells the local time, not UTC, whatever the name says; from time() and localtime_r().
 * @param time  receives the time in whole seconds; all 0 if it cannot be broken down. Null does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void qelGetSystemTime(qelSystemTime *time);
/** Counts milliseconds from a point in the past that the system sets, in steps of the system's clock tick; it advances
 * while the process sleeps. From times() and sysconf(_SC_CLK_TCK).
 * @return ticks x 1000 / ticks per second in unsigned 32-bit arithmetic, whose product wraps: with 100 ticks per second
 *         the count starts again near 0 after 42,949,670 ms (11.9 hours), so differences across that point mean
 * nothing. Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetTickCount(void);
/** Tells the computer's name: the node name of uname(), whole, with its domain part where it has one.
 * @param buffer  receives the name and its terminator; untouched on failure. Null is refused.
 * @param size    in: the buffer's size in bytes, at least the name's length + 1; out: the name's length without the
 *                terminator. Unchanged on failure, so it does not tell what would be enough. Null is refused.
 * @return 1; 0 when refused, when the name does not fit or when uname() fails.
 * Error cell: untouched; errno as uname() left it.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelGetComputerName(char *buffer, uint32_t *size);
/** Does nothing; there are no messages here. For ported message loops to link.
 * @param message  not looked at.
 * @return always 1.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelTranslateMessage(const void *message);

#ifdef __cplusplus
}
#endif
