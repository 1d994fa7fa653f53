/// The user's wish to end the program.
#ifndef SUPPORT_INTERRUPT_H
#define SUPPORT_INTERRUPT_H

#include <exception>

/// Takes note of an interrupt or a request to terminate, once: a second one ends the program at
/// once.
void CatchInterrupts();

/// To be asked often in all that takes long. From any thread.
bool IsInterrupted();

/// What ends a command on its own thread behind an interrupt.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Throws `Interrupted` if there was one.
void StopIfInterrupted();

#endif
