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

namespace session {
ZORCOMN_API FILE *myfd();
ZORCOMN_API void parseFullUserName(const std::wstring &fullName, std::wstring &domain, std::wstring &user);
ZORCOMN_API void toLower(std::string &text);
ZORCOMN_API std::string trimmer(const char *text);
ZORCOMN_API void split(const std::string &text, char separator, std::vector<std::string> &parts);
ZORCOMN_API bool FindDomainName(const std::string &user, std::string &domain);
ZORCOMN_API bool FindDomainNameViaDscl(const std::string &user, std::string attribute, std::string &domain);
ZORCOMN_API void CollectLoggedonUsers(std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers,
                                      bool networkOnly);
ZORCOMN_API void CollectComaSepLoggedonUsers(std::wstring &networkUsers, std::wstring &localUsers, bool networkOnly);
ZORCOMN_API void CollectAllLoggedonUsers(std::wstring &users);
} // namespace session

class SignalHandler {
public:
    ZORCOMN_API SignalHandler();
    ZORCOMN_API ~SignalHandler();
    ZORCOMN_API int addSignalToBlock(int signal);
    ZORCOMN_API int unblockSignal(int signal);
    ZORCOMN_API int registerOnSignalCallback(int signal, std::function<void()> callback);
    ZORCOMN_API void operator()();

private:
    sigset_t m_signals;
    std::map<int, std::function<void()>> m_callbacks;
};

enum SyslogPriority : int { SyslogCritical = 0, SyslogError = 1, SyslogWarning = 2, SyslogInfo = 3 };

ZORCOMN_API bool LogInSystemLog(SyslogPriority priority, const char *format, ...);
ZORCOMN_API bool LogInSystemLog(SyslogPriority priority, const char *ident, const char *format, ...);
ZORCOMN_API bool vLogInSystemLog(int priority, const char *format, va_list arguments);
ZORCOMN_API bool vLogInSystemLog(int priority, const char *ident, const char *format, va_list arguments);

} // namespace vta
} // namespace velmora_com

extern "C" {
ZORCOMN_API void CatchSIGTERM(int signal);
ZORCOMN_API extern volatile std::sig_atomic_t bSigTermReceived;
}
