// Who is logged on, signals, the system log.

#include "tests/torture/cases.h"

#include "zorcomn/session.h"

#include <csignal>
#include <cstdarg>
#include <set>

#include <pthread.h>
#include <unistd.h>

using namespace velmora_com::vta;

namespace zor::torture {

namespace {

std::string joined(const std::set<std::wstring> &names) {
    std::string text;
    for (const std::wstring &name : names)
        text += Outcome::narrow(name) + ' ';
    return text;
}

/** Blocks its signals while it lives. */
struct Handler {
    Handler() {
        pthread_sigmask(SIG_SETMASK, nullptr, &before);
        handler.addSignalToBlock(SIGUSR1);
        handler.addSignalToBlock(SIGUSR2);
    }
    ~Handler() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    sigset_t before;
    SignalHandler handler;
};

bool logThrough(const char *format, ...) {
    va_list first, second;
    va_start(first, format);
    va_start(second, format);
    const bool result = vLogInSystemLog(6, format, first) && vLogInSystemLog(6, "an ident", format, second);
    va_end(second);
    va_end(first);
    return result;
}

} // namespace

std::vector<Case> sessionCases() {
    return {
        {"session::myfd session::toLower",
         [](Outcome &outcome) {
             std::string text = "ABC";
             faulty([&] {
                 session::toLower(text);
                 outcome.require(session::myfd() == stdout, "another stream");
             });
             outcome.field("text", text);
         }},
        {"session::parseFullUserName",
         [](Outcome &outcome) {
             const std::wstring name = L"a-long-domain-name\\a-long-user-name";
             std::wstring domain = L"untouched", user = L"untouched";
             faulty([&] { session::parseFullUserName(name, domain, user); });
             outcome.field("both", Outcome::narrow(domain) + '|' + Outcome::narrow(user), {"untouched|untouched"});
         }},
        {"session::trimmer",
         [](Outcome &outcome) {
             outcome.field("text", faulty([] { return session::trimmer("  a text longer than small  "); }), {""});
         }},
        {"session::split",
         [](Outcome &outcome) {
             const std::string text = "a part longer than small|another part longer than small|a third one of them";
             std::vector<std::string> parts{"before"};
             faulty([&] { session::split(text, '|', parts); });
             std::string all;
             for (const std::string &part : parts)
                 all += part + ';';
             outcome.field("parts", all, {"before;"});
         }},
        {"session::FindDomainName",
         [](Outcome &outcome) {
             const std::string user = "carol";
             std::string domain = "untouched";
             if (outcome.succeeded(faulty([&] { return session::FindDomainName(user, domain); })))
                 outcome.field("domain", domain);
         }},
        {"session::FindDomainNameViaDscl",
         [](Outcome &outcome) {
             const std::string user = "alice";
             std::string attribute = "userPrincipalName", domain = "untouched";
             if (outcome.succeeded(
                     faulty([&] { return session::FindDomainNameViaDscl(user, std::move(attribute), domain); })))
                 outcome.field("domain", domain);
         }},
        {"session::CollectLoggedonUsers",
         [](Outcome &outcome) {
             std::set<std::wstring> network, local;
             faulty([&] { session::CollectLoggedonUsers(network, local, false); });
             outcome.field("users", joined(network) + '|' + joined(local),
                           {"|", by("popen access", "corp\\carol |alice bob "),
                            by("getpwnam_r getgrgid_r", "example.org\\alice |bob carol ")});
         }},
        {"session::CollectComaSepLoggedonUsers",
         [](Outcome &outcome) {
             std::wstring network, local;
             faulty([&] { session::CollectComaSepLoggedonUsers(network, local, false); });
             outcome.field("users", Outcome::narrow(network) + '|' + Outcome::narrow(local),
                           {"|", by("popen access", "corp\\carol|alice,bob"),
                            by("getpwnam_r getgrgid_r", "example.org\\alice|bob,carol")});
         }},
        {"session::CollectAllLoggedonUsers",
         [](Outcome &outcome) {
             std::wstring users = L"untouched";
             faulty([&] { session::CollectAllLoggedonUsers(users); });
             outcome.field("users", users,
                           {"", by("popen access", "corp\\carol,alice,bob"),
                            by("getpwnam_r getgrgid_r", "example.org\\alice,bob,carol")});
         }},
        {"SignalHandler::SignalHandler SignalHandler::~SignalHandler SignalHandler::addSignalToBlock "
         "SignalHandler::unblockSignal",
         [](Outcome &outcome) {
             sigset_t before, now;
             pthread_sigmask(SIG_SETMASK, nullptr, &before);
             faulty([&] {
                 SignalHandler handler;
                 handler.addSignalToBlock(SIGUSR1);
                 pthread_sigmask(SIG_SETMASK, nullptr, &now);
                 handler.unblockSignal(SIGUSR1);
             });
             outcome.field("blocked", std::to_string(sigismember(&now, SIGUSR1)));
             pthread_sigmask(SIG_SETMASK, &before, nullptr);
         }},
        {"SignalHandler::registerOnSignalCallback SignalHandler::operator()",
         [](Outcome &outcome) {
             Handler guarded;
             int runs = 0;
             int *const counter = &runs;
             std::function<void()> callback = [counter] { ++*counter; };
             const bool isRegistered = outcome.succeeded(
                 faulty([&] { return guarded.handler.registerOnSignalCallback(SIGUSR1, std::move(callback)); }) == 0);
             kill(getpid(), SIGUSR1); // both wait until they are fetched, the lower number first
             kill(getpid(), SIGUSR2);
             faulty([&] { guarded.handler(); });
             outcome.require(runs == (isRegistered ? 1 : 0), "runs of the callback");
             sigset_t pending;
             sigpending(&pending);
             outcome.require(sigismember(&pending, SIGUSR1) == !isRegistered, "the signal was not fetched");
             outcome.require(sigismember(&pending, SIGUSR2) == 0,
                             "a signal with a callback was taken for the request to stop");
             signal(SIGUSR1, SIG_IGN); // none is left for the next use
             signal(SIGUSR2, SIG_IGN);
             signal(SIGUSR1, SIG_DFL);
             signal(SIGUSR2, SIG_DFL);
         }},
        {"LogInSystemLog vLogInSystemLog",
         [](Outcome &outcome) {
             bool result = false;
             faulty([&] {
                 result = LogInSystemLog(SyslogInfo, "a message of %s", "torture") &&
                          LogInSystemLog(SyslogInfo, "an ident", "a message of %s", "torture") &&
                          logThrough("%s", "a message of torture");
             });
             outcome.field("result", std::to_string(result));
         }},
        {"CatchSIGTERM",
         [](Outcome &outcome) {
             faulty([] { CatchSIGTERM(SIGTERM); });
             outcome.field("flag", std::to_string(bSigTermReceived));
             bSigTermReceived = 0;
         }},
    };
}

} // namespace zor::torture
