// Reports as files: written with the file object, found again with the directory search.

#include "reports.h"

#include <zorcomn/sysprops.h>
#include <zorcomn/utilities.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <new>
#include <stdexcept>
#include <vector>

using namespace velmora_com::vta;

namespace {

/** A text in UTF-8. The library gives an empty one where memory runs out, which a report must not pass on as a fact. */
std::string narrow(const std::wstring &text) {
    std::string converted = qelcomn_wide_to_ansi(text);
    if (converted.empty() && !text.empty())
        throw std::bad_alloc();
    return converted;
}

/** The whole report; throws rather than to leave a part out. */
std::string collect(const std::string &title) {
    std::map<std::wstring, std::wstring> properties;
    sysprops::ISysProps().GetAllSystemProperties(properties); // a fresh object: no stale values
    const std::string stamp = qelcomn_get_time_stamp_ansi();
    if (properties.empty() || stamp.empty())
        throw std::bad_alloc();
    std::string text = title + "\n" + stamp + "\n";
    for (const auto &[name, value] : properties)
        text += narrow(name) + "=" + narrow(value) + "\n";
    return text;
}

std::string fileName(int number) {
    char stamp[15] = ""; // 14 digits and the terminator
    qelcomn_CreateLocalTimeStampA(stamp, sizeof stamp);
    if (stamp[0] == '\0')
        throw std::runtime_error("no time for the report's name");
    char name[64];
    std::snprintf(name, sizeof name, "report-%s-%06d.txt", stamp, number);
    return name;
}

/** The reports in a folder, oldest first. */
std::vector<std::string> findReports(const std::string &folder) {
    std::vector<std::string> names;
    qelFindData found;
    const int32_t search = qelcomn_findfirstA((folder + "/report-*.txt").c_str(), &found);
    for (bool more = search != 0; more; more = qelcomn_findnextA(search, &found) == 1)
        names.emplace_back(found.name);
    if (search != 0)
        qelcomn_findclose(search);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

std::string writeReport(const std::string &folder, const std::string &title, int number) {
    std::string name = fileName(number);
    const std::string text = collect(title);
    // Under its own name there is the whole report or none.
    const std::string whole = folder + "/" + name, unfinished = folder + "/unfinished-" + std::to_string(number);
    qeFileObject *file = nullptr;
    if (qeCreateFile(unfinished.c_str(), ZORCOMN_WRITE, 0, ZORCOMN_CREATE_ALWAYS, ZORCOMN_NORMAL, &file) !=
        ZORCOMN_SUCCESS)
        return {};
    uint32_t written = 0;
    const bool isWhole =
        file->ops->write(file, text.data(), static_cast<uint32_t>(text.size()), &written) == ZORCOMN_SUCCESS &&
        written == text.size();
    const bool isClosed = file->ops->close(file) == ZORCOMN_SUCCESS;
    if (isWhole && isClosed && qelMoveFile(unfinished.c_str(), whole.c_str()) == 1)
        return name;
    std::remove(unfinished.c_str());
    return {};
}

void pruneReports(const std::string &folder, size_t keep) {
    const std::vector<std::string> names = findReports(folder);
    for (size_t i = 0; i + keep < names.size(); ++i)
        std::remove((folder + "/" + names[i]).c_str());
}
