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

int RunMonitor(const CommandLine& line) {
    Monitor(line.words[0], SettingsOf(line), line.Has("hex")).Run();
    return STATUS_DONE;
}

const Program PROGRAM = {
    "portmon",
    "Shows what happens on a serial port, and sends lines to it.",
    {{'b', "baud", "N", "bits per second, 9600 by default"},
     {'p', "parity", "LETTER", "N none, O odd, E even, M mark, S space; N by default"},
     {'d', "data-bits", "N", "5 to 8 bits per character, 8 by default"},
     {'s', "stop-bits", "N", "1 or 2, 1 by default"},
     {'\0', "handshake", nullptr, "let RTS and CTS control the flow"},
     {'x', "hex", nullptr, "show bytes in hexadecimal digits"}},
    {{"", "DEVICE", "baud parity data-bits stop-bits handshake hex",
      "Shows what happens on the serial port DEVICE, and sends the lines of the standard input.",
      RunMonitor}},
    ""};

int Run(const Arguments& arguments) {
    const auto line = ParseCommandLine(PROGRAM, arguments);
    const int status = line ? line->command->run(*line) : STATUS_DONE;
    FinishOutput();
    return status;
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
