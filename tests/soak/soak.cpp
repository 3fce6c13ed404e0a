// soak SECONDS [SEED]: everything at once, from many threads, under limits of memory and descriptors that are sometimes
// reached, with forks, cancelled threads and a signal every millisecond. A wrong answer ends it, and so does an act
// that hangs. In the end memory, descriptors, slots and threads must be what they were. Last line: "acts N wrong W
// ...".
//
// An act is right, or failed, or wrong. It may fail only while the squeezer (below) keeps memory or descriptors to
// itself; an answer that lacks something counts as a failure then, where its interface cannot tell.

#include "zorcomn/lists_locks.h"
#include "zorcomn/network.h"
#include "zorcomn/portability.h"
#include "zorcomn/session.h"
#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <random>
#include <set>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <netdb.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace velmora_com::vta;
using Clock = std::chrono::steady_clock;
using Random = std::mt19937;

enum class Outcome { right, failed, wrong };

/** What one failing condition means: the call could not do its work. */
Outcome succeeded(bool done) {
    return done ? Outcome::right : Outcome::failed;
}
/** What contradicts the interface, whatever is short. */
Outcome mustHold(bool holds) {
    return holds ? Outcome::right : Outcome::wrong;
}

constexpr int kThreads = 8;
constexpr rlim_t kDescriptors = 192;
constexpr rlim_t kMemoryBytes = rlim_t{3} << 30; // of addresses, of which the threads' arenas and stacks take most
constexpr uint32_t kPatienceMs = 60000;
constexpr std::chrono::seconds kHang(120);

// ---- what the threads share

struct Shared {
    zor::test::TemporaryFolder folder;
    HANDLE turn = qelCreateMutex(nullptr, 0, nullptr);
    long turns = 0; // guarded by turn
    std::atomic<long> turnsTaken{0};
    qeSELock *lock = nullptr;
    long writes = 0, writesAgain = 0; // guarded by lock, always equal
    qeSLL *stack = nullptr;
    qeSLL2 *row = nullptr;
    std::set<std::wstring> users; // as it was in the beginning
    std::map<std::wstring, std::wstring> properties;
    std::vector<std::string> addresses;
    int listener = -1;
    sockaddr_in listening{};
    // The end of a library thread frees every thread-local index of the process: whoever counts on one holds this
    // shared.
    std::shared_mutex indices;
    std::atomic<long> squeezes{0}; // odd: at this moment
    std::atomic<bool> isOver{false};
};
Shared *shared = nullptr;

// ---- the acts

void limit(decltype(RLIMIT_AS) resource, rlim_t most) {
    rlimit limits;
    getrlimit(resource, &limits);
    limits.rlim_cur = std::min(most, limits.rlim_max);
    setrlimit(resource, &limits);
}

Outcome useEvents(Random &random) {
    const bool initial = random() % 2 != 0;
    const HANDLE event = qelCreateEvent(nullptr, 1, initial, nullptr);
    if (!event)
        return Outcome::failed;
    bool isRight = qelWaitForSingleObject(event, 0) == (initial ? 2u : 3u);
    isRight &= qelSetEvent(event) == 1 && qelWaitForSingleObject(event, kPatienceMs) == 2u;
    isRight &= qelSetEvent(event) == 1 && qelResetEvent(event) == 1 && qelWaitForSingleObject(event, 0) == 3u;
    return mustHold(qelCloseHandle(event) == 1 && isRight);
}

Outcome takeTurns(Random &) {
    if (qelWaitForSingleObject(shared->turn, kPatienceMs) != 2u)
        return Outcome::wrong;
    ++shared->turns;
    ++shared->turnsTaken;
    return mustHold(qelReleaseMutex(shared->turn) == 1);
}

uint32_t answerFortyTwo(void *) {
    return 42;
}

