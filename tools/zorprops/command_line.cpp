// Options may stand anywhere, "--" ends them, a value follows after '=' or as the next word, letters may be written
// together. No option may be cut short: a script's abbreviation would break when an option is added. Written here, by
// the description's tables: a library for command lines takes as much processor time as all that one property's answer
// adds to an empty program.

#include "command_line.h"

#include "vocabulary.h"

#include "zorcomn/network.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <optional>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace zorprops {

namespace {

using Parsed = std::variant<Request, Information, UsageError>;
using Refusal = std::optional<UsageError>;

/** An address as the library's lists spell it; empty when the text is none. */
std::string canonicalAddress(const std::string &text) {
    const std::string address = text.substr(0, text.find('%')); // the lists know no scopes
    in6_addr bytes;
    char canonical[INET6_ADDRSTRLEN];
    for (const int family : {AF_INET, AF_INET6})
        if (inet_pton(family, address.c_str(), &bytes) == 1 && inet_ntop(family, &bytes, canonical, sizeof canonical))
            return velmora_com::vta::expandIPV6Address(canonical);
    return {};
}

/** Seconds with decimals, at most a day. */
std::optional<std::chrono::milliseconds> secondsOf(const std::string &text) {
    constexpr double kMost = 86400;
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos)
        return std::nullopt;
    char *end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !(seconds <= kMost))
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(seconds * 1000)); // rounded: 0.3 has no exact binary form
}

template <class Rows> std::string suggestion(const std::string &given, const Rows &rows, const std::string &prefix) {
    constexpr size_t kNear = 2;
    const std::string word = given.substr(0, given.find('='));
    for (const auto &row : rows)
        if (*row.name && editDistance(word, prefix + row.name) <= std::min(kNear, word.size() / 3))
            return "; did you mean " + prefix + row.name + "?";
    return {};
}

std::string listed(const std::vector<const char *> &choices) {
    std::string text;
    for (const char *choice : choices)
        text += (text.empty() ? "" : ", ") + std::string(choice);
    return text;
}

class Parser {
public:
    explicit Parser(const std::vector<std::string> &arguments) : m_arguments(arguments) {}

    Parsed parse() {
        Refusal refusal;
        for (bool endsOptions = false; !refusal && !m_information && m_at < m_arguments.size();) {
            const std::string &word = m_arguments[m_at++];
            if (endsOptions || word.size() < 2 || word.front() != '-')
                m_words.push_back(word);
            else if (word == "--")
                endsOptions = true;
            else if (word[1] == '-')
                refusal = takeLong(word);
            else
                refusal = takeLetters(word);
        }
        if (refusal)
            return *refusal;
        if (m_information)
            return *m_information;
        refusal = takeCommand();
        if (!refusal)
            refusal = checkTogether();
        return refusal ? Parsed(*refusal) : Parsed(m_request);
    }

private:
    Refusal takeLong(const std::string &word) {
        const size_t equals = word.find('=');
        for (const OptionDescription &option : options()) {
            if (word.substr(2, equals == std::string::npos ? equals : equals - 2) != option.name)
                continue;
            if (!option.value && equals != std::string::npos)
                return UsageError{"the option takes no value: " + word};
            if (!option.value)
                return take(option, {});
            if (equals != std::string::npos)
                return take(option, word.substr(equals + 1));
            if (m_at == m_arguments.size())
                return UsageError{"the option needs a value: " + word};
            return take(option, m_arguments[m_at++]);
        }
        return UsageError{"no such option: " + word + suggestion(word, options(), "--")};
    }

    Refusal takeLetters(const std::string &word) {
        for (size_t i = 1; i < word.size(); ++i) {
            const auto known = std::find_if(options().begin(), options().end(), [&](const OptionDescription &option) {
                return option.letter != 0 && option.letter == word[i];
            });
            if (known == options().end())
                return UsageError{std::string("no such option: -") + word[i]};
            if (Refusal refusal = take(*known, {}))
                return refusal;
        }
        return std::nullopt;
    }

