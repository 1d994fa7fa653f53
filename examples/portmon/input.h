/// The lines that the user wants to send.
#ifndef PORTMON_INPUT_H
#define PORTMON_INPUT_H

#include <optional>
#include <string>

/// The standard input, of which no more than a few thousand bytes are read in advance.
class Input {
public:
    /// Whether there is space for more, and more can come.
    bool IsWanted() const;

    /// Reads what is there, or waits for it. A last line without a newline counts as a line.
    void Read();

    /// Takes the next line with its newline, or the next part of a long one, without; nothing while
    /// neither is complete.
    std::optional<std::string> Take();

private:
    std::string m_Pending;  ///< Read, but not taken yet.
    bool m_IsAtEnd = false;
};

#endif