Outcome startThreads(Random &) {
    const std::unique_lock<std::shared_mutex> alone(shared->indices, std::try_to_lock);
    if (!alone)
        return Outcome::right;
    HANDLE threads[3] = {};
    Outcome outcome = Outcome::right;
    for (HANDLE &thread : threads)
        thread = qelCreateThread(nullptr, 0, answerFortyTwo, nullptr, 0, nullptr);
    for (const HANDLE thread : threads) {
        if (!thread) {
            outcome = std::max(outcome, Outcome::failed);
            continue;
        }
        // Before it is closed its end must have been seen: only then no index is freed behind the gate.
        if (qelWaitForSingleObject(thread, kPatienceMs) != 2u || qelCloseHandle(thread) != 1)
            outcome = Outcome::wrong;
    }
    return outcome;
}

Outcome useIndices(Random &random) {
    const std::shared_lock<std::shared_mutex> gate(shared->indices, std::try_to_lock);
    if (!gate)
        return Outcome::right;
    const uint32_t index = qelTlsAlloc();
    if (index == 0xFFFFFFFFu)
        return Outcome::failed;
    int value = static_cast<int>(random());
    const bool isSet = qelTlsSetValue(index, &value) == 1;
    const bool isRight = !isSet || qelTlsGetValue(index) == &value;
    return qelTlsFree(index) == 1 && isRight ? succeeded(isSet) : Outcome::wrong;
}

Outcome shareLock(Random &random) {
    if (random() % 4 == 0) {
        if (qeSO_SELockExclusive(shared->lock, 1) != 1)
            return Outcome::failed;
        ++shared->writes;
        std::this_thread::yield();
        ++shared->writesAgain;
        qeSO_SELockRelease(shared->lock);
        return Outcome::right;
    }
    const bool starve = random() % 2 != 0;
    if ((starve ? qeSO_SELockSharedStarveExclusive(shared->lock, 1)
                : qeSO_SELockSharedWaitForExclusive(shared->lock, 1)) != 1)
        return Outcome::failed;
    const bool isRight = shared->writes == shared->writesAgain;
    qeSO_SELockRelease(shared->lock);
    return mustHold(isRight);
}

struct StackItem {
    qeLLNode node{};
    long value = 0;
};
struct RowItem {
    qeLL2Node node{};
    long value = 0;
};
constexpr long kItem = 0x17E34;

Outcome useLists(Random &) {
    auto item = std::make_unique<StackItem>();
    item->value = kItem;
    qeSLL_XInsertHead(shared->stack, &item.release()->node);
    // Somebody's: whoever takes more than was put in, or less, finds null or a value that is none.
    const std::unique_ptr<StackItem> taken(reinterpret_cast<StackItem *>(qeSLL_XRemoveHead(shared->stack)));
    auto place = std::make_unique<RowItem>();
    place->value = kItem;
    qeSLL2_XInsertTail(shared->row, &place.release()->node);
    const std::unique_ptr<RowItem> first(reinterpret_cast<RowItem *>(qeSLL2_XRemoveHead(shared->row)));
    return mustHold(taken && first && taken->value == kItem && first->value == kItem);
}

std::string ownPath(const char *what) {
    static std::atomic<unsigned> last{0};
    return shared->folder / (what + std::to_string(++last) + "-" + std::to_string(getpid()));
}