    Refusal take(const OptionDescription &option, const std::string &value) {
        m_taken.push_back(&option);
        switch (option.option) {
        case Option::Format:
            return takeFormat(option, value);
        case Option::Json:
            m_request.format = Format::Json;
            break;
        case Option::LocalIp:
            m_request.localAddress = canonicalAddress(value);
            if (m_request.localAddress.empty())
                return UsageError{"--local-ip: not an IP address: " + value};
            break;
        case Option::Loopback:
            m_request.loopback = true;
            break;
        case Option::Null:
            m_request.null = true;
            break;
        case Option::Timeout:
            return takeSeconds(option, value, m_request.timeout);
        case Option::Interval:
            return takeSeconds(option, value, m_request.interval);
        case Option::Count:
            return takeCount(value);
        case Option::All:
            m_request.all = true;
            break;
        case Option::Verbose:
            m_request.verbose = true;
            break;
        case Option::Help:
            m_information = Information::Help;
            break;
        case Option::Version:
            m_information = Information::Version;
            break;
        }
        return std::nullopt;
    }

    Refusal takeFormat(const OptionDescription &option, const std::string &value) {
        for (size_t i = 0; i < option.choices.size(); ++i)
            if (value == option.choices[i]) {
                m_request.format = static_cast<Format>(i);
                return std::nullopt;
            }
        return UsageError{"--format: not one of " + listed(option.choices) + ": " + value};
    }

    static Refusal takeSeconds(const OptionDescription &option, const std::string &value,
                               std::chrono::milliseconds &time) {
        const auto seconds = secondsOf(value);
        if (!seconds)
            return UsageError{"--" + std::string(option.name) + ": not a number of seconds up to a day: " + value};
        time = *seconds;
        return std::nullopt;
    }

    Refusal takeCount(const std::string &value) {
        const bool isNumber = !value.empty() && value.size() <= 9 &&
                              std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
        m_request.count = isNumber ? std::strtoul(value.c_str(), nullptr, 10) : 0;
        return m_request.count > 0 ? std::nullopt : Refusal(UsageError{"--count: not a number from 1 on: " + value});
    }

    /** Takes the command and its words in. */
    Refusal takeCommand() {
        if (m_words.empty())
            return std::nullopt;
        const std::string name = m_words.front();
        const auto known = std::find_if(commands().begin(), commands().end(),
                                        [&](const CommandDescription &row) { return *row.name && row.name == name; });
        if (known == commands().end())
            return UsageError{"no such command: " + name + suggestion(name, commands(), "")};
        m_request.command = known->command;
        m_request.words.assign(m_words.begin() + 1, m_words.end());
        const std::vector<std::string> &words = m_request.words;
        if (words.size() < known->fewest)
            return UsageError{name + " needs " + known->wordsShown};
        if (words.size() > known->most)
            return UsageError{name + (known->most == 0 ? " takes no names: " : " takes no more: ") +
                              words[known->most]};
        if (known->words == Words::Shell && std::find(kShells.begin(), kShells.end(), words.front()) == kShells.end())
            return UsageError{"not one of " + listed(kShells) + ": " + words.front()};
        return std::nullopt;
    }

    Refusal checkTogether() const {
        const CommandDescription &command = describe(m_request.command);
        const std::string with = *command.name ? command.name : "the report";
        for (const OptionDescription *option : m_taken)
            if (!goesWith(*option, m_request.command))
                return UsageError{"--" + std::string(option->name) + " does not go with " + with};
        const Format format = m_request.format;
        const bool isOfReport = format == Format::Prometheus || format == Format::Facts;
        const bool isTable = format == Format::Yaml || format == Format::Csv;
        const bool isAboutChanges = m_request.command == Command::Diff || m_request.command == Command::Watch;
        if ((isOfReport && m_request.command != Command::Report) || (isTable && isAboutChanges))
            return UsageError{"that format does not go with " + with};
        return std::nullopt;
    }

    const std::vector<std::string> &m_arguments;
    size_t m_at = 0;
    Request m_request;
    std::optional<Information> m_information;
    std::vector<std::string> m_words;
    std::vector<const OptionDescription *> m_taken;
};

} // namespace

Parsed parseCommandLine(const std::vector<std::string> &arguments) {
    return Parser(arguments).parse();
}

} // namespace zorprops
