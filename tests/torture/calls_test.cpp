// Every exported call under every fault. A sample of them, which the commit's date chooses; all of them when
// ZORCOMN_TORTURE_ALL names the folder for the figures. ZORCOMN_TORTURE_ONLY limits both to calls with that text in
// their names, ZORCOMN_TORTURE_STACKS tells where each fault happened.

#include "tests/support/loopback.h"
#include "tests/torture/driver.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include <cxxabi.h>

#include <gtest/gtest.h>

using namespace zor::torture;

namespace {

/** "velmora_com::vta::session::split[abi:cxx11](...)" as "session::split". */
std::string plainName(const std::string &symbol) {
    int status = 0;
    char *const demangled = abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status);
    std::string name = status == 0 ? demangled : symbol;
    std::free(demangled);
    if (const size_t operators = name.find("operator()"); operators != std::string::npos)
        return "SignalHandler::operator()";
    name = name.substr(0, name.find('('));
    if (const size_t open = name.find('<'); open != std::string::npos)
        name.resize(open);
    if (const size_t tag = name.find('['); tag != std::string::npos)
        name.resize(tag);
    name = name.substr(name.rfind(' ') + 1); // a template's result
    for (const char *const scope : {"velmora_com::vta::", "sysprops::"})
        if (name.compare(0, std::strlen(scope), scope) == 0)
            name.erase(0, std::strlen(scope));
    return name;
}

/** The functions that the library exports, as its symbol table tells. */
std::set<std::string> exportedFunctions() {
    std::set<std::string> names;
    const std::unique_ptr<FILE, int (*)(FILE *)> table(popen(ZORCOMN_NM " -D --defined-only " ZORCOMN_LIBRARY, "r"),
                                                       pclose);
    char address[64], kind[8], symbol[1024];
    while (table && std::fscanf(table.get(), "%63s %7s %1023s", address, kind, symbol) == 3)
        if (kind[0] == 'T' || kind[0] == 'W')
            names.insert(plainName(symbol));
    return names;
}

std::set<std::string> namesOfCases() {
    std::set<std::string> names;
    for (const Case &one : allCases()) {
        std::istringstream words(one.functions);
        for (std::string word; words >> word;)
            names.insert(word);
    }
    return names;
}

Figures tortureAll(bool isWarm) {
    prepareMachine();
    const char *const only = std::getenv("ZORCOMN_TORTURE_ONLY");
    Figures all;
    for (const Case &one : allCases()) {
        if (only && !std::strstr(one.functions, only))
            continue;
        if (!isSampled(sampleSeed(), std::hash<std::string>()(one.functions), ZORCOMN_TORTURE_CASE_RATE))
            continue;
        const Figures figures = torture(one, isWarm, sampleSeed(), ZORCOMN_TORTURE_RATE);
        for (const std::string &message : figures.messages)
            ADD_FAILURE() << message;
        all.add(figures);
    }
    return all;
}

void expectNothingWrong(const Figures &figures) {
    EXPECT_GT(figures.runs, 0);
    EXPECT_EQ(figures.wrong, 0);
}

} // namespace

TEST(Torture, EachExportedCall_HasACase) {
    const std::set<std::string> known = namesOfCases(), functions = exportedFunctions();
    std::ifstream exports(ZORCOMN_EXPORTS);
    int found = 0;
    for (std::string name; std::getline(exports, name);) {
        const std::string plain = plainName(name);
        if (functions.count(plain) == 0)
            continue; // a constant or a table
        ++found;
        EXPECT_TRUE(known.count(plain)) << name;
    }
    EXPECT_GT(found, 200);
}

TEST(Torture, EachCallUsed_AnswersRightlyOrFails) {
    const Figures figures = tortureAll(true);
    tell("exported calls, used before", figures);
    expectNothingWrong(figures);
}

TEST(Torture, EachCallUsedFirst_AnswersRightlyOrFails) {
    const Figures figures = tortureAll(false);
    tell("exported calls, first use of the process", figures);
    expectNothingWrong(figures);
}

int main(int argc, char **argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // what was told is not lost with a child
    testing::InitGoogleTest(&argc, argv);
    zor::test::ensureLoopback();
    return RUN_ALL_TESTS();
}