class RemovedFile {
public:
    explicit RemovedFile(std::string path) : m_path(std::move(path)) {}
    ~RemovedFile() { unlink(m_path.c_str()); }
    RemovedFile(const RemovedFile &) = delete;
    RemovedFile &operator=(const RemovedFile &) = delete;
    const char *path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

Outcome useFiles(Random &random) {
    const RemovedFile first(ownPath("file")), second(ownPath("copy"));
    std::string written(1 + random() % 20000, static_cast<char>('a' + random() % 26)), read(written.size(), '\0');
    const HANDLE file = qelCreateFileAW(first.path(), ZORCOMN_READ | ZORCOMN_WRITE, 0, nullptr, ZORCOMN_CREATE_NEW,
                                        ZORCOMN_NORMAL, nullptr);
    if (!file)
        return Outcome::failed;
    uint32_t count = 0;
    const auto size = static_cast<uint32_t>(written.size());
    bool isRight = qelWriteFile(file, written.data(), size, &count, nullptr) == 1 && count == size;
    isRight &= qelGetFileSize(file, nullptr) == size && qelSetFilePointer(file, 0, nullptr, ZORCOMN_FROM_START) == 0;
    isRight &= qelReadFile(file, read.data(), size, &count, nullptr) == 1 && count == size && read == written;
    isRight &= qelSetFilePointer(file, 1, nullptr, ZORCOMN_FROM_START) == 1 && qelSetEndOfFile(file) == 1;
    if (qelCloseHandle(file) != 1 || !isRight)
        return Outcome::wrong;
    uint32_t bytes = 0;
    if (qelcomn_get_file_sizeA(first.path(), &bytes) != 0)
        return Outcome::failed;
    if (bytes != 1)
        return Outcome::wrong;
    if (qelCopyFile(first.path(), second.path(), 1) != 1)
        return Outcome::failed;
    return mustHold(qelMoveFile(second.path(), first.path()) == 1);
}

Outcome searchFolder(Random &) {
    qelFindData found;
    const int32_t search = qelFindFirstDirEnt((shared->folder / "searched/*.txt").c_str(), &found);
    if (search == ZORCOMN_NO_SEARCH)
        return Outcome::failed;
    int count = 1;
    while (qelFindNextDirEnt(search, &found) == 1)
        ++count;
    return qelFindCloseDirEnt(search) == 1 ? succeeded(count == 10) : Outcome::wrong;
}

Outcome loadLibraries(Random &random) {
    const char *const kNames[] = {"full", "dllmain", "strings", "bare"};
    const std::string path = std::string(ZORCOMN_TEST_MODULES "/module_") + kNames[random() % 4] + ".so";
    void *const module = qelLoadLibrary(path.c_str(), nullptr);
    if (!module)
        return Outcome::failed;
    using Answer = int32_t (*)();
    const auto answer = reinterpret_cast<Answer>(qelGetProcAddress(module, "answer", nullptr));
    const bool isRight = answer && answer() == 42;
    return mustHold(qelFreeLibrary(module) == 1 && isRight);
}

Outcome convertText(Random &random) {
    std::wstring wide;
    for (size_t i = random() % 500; i > 0; --i)
        wide += static_cast<wchar_t>(random() % 2 ? 'a' + random() % 26 : 0x100 + random() % 0xD000);
    const std::string narrow = qelcomn_wide_to_ansi(wide);
    if (narrow.empty() && !wide.empty())
        return Outcome::failed;
    const std::wstring back = qelcomn_ansi_to_wide(narrow);
    if (back.empty() && !wide.empty())
        return Outcome::failed;
    char number[23];
    const auto value = static_cast<int64_t>(random());
    return mustHold(back == wide && qelAtoi64(qelI64toa(value, number, 10)) == value &&
                    qelWildCardMatch("*.t?t", "name.txt") == 0 && qelWildCardMatch("*.t?t", "name.tx") == 1);
}

Outcome convertInvalidText(Random &) {
    const std::wstring prefix = qelcomn_ansi_to_wide("abc\xFF"
                                                     "def"); // opens a converter
    return prefix.empty() ? Outcome::failed : mustHold(prefix == L"abc");
}

Outcome editPaths(Random &) {
    std::string path;
    if (FileNameFlattener("/a/./b/../c").GetFlatPath(path) != 1)
        return Outcome::failed;
    const uint32_t match = qelcomn_IsPlatformMatch("MACX:10:4:11", "WIN|MACX:10:3:0-10:5:0");
    if (path != "/a/c" || match == 1)
        return Outcome::wrong;
    if (match != 0)
        return Outcome::failed;
    if (FileNameResolver(shared->folder / "link").GetAbsolutePath(path) != 1)
        return Outcome::failed;
    return mustHold(path == shared->folder / "searched/0.txt");
}

Outcome makeFolders(Random &) {
    const std::string path = ownPath("tree");
    qelcomn_MakeRecursiveDirectoryA((path + "/a/b/c/").c_str()); // tells nothing: the folder does
    close(open((path + "/a/b/file").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    const bool isMade = access((path + "/a/b/c").c_str(), F_OK) == 0;
    const bool isGone = qelcomn_deltree(path.c_str()) == 0;
    if (isGone && access(path.c_str(), F_OK) == 0)
        return Outcome::wrong;
    if (!isGone) {
        unlink((path + "/a/b/file").c_str());
        for (const char *folder : {"/a/b/c", "/a/b", "/a", ""})
            rmdir((path + folder).c_str());
    }
    return succeeded(isMade && isGone);
}

Outcome identify(Random &) {
    char text[40] = "";
    qelGuid guid;
    if (qelcomn_create_guid(&guid, text, sizeof text) != 1 || std::strlen(text) != 38 || text[15] != '1')
        return Outcome::wrong;
    char stamp[16] = "";
    qelcomn_CreateLocalTimeStampA(stamp, sizeof stamp);
    std::tm utc{};
    utc.tm_year = 107;
    utc.tm_mday = 1;
    const std::string readable = qelcomn_get_time_stamp_ansi();
    const std::time_t time = zorcomn_timegm(&utc);
    if (readable.empty() || *stamp == '\0' || time == -1)
        return Outcome::failed;
    return mustHold(readable.size() == 19 && std::strlen(stamp) == 14 && time == 1167609600);
}

std::vector<std::string> localAddresses() {
    std::vector<std::string> addresses;
    NetInterfaceList list(true);
    if (list.initialize() == 0)
        return addresses;
    for (const unsigned int index : list.getIndexes()) {
        NetInterface record;
        list.getNetInterface(index, record);
        for (const IPAddress &address : record.getIPAddress())
            addresses.push_back(record.getMACAddress() + ' ' + address.getIPAddress() + ' ' + address.getSubNetAddr());
    }
    return addresses;
}

Outcome collectNetwork(Random &) {
    return succeeded(localAddresses() == shared->addresses);
}

Outcome connectToListener(Random &) {
    ANetworkUtil util;
    std::vector<char *> texts;
    const int error = util.zorGetAddrinfo("127.0.0.1", "80", texts, NI_NUMERICHOST);
    const bool isRight = error != 0 || (texts.size() == 1 && std::string(texts[0]) == "127.0.0.1");
    util.zorFreeAddrinfo(texts);
    if (error != 0 || !isRight)
        return isRight ? Outcome::failed : Outcome::wrong;
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0)
        return Outcome::failed;
    const linger atOnce{1, 0}; // or so many closed connections would use up the ports
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    const int connected = util.ConnectWithTimeout(connection, reinterpret_cast<sockaddr *>(&shared->listening),
                                                  sizeof shared->listening, 30);
    close(connection);
    return succeeded(connected == 0);
}

Outcome collectUsers(Random &) {
    std::set<std::wstring> networkUsers, localUsers;
    session::CollectLoggedonUsers(networkUsers, localUsers, false);
    return succeeded(localUsers == shared->users && networkUsers.empty());
}

thread_local std::string lastDifference; // what a wrong answer was

Outcome askProperties(Random &random) {
    sysprops::ISysProps properties;
    auto asked = shared->properties.begin();
    std::advance(asked, static_cast<long>(random() % shared->properties.size()));
    const std::wstring answer = properties.GetOneSystemProperty(asked->first);
    if (answer != asked->second)
        lastDifference = qelcomn_wide_to_ansi(asked->first + L": " + answer + L" for " + asked->second);
    return succeeded(answer == asked->second);
}

void *waitForEver(void *event) {
    qelWaitForSingleObject(event, 0xFFFFFFFFu);
    return event;
}
void *keepWriting(void *path) {
    std::unique_ptr<void, int32_t (*)(HANDLE)> file(
        qelCreateFileAW(static_cast<const char *>(path), ZORCOMN_WRITE, 0, nullptr, ZORCOMN_OPEN_ALWAYS, 0, nullptr),
        qelCloseHandle);
    for (uint32_t count = 0; file;)
        qelWriteFile(file.get(), "x", 1, &count, nullptr);
    return path;
}
void *keepCollecting(void *isOver) {
    std::set<std::wstring> networkUsers, localUsers;
    for (; !static_cast<std::atomic<bool> *>(isOver)->load(); pthread_testcancel()) {
        session::CollectLoggedonUsers(networkUsers, localUsers, false);
        qelcomn_ansi_to_wide("abc\xFF");
        qelTlsFree(qelTlsAlloc());
        static_cast<void>(NetInterfaceList(true).initialize());
    }
    return isOver;
}

Outcome cancelThread(Random &random) {
    const std::shared_lock<std::shared_mutex> gate(shared->indices, std::try_to_lock);
    if (!gate)
        return Outcome::right;
    const RemovedFile file(ownPath("cancelled"));
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    if (!event)
        return Outcome::failed;
    const auto choice = random() % 3;
    void *const argument = choice == 0   ? event
                           : choice == 1 ? const_cast<char *>(file.path())
                                         : static_cast<void *>(&shared->isOver);
    void *(*const bodies[])(void *) = {waitForEver, keepWriting, keepCollecting};
    pthread_t thread;
    Outcome outcome = Outcome::failed;
    if (pthread_create(&thread, nullptr, bodies[choice], argument) == 0) {
        const timespec pause{0, static_cast<long>(random() % 2000000)};
        nanosleep(&pause, nullptr);
        pthread_cancel(thread);
        pthread_join(thread, nullptr);
        outcome = Outcome::right;
    }
    return qelCloseHandle(event) == 1 ? outcome : Outcome::wrong;
}

Outcome forkChild(Random &random);

const struct Act {
    const char *name;
    Outcome (*perform)(Random &random);
    unsigned oneIn;     // how seldom
    bool isForChildren; // it needs nothing that another thread may have held at the fork
} kActs[] = {
    {"events", useEvents, 1, true},
    {"turns", takeTurns, 1, false},
    {"threads", startThreads, 4, false},
    {"indices", useIndices, 1, false},
    {"lock", shareLock, 1, false},
    {"lists", useLists, 1, false},
    {"files", useFiles, 2, true},
    {"search", searchFolder, 2, true},
    {"libraries", loadLibraries, 2, true},
    {"text", convertText, 1, true},
    {"invalid text", convertInvalidText, 2, true},
    {"paths", editPaths, 1, true},
    {"folders", makeFolders, 4, true},
    {"identity", identify, 1, true},
    {"network", collectNetwork, 8, true},
    {"connection", connectToListener, 8, true},
    {"users", collectUsers, 4, true},
    {"properties", askProperties, 8, true},
    {"cancellation", cancelThread, 16, false},
    {"fork", forkChild, 64, false},
};

/** Performs an act; what runs out of memory outside the library has failed. */
Outcome perform(const Act &act, Random &random) {
    try {
        return act.perform(random);
    } catch (const std::bad_alloc &) {
        return Outcome::failed;
    }
}

volatile const char *actOfChild = "";

void tellHang(int) {
    const char text[] = "a child hangs in: ";
    static_cast<void>(!write(STDERR_FILENO, text, sizeof text - 1));
    const auto *const name = const_cast<const char *>(actOfChild);
    static_cast<void>(!write(STDERR_FILENO, name, std::strlen(name)));
    static_cast<void>(!write(STDERR_FILENO, "\n", 1));
    _exit(2);
}

Outcome forkChild(Random &random) {
    const auto seed = random();
    const pid_t child = fork();
    if (child < 0)
        return Outcome::failed;
    if (child == 0) {
        std::signal(SIGALRM, tellHang);
        alarm(static_cast<unsigned>(kHang.count() / 2));
        limit(RLIMIT_AS, kMemoryBytes); // nobody would end a squeeze here
        Random own(seed);
        for (const Act &act : kActs) {
            actOfChild = act.name;
            if (act.isForChildren && perform(act, own) == Outcome::wrong) {
                dprintf(STDERR_FILENO, "wrong in a child: %s\n", act.name);
                _exit(1);
            }
        }
        _exit(0);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return mustHold(status == 0);
}

// ---- the threads and what is done to them

struct Worker {
    std::atomic<const char *> act{""};
    long counts[std::size(kActs)][3] = {};
};

void work(Worker &worker, uint32_t seed) {
    Random random(seed);
    if (qeSO_ThreadAttach() == 0)
        shared->isOver = true;
    while (!shared->isOver) {
        const size_t index = random() % std::size(kActs);
        const Act &act = kActs[index];
        if (random() % act.oneIn != 0)
            continue;
        worker.act = act.name;
        const long before = shared->squeezes;
        Outcome outcome = perform(act, random);
        const bool wasSqueezed = before % 2 != 0 || shared->squeezes != before;
        if (outcome == Outcome::failed && !wasSqueezed)
            outcome = Outcome::wrong;
        ++worker.counts[index][static_cast<int>(outcome)];
        if (outcome == Outcome::wrong)
            std::fprintf(stderr, "wrong: %s %s (seed %u)\n", act.name, lastDifference.c_str(), seed);
    }
    worker.act = "nothing any more";
    qeSO_ThreadDetach();
}

/** Keeps all descriptors, or all further memory, to itself for some milliseconds. */
void squeeze(Random &random) {
    ++shared->squeezes;
    if (random() % 2) {
        std::vector<int> taken;
        taken.reserve(kDescriptors);
        for (int descriptor;
             taken.size() < kDescriptors && (descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
            taken.push_back(descriptor);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 5));
        for (const int descriptor : taken)
            close(descriptor);
    } else {
        rlimit limit;
        getrlimit(RLIMIT_AS, &limit);
        const rlim_t whole = limit.rlim_cur;
        limit.rlim_cur = 1 << 20;
        setrlimit(RLIMIT_AS, &limit);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 5));
        limit.rlim_cur = whole;
        setrlimit(RLIMIT_AS, &limit);
    }
    ++shared->squeezes;
}

volatile std::sig_atomic_t signals = 0;
void countSignal(int) {
    signals = signals + 1;
}

/** A signal to the process every millisecond, which interrupts whatever waits. */
class Timer {
public:
    Timer() {
        struct sigaction action {};
        action.sa_handler = countSignal;
        sigaction(SIGRTMIN, &action, nullptr);
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGRTMIN;
        if (timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0)
            std::abort();
        const itimerspec everyMillisecond{{0, 1000000}, {0, 1000000}};
        timer_settime(m_timer, 0, &everyMillisecond, nullptr);
    }
    ~Timer() { timer_delete(m_timer); }
    Timer(const Timer &) = delete;
    Timer &operator=(const Timer &) = delete;

private:
    timer_t m_timer{};
};

/** One round of everything; the acts by their outcomes are added to totals. Ends the process when an act hangs. */
void runFor(std::chrono::milliseconds duration, uint32_t seed, long (&totals)[std::size(kActs)][3]) {
    shared->isOver = false;
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < kThreads; ++i)
        workers.push_back(std::make_unique<Worker>());
    {
        const Timer timer;
        for (uint32_t i = 0; i < kThreads; ++i)
            threads.emplace_back(work, std::ref(*workers[i]), seed + i);
        std::thread watch([&] {
            std::atomic<bool> &isOver = shared->isOver;
            const auto end = Clock::now() + duration;
            for (Random random(seed); !isOver && Clock::now() < end;) {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                squeeze(random);
            }
            isOver = true;
        });
        watch.join();
        std::atomic<int> left{kThreads};
        std::thread deadline([&] {
            const auto end = Clock::now() + kHang;
            while (left > 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                if (Clock::now() > end) {
                    for (const auto &worker : workers)
                        std::fprintf(stderr, "a thread was last seen in: %s\n", worker->act.load());
                    std::_Exit(3);
                }
            }
        });
        for (std::thread &thread : threads) {
            thread.join();
            --left;
        }
        deadline.join();
    }
    for (const auto &worker : workers)
        for (size_t act = 0; act < std::size(kActs); ++act)
            for (size_t outcome = 0; outcome < 3; ++outcome)
                totals[act][outcome] += worker->counts[act][outcome];
}

