#include "answers.h"

#include "json_report.h"
#include "machine.h"
#include "rows_report.h"
#include "text_report.h"
#include "vocabulary.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace zorprops {

namespace {

Notation notationOf(Format format) {
    return format == Format::Yaml ? Notation::Yaml : Notation::Json;
}

/** The note that goes with the texts which are the target system's on every host. */
std::string hostNote(const std::vector<const Word *> &words) {
    const bool reportsFixed =
        std::any_of(words.begin(), words.end(), [](const Word *word) { return word && word->has(Fixed); });
    return reportsFixed && !ZORPROPS_HOST_IS_TARGET
               ? message("note: this host is not the target system; OSType, OSOEMId and PlatformID are the target's "
                         "fixed texts")
               : std::string();
}

std::string unknownName(const std::string &name) {
    std::string nearest;
    for (const std::string &candidate : nearestNames(name))
        nearest += (nearest.empty() ? "" : ", ") + candidate;
    return message("no property is named '" + name + "'; the nearest are " + nearest);
}

std::string joined(const std::set<std::string> &names) {
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string seconds(std::chrono::milliseconds time) {
    std::string text = std::to_string(time.count() / 1000);
    if (const auto rest = time.count() % 1000) {
        const std::string digits = std::to_string(1000 + rest).substr(1);
        text += "." + digits.substr(0, digits.find_last_not_of('0') + 1);
    }
    return text + " s";
}

/** How much an exit code tells: of two the one that tells more is the answer's. */
int weightOf(ExitCode code) {
    switch (code) {
    case Answered:
        return 0;
    case NoValue:
        return 1;
    case TimeRanOut:
        return 2;
    case NotAnswered:
        return 3;
    case BadUsage:
        break;
    }
    return 4;
}

/** Adds what else is to be said. */
void add(Answer &answer, const Answer &more) {
    answer.messages += more.messages;
    if (weightOf(more.exitCode) > weightOf(answer.exitCode))
        answer.exitCode = more.exitCode;
}

Answer report(Format format, const Style &style, const Patience &patience) {
    const Report report = collectReport(patience);
    Answer answer = complaintsAbout(report, patience);
    answer.messages += hostNote({findProperty("OSType")});
    switch (format) {
    case Format::Text:
        answer.output = asText(report, style);
        break;
    case Format::Json:
    case Format::Yaml:
        answer.output = asTree(report, notationOf(format));
        break;
    case Format::Csv:
        answer.output = asCsv(itemsOf(report));
        break;
    case Format::Prometheus:
        answer.output = asPrometheus(report, static_cast<long long>(std::time(nullptr)));
        break;
    case Format::Facts:
        answer.output = asFacts(report);
        break;
    }
    return answer;
}

/** A name that get is asked for. */
struct Question {
    std::string given;
    const Word *word; // null: a figure of a mount point, or unknown
    bool isHost;
    bool isFigure;
    std::string mountPoint;
    bool isTotal;
};

Question questionOf(const std::string &given) {
    Question question{given, findProperty(given), false, false, {}, false};
    const std::string prefix = kHostPrefix;
    if (!question.word && equalIgnoringCase(given.substr(0, prefix.size()), prefix)) {
        question.word = findHostFact(given.substr(prefix.size()));
        question.isHost = question.word != nullptr;
    }
    question.isFigure = !question.word && isFigureName(given, question.mountPoint, question.isTotal);
    return question;
}

/** The answer among the report's facts; null when it has none of this name. */
const Item *findAnswer(const std::vector<Item> &items, const Question &question) {
    std::string name;
    if (question.word)
        name = (question.isHost ? kHostPrefix : "") + std::string(question.word->name);
    else if (question.isFigure)
        name = figureName(question.mountPoint, question.isTotal);
    const auto found = std::find_if(items.begin(), items.end(), [&](const Item &item) { return item.name == name; });
    return found == items.end() ? nullptr : &*found;
}

Answer get(const Request &request, const Patience &patience) {
    std::vector<Question> questions;
    std::vector<const Word *> words;
    bool asksForFigures = false;
    for (const std::string &name : request.words) {
        questions.push_back(questionOf(name));
        asksForFigures = asksForFigures || questions.back().isFigure;
        const Word *word = questions.back().word;
        if (word && std::find(words.begin(), words.end(), word) == words.end())
            words.push_back(word);
    }
    const Report report = collect(words, asksForFigures, patience);
    const bool disksAreKnown = report.isComplete();
    const std::vector<Item> items = itemsOf(report);
    std::vector<Item> answers;
    Answer answer;
    for (const Question &question : questions) {
        if (const Item *item = findAnswer(items, question)) {
            answers.push_back(*item);
            if (item->value.kind == Value::Unknown)
                add(answer, {{}, {}, NoValue});
        } else if (!question.isFigure || disksAreKnown) {
            add(answer, {{}, unknownName(question.given), NotAnswered});
        }
    }
    add(answer, complaintsAbout(report, patience));
    answer.messages += hostNote(words);
    if (answers.empty())
        return answer;
    if (request.format == Format::Text)
        answer.output = asText(answers, request.words.size() == 1, request.null);
    else if (request.format == Format::Csv)
        answer.output = asCsv(answers);
    else
        answer.output = asTree(answers, request.null, notationOf(request.format));
    return answer;
}

Answer list(Format format, const Style &style) {
    if (format == Format::Text)
        return {listAsText(style)};
    return {format == Format::Csv ? listAsCsv() : listAsTree(notationOf(format))};
}

Answer interfaces(const Request &request, const Style &style) {
    const auto interfaces = collectInterfaces(request.loopback);
    if (!interfaces)
        return {{}, message("could not be read: the interfaces"), NotAnswered};
    if (request.format == Format::Text)
        return {asText(*interfaces, style)};
    return {request.format == Format::Csv ? asCsv(*interfaces) : asTree(*interfaces, notationOf(request.format))};
}

Answer users(Format format, const Style &style, const Patience &patience) {
    const Users users = collectUsers(patience);
    if (users.state == Outcome::Late)
        return {{}, message("not told within " + seconds(patience.limit) + ": the users"), TimeRanOut};
    if (users.state == Outcome::Failed)
        return {{}, message("could not be read: the users"), NotAnswered};
    if (format == Format::Text)
        return {asText(users, style)};
    return {format == Format::Csv ? asCsv(users) : asTree(users, notationOf(format))};
}

/** The whole of a file; false, and why, when it cannot be read or is too long for a report. */
bool readFile(const std::string &path, std::string &text, std::string &why) {
    constexpr size_t kMost = 64u << 20;
    const int descriptor = open(path.c_str(), O_RDONLY);
    ssize_t got = descriptor < 0 ? -1 : 1;
    char buffer[16384];
    while (got > 0 && text.size() <= kMost)
        if ((got = read(descriptor, buffer, sizeof buffer)) > 0)
            text.append(buffer, static_cast<size_t>(got));
        else if (got < 0 && errno == EINTR)
            got = 1;
    why = got < 0 ? std::strerror(errno) : "too long for a report";
    if (descriptor >= 0)
        close(descriptor);
    return got == 0;
}

/** Reads a report into snapshot; a message when that fails. */
std::string readSnapshot(const std::string &path, Snapshot &snapshot) {
    std::string text, why;
    if (!readFile(path, text, why))
        return message("cannot read " + path + ": " + why);
    const auto read = readReport(text, why);
    if (!read)
        return message(path + ": " + why);
    snapshot = *read;
    return {};
}

Answer diff(const Request &request, const Patience &patience) {
    Snapshot before, after;
    Answer answer;
    answer.messages = readSnapshot(request.words[0], before);
    if (request.words.size() > 1)
        answer.messages += readSnapshot(request.words[1], after);
    if (!answer.messages.empty()) {
        answer.exitCode = BadUsage;
        return answer;
    }
    if (request.words.size() == 1) {
        const Report report = collectReport(patience);
        add(answer, complaintsAbout(report, patience));
        after = snapshotOf(report);
    }
    const std::vector<Change> changes = changesBetween(before, after, request.all);
    if (!changes.empty())
        add(answer, {{}, {}, NotAnswered});
    if (request.format != Format::Text)
        answer.output = asTree(changes, Notation::Json);
    else
        for (const Change &change : changes)
            answer.output += asText(change);
    return answer;
}

} // namespace

std::string message(const std::string &text) {
    return "zorprops: " + printable(text) + "\n";
}

Answer complaintsAbout(const Report &report, const Patience &patience) {
    Answer answer;
    if (!report.late.empty())
        add(answer,
            {{}, message("not told within " + seconds(patience.limit) + ": " + joined(report.late)), TimeRanOut});
    if (!report.unread.empty())
        add(answer, {{}, message("could not be read: " + joined(report.unread)), NotAnswered});
    return answer;
}

Answer answer(const Request &request, const Style &style, const Patience &patience) {
    switch (request.command) {
    case Command::Get:
        return get(request, patience);
    case Command::List:
        return list(request.format, style);
    case Command::Interfaces:
        return interfaces(request, style);
    case Command::Users:
        return users(request.format, style, patience);
    case Command::Diff:
        return diff(request, patience);
    case Command::Completion:
        return {completions(request.words.front())};
    case Command::Manual:
        return {manualPage()};
    case Command::Watch:
    case Command::Report:
        break;
    }
    return report(request.format, style, patience);
}

} // namespace zorprops
