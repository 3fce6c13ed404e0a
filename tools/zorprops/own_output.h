#pragma once

#include <string>

namespace zorprops {

/** The program's own way to standard output. The library writes diagnostic lines to standard output, which would spoil
 * a report: so the program keeps a descriptor of its own and points the standard one elsewhere before it calls the
 * library. Standard descriptors that the program was started without are taken too, so that no file becomes one. */
class OwnOutput {
public:
    /** Takes standard output over; what others write to it goes to standard error when asked for, else nowhere. From
     * here on no failed write ends the process, neither a reader gone nor a limit on file sizes. */
    explicit OwnOutput(bool passDiagnosticsOn);
    ~OwnOutput();
    OwnOutput(const OwnOutput &) = delete;
    OwnOutput &operator=(const OwnOutput &) = delete;

    /** Writes all of text; 0, or the errno of what failed first: a full disk, a reader gone. */
    int write(const std::string &text);
    /** Writes all of text and closes; 0, or the errno of what failed first. */
    int finish(const std::string &text);
    /** Closes without a word, for a forked child: whoever reads the output must not wait for that. */
    void abandon();
    /** For waiting until its reader is gone; -1 when it is closed. */
    int descriptor() const { return m_descriptor; }
    /** The columns of the terminal that it leads to; 0 where it leads elsewhere. */
    unsigned int terminalColumns() const;

private:
    int m_descriptor;
    int m_error;
};

} // namespace zorprops
