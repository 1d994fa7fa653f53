/// Interrupts: the user's wish to end the program.
#ifndef SUPPORT_INTERRUPT_H
#define SUPPORT_INTERRUPT_H

#include <exception>

/// From now on SIGINT and SIGTERM are noted instead of ending the program. Only the first one is: a
/// second one ends the program as the system does.
void CatchInterrupts();

/// Whether there was one. Whatever takes long asks often. From any thread.
bool IsInterrupted();

/// Thrown to end a command after an interrupt, on the thread that runs the command.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Throws `Interrupted` if there was an interrupt.
void StopIfInterrupted();

#endif
