#include "tests/torture/driver.h"
#include "tests/torture/machine_files.h"

#include "zorcomn/lists_locks.h"
#include "zorcomn/portability.h"

#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zor::torture {

namespace {

constexpr int kSecondsPerRun = 20;
constexpr size_t kTextSize = 60000;

/** What a process holds that a call must not lose. */
struct Holdings {
    int64_t allocations;
    int32_t descriptors, slots, lockedMutexes, children, cancellable, blockedSignals;
};

/** What a child tells its parent. */
struct Report {
    Record record;
    Holdings holdings;
    int32_t isThrown, isDone;
    char first[kTextSize], second[kTextSize];
};

Report *shared() {
    static auto *const report =
        static_cast<Report *>(mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return report;
}

const test::TemporaryFolder &baseFolder() {
    static const test::TemporaryFolder folder;
    return folder;
}

std::string &workName() {
    static std::string name = baseFolder() / "work";
    return name;
}

int32_t openDescriptors() {
    int32_t count = 0;
    for (int descriptor = 0; descriptor < 64; ++descriptor)
        count += fcntl(descriptor, F_GETFD) != -1;
    return count;
}

int32_t isLocked(pthread_mutex_t &mutex) {
    if (pthread_mutex_trylock(&mutex) != 0)
        return 1;
    pthread_mutex_unlock(&mutex);
    return 0;
}

/** A thread frees what it holds after those who wait for it go on. */
void awaitLastThread() {
    for (int look = 0; look < 2000; ++look) {
        std::ifstream status("/proc/self/stat");
        std::string text;
        std::getline(status, text);
        std::istringstream fields(text.substr(text.rfind(')') + 2));
        std::string field;
        for (int i = 0; i < 18; ++i)
            fields >> field;
        if (field == "1")
            return;
        usleep(1000);
    }
}

Holdings currentHoldings() {
    Holdings now = {};
    awaitLastThread();
    now.allocations = liveAllocations();
    now.descriptors = openDescriptors();
    for (const auto *search : pDirEntTable)
        now.slots += search != nullptr;
    for (const auto *library : pDynamicLibraryList)
        now.slots += library != nullptr;
    for (const auto *key : pTlsKeyTable)
        now.slots += key != nullptr;
    for (pthread_mutex_t *const mutex :
         {&MutexDirEnt, &MutexDynamicLibraryList, &MutexInterlockedLong, &MutexInterlockedExchange})
        now.lockedMutexes += isLocked(*mutex);
    now.children = waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD ? 0 : 1;
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &now.cancellable);
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < 32; ++signal)
        now.blockedSignals += sigismember(&blocked, signal) == 1;
    return now;
}

std::string lossAgainst(const Holdings &usual, const Holdings &now) {
    std::string text;
    const auto tell = [&text](const char *what, int64_t before, int64_t after) {
        if (after > before)
            text += std::string(" ") + what + " " + std::to_string(before) + " -> " + std::to_string(after);
    };
    tell("allocations", usual.allocations, now.allocations);
    tell("descriptors", usual.descriptors, now.descriptors);
    tell("slots", usual.slots, now.slots);
    tell("locked mutexes", usual.lockedMutexes, now.lockedMutexes);
    tell("children", usual.children, now.children);
    tell("cancellation", usual.cancellable, now.cancellable);
    tell("blocked signals", usual.blockedSignals, now.blockedSignals);
    return text;
}

// An outcome crosses to the parent as lines: kind, then its parts, with characters that no answer holds between them.
constexpr char kPart = '\x1f', kLine = '\x1e', kFunction = '\x1d';

