// Handles, threads, files, searches, libraries, numeric texts and clocks.

#include "tests/torture/cases.h"

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include <cstring>

#include <dirent.h>
#include <pthread.h>

namespace zor::torture {

namespace {

constexpr uint32_t kRead = 0x80000000u, kWrite = 0x40000000u;

HANDLE openFile(const std::string &path, uint32_t access, uint32_t disposition) {
    return qelCreateFileAW(path.c_str(), access, 0, nullptr, disposition, 0, nullptr);
}

HANDLE openWork(const char *name, uint32_t access, uint32_t disposition) {
    return openFile(workPath(name), access, disposition);
}

void *fullModule() {
    return qelLoadLibrary(modulePath("module_full.so").c_str(), nullptr);
}

uint32_t returnSeven(void *) {
    return 7;
}

void waitAndClose(Outcome &outcome, HANDLE thread) {
    outcome.field("wait", std::to_string(qelWaitForSingleObject(thread, 10000)));
    qelCloseHandle(thread);
}

void tellFound(Outcome &outcome, const qelFindData &data) {
    outcome.field("name", data.name);
    outcome.field("size", std::to_string(data.size), {"0"}); // an entry whose facts cannot be read has none
}

struct Event {
    explicit Event(int32_t isSet) : handle(qelCreateEvent(nullptr, 1, isSet, nullptr)) {}
    ~Event() { qelCloseHandle(handle); }
    HANDLE handle;
};

std::vector<Case> handles() {
    return {
        {"qelCreateEvent",
         [](Outcome &outcome) {
             const HANDLE event = faulty([] { return qelCreateEvent(nullptr, 1, 1, nullptr); });
             if (outcome.succeeded(event != nullptr))
                 outcome.field("wait", std::to_string(qelWaitForSingleObject(event, 0)));
             qelCloseHandle(event);
         }},
        {"qelSetEvent",
         [](Outcome &outcome) {
             const Event event(0);
             if (outcome.succeeded(faulty([&] { return qelSetEvent(event.handle); }) == 1))
                 outcome.field("wait", std::to_string(qelWaitForSingleObject(event.handle, 0)));
         }},
        {"qelResetEvent",
         [](Outcome &outcome) {
             const Event event(1);
             if (outcome.succeeded(faulty([&] { return qelResetEvent(event.handle); }) == 1))
                 outcome.field("wait", std::to_string(qelWaitForSingleObject(event.handle, 0)));
         }},
        {"qelCreateMutex qelOpenMutex",
         [](Outcome &outcome) {
             const HANDLE mutex = faulty([] {
                 qelOpenMutex(0, 0, "x");
                 return qelCreateMutex(nullptr, 1, nullptr);
             });
             if (outcome.succeeded(mutex != nullptr)) {
                 outcome.field("wait", std::to_string(qelWaitForSingleObject(mutex, 0)));
                 outcome.field("release", std::to_string(qelReleaseMutex(mutex)));
             }
             qelCloseHandle(mutex);
         }},
        {"qelReleaseMutex",
         [](Outcome &outcome) {
             const HANDLE mutex = qelCreateMutex(nullptr, 1, nullptr);
             const bool isReleased = faulty([&] { return qelReleaseMutex(mutex); }) == 1;
             if (outcome.succeeded(isReleased))
                 outcome.field("wait", std::to_string(qelWaitForSingleObject(mutex, 0)));
             qelReleaseMutex(mutex);
             qelCloseHandle(mutex);
         }},
        {"qelWaitForSingleObject",
         [](Outcome &outcome) {
             const Event event(0);
             outcome.field("wait", std::to_string(faulty([&] { return qelWaitForSingleObject(event.handle, 1); })),
                           {"0"});
         }},
        {"qelWaitForMultipleObjects",
         [](Outcome &outcome) {
             const Event first(0), second(1);
             const HANDLE both[] = {first.handle, second.handle};
             outcome.field("wait", std::to_string(faulty([&] { return qelWaitForMultipleObjects(2, both, 0, 1); })),
                           {"0"});
         }},
        {"qelCloseHandle",
         [](Outcome &outcome) {
             const HANDLE event = qelCreateEvent(nullptr, 1, 1, nullptr);
             outcome.field("result", std::to_string(faulty([&] { return qelCloseHandle(event); })));
         }},
        {"qelGetLastError qelInterlockedIncrement qelInterlockedDecrement qelInterlockedExchange",
         [](Outcome &outcome) {
             volatile int32_t cell = 4;
             faulty([&] {
                 qelInterlockedIncrement(&cell);
                 qelInterlockedIncrement(&cell);
                 qelInterlockedDecrement(&cell);
                 qelInterlockedExchange(&cell, cell + 10);
                 qelGetLastError();
             });
             outcome.field("cell", std::to_string(cell));
         }},
    };
}

std::vector<Case> threads() {
    return {
        {"qelBeginThread qelThreadJuggle qelCleanupThread set_pthread_sched_param",
         [](Outcome &outcome) {
             uint32_t identifier = 9;
             const HANDLE thread = faulty([&] {
                 qelThreadJuggle(nullptr);
                 qelCleanupThread(nullptr);
                 set_pthread_sched_param(nullptr);
                 return qelBeginThread(nullptr, 0, returnSeven, nullptr, 0, &identifier);
             });
             const bool isStarted = reinterpret_cast<intptr_t>(thread) != -1 && thread != nullptr;
             if (outcome.succeeded(isStarted))
                 waitAndClose(outcome, thread);
         }},
        {"qelCreateThread",
         [](Outcome &outcome) {
             const HANDLE thread = faulty([] { return qelCreateThread(nullptr, 0, returnSeven, nullptr, 0, nullptr); });
             if (outcome.succeeded(thread != nullptr))
                 waitAndClose(outcome, thread);
         }},
        {"qelTlsAlloc",
         [](Outcome &outcome) {
             const uint32_t index = faulty([] { return qelTlsAlloc(); });
             if (outcome.succeeded(index != 0xFFFFFFFFu)) {
                 outcome.field("index", std::to_string(index));
                 outcome.field("free", std::to_string(qelTlsFree(index)));
             }
         }},
        {"qelTlsSetValue qelTlsGetValue",
         [](Outcome &outcome) {
             const uint32_t index = qelTlsAlloc();
             int value = 0;
             const bool isSet = faulty([&] { return qelTlsSetValue(index, &value); }) == 1;
             void *const found = faulty([&] { return qelTlsGetValue(index); });
             outcome.succeeded(isSet);
             outcome.require(found == (isSet ? &value : nullptr), "the slot holds what was not stored");
             qelTlsFree(index);
         }},
        {"qelTlsFree",
         [](Outcome &outcome) {
             const uint32_t index = qelTlsAlloc();
             outcome.field("result", std::to_string(faulty([&] { return qelTlsFree(index); })));
         }},
        {"qelDisableThreadLibraryCalls",
         [](Outcome &outcome) {
             void *const module = fullModule();
             outcome.field("result", std::to_string(faulty([&] { return qelDisableThreadLibraryCalls(module); })));
             qelFreeLibrary(module);
         }},
    };
}

std::vector<Case> files() {
    return {
        {"qelCreateFileAW",
         [](Outcome &outcome) { // a new file
             const std::string path = workPath("new");
             const HANDLE file = faulty([&] { return openFile(path, kWrite, 1); });
             if (!outcome.succeeded(file != nullptr))
                 outcome.require(readWork("new") == "(none)", "a file is left of a call that failed");
             outcome.field("close", std::to_string(qelCloseHandle(file)));
         }},
        {"qelCreateFileAW",
         [](Outcome &outcome) { // a file replaced
             writeWork("old", "content");
             const std::string path = workPath("old");
             const HANDLE file = faulty([&] { return openFile(path, kWrite, 2); });
             const bool isOpen = outcome.succeeded(file != nullptr);
             outcome.require(readWork("old") == (isOpen ? "" : "content"), "a call that failed emptied the file");
             outcome.field("close", std::to_string(qelCloseHandle(file)));
         }},
        {"qelCreateFileAW",
         [](Outcome &outcome) { // a file made where there is none, or replaced
             const std::string path = workPath("new");
             const HANDLE file = faulty([&] { return openFile(path, kWrite, 2); });
             if (!outcome.succeeded(file != nullptr))
                 outcome.require(readWork("new") == "(none)", "a file is left of a call that failed");
             qelCloseHandle(file);
         }},
        {"qelCreateFileAW",
         [](Outcome &outcome) { // a file opened or made
             const std::string path = workPath("new");
             const HANDLE file = faulty([&] { return openFile(path, kWrite, 4); });
             if (!outcome.succeeded(file != nullptr))
                 outcome.require(readWork("new") == "(none)", "a file is left of a call that failed");
             qelCloseHandle(file);
         }},
        {"qelReadFile",
         [](Outcome &outcome) {
             writeWork("file", "content");
             const HANDLE file = openWork("file", kRead, 3);
             char buffer[16] = "";
             uint32_t count = 0;
             if (outcome.succeeded(faulty([&] { return qelReadFile(file, buffer, 7, &count, nullptr); }) == 1))
                 outcome.require(count > 0 && std::string(buffer, count) == std::string("content").substr(0, count),
                                 "read what is not in the file");
             qelCloseHandle(file);
         }},
        {"qelWriteFile",
         [](Outcome &outcome) {
             const HANDLE file = openWork("file", kWrite, 2);
             uint32_t count = 0;
             const bool isWritten =
                 outcome.succeeded(faulty([&] { return qelWriteFile(file, "content", 7, &count, nullptr); }) == 1);
             outcome.require(readWork("file") == (isWritten ? std::string("content").substr(0, count) : ""),
                             "the file holds something else than told");
             qelCloseHandle(file);
         }},
        {"qelSetFilePointer qelGetFileSize qelSetEndOfFile",
         [](Outcome &outcome) {
             writeWork("file", "content");
             const HANDLE file = openWork("file", 0xC0000000u, 3);
             uint32_t position = 0, size = 0;
             int32_t isCut = 0;
             faulty([&] {
                 size = qelGetFileSize(file, nullptr);
                 position = qelSetFilePointer(file, 3, nullptr, 0);
                 isCut = qelSetEndOfFile(file);
             });
             outcome.field("size", std::to_string(size), {"4294967295"});
             outcome.field("position", std::to_string(position), {"4294967295"});
             outcome.field("cut", std::to_string(isCut), {"0"});
             if (isCut == 1 && position == 3)
                 outcome.require(readWork("file") == "con", "cut elsewhere");
             qelCloseHandle(file);
         }},
        {"qelCloseHandle",
         [](Outcome &outcome) { // of a file that goes with it
             const HANDLE file = qelCreateFileAW(workPath("gone").c_str(), kWrite, 0, nullptr, 1, 0x04000000u, nullptr);
             if (outcome.succeeded(faulty([&] { return qelCloseHandle(file); }) == 1))
                 outcome.require(readWork("gone") == "(none)", "the file stays");
             else
                 outcome.mayKeep(2); // the handle lives on, for good
         }},
        {"qelGetTempFileName",
         [](Outcome &outcome) {
             char name[300] = "untouched";
             const bool isMade = outcome.succeeded(
                 faulty([&] { return qelGetTempFileName(workFolder().c_str(), "tmp", 0, name); }) == 1);
             outcome.require(filesInWork() == (isMade ? 1u : 0u), "files in the folder");
             if (!isMade)
                 outcome.require(std::strcmp(name, "untouched") == 0, "a name without a file");
         }},
        {"qelCopyFile qelcomn_copy_file",
         [](Outcome &outcome) {
             const std::string content(3000, 'x');
             writeWork("source", content);
             const std::string source = workPath("source"), destination = workPath("copy");
             if (outcome.succeeded(faulty([&] { return qelCopyFile(source.c_str(), destination.c_str(), 0); }) == 1))
                 outcome.require(readWork("copy") == content, "the copy is another");
             outcome.require(readWork("source") == content, "the source is changed");
         }},
        {"qelMoveFile",
         [](Outcome &outcome) {
             writeWork("source", "content");
             const std::string source = workPath("source"), destination = workPath("moved");
             const bool isMoved =
                 outcome.succeeded(faulty([&] { return qelMoveFile(source.c_str(), destination.c_str()); }) == 1);
             outcome.require(readWork(isMoved ? "moved" : "source") == "content", "lost");
         }},
        {"qelSetFileAttributes qelGetModuleFileName qelGetFileVersionInfo qelVerQueryValue qelGetWindowsDirectory "
         "qelGetSystemDirectory",
         [](Outcome &outcome) {
             char first[32] = "", second[32] = "";
             faulty([&] {
                 qelSetFileAttributes("x", 0);
                 qelGetModuleFileName(nullptr, first, 0);
                 qelGetFileVersionInfo("x", 0, 0, nullptr);
                 qelVerQueryValue(nullptr, "x", nullptr, nullptr);
                 qelGetWindowsDirectory(first, sizeof first);
                 qelGetSystemDirectory(second, sizeof second);
             });
             outcome.field("folders", std::string(first) + second);
         }},
    };
}

std::vector<Case> searches() {
    return {
        {"qelFindFirstDirEnt qelFindCloseDirEnt",
         [](Outcome &outcome) {
             writeWork("one.txt", "12345");
             const std::string pattern = workPath("*.txt");
             qelFindData data = {};
             const int32_t search = faulty([&] { return qelFindFirstDirEnt(pattern.c_str(), &data); });
             if (!outcome.succeeded(search > 0))
                 return;
             tellFound(outcome, data);
             outcome.field("close", std::to_string(faulty([&] { return qelFindCloseDirEnt(search); })), {"0"});
         }},
        {"qelFindNextDirEnt",
         [](Outcome &outcome) {
             writeWork("one", "12345");
             writeWork("two", "12345");
             qelFindData data = {};
             const int32_t search = qelFindFirstDirEnt(workPath("*").c_str(), &data);
             // What comes first is the system's affair: only the number of entries is the same each time.
             if (outcome.succeeded(faulty([&] { return qelFindNextDirEnt(search, &data); }) == 1))
                 outcome.require(data.name[0] != '\0', "an entry without a name");
             qelFindCloseDirEnt(search);
         }},
        {"qelSetFindDataDirEnt",
         [](Outcome &outcome) {
             writeWork("one", "12345");
             dirent entry = {};
             std::strcpy(entry.d_name, "one");
             qelFindData data = {};
             const std::string folder = workFolder() + "/";
             faulty([&] { return qelSetFindDataDirEnt(&data, &entry, folder.c_str()); });
             tellFound(outcome, data);
         }},
        {"qelcomn_findfirstA qelcomn_findnextA qelcomn_findclose",
         [](Outcome &outcome) {
             writeWork("one.txt", "12345");
             const std::string pattern = workPath("*.txt");
             qelFindData data = {};
             const int32_t search = faulty([&] { return qelcomn_findfirstA(pattern.c_str(), &data); });
             if (!outcome.succeeded(search > 0))
                 return;
             tellFound(outcome, data);
             outcome.field("next", std::to_string(faulty([&] { return qelcomn_findnextA(search, &data); })));
             outcome.field("close", std::to_string(faulty([&] { return qelcomn_findclose(search); })), {"0"});
         }},
        {"qelWildCardMatch qelTstrtok_r",
         [](Outcome &outcome) {
             char text[] = "a,b";
             char *rest = nullptr;
             outcome.field("match", std::to_string(faulty([] { return qelWildCardMatch("*.t?t", "a.txt"); })));
             outcome.field("token", faulty([&] { return qelTstrtok_r(text, ",", &rest); }));
         }},
    };
}

std::vector<Case> libraries() {
    return {
        {"qelLoadLibrary",
         [](Outcome &outcome) {
             const std::string path = modulePath("module_full.so");
             const char *error = nullptr;
             void *const module = faulty([&] { return qelLoadLibrary(path.c_str(), &error); });
             if (outcome.succeeded(module != nullptr))
                 outcome.field("free", std::to_string(qelFreeLibrary(module)));
         }},
        {"qelLoadLibraryW",
         [](Outcome &outcome) {
             const std::string path = modulePath("module_bare.so");
             const std::wstring wide(path.begin(), path.end());
             const wchar_t *error = nullptr;
             void *const module = faulty([&] { return qelLoadLibraryW(wide.c_str(), &error); });
             if (outcome.succeeded(module != nullptr))
                 outcome.field("free", std::to_string(qelFreeLibrary(module)));
         }},
        {"qelFreeLibrary",
         [](Outcome &outcome) {
             void *const module = fullModule();
             outcome.field("result", std::to_string(faulty([&] { return qelFreeLibrary(module); })));
         }},
        {"qelGetProcAddress qelLoadString",
         [](Outcome &outcome) {
             void *const module = fullModule();
             char text[64] = "";
             void *const address = faulty([&] { return qelGetProcAddress(module, "DllMain", nullptr); });
             outcome.field("address", std::to_string(address != nullptr), {"0"});
             outcome.field("length",
                           std::to_string(faulty([&] { return qelLoadString(module, 1, text, sizeof text); })), {"0"});
             outcome.field("text", text, {""});
             qelFreeLibrary(module);
         }},
        {"load_shared_object_image unload_shared_object_image",
         [](Outcome &outcome) {
             const std::string path = modulePath("module_bare.so");
             void *handle = nullptr;
             char error[512] = "";
             const bool isLoaded = faulty([&] { return load_shared_object_image(&handle, path.c_str(), error); }) == 1;
             if (outcome.succeeded(isLoaded))
                 outcome.field("unload", std::to_string(faulty([&] { return unload_shared_object_image(handle); })));
             outcome.require(isLoaded == (handle != nullptr), "a handle without success");
         }},
    };
}

std::vector<Case> textsAndClocks() {
    return {
        {"qelItoa qelItot qelUltot qelI64toa qelI64tot qelAtoi64 qelTtoi64",
         [](Outcome &outcome) {
             char texts[5][80] = {};
             int64_t numbers[2] = {};
             faulty([&] {
                 qelItoa(-255, texts[0], 16);
                 qelItot(255, texts[1], 10);
                 qelUltot(255, texts[2], 2);
                 qelI64toa(-255, texts[3], 8);
                 qelI64tot(255, texts[4], 36);
                 numbers[0] = qelAtoi64("-12");
                 numbers[1] = qelTtoi64("12");
             });
             for (const char *text : texts)
                 outcome.field("text", text);
             for (const int64_t number : numbers)
                 outcome.field("number", std::to_string(number));
         }},
        {"qelStandardAtoU qelStandardUtoA",
         [](Outcome &outcome) {
             wchar_t wide[16] = L"";
             char narrow[16] = "";
             faulty([&] {
                 qelStandardAtoU("text", 16, wide);
                 qelStandardUtoA(L"text", 16, narrow);
             });
             outcome.field("wide", std::wstring(wide));
             outcome.field("narrow", narrow);
         }},
        {"qelCoCreateGuid qelUuidToStringA qelcomn_create_guid",
         [](Outcome &outcome) {
             qelGuid first = {}, second = {}, third = {};
             char text[64] = "";
             faulty([&] {
                 qelCoCreateGuid(&first);
                 qelCoCreateGuid(&second);
                 qelUuidToStringA(&first, text);
                 qelcomn_create_guid(&third, nullptr, 0);
             });
             outcome.field("length", std::to_string(std::strlen(text)));
             outcome.field("version", std::string(1, text[14]));
             outcome.require(std::memcmp(&first, &second, sizeof first) != 0, "the same GUID twice");
             outcome.require(std::memcmp(&second, &third, sizeof first) != 0, "the same GUID twice");
         }},
        {"qelGetSystemTime",
         [](Outcome &outcome) {
             qelSystemTime time = {};
             faulty([&] { qelGetSystemTime(&time); });
             outcome.field("year", std::to_string(time.year), {"0"});
             outcome.field("rest",
                           std::to_string(time.month) + ' ' + std::to_string(time.day) + ' ' +
                               std::to_string(time.hour) + ' ' + std::to_string(time.minute),
                           {"0 0 0 0"});
         }},
        {"qelGetTickCount",
         [](Outcome &outcome) {
             outcome.field("ticks", std::to_string(faulty([] { return qelGetTickCount(); })), {"0"});
         }},
        {"qelGetComputerName",
         [](Outcome &outcome) {
             char name[300] = "";
             uint32_t size = sizeof name;
             if (outcome.succeeded(faulty([&] { return qelGetComputerName(name, &size); }) == 1))
                 outcome.field("name", std::string(name, size));
         }},
        {"qelTranslateMessage",
         [](Outcome &outcome) {
             outcome.field("result", std::to_string(faulty([] { return qelTranslateMessage(nullptr); })));
         }},
    };
}

} // namespace

std::vector<Case> portabilityCases() {
    std::vector<Case> cases;
    for (const auto &part : {handles(), threads(), files(), searches(), libraries(), textsAndClocks()})
        cases.insert(cases.end(), part.begin(), part.end());
    return cases;
}

} // namespace zor::torture
