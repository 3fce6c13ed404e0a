#include "tests/support/emulator.h"

#include <sstream>

namespace zor::test {

std::vector<std::string> underEmulator(const std::vector<std::string> &arguments) {
    std::istringstream emulator(ZORCOMN_EMULATOR);
    std::vector<std::string> words;
    for (std::string word; emulator >> word;)
        words.push_back(word);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

std::vector<char *> argumentVector(std::vector<std::string> &words) {
    std::vector<char *> argv;
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return argv;
}

} // namespace zor::test
