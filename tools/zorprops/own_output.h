#pragma once

#include <string>
#include <string_view>

namespace zorprops {

/** The program's own ways to standard output and standard error. The library writes diagnostic lines to standard
 * output, which would spoil a report, and starts commands, for whose end a reader of standard error must not have to
 * wait: so the program keeps descriptors of its own and points the standard ones elsewhere before it calls the library.
 * Standard descriptors that it was started without are taken too, so that no file becomes one. */
class OwnOutput {
public:
    /** Takes both over; what others write to either goes to standard error when asked for, else nowhere. From
     * here on no failed write ends the process, neither a reader gone nor a limit on file sizes. */
    explicit OwnOutput(bool passDiagnosticsOn);
    ~OwnOutput();
    OwnOutput(const OwnOutput &) = delete;
    OwnOutput &operator=(const OwnOutput &) = delete;

    /** Writes all of text; 0, or the errno of what failed first: a full disk, a reader gone. */
    int write(const std::string &text);
    /** Writes all of text and closes; 0, or the errno of what failed first. */
    int finish(const std::string &text);
    /** Writes to standard error. */
    void tell(std::string_view text) const;
    /** For waiting until its reader is gone; -1 when it is closed. */
    int descriptor() const { return m_descriptor; }
    /** Where tell writes; -1 when there is nowhere. */
    int messages() const { return m_messages; }
    /** Whether somebody sees the messages as they come. */
    bool messagesGoToTerminal() const;
    /** The columns of the terminal that it leads to; 0 where it leads elsewhere. */
    unsigned int terminalColumns() const;

private:
    int m_descriptor;
    int m_error;
    int m_messages;
};

} // namespace zorprops