// ---- what must be as it was

size_t entriesOf(const char *folder) {
    const std::unique_ptr<DIR, int (*)(DIR *)> open(opendir(folder), closedir);
    size_t count = 0;
    while (open && readdir(open.get()))
        ++count;
    return count;
}

struct Holdings {
    size_t descriptors = entriesOf("/proc/self/fd");
    size_t threads = entriesOf("/proc/self/task");
    size_t files = entriesOf(shared->folder.path().c_str());
    size_t searches = static_cast<size_t>(std::count_if(std::begin(pDirEntTable), std::end(pDirEntTable), isUsed));
    size_t libraries =
        static_cast<size_t>(std::count_if(std::begin(pDynamicLibraryList), std::end(pDynamicLibraryList), isUsed));
    size_t indices = static_cast<size_t>(std::count_if(std::begin(pTlsKeyTable), std::end(pTlsKeyTable), isUsed));
    size_t bytes = mallinfo2().uordblks + mallinfo2().hblkhd;

private:
    static bool isUsed(const void *slot) { return slot != nullptr; }
};

constexpr size_t kStrayBytes = 16384; // what the C library's own caches may grow by

bool isAsBefore(const char *what, size_t before, size_t after, size_t tolerance = 0) {
    if (after <= before + tolerance && (after == before || tolerance > 0))
        return true;
    std::fprintf(stderr, "%s: %zu before, %zu after\n", what, before, after);
    return false;
}

