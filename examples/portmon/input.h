/// What the user wants to send.
#ifndef PORTMON_INPUT_H
#define PORTMON_INPUT_H

#include <optional>
#include <string>

/// The lines of the standard input.
class Input {
public:
    /// Waits until something comes, at most `milliseconds`; an interrupt ends it.
    void Wait(int milliseconds);

    /// The next line without its newline, nothing where there is none yet.
    std::optional<std::string> TakeLine();

private:
    std::string read;
    bool isAtEnd = false;
};

#endif
