#pragma once

// What is tortured: for each exported call at least one use with representative arguments. A use prepares, makes its
// one call inside faulty(), where the faults happen, and tells what came of it:
//
//     {"qelCreateEvent", [](Outcome &outcome) {
//          const HANDLE event = faulty([] { return qelCreateEvent(nullptr, 1, 1, nullptr); });
//          outcome.result(event != nullptr, true);
//          ...
//      }},
//
// A result or field is right when it is that of a run without faults, or one of the failure values stated beside it.

#include "tests/torture/interposer.h"

#include <exception>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zor::torture {

/** A failure value that is only one where one of these functions failed: for what its Part of the contract says about
 * them in particular. */
std::string by(const std::string &functions, const std::string &value);

struct Field {
    std::string name, value;
    std::vector<std::string> failures;
};

class Outcome {
public:
    /** A part of the answer, and the values that say that it is not known. */
    void field(std::string name, std::string value, std::vector<std::string> failures = {}) {
        m_fields.push_back({std::move(name), std::move(value), std::move(failures)});
    }
    void field(std::string name, const std::wstring &value, std::vector<std::string> failures = {}) {
        field(std::move(name), narrow(value), std::move(failures));
    }
    /** The call failed as it may; it need tell nothing more. */
    void failed() { m_failed = true; }
    /** The call may fail in this way: tells so when it did, and whether there is more to look at. */
    bool succeeded(bool isSuccess) {
        m_failed = m_failed || !isSuccess;
        return isSuccess;
    }
    /** What has to hold whether the call failed or not. */
    void require(bool holds, std::string what) {
        if (!holds)
            m_violations.push_back(std::move(what));
    }

    /** The call failed in a way that leaves so many allocations behind, as its header tells. */
    void mayKeep(int allocations) { m_kept = allocations; }

    int kept() const { return m_kept; }
    const std::vector<Field> &fields() const { return m_fields; }
    const std::vector<std::string> &violations() const { return m_violations; }
    bool hasFailed() const { return m_failed; }

    static std::string narrow(const std::wstring &text);

private:
    std::vector<Field> m_fields;
    std::vector<std::string> m_violations;
    bool m_failed = false;
    int m_kept = 0;
};

struct Case {
    const char *functions; // separated by blanks, as the headers name them, classes with their members
    void (*run)(Outcome &);
};

/** All of them, room by room. */
std::vector<Case> allCases();
std::vector<Case> portabilityCases();
std::vector<Case> listAndLockCases();
std::vector<Case> utilityCases();
std::vector<Case> networkCases();
std::vector<Case> sessionCases();
std::vector<Case> propertyCases();

/** Keeps in mind that something was thrown at a caller. */
void noteThrown();

/** Makes the call under test, with faults; what it throws is noted and kept from the caller. */
template <class Body> auto faulty(Body body) -> decltype(body()) {
    struct Armed {
        Armed() { arm(); }
        ~Armed() { disarm(); }
    };
    try {
        const Armed armed;
        return body();
    } catch (const std::exception &) {
        noteThrown();
    }
    if constexpr (!std::is_void_v<decltype(body())>)
        return decltype(body())();
}

/** A folder that each use finds empty, without a '/' at its end. */
const std::string &workFolder();
/** Files of the work folder. */
std::string workPath(const std::string &name);
void writeWork(const std::string &name, const std::string &content);
/** The content; "(none)" when there is no such file. */
std::string readWork(const std::string &name);
size_t filesInWork();
/** Where the modules for tests are. */
std::string modulePath(const std::string &name);

} // namespace zor::torture