bool areAsBefore(const Holdings &before, const Holdings &after) {
    bool isSame = isAsBefore("descriptors", before.descriptors, after.descriptors);
    isSame &= isAsBefore("threads", before.threads, after.threads);
    isSame &= isAsBefore("files", before.files, after.files);
    isSame &= isAsBefore("searches", before.searches, after.searches);
    isSame &= isAsBefore("libraries", before.libraries, after.libraries);
    isSame &= isAsBefore("thread-local indices", before.indices, after.indices);
    return isAsBefore("bytes of memory", before.bytes, after.bytes, kStrayBytes) && isSame;
}

void prepare() {
    for (int i = 0; i < 20; ++i)
        shared->folder.write("x", "");
    std::filesystem::create_directory(shared->folder / "searched");
    for (int i = 0; i < 20; ++i)
        shared->folder.write("searched/" + std::to_string(i) + (i % 2 ? ".log" : ".txt"), "x");
    if (symlink("searched/0.txt", (shared->folder / "link").c_str()) != 0)
        std::abort();
    shared->listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    shared->listening.sin_family = AF_INET;
    shared->listening.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof shared->listening;
    auto *const address = reinterpret_cast<sockaddr *>(&shared->listening);
    if (bind(shared->listener, address, length) != 0 || getsockname(shared->listener, address, &length) != 0 ||
        listen(shared->listener, 4096) != 0)
        std::abort();
    pthread_t first; // the C library loads what unwinds a cancelled thread, and ends the process where it cannot
    if (pthread_create(
            &first, nullptr, [](void *) -> void * { return pause(), nullptr; }, nullptr) != 0)
        std::abort();
    pthread_cancel(first);
    pthread_join(first, nullptr);
    qeSO_ProcessAttach();
    tzset(); // from here on the zone has its name
    qeSO_SELockCreate(&shared->lock);
    qeSLL_Create(&shared->stack);
    qeSLL2_Create(&shared->row);
    std::set<std::wstring> networkUsers;
    session::CollectLoggedonUsers(networkUsers, shared->users, false);
    shared->addresses = localAddresses();
    sysprops::ISysProps properties;
    for (const wchar_t *name : {L"ComputerName", L"NumOfCPU", L"CPUType", L"TotalPhysicalMemory", L"TotalDiskSpace",
                                L"IPAddress", L"NETAddress", L"SubnetMask", L"TimeZone", L"DefaultLangID"})
        shared->properties[name] = properties.GetOneSystemProperty(name);
}

