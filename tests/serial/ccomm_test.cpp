#include "utilities/serial/ccomm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "tests/fakes/clock.h"
#include "tests/fakes/serial.h"

namespace {

using fakes::line;
using fakes::TakeCalls;
using Transfers = decltype(line.transfers);

constexpr char CLOSING[] = "Escape 6; Escape 4; CloseHandle; ";

/// A port that was opened with 9600 8N1 on a line of its own.
struct OpenPort : CComm {
    OpenPort() {
        line = {};
        Open(0, 9600, 'N', 8, 1);
        TakeCalls();
    }
};

std::string SetTo(const std::string& settings) { return "SetCommState " + settings + " 1; "; }

TEST(CComm, OpensAndClosesInAFixedOrder) {
    line = {};
    line.settings.BaudRate = 300;
    CComm port;
    EXPECT_TRUE(port.Open(9, 9600, 'e', 7, 2) && port.IsPortOpen());
    EXPECT_EQ(TakeCalls(),
              "CreateFileA \\\\.\\COM10; SetupComm 2048 2048; SetCommMask 0; GetCommState; " +
                  SetTo("300 8N0") + SetTo("9600 7E2") +
                  "SetCommTimeouts 4294967295 0 100 0 20; PurgeComm 8; PurgeComm 5; ");
    EXPECT_EQ(port.GetCommHandle(), &line);
    const DCB& set = line.settings;
    EXPECT_TRUE(set.fBinary && set.fTXContinueOnXoff && set.fDtrControl == 1);
    EXPECT_FALSE(set.fParity || set.fOutxDsrFlow || set.fDsrSensitivity || set.fOutX || set.fInX ||
                 set.fErrorChar || set.fNull || set.fAbortOnError);
    EXPECT_EQ((std::vector<int>{set.XonLim, set.XoffLim, set.XonChar, set.XoffChar, set.EofChar,
                                set.EvtChar}),
              (std::vector<int>{256, 256, 0x11, 0x13, 0, 0}));

    // Once more: closed first, and refused parameters leave what the device has.
    EXPECT_TRUE(port.Open(9, 115200, 'N', 8, 1));
    EXPECT_EQ(TakeCalls().find(CLOSING + std::string("CreateFileA")), 0u);
    EXPECT_EQ(line.settings.BaudRate, 9600u);
    line.isMissing = true;
    EXPECT_FALSE(port.Open(0, 9600, 'N', 8, 1) || port.IsPortOpen());
    EXPECT_FALSE(port.Open(INT_MAX, 9600, 'N', 8, 1));
    port.Close();
    EXPECT_EQ(TakeCalls(), CLOSING + std::string("CreateFileA \\\\.\\COM1; "
                                                 "CreateFileA \\\\.\\COM-2147483648; "));
}

TEST(CComm, TakesTheRatesLettersAndStopBitsThatItKnows) {
    const std::pair<long, const char*> BAUDS[] = {
        {57600, "57600"},   {57601, ""},  {115200, ""},     {127999, ""}, {128000, "130816"},
        {256000, "261888"}, {256001, ""}, {4294967296, ""}, {0, "0"},     {-1, "4294967295"}};
    for (const auto& [baud, stored] : BAUDS) {
        OpenPort port;
        const std::string set = *stored ? SetTo(stored + std::string(" 8N0")) : "";
        EXPECT_EQ(port.SetBaud(baud), !set.empty()) << baud;
        EXPECT_EQ(port.SetPortA(baud, 'N', 8, 1), !set.empty()) << baud;
        EXPECT_EQ(TakeCalls(), "Look; " + set + set);
    }
    const std::string letters = "NOEMSnoems";
    for (int code = -128; code < 128; ++code) {
        OpenPort port;
        const auto letter = static_cast<char>(code);
        const bool isKnown = letters.find(letter) != std::string::npos;
        const char upper = static_cast<char>(letter & ~0x20);
        const std::string set = isKnown ? SetTo(std::string("9600 8") + upper + "0") : "";
        EXPECT_EQ(port.SetParity(letter), isKnown) << code;
        EXPECT_EQ(port.SetPortA(9600, letter, 8, 1), isKnown) << code;
        EXPECT_EQ(TakeCalls(), "Look; " + set + set);
    }
    // What stands before a refusal is kept for the next setter.
    const struct {
        long baud;
        char parity;
        int dataBits, stopBits;
        const char *set, *later;
    } ROWS[] = {{1200, 'O', 0x105, 2, "1200 5O2", "50 5O2"},
                {1200, 's', 9, 1, "1200 9S0", "50 9S0"},
                {1200, 'X', 7, 2, "", "50 7N0"},
                {115200, 'O', 7, 2, "", "50 8N0"},
                {1200, 'E', 7, 0, "", "50 7E0"},
                {1200, 'E', 7, 3, "", "50 7E0"}};
    for (const auto& [baud, parity, dataBits, stopBits, set, later] : ROWS) {
        OpenPort port;
        EXPECT_EQ(port.SetPortA(baud, parity, dataBits, stopBits), *set != '\0') << later;
        EXPECT_TRUE(port.SetBaud(50)) << later;
        EXPECT_EQ(TakeCalls(), (*set ? SetTo(set) : "") + "Look; " + SetTo(later));
        line.refusesSettings = true;
        EXPECT_FALSE(port.SetBaud(50) || port.SetParity('N') || port.SetPortA(50, 'N', 8, 1));
    }
}

TEST(CComm, WaitsTwoSecondsForTheQueueToEmptyBeforeASetting) {
    const auto rate = [](CComm& port) { return port.SetBaud(50); };
    const auto letter = [](CComm& port) { return port.SetParity('X'); };
    const auto all = [](CComm& port) { return port.SetPortA(50, 'E', 7, 1); };
    const struct {
        int looks;
        std::function<bool(CComm&)> set;
        bool result;
        long calls;
    } ROWS[] = {{3, letter, false, 3},   {2000, rate, true, 2001},  {2001, rate, false, 2000},
                {-1, rate, false, 2000}, {-1, letter, false, 2000}, {-1, all, true, 1}};
    for (const auto& [looks, set, result, calls] : ROWS) {
        OpenPort port;
        fakes::milliseconds = 0xFFFFFF00;  // The clock wraps during the wait.
        line.outQueue = 1;
        line.looksUntilSent = looks;
        EXPECT_EQ(set(port), result) << looks;
        EXPECT_EQ(std::count(line.calls.begin(), line.calls.end(), ';'), calls) << looks;
    }
}

TEST(CComm, SendsWithinTheBudget) {
    const struct {
        std::uint32_t waiting;
        int length;
        Transfers writes;
        unsigned long result;
        const char* calls;
        std::size_t sent;
        std::uint32_t error = 5;
    } ROWS[] = {{2000, 100, {}, 0, "Look; Write 48; ", 48},
                {1948, 100, {}, 1, "Look; Write 100; ", 100},
                {1949, 100, {}, 0, "Look; Write 99; ", 99},
                {0, 2049, {}, 0, "Look; Write 2048; ", 2048},
                {2048, 1, {}, 0, "Look; ", 0},
                {4000, 100, {}, 0, "Look; ", 0},
                {0, 100, {{true, 60}}, 0, "Look; Write 100; Write 40; ", 100},
                {0, 100, {{true, 60}, {true, 0}}, 0, "Look; Write 100; Write 40; ", 60},
                {0, 100, {{true, 60}, {false, 9}}, 0, "Look; Write 100; Write 40; Look; ", 69},
                {0, 100, {{false, 9}}, 0, "Look; Write 100; ", 9, 997},
                {0, 100, {{false, 100}}, 1, "Look; Write 100; Look; ", 100},
                {0, 0, {}, 1, "", 0},
                {0, -1, {}, 1, "", 0}};
    std::string data(3000, '\0');
    std::iota(data.begin(), data.end(), '\0');
    auto* const bytes = reinterpret_cast<unsigned char*>(data.data());
    for (const auto& [waiting, length, writes, result, calls, sent, error] : ROWS) {
        OpenPort port;
        line.outQueue = waiting;
        line.transfers = writes;
        line.error = error;
        EXPECT_EQ(port.TxBuffer(bytes, length, true), result) << length << " behind " << waiting;
        EXPECT_EQ(TakeCalls(), calls);
        EXPECT_EQ(line.sent, data.substr(0, sent));
        EXPECT_EQ(port.TxSize(), waiting);
    }
}

TEST(CComm, ReadsOnlyWhatIsWaiting) {
    const struct {
        std::uint32_t waiting;
        int length;
        Transfers reads;
        unsigned long result;
        const char* calls;
        std::uint32_t error = 5;
    } ROWS[] = {{0, 10, {}, 0, "Look; "},
                {5, 10, {}, 5, "Look; Read 5; "},
                {50, 10, {}, 10, "Look; Read 10; "},
                {5, 10, {{true, 2}}, 2, "Look; Read 5; "},
                {5, 10, {{false, 2}}, 2, "Look; Read 5; Look; "},
                {5, 10, {{false, 2}}, 2, "Look; Read 5; ", 997},
                {5, 0, {}, 0, "Look; "},
                {5, -1, {}, 0, "Look; "}};
    for (const auto& [waiting, length, reads, result, calls, error] : ROWS) {
        OpenPort port;
        line.inQueue = waiting;
        line.transfers = reads;
        line.error = error;
        std::string buffer(10, '\0');
        bool flag = true;
        auto* const bytes = reinterpret_cast<unsigned char*>(buffer.data());
        EXPECT_EQ(port.RxBuffer(bytes, length, &flag), result) << length << " of " << waiting;
        EXPECT_EQ(TakeCalls(), calls);
        EXPECT_EQ(buffer, std::string(result, 'r') + std::string(10 - result, '\0'));
        EXPECT_TRUE(flag && port.RxSize() == waiting);
    }
}

TEST(CComm, PassesLinesHandshakeAndPurgesOn) {
    OpenPort port;
    for (const std::uint32_t lines : {0u, 0x80u, 0x10u, 0x6Fu}) {
        line.modemLines = lines;
        EXPECT_EQ(port.GetCd(), lines == 0x80);
        EXPECT_EQ(port.GetCTS(), lines == 0x10);
    }
    const std::pair<std::function<void()>, const char*> ROWS[] = {
        {[&] { port.SetDtr(true); }, "Escape 5; "},
        {[&] { port.SetDtr(false); }, "Escape 6; "},
        {[&] { port.SetRts(true); }, "Escape 3; "},
        {[&] { port.SetRts(false); }, "Escape 4; "},
        {[&] { port.ClearRXBuffer(); }, "PurgeComm 8; "},
        {[&] { port.ClearTXBuffer(); }, "PurgeComm 5; "},
        {[&] { port.UseRtsCts(true); }, "GetCommState; SetCommState 9600 8N0 cts 2; "},
        {[&] { port.UseRtsCts(false); }, "GetCommState; SetCommState 9600 8N0 1; "},
        {[&] { port.SetDirection(1); }, ""}};
    for (const auto& [act, calls] : ROWS) {
        act();
        EXPECT_EQ(TakeCalls(), calls);
    }
    CComm copy;
    copy = port;
    EXPECT_TRUE(copy.GetCommHandle() == &line && copy.SetParity('O') && !copy.GetOverrunError());
    port.Close();
    TakeCalls();
    unsigned char byte = 0;
    EXPECT_FALSE(port.SetBaud(50) || port.SetParity('N') || port.SetPortA(50, 'N', 8, 1));
    EXPECT_EQ(port.RxBuffer(&byte, 1, nullptr) + port.TxBuffer(&byte, 1, false), 0u);
    EXPECT_EQ(port.RxSize() + port.TxSize(), 0);
    EXPECT_EQ(port.TxBuffer(&byte, 0, false), 1u);
    EXPECT_EQ(TakeCalls(), "");
}

}  // namespace