void write(char (&text)[kTextSize], const Outcome &outcome) {
    std::string lines;
    if (outcome.hasFailed())
        lines += std::string("failed") + kLine;
    if (outcome.kept() > 0)
        lines += std::string("kept") + kPart + std::to_string(outcome.kept()) + kLine;
    for (const std::string &violation : outcome.violations())
        lines += std::string("violation") + kPart + violation + kLine;
    for (const Field &field : outcome.fields()) {
        lines += std::string("field") + kPart + field.name + kPart + field.value;
        for (const std::string &failure : field.failures)
            lines += kPart + failure;
        lines += kLine;
    }
    std::snprintf(text, sizeof text, "%s", lines.c_str());
}

std::vector<std::string> splitAt(const std::string &text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

Outcome read(const char *text) {
    Outcome outcome;
    for (const std::string &line : splitAt(text, kLine)) {
        const std::vector<std::string> parts = splitAt(line, kPart);
        if (parts[0] == "failed")
            outcome.failed();
        else if (parts[0] == "kept")
            outcome.mayKeep(std::stoi(parts[1]));
        else if (parts[0] == "violation")
            outcome.require(false, parts[1]);
        else if (parts[0] == "field")
            outcome.field(parts[1], parts[2], {parts.begin() + 3, parts.end()});
    }
    return outcome;
}

void emptyWork() {
    std::error_code ignored;
    std::filesystem::remove_all(workName(), ignored);
    std::filesystem::create_directory(workName(), ignored);
}

/** A use in a folder of its own; true when it leaves an outcome. */
void use(const Case &one, char (&text)[kTextSize]) {
    static int number = 0;
    if (number++ > 0 || !std::filesystem::is_empty(workName()))
        emptyWork();
    chdir(workName().c_str());
    Outcome outcome;
    one.run(outcome);
    disarm();
    write(text, outcome);
    if (!std::filesystem::is_empty(workName()))
        emptyWork();
}

Record idleRecord;

[[noreturn]] void beChild(const Case &one, const Plan &plan, bool isWarm, bool wantsStack) {
    Report &report = *shared();
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    itimerval limit = {};
    limit.it_value.tv_sec = kSecondsPerRun;
    setitimer(ITIMER_REAL, &limit, nullptr);
    tzset(); // until then the C library has another name for the zone
    setPlan({}, &idleRecord, false);
    if (isWarm)
        use(one, report.second);
    setPlan(plan, &report.record, wantsStack);
    use(one, report.first);
    setPlan({}, &idleRecord, false);
    use(one, report.second);
    report.holdings = currentHoldings();
    report.isDone = 1;
    std::_Exit(0);
}

/** Runs a child; how it ended when not as it should. */
std::string runChild(const Case &one, const Plan &plan, bool isWarm, bool wantsStack) {
    Report &report = *shared();
    std::memset(&report, 0, offsetof(Report, first));
    report.first[0] = report.second[0] = '\0';
    const pid_t child = fork();
    if (child == 0)
        beChild(one, plan, isWarm, wantsStack);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        return WTERMSIG(status) == SIGALRM ? "hangs" : std::string("ended by ") + strsignal(WTERMSIG(status));
    if (report.isDone == 0)
        return "ended the process";
    return report.isThrown ? "throws" : "";
}

struct Usual {
    Outcome outcome;
    Holdings holdings;
};

const Field *find(const Outcome &outcome, const std::string &name, size_t nth) {
    for (const Field &field : outcome.fields())
        if (field.name == name && nth-- == 0)
            return &field;
    return nullptr;
}

/** Whether a value is this failure value; function: what was made to fail. */
bool isMeant(const std::string &failure, const std::string &value, const char *function) {
    const size_t separator = failure.find(kFunction);
    if (separator == std::string::npos)
        return failure == value;
    std::istringstream functions(failure.substr(0, separator));
    for (std::string word; functions >> word;)
        if (function && word == function)
            return failure.substr(separator + 1) == value;
    return false;
}

/** What is wrong with an outcome; empty when nothing is. isFailure: whether it tells of a failure. */
std::string judge(const Outcome &usual, const Outcome &outcome, const char *function, bool &isFailure) {
    std::string text;
    isFailure = outcome.hasFailed();
    for (const std::string &violation : outcome.violations())
        text += " " + violation + ";";
    std::vector<std::pair<std::string, size_t>> seen;
    for (const Field &field : outcome.fields()) {
        size_t nth = 0;
        for (const auto &[name, count] : seen)
            nth += name == field.name;
        seen.emplace_back(field.name, 0);
        const Field *const expected = find(usual, field.name, nth);
        if (expected && expected->value == field.value)
            continue;
        bool isKnownFailure = false;
        for (const std::string &failure : field.failures)
            isKnownFailure = isKnownFailure || isMeant(failure, field.value, function);
        isFailure = isFailure || isKnownFailure;
        if (!isKnownFailure)
            text +=
                " " + field.name + " \"" + field.value + "\" for \"" + (expected ? expected->value : "(none)") + "\";";
    }
    if (!isFailure && outcome.fields().size() < usual.fields().size())
        text += " a part of the answer is missing;";
    return text;
}

Usual runWithout(const Case &one, bool isWarm) {
    const std::string end = runChild(one, {}, isWarm, false);
    Usual usual{read(shared()->first), shared()->holdings};
    if (!end.empty())
        usual.outcome.require(false, end);
    return usual;
}

std::string stackText(const Record &record) {
    std::string text;
    char **const names = backtrace_symbols(record.stack, record.depth);
    for (int i = 2; i < record.depth && i < 14; ++i)
        text += std::string("\n      ") + names[i];
    std::free(names);
    return text;
}

std::string planText(const Plan &plan, const Record &record) {
    std::string text = plan.fault == Fault::Allocation        ? "allocation "
                       : plan.fault == Fault::AllocationsFrom ? "all allocations from "
                       : plan.fault == Fault::Call            ? "call "
                                                              : "calls from ";
    text += std::to_string(plan.nth);
    if (record.name[0] != '\0')
        text +=
            std::string(" (") + record.name + ", " +
            (record.error ? strerrorname_np(record.error) ? strerrorname_np(record.error) : std::to_string(record.error)
                          : "short") +
            ")";
    return text;
}

/** Everything about one run. Returns whether its fault was hit. */
class Run {
public:
    Run(const Case &one, bool isWarm, const Plan &plan, Usual &usual, Figures &figures)
        : m_case(one), m_isWarm(isWarm), m_plan(plan), m_usual(usual), m_figures(figures) {}

    bool make() {
        static const bool wantsStack = std::getenv("ZORCOMN_TORTURE_STACKS") != nullptr;
        const std::string end = runChild(m_case, m_plan, m_isWarm, wantsStack);
        const Record record = shared()->record;
        if (!record.hit)
            return false;
        ++m_figures.runs;
        bool isFailure = false;
        std::string wrong = end.empty() ? complaint(isFailure) : " " + end;
        if (!wrong.empty() && end.empty() && hasMoved())
            wrong = complaint(isFailure); // the machine itself changed meanwhile
        if (wrong.empty()) {
            ++(isFailure ? m_figures.failed : m_figures.right);
            return true;
        }
        ++m_figures.wrong;
        m_figures.messages.push_back(std::string(m_case.functions).substr(0, 60) + (m_isWarm ? "" : ", first use") +
                                     ": " + planText(m_plan, record) + ":" + wrong +
                                     (wantsStack ? stackText(record) : ""));
        return true;
    }
    int variants() const { return shared()->record.variants; }
    int counted() const { return shared()->record.counted; }

private:
    std::string complaint(bool &isFailure) {
        if (m_first.empty()) {
            m_first = shared()->first;
            m_second = shared()->second;
            m_holdings = shared()->holdings;
            m_function = shared()->record.name;
        }
        bool ignored = false;
        const Outcome outcome = read(m_first.c_str());
        std::string wrong = judge(m_usual.outcome, outcome, m_function.c_str(), isFailure);
        const Outcome next = read(m_second.c_str());
        std::string after = judge(m_usual.outcome, next, nullptr, ignored);
        if (after.empty() && (next.hasFailed() != m_usual.outcome.hasFailed() || ignored))
            after = " fails";
        if (!after.empty())
            wrong += " the next call:" + after;
        Holdings allowed = m_usual.holdings;
        allowed.allocations += outcome.kept();
        const std::string loss = lossAgainst(allowed, m_holdings);
        return wrong + (loss.empty() ? "" : " lost:" + loss);
    }
    /** Whether a run without a fault gives another answer by now. */
    bool hasMoved() {
        m_usual = runWithout(m_case, m_isWarm);
        return true;
    }

    const Case &m_case;
    bool m_isWarm;
    Plan m_plan;
    Usual &m_usual;
    Figures &m_figures;
    std::string m_first, m_second;
    std::string m_function;
    Holdings m_holdings = {};
};

} // namespace

