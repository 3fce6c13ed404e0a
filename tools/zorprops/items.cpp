#include "items.h"

#include <map>

namespace zorprops {

namespace {

constexpr char kFigureStart[] = "FileSystem\"";
constexpr char kTotalEnd[] = "\" Total_Disk_Space_in_MB", kFreeEnd[] = "\" Free_Disk_Space_in_MB";

const Word kFigure = {"", Source::Disks, Type::Decimal, "MB", "", 0};

bool endsWith(const std::string &text, const std::string &end) {
    return text.size() >= end.size() && equalIgnoringCase(text.substr(text.size() - end.size()), end);
}

bool isRestless(const std::string &name) {
    const size_t prefix = std::string(kHostPrefix).size();
    const Word *word =
        name.compare(0, prefix, kHostPrefix) == 0 ? findHostFact(name.substr(prefix)) : findProperty(name);
    return word && word->has(Restless);
}

} // namespace

std::string figureName(const std::string &mountPoint, bool isTotal) {
    return kFigureStart + mountPoint + (isTotal ? kTotalEnd : kFreeEnd);
}

bool isFigureName(const std::string &name, std::string &mountPoint, bool &isTotal) {
    const size_t start = sizeof kFigureStart - 1;
    isTotal = endsWith(name, kTotalEnd);
    const size_t end = isTotal ? sizeof kTotalEnd - 1 : sizeof kFreeEnd - 1;
    if ((!isTotal && !endsWith(name, kFreeEnd)) || name.size() < start + end ||
        !equalIgnoringCase(name.substr(0, start), kFigureStart))
        return false;
    mountPoint = name.substr(start, name.size() - start - end);
    return true;
}

std::vector<Item> itemsOf(const Report &report) {
    std::vector<Item> items;
    for (const Word &word : hostFacts()) {
        const auto found = report.host.find(word.name);
        const std::string text = found == report.host.end() ? "" : found->second;
        items.push_back(
            {kHostPrefix + std::string(word.name), text, valueOf(word, text), word.unit, word.has(Restless), true});
    }
    for (const Word &word : properties())
        if (const auto found = report.properties.find(word.name); found != report.properties.end())
            items.push_back(
                {word.name, found->second, valueOf(word, found->second), word.unit, word.has(Restless), false});
    for (const FileSystem &fileSystem : report.fileSystems)
        for (const bool isTotal : {true, false}) {
            const std::string &text = isTotal ? fileSystem.totalMegabytes : fileSystem.freeMegabytes;
            items.push_back(
                {figureName(fileSystem.mountPoint, isTotal), text, valueOf(kFigure, text), kFigure.unit, false, false});
        }
    return items;
}

Snapshot snapshotOf(const Report &report) {
    Snapshot snapshot;
    for (const Item &item : itemsOf(report))
        if (!item.text.empty())
            snapshot.values.emplace_back(item.name, item.text);
    for (const auto *names : {&report.late, &report.unread})
        snapshot.untold.insert(names->begin(), names->end());
    return snapshot;
}

std::vector<Change> changesBetween(const Snapshot &before, const Snapshot &after, bool withRestless) {
    const auto isCompared = [&](const std::string &name) {
        return before.untold.count(name) == 0 && after.untold.count(name) == 0 && (withRestless || !isRestless(name));
    };
    const std::map<std::string, std::string> old(before.values.begin(), before.values.end()),
        present(after.values.begin(), after.values.end());
    std::vector<Change> changes;
    std::set<std::string> told; // a report from elsewhere may have a name twice: the first counts
    for (const auto &[name, text] : before.values)
        if (isCompared(name) && told.insert(name).second) {
            const auto found = present.find(name);
            if (found == present.end() || found->second != text)
                changes.push_back({name, text, found == present.end() ? "" : found->second});
        }
    for (const auto &[name, text] : after.values)
        if (isCompared(name) && old.count(name) == 0 && told.insert(name).second)
            changes.push_back({name, "", text});
    return changes;
}

} // namespace zorprops
