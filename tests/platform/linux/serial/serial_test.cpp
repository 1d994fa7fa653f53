#include "utilities/platform/serial.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <chrono>

namespace {

using namespace platform::serial;

TEST(SerialLine, RefusesWhatThisSystemDoesNotOffer) {
    int terminal = -1, device = -1;
    char path[64];
    ASSERT_EQ(openpty(&terminal, &device, path, nullptr, nullptr), 0);
    SetDevice("\\\\.\\COM1", path);
    const auto port = CreateFileA("\\\\.\\COM1");
    DCB good;
    ASSERT_TRUE(GetCommState(port, &good) && SetCommState(port, &good));
    void (*const CHANGES[])(DCB&) = {
        [](DCB& s) { s.fBinary = false; },      [](DCB& s) { s.fParity = true; },
        [](DCB& s) { s.fOutxDsrFlow = true; },  [](DCB& s) { s.fDsrSensitivity = true; },
        [](DCB& s) { s.fOutX = true; },         [](DCB& s) { s.fInX = true; },
        [](DCB& s) { s.fErrorChar = true; },    [](DCB& s) { s.fNull = true; },
        [](DCB& s) { s.fAbortOnError = true; }, [](DCB& s) { s.fDtrControl = 2; },
        [](DCB& s) { s.fRtsControl = 3; },      [](DCB& s) { s.fOutxCtsFlow = true; },
        [](DCB& s) { s.ByteSize = 4; },         [](DCB& s) { s.ByteSize = 9; },
        [](DCB& s) { s.Parity = 5; },           [](DCB& s) { s.StopBits = 1; }};
    for (const auto& change : CHANGES) {
        DCB bad = good, found;
        change(bad);
        EXPECT_FALSE(SetCommState(port, &bad)) << &change - CHANGES;
        EXPECT_TRUE(GetCommState(port, &found) && found.ByteSize == good.ByteSize);
    }
    good.fDtrControl = good.fRtsControl = 0;
    EXPECT_TRUE(SetCommState(port, &good));
    const COMMTIMEOUTS NO_GAPS{0xFFFFFFFF, 0, 0, 0, 0}, gaps{};
    EXPECT_TRUE(SetCommMask(port, 0) && SetupComm(port, 1, 1) && SetCommTimeouts(port, &NO_GAPS));
    EXPECT_FALSE(SetCommMask(port, 1) || SetCommTimeouts(port, &gaps));
    const COMMTIMEOUTS brief{0xFFFFFFFF, 10, 5, 0, 0};
    char bytes[4];
    std::uint32_t done = 9;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(SetCommTimeouts(port, &brief) && ReadFile(port, bytes, 4, &done) && done == 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(44));
    EXPECT_FALSE(EscapeCommFunction(port, SETRTS - 1) || EscapeCommFunction(port, CLRDTR + 1));
    EXPECT_TRUE(CloseHandle(port));
    EXPECT_FALSE(SetCommMask(port, 0) || SetupComm(port, 1, 1) || CloseHandle(port) ||
                 SetCommTimeouts(port, &NO_GAPS) || PurgeComm(port, PURGE_RXCLEAR) ||
                 PurgeComm(port, PURGE_TXCLEAR));
    SetDevice("\\\\.\\COM1", nullptr);
    for (const char* name : {"COM1", "\\\\.\\COM", "\\\\.\\COM0", "\\\\.\\COM1x", ""})
        EXPECT_EQ(CreateFileA(name), nullptr) << name;
    close(device);
    close(terminal);
}

}  // namespace
