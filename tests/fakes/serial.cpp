#include "tests/fakes/serial.h"

#include <algorithm>
#include <sstream>

#include "tests/fakes/clock.h"
#include "utilities/platform/serial.h"

namespace platform::serial {

using fakes::line;

namespace {

template <typename... Parts>
bool Note(const Parts&... parts) {
    std::ostringstream call;
    (call << ... << parts) << "; ";
    line.calls += call.str();
    return true;
}

bool Move(std::uint32_t size, std::uint32_t& done) {
    if (line.transfers.empty())
        line.transfers.emplace_back(true, size);
    const auto [isDone, bytes] = line.transfers.front();
    line.transfers.pop_front();
    done = bytes;
    return isDone;
}

}  // namespace

void SetDevice(const char*, const char*) {}

Handle CreateFileA(const char* name) {
    Note("CreateFileA ", name);
    return line.isMissing ? nullptr : &line;
}

bool CloseHandle(Handle) { return Note("CloseHandle"); }

bool SetupComm(Handle, std::uint32_t in, std::uint32_t out) {
    return Note("SetupComm ", in, ' ', out);
}

bool SetCommMask(Handle, std::uint32_t mask) { return Note("SetCommMask ", mask); }

bool GetCommState(Handle, DCB* state) {
    *state = line.settings;
    return Note("GetCommState");
}

bool SetCommState(Handle, const DCB* state) {
    Note(
        "SetCommState ", state->BaudRate, ' ', int{state->ByteSize}, "NOEMS" [state->Parity],
        int { state->StopBits }, state->fOutxCtsFlow ? " cts " : " ", int{state->fRtsControl});
    if (!line.refusesSettings)
        line.settings = *state;
    return !line.refusesSettings;
}

bool SetCommTimeouts(Handle, const COMMTIMEOUTS* limits) {
    const auto& [interval, readByte, read, writeByte, write] = *limits;
    return Note("SetCommTimeouts ", interval, ' ', readByte, ' ', read, ' ', writeByte, ' ', write);
}

bool PurgeComm(Handle, std::uint32_t flags) { return Note("PurgeComm ", flags); }

bool EscapeCommFunction(Handle, std::uint32_t function) { return Note("Escape ", function); }

bool GetCommModemStatus(Handle, std::uint32_t* status) { return (*status = line.modemLines) != 0; }

bool ClearCommError(Handle, COMSTAT* status) {
    ++fakes::milliseconds;
    if (line.looksUntilSent >= 0 && line.looksUntilSent-- <= 1)
        line.outQueue = 0;
    *status = {line.inQueue, line.outQueue};
    return Note("Look");
}

bool ReadFile(Handle, void* buffer, std::uint32_t size, std::uint32_t* done) {
    Note("Read ", size);
    const bool isDone = Move(size, *done);
    std::fill_n(static_cast<char*>(buffer), *done, 'r');
    return isDone;
}

bool WriteFile(Handle, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    Note("Write ", size);
    const bool isDone = Move(size, *done);
    line.sent.append(static_cast<const char*>(buffer), *done);
    return isDone;
}

std::uint32_t GetLastError() { return line.error; }

}  // namespace platform::serial