std::string by(const std::string &functions, const std::string &value) {
    return functions + kFunction + value;
}

void noteThrown() {
    shared()->isThrown = 1;
}

std::string Outcome::narrow(const std::wstring &text) {
    std::string narrow;
    for (const wchar_t character : text)
        narrow += character < 128 ? static_cast<char>(character) : '?';
    return narrow;
}

Figures torture(const Case &one, bool isWarm, uint64_t seed, uint64_t rate) {
    Figures figures;
    figures.calls = 1;
    Usual usual = runWithout(one, isWarm);
    if (usual.outcome.hasFailed() || !usual.outcome.violations().empty()) {
        ++figures.wrong;
        figures.messages.push_back(std::string(one.functions) + ": fails without a fault" +
                                   (usual.outcome.violations().empty() ? "" : ": " + usual.outcome.violations()[0]));
        return figures;
    }
    uint64_t number = std::hash<std::string>()(one.functions) + (isWarm ? 1 : 0);
    for (const Fault fault : {Fault::Allocation, Fault::AllocationsFrom, Fault::Call, Fault::CallsFrom}) {
        const bool isCall = fault == Fault::Call || fault == Fault::CallsFrom;
        // How many there are is counted by a plan beyond them all.
        runChild(one, {fault, INT32_MAX, 0}, isWarm, false);
        const int count = shared()->record.counted;
        for (int nth = 1; nth <= count; ++nth) {
            int variants = 1;
            for (int variant = 0; variant < variants; ++variant) {
                if (!isSampled(seed, ++number, rate)) {
                    variants = isCall ? 4 : 1;
                    continue;
                }
                Run run(one, isWarm, {fault, nth, variant}, usual, figures);
                run.make();
                if (isCall && run.variants() > variants)
                    variants = run.variants();
            }
        }
    }
    return figures;
}

void prepareMachine() {
    const test::TemporaryFolder &folder = baseFolder();
    writeMachineFiles(folder);
    std::filesystem::create_directory(workName());
    setMachine(folder.path().c_str());
    void *frames[4];
    backtrace(frames, 4); // loads what it needs now, and not within a fault
}

const std::string &workFolder() {
    return workName();
}

std::string workPath(const std::string &name) {
    return workName() + "/" + name;
}

void writeWork(const std::string &name, const std::string &content) {
    std::ofstream(workPath(name), std::ios::binary) << content;
}

std::string readWork(const std::string &name) {
    std::ifstream file(workPath(name), std::ios::binary);
    if (!file)
        return "(none)";
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

size_t filesInWork() {
    size_t count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(workName()))
        count += entry.is_regular_file();
    return count;
}

std::string modulePath(const std::string &name) {
    return std::string(ZORCOMN_TEST_MODULES) + "/" + name;
}

std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (const auto &room :
         {portabilityCases(), listAndLockCases(), utilityCases(), networkCases(), sessionCases(), propertyCases()})
        cases.insert(cases.end(), room.begin(), room.end());
    return cases;
}

} // namespace zor::torture
