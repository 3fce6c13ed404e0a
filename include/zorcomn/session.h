/** @file
 * Logged-on users, the thread that waits for signals, the system log. C++.
 *
 * @include subsystems/session.cpp
 */
#pragma once
#include "api.h"

#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace velmora_com {
namespace vta {

/* Who is logged on. Collections read the login records from the database's current position, start a directory command
 * per user whose account names no domain, and write diagnostic lines to standard output. The position is the process's
 * own and guarded: collections side by side, from whatever threads and objects, each get all records, and only their
 * diagnostic lines mix. Code outside the library that reads the database (getutxent) is not guarded against. Nothing is
 * thrown: where memory runs out, a text that is returned is empty, a result is untouched, and a look-up counts as
 * failed. No function here is a cancellation point. */
namespace session {

/** The stream of the diagnostic lines: the process's standard output. They are written as plain text, buffered as the
 * stream is.
 * @return stdout, never null.
 * Error cell: untouched.  Threads: safe.  Owns: nothing; do not close it.
 */
ZORCOMN_API FILE *myfd();

/** Splits an account name of the form `domain\user` at its first backslash. A name with '@' is a user name as it
 * stands.
 * @param fullName  any text; may be the same object as a result.
 * @param domain    [out] the text before the first backslash; empty when there is none.
 * @param user      [out] the text after it, further backslashes included; the whole name when there is none.
 * Error cell: untouched.  Threads: safe, each on its own strings.  Owns: nothing.
 */
ZORCOMN_API void parseFullUserName(const std::wstring &fullName, std::wstring &domain, std::wstring &user);

/** Puts a text in lower case in place, byte by byte as the C library's tolower does in the current locale.
 * @param text  any bytes; its length stays.
 * Error cell: untouched.  Threads: safe, each on its own string.  Owns: nothing.
 */
ZORCOMN_API void toLower(std::string &text);

/** Cuts everything that is neither letter nor digit (isalnum, per byte) from both ends: punctuation as well as blanks.
 * @param text  terminated; null counts as empty.
 * @return what is left; empty when the text holds no letter or digit.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::string trimmer(const char *text);

/** Splits a text at each separator and appends the parts, empty ones and the tail included.
 * A text without the separator appends nothing, not even itself: callers add the whole text when nothing came.
 * @param text       any bytes; may be an element of parts.
 * @param separator  one byte.
 * @param parts      [in, out] appended to.
 * Error cell: untouched.  Threads: safe, each on its own vector.  Owns: nothing.
 */
ZORCOMN_API void split(const std::string &text, char separator, std::vector<std::string> &parts);

/** Finds a user's domain in the name of the primary group, as in `DOM1\Domain Users`. Source: getpwnam_r and
 * getgrgid_r, each with 16384 bytes for the entry's texts; an entry that needs more counts as none. Writes "found group
 * struct %s. \n" with the domain, or "Domain name can't not be found.\n" when memory runs out.
 * @param user    account name, bytes as the account database holds them.
 * @param domain  [out] the group name's text before its first backslash, in lower case; untouched when false.
 * @return true when the group's name, in lower case, holds "domain users" and a backslash; false otherwise and when
 *         the user or the group has no entry.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API bool FindDomainName(const std::string &user, std::string &domain);

/** Finds a user's domains in the directory. Source: the command "/usr/bin/dscl /Search read /Users/%s  |  /usr/bin/grep
 * %s" with user and attribute, run through a shell; at most 1023 bytes of its output are read, in lower case. Blocks
 * until the command ends.
 * A name with a byte other than ASCII letters, digits, `. _ - @ + =`, or a backslash before a letter or digit, runs
 * nothing, nor does a command of more than 255 characters or a system without the directory tool.
 * @param user       account name.
 * @param attribute  "userPrincipalName": the text after the first '@' of every line, with '|' between them.
 *                   "OriginalAuthenticationAuthority": the text from the first '@' to the ';' that must follow. Any
 * other: none.
 * @param domain     [out] the domains, in lower case, trimmed with trimmer; emptied when there is an answer but no
 *                   domain in it, untouched when there is no answer.
 * @return whether the answer names a domain.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API bool FindDomainNameViaDscl(const std::string &user, std::string attribute, std::string &domain);

/** Collects the users of all login records of type 7 (user processes), each decided by the primary group, then by the
 * directory's userPrincipalName, then by its OriginalAuthenticationAuthority; a user for whom all three fail is local.
 * Source: getutxent, from the database's current position on. Once all are read, and before a user is looked up, the
 * position is the first record again; the database is not closed. Writes a line per record and per user found, and one
 * before and after.
 * @param networkUsers  [in, out] entries `domain\user` in lower case are added, one per domain of a user.
 * @param localUsers    [in, out] user names in lower case are added, unless networkOnly.
 * @param networkOnly   leaves local users out; network users are collected either way.
 * Both stay as they were when not every user could be collected: errno then tells what was lacking.
 * Error cell: untouched; errno = ENOMEM when memory did not suffice, or the login database holds more than 100,000
 * records and so has no end; EIO, EMFILE or ENFILE when the login records or a directory's answer could not be read;
 * else untouched.
 * Threads: safe on different sets.  Owns: nothing.
 */
ZORCOMN_API void CollectLoggedonUsers(std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers,
                                      bool networkOnly);

/** Collects the users as CollectLoggedonUsers does and joins each kind with ",", in ascending order.
 * @param networkUsers  [out] the network users; untouched when there is none.
 * @param localUsers    [out] the local users; untouched when there is none or networkOnly is set.
 * @param networkOnly   leaves local users out.
 * Error cell: untouched; errno as CollectLoggedonUsers leaves it.  Threads: safe on different texts.  Owns: nothing.
 */
ZORCOMN_API void CollectComaSepLoggedonUsers(std::wstring &networkUsers, std::wstring &localUsers, bool networkOnly);

/** Collects all users into one text: network users, then local users, with "," between them; at most 128 characters.
 * A text of 128 characters or more is cut to 128, and from its last comma on replaced by ",..." where at least four
 * characters stand from that comma to the cut.
 * @param users  [out] replaced; empty when nobody is logged on, and when not every user could be collected.
 * Error cell: untouched; errno as CollectLoggedonUsers leaves it.  Threads: safe on different texts.  Owns: nothing.
 */
ZORCOMN_API void CollectAllLoggedonUsers(std::wstring &users);

} // namespace session

/** Waits for the process's signals and runs their callbacks; a functor for a thread of the caller's own. Filled first,
 * on the main thread before others start, so that all of them inherit the mask; run once; then it may be destroyed.
 * A copy has a set and callbacks of its own.
 *
 *     SignalHandler handler;
 *     handler.addSignalToBlock(SIGHUP);
 *     handler.addSignalToBlock(SIGTERM); // without a callback: the request to stop
 *     handler.registerOnSignalCallback(SIGHUP, [] { reload(); });
 *     std::thread(std::ref(handler)).join();
 */
class SignalHandler {
public:
    /** No signals and no callbacks; no signal mask is touched.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API SignalHandler();

    /** Releases the callbacks; signal masks stay as they are.
     * Error cell: untouched.  Threads: not while the object runs.  Owns: nothing.
     */
    ZORCOMN_API ~SignalHandler();

