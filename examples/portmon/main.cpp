// Shows what happens on a serial port, and sends lines to it.
#include <clocale>
#include <cstdio>
#include <exception>

#include "commandline.h"
#include "interrupt.h"
#include "messages.h"
#include "monitor.h"

namespace {

/// An interrupt is the ordinary end of the program.
enum ExitStatus { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2 };

constexpr int MOST_BAUD = 256000;

constexpr char USAGE[] =
    "portmon DEVICE [--baud N] [--parity LETTER] [--data-bits N] [--stop-bits N] [--handshake]\n"
    "               [--hex]";

ExitStatus ShowUsage() {
    std::fprintf(stderr, "usage: %s\n", USAGE);
    return STATUS_USAGE;
}

char ParityOf(const CommandLine& line) {
    const String* const letter = line.ValueOf("parity");
    if (letter == nullptr)
        return 'N';
    if (letter->size() != 1)
        throw UsageError("--parity: not a letter");
    return letter->front();
}

LineSettings SettingsOf(const CommandLine& line) {
    return {line.NumberOf("baud", 1, MOST_BAUD, 9600), ParityOf(line),
            line.NumberOf("data-bits", 5, 8, 8), line.NumberOf("stop-bits", 1, 2, 1),
            line.Has("handshake")};
}

ExitStatus Run(const Arguments& arguments) {
    const auto line = ParseCommandLine(arguments, USAGE);
    if (!line)
        return ShowUsage();
    Monitor(line->words[0], SettingsOf(*line), line->Has("hex")).Run();
    return STATUS_DONE;
}

ExitStatus Fail(const std::exception& failure, ExitStatus status) {
    std::fprintf(stderr, "portmon: %s\n", failure.what());
    return status;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    std::setlocale(LC_ALL, "");
    CatchInterrupts();
    try {
        return Run({arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount});
    } catch (const UsageError& error) {
        return Fail(error, STATUS_USAGE);
    } catch (const std::exception& failure) {
        return Fail(failure, STATUS_FAILED);
    }
}
