// Puts the interposer before the system's libraries of a program that is started with it: ZORCOMN_TORTURE holds the
// kind of the fault, its number and variant, the file for the record and the machine's folder. What the program itself
// starts is left alone.

#include "tests/torture/interposer.h"

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using Main = int (*)(int, char **, char **);

Main programsMain = nullptr;

void begin() {
    using namespace zor::torture;
    static Record ownRecord;
    int fault = 0, nth = 0, variant = 0;
    char recordFile[256] = "", folder[256] = "";
    const char *const text = std::getenv("ZORCOMN_TORTURE");
    if (!text || std::sscanf(text, "%d %d %d %255s %255s", &fault, &nth, &variant, recordFile, folder) != 5)
        return;
    unsetenv("LD_PRELOAD");
    unsetenv("ZORCOMN_TORTURE");
    const int file = open(recordFile, O_RDWR | O_CLOEXEC);
    void *const memory = mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    setMachine(folder);
    setPlan({static_cast<Fault>(fault), nth, variant},
            memory == MAP_FAILED ? &ownRecord : static_cast<Record *>(memory), false);
    arm();
}

int armedMain(int count, char **arguments, char **environment) {
    begin();
    return programsMain(count, arguments, environment);
}

} // namespace

// What the program's start calls once all libraries are loaded: faults begin with main.
extern "C" __attribute__((visibility("default"))) int __libc_start_main(Main main, int count, char **arguments,
                                                                        void (*initialise)(), void (*finish)(),
                                                                        void (*unload)(), void *stackEnd) {
    programsMain = main;
    const auto start = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(armedMain, count, arguments, initialise, finish, unload, stackEnd);
}