    /** Adds a signal to those that the object waits for, and sets the calling thread's signal mask to exactly these:
     * what was blocked before and is not among them becomes unblocked.
     * @param signal  a signal number; one that the system does not have adds nothing.
     * @return 0.
     * Error cell: nErrno untouched; errno may change.  Threads: one at a time, and not while the object runs.
     * Owns: nothing.
     */
    ZORCOMN_API int addSignalToBlock(int signal);

    /** Unblocks a signal in the calling thread. The object still counts it as its own.
     * @param signal  a signal number; one that the system does not have changes nothing.
     * @return 0.
     * Error cell: nErrno untouched; errno may change.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API int unblockSignal(int signal);

    /** Registers what to do when a signal arrives. The first registration for a signal stays; further ones are dropped.
     * Where there is no memory for it, the object does not wait for the signal any more, lest it be taken for the
     * request to stop.
     * @param signal    a signal number; it has to be added with addSignalToBlock too.
     * @param callback  runs on the waiting thread, one at a time; an empty one lets the signal pass without effect.
     * @return 0; -1 when there is no memory.
     * Error cell: untouched.  Threads: one at a time, and not while the object runs.
     * Owns: the object keeps the callback until it is destroyed.
     */
    ZORCOMN_API int registerOnSignalCallback(int signal, std::function<void()> callback);

