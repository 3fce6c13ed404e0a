// Damages good inputs in many ways, the same ways on each run, and looks whether a reader breaks a rule.

#include "tests/fuzz/readers.h"
#include "tests/support/version_list.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace {

constexpr int kMutations = 20000;

class Mutator {
public:
    Mutator(std::string seed, std::vector<std::string> words) : m_seed(std::move(seed)), m_words(std::move(words)) {}

    std::string next() {
        std::string text = m_seed;
        for (size_t changes = 1 + pick(3); changes > 0; --changes)
            change(text);
        return text;
    }

private:
    size_t pick(size_t count) { return m_random() % std::max<size_t>(count, 1); }

    void change(std::string &text) {
        const size_t at = pick(text.size() + 1);
        switch (pick(5)) {
        case 0: // another byte
            if (at < text.size())
                text[at] = static_cast<char>(pick(256));
            break;
        case 1: // a gap
            text.erase(at, pick(20));
            break;
        case 2: // a piece of it, once more
            text.insert(at, text.substr(pick(text.size() + 1), pick(60)));
            break;
        case 3: // something that means something
            text.insert(at, m_words[pick(m_words.size())]);
            break;
        default: // the rest cut off
            if (pick(4) == 0)
                text.resize(at);
        }
    }

    std::mt19937 m_random;
    std::string m_seed;
    std::vector<std::string> m_words;
};

TEST(Mutations, PropertyList_BreaksNoRule) {
    Mutator mutator(zor::test::kVersionList,
                    {"<dict>",    "</dict>", "<key>", "</key>", "<string>",    "</string>",
                     "<array>",   "<true/>", "<!--",  "-->",    "<?",          "?>",
                     "<![CDATA[", "]]>",     "&amp;", "&#65;",  "&#x0;",       "<integer>1</integer>",
                     "<plist>",   " ",       "\n",    "\xC3",   "\xEF\xBB\xBF"});
    for (int i = 0; i < kMutations; ++i) {
        const std::string text = mutator.next();
        const char *rule = zor::test::readers::property_list(text);
        ASSERT_EQ(rule, nullptr) << rule << "\n" << text;
    }
}

TEST(Mutations, MountTable_BreaksNoRule) {
    Mutator mutator(
        "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
        "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw,discard\n"
        "36 27 98:0 /mnt1 /mnt\\0402 rw,noatime master:1 - ext3 /dev/root rw\n"
        "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
        "41 40 0:50 / /data rw - tmpfs tmpfs rw\n"
        "42 41 8:2 / /data/a rw - ext4 /dev/sda2 rw\n"
        "43 27 0:60 / /net rw - nfs server rw\n"
        "44 43 8:3 / /net/a rw - ext4 /dev/sda3 rw\n",
        {" ", "\n", "\\", "\\040", "\\000", "-", " - ", "/", "1", "27", ":", "0:21", "ext4", "nfs", "overlay"});
    for (int i = 0; i < kMutations; ++i) {
        const std::string text = mutator.next();
        const char *rule = zor::test::readers::mount_table(text);
        ASSERT_EQ(rule, nullptr) << rule << "\n" << text;
    }
}

} // namespace