/** Takes the listener's finished connections out of its queue. */
void drain() {
    fcntl(shared->listener, F_SETFL, O_NONBLOCK);
    for (int accepted; (accepted = accept4(shared->listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
        close(accepted);
}

} // namespace

int main(int argc, char **argv) {
    const long seconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 20;
    const auto seed = static_cast<uint32_t>(argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 20080203);
    const int report = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3); // the library's diagnostics go to standard output
    if (!std::freopen("/dev/null", "w", stdout) || report < 0)
        return 2;
    limit(RLIMIT_NOFILE, kDescriptors);
    limit(RLIMIT_AS, kMemoryBytes);
    Shared everything;
    shared = &everything;
    prepare();
    long warmUp[std::size(kActs)][3] = {}, totals[std::size(kActs)][3] = {};
    // Short rounds, so that the listener's queue never fills; the first ones make what is made once and stays.
    const auto runRounds = [&](std::chrono::milliseconds duration, uint32_t first, long(&counts)[std::size(kActs)][3]) {
        const auto end = Clock::now() + duration;
        while (Clock::now() < end) {
            runFor(std::min(std::chrono::milliseconds(1000),
                            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now())),
                   first, counts);
            first += kThreads;
            drain();
            qeSO_ProcessDetach(); // does nothing where the end of a library thread has freed the index
            qeSO_ProcessAttach();
        }
    };
    runRounds(std::chrono::seconds(3), seed + 1000000, warmUp);
    const Holdings before;
    runRounds(std::chrono::seconds(seconds), seed, totals);
    const Holdings after;
    long acts = 0, wrong = 0, failed = 0;
    for (size_t act = 0; act < std::size(kActs); ++act) {
        const auto &counts = totals[act];
        dprintf(report, "%-14s right %9ld failed while squeezed %7ld wrong %ld\n", kActs[act].name, counts[0],
                counts[1], counts[2] + warmUp[act][2]);
        acts += counts[0] + counts[1] + counts[2];
        failed += counts[1];
        wrong += counts[2] + warmUp[act][2];
        if (counts[0] == 0)
            wrong += std::fprintf(stderr, "never right: %s\n", kActs[act].name) > 0;
    }
    if (shared->turns != shared->turnsTaken || shared->writes != shared->writesAgain)
        wrong += std::fprintf(stderr, "two threads held the same lock\n") > 0;
    if (qeSLL_IsEmpty(shared->stack) != 1 || qeSLL2_IsEmpty(shared->row) != 1)
        wrong += std::fprintf(stderr, "a list is not empty\n") > 0;
    if (!areAsBefore(before, after))
        ++wrong;
    dprintf(report, "acts %ld wrong %ld failed-while-squeezed %ld squeezes %ld signals %ld seconds %ld seed %u\n", acts,
            wrong, failed, shared->squeezes / 2, static_cast<long>(signals), seconds, seed);
    qeSLL_Release(shared->stack);
    qeSLL2_Release(shared->row);
    qeSO_Release(shared->lock);
    qelCloseHandle(shared->turn);
    close(shared->listener);
    return wrong == 0 ? 0 : 1;
}