    /** Waits for the signals added and runs their callbacks, until one without a callback arrives: that one is logged
     * as "Received signal to stop VTA." and ends the waiting. What goes wrong while waiting is logged, too, all of it
     * as SyslogInfo, and waited on. Signals that arrive during a callback stay pending. Blocks; a cancellation point
     * while it waits for a signal, where it holds nothing; in a callback, what the callback makes of it. What a
     * callback throws is not caught.
     *
     * Error cell: nErrno untouched; errno may change.  Threads: one thread runs an object.  Owns: nothing.
     */
    ZORCOMN_API void operator()();

private:
    sigset_t m_signals;
    std::map<int, std::function<void()>> m_callbacks;
};

/** The library's own scale of priorities. In the system log 0 becomes 2 (LOG_CRIT), 1 becomes 3 (LOG_ERR), 2 becomes 4
 * (LOG_WARNING), and every other value 6 (LOG_INFO). */
enum SyslogPriority : int { SyslogCritical = 0, SyslogError = 1, SyslogWarning = 2, SyslogInfo = 3 };

/* Each message opens the system log (console fallback, connected at once), writes as facility user, and closes it
 * again: what the process itself has set with openlog is lost, and no ident stays behind. No cancellation points. One
 * mutex keeps messages of different threads apart; a child forked meanwhile may log as well.
 *
 * A call with a second text is always the form with an ident. LogInSystemLog(SyslogError, "%s", text) therefore writes
 * under the ident "%s" with text as the format, which a text from outside must never be. Pass it so:
 *
 *     LogInSystemLog(SyslogError, "[VTA]", "%s", text);
 *
 * The compiler checks formats and arguments of all four; -Wformat-security has it point out the call above. */

/** Writes a message to the system log under the ident "[VTA]".
 * @param priority   the library's scale.
 * @param format     printf's, and %m for errno's text; null writes nothing.
 * @return true, also when no log takes the message.
 * Error cell: untouched, errno too.  Threads: safe; not in a signal handler.  Owns: nothing.
 */
ZORCOMN_API bool LogInSystemLog(SyslogPriority priority, const char *format, ...) ZORCOMN_PRINTF(2, 3);

/** Writes a message to the system log under an ident.
 * @param priority   the library's scale.
 * @param ident      stands before the message; null means "[VTA]", and so does any when there is no memory to copy it.
 * @param format     printf's, and %m for errno's text; null writes nothing.
 * @return true, also when no log takes the message.
 * Error cell: untouched, errno too.  Threads: safe; not in a signal handler.  Owns: nothing.
 */
ZORCOMN_API bool LogInSystemLog(SyslogPriority priority, const char *ident, const char *format, ...)
    ZORCOMN_PRINTF(3, 4);

/** Writes a message to the system log under the ident "[VTA]".
 * @param priority   the system's own, LOG_EMERG (0) to LOG_DEBUG (7).
 * @param format     printf's, and %m for errno's text; null writes nothing.
 * @param arguments  the format's; used up afterwards, va_end is the caller's.
 * @return true, also when no log takes the message.
 * Error cell: untouched, errno too.  Threads: safe; not in a signal handler.  Owns: nothing.
 */
ZORCOMN_API bool vLogInSystemLog(int priority, const char *format, va_list arguments) ZORCOMN_PRINTF(2, 0);

/** Writes a message to the system log under an ident.
 * @param priority   the system's own, LOG_EMERG (0) to LOG_DEBUG (7).
 * @param ident      stands before the message; null means "[VTA]", and so does any when there is no memory to copy it.
 * @param format     printf's, and %m for errno's text; null writes nothing.
 * @param arguments  the format's; used up afterwards, va_end is the caller's.
 * @return true, also when no log takes the message.
 * Error cell: untouched, errno too.  Threads: safe; not in a signal handler.  Owns: nothing.
 */
ZORCOMN_API bool vLogInSystemLog(int priority, const char *ident, const char *format, va_list arguments)
    ZORCOMN_PRINTF(3, 0);

} // namespace vta
} // namespace velmora_com

extern "C" {
/** A signal handler that notes a stop request: sets bSigTermReceived to 1 and does nothing else. Give it to sigaction.
 * @param signal  ignored.
 * Error cell: untouched, errno too.  Threads: safe, in signal handlers too.  Owns: nothing.
 */
ZORCOMN_API void CatchSIGTERM(int signal);

/** Whether CatchSIGTERM has run: 0 from load on, then 1. 32 bits. The agent polls it, and may set it back. */
ZORCOMN_API extern volatile std::sig_atomic_t bSigTermReceived;
}
