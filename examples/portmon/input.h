/// The lines that the user wants to send.
#ifndef PORTMON_INPUT_H
#define PORTMON_INPUT_H

#include <optional>
#include <string>

/// Reads the standard input without blocking for longer than asked.
class Input {
public:
    /// Waits at most `milliseconds` for input and reads what is there. An interrupt ends the wait.
    /// A last line without a newline counts as a line.
    void Wait(int milliseconds);

    /// Takes the next line, without its newline; nothing while no line is complete.
    std::optional<std::string> TakeLine();

private:
    std::string m_Pending;  ///< Read, but not taken yet.
    bool m_IsAtEnd = false;
};

#endif
