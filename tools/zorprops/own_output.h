#pragma once

#include <string>

namespace zorprops {

/** The program's own way to standard output. The library writes diagnostic lines to standard output, which would spoil
 * a report: so the program keeps a descriptor of its own and points the standard one elsewhere before it calls the
 * library. */
class OwnOutput {
public:
    /** Takes standard output over; what others write to it goes to standard error when asked for, else nowhere. */
    explicit OwnOutput(bool passDiagnosticsOn);
    ~OwnOutput();
    OwnOutput(const OwnOutput &) = delete;
    OwnOutput &operator=(const OwnOutput &) = delete;

    /** Writes all of text and closes; 0, or the errno of what failed: a full disk, a reader gone. */
    int finish(const std::string &text);

private:
    int m_descriptor;
    int m_error;
};

} // namespace zorprops
