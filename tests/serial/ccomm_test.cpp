// The port on pseudo-terminals, and on a simulated line: the functions by which the library calls
// the system are replaced by those of this program.
#include "utilities/serial/ccomm.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/eventually.h"
#include "tests/support/frozen_clock.h"
#include "tests/support/scratch.h"
#include "tests/support/uses.h"
#include "utilities/threads/threadutils.h"

namespace {

using Transfers = std::deque<long>;

/// Time passes with each query of the send queue and each transfer that waits.
struct SimulatedLine {
    std::string log, sent;
    int modemLines = 0, inQueue = 0, outQueue = 0;
    int queries = 0, queriesUntilSent = -1;
    bool refusesSettings = false;
    speed_t highestRate = UINT_MAX;
    tcflag_t missingFlags = 0;  ///< Settings that it drops.
    std::optional<termios2> settings;
    Transfers transfers;  ///< Bytes, or minus the error; then all that is asked for.
}* line = nullptr;

std::string device;  ///< Of all ports while there is a line.

/// Every byte passes unchanged and none is added for a break; only a hang-up ends a read; the modem
/// lines don't rule, and fall at the close.
bool IsTransparent(const termios2& settings) {
    constexpr tcflag_t MODES = CREAD | CLOCAL | HUPCL;
    return settings.c_iflag == IGNBRK && settings.c_oflag == 0 && settings.c_lflag == 0 &&
           (settings.c_cflag & MODES) == MODES && settings.c_cc[VMIN] == 1 &&
           settings.c_cc[VTIME] == 0;
}

std::string TextOf(const termios2& settings) {
    const tcflag_t flags = settings.c_cflag;
    const int parity =
        ((flags & PARENB) ? 4 : 0) | ((flags & CMSPAR) ? 2 : 0) | ((flags & PARODD) ? 1 : 0);
    std::string text = IsTransparent(settings) ? "" : "cooked ";
    text += std::to_string(settings.c_ospeed) + ' ';
    text += static_cast<char>('5' + (flags & CSIZE) / CS6);
    text += "NNNNEOSM"[parity];
    return text + ((flags & CSTOPB) ? '2' : '1') + ((flags & CRTSCTS) ? " cts; " : "; ");
}

int Control(unsigned long request, void* argument) {
    auto* const number = static_cast<int*>(argument);
    auto* const settings = static_cast<termios2*>(argument);
    if (request == TIOCMBIS || request == TIOCMBIC) {
        line->log += request == TIOCMBIS ? '+' : '-';
        line->log += *number == TIOCM_DTR ? "DTR; " : "RTS; ";
    } else if (request == TIOCMGET || request == TIOCINQ) {
        *number = request == TIOCMGET ? line->modemLines : line->inQueue;
    } else if (request == TIOCOUTQ) {
        ++frozenTime;
        *number = ++line->queries == line->queriesUntilSent ? line->outQueue = 0 : line->outQueue;
    } else if (request == TCSETS2) {
        if (line->refusesSettings)
            return -1;
        line->log += TextOf(*settings);
        line->settings = *settings;
        line->settings->c_ospeed = std::min(settings->c_ospeed, line->highestRate);
        line->settings->c_cflag &= ~line->missingFlags;
    } else if (request == TCGETS2) {
        *settings = line->settings.value_or(*settings);
    }
    return 0;
}

ssize_t Transfer(std::size_t size, int pause) {
    auto result = static_cast<long>(size);
    if (!line->transfers.empty()) {
        result = line->transfers.front();
        line->transfers.pop_front();
    }
    frozenTime += result == -EAGAIN ? pause : 0;
    errno = static_cast<int>(-result);
    return result >= 0 ? result : -1;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int permission = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    if (line != nullptr && std::strncmp(path, "/dev/ttyS", 9) == 0) {
        // Neither for programs that are started nor as the process's terminal.
        line->log += path + std::string(flags & O_CLOEXEC && flags & O_NOCTTY ? "; " : "!");
        path = device.c_str();
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, permission));
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const auto result = static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    return line != nullptr && descriptor >= 0 ? Control(request, argument) : result;
}

int tcflush(int descriptor, int queue) noexcept {
    if (line != nullptr)
        line->log += queue == TCIFLUSH ? "drop in; " : queue == TCOFLUSH ? "drop out; " : "!";
    return static_cast<int>(syscall(SYS_ioctl, descriptor, TCFLSH, queue));
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    if (line == nullptr)
        return syscall(SYS_read, descriptor, buffer, size);
    const ssize_t result = Transfer(size, 50);
    std::fill_n(static_cast<char*>(buffer), result, 'r');
    return result;
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    if (line == nullptr)
        return syscall(SYS_write, descriptor, buffer, size);
    const ssize_t result = Transfer(size, 10);
    line->sent.append(static_cast<const char*>(buffer), result > 0 ? std::size_t(result) : 0);
    return result;
}

}  // extern "C"

namespace {

constexpr int PORT = 7;

/// A port on a pseudo-terminal whose other side the test has, or on a simulated line.
class Port : public testing::Test {
protected:
    Port() {
        grantpt(side);
        unlockpt(side);
        device = ptsname(side);
        SetSerialDevice(PORT, device.c_str());
        user = open(device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        std::iota(std::begin(buffer), std::end(buffer), static_cast<unsigned char>(0));
    }
    ~Port() override {
        line = nullptr;
        frozenTime = -1;
        comm.Close();
        close(user);
        close(side);
    }
    static bool Open(CComm& port) { return port.Open(PORT, 9600, 'N', 8, 1); }
    bool IsExclusive() const {
        int isExclusive = -1;
        ioctl(user, TIOCGEXCL, &isExclusive);
        return isExclusive == 1;
    }
    void Arrive(CComm& port, const std::string& data) {
        EXPECT_EQ(write(side, data.data(), data.size()), std::ssize(data));
        EXPECT_TRUE(Eventually([&] { return port.RxSize() == std::ssize(data); }));
    }
    /// Opens the port on a new line.
    SimulatedLine& OpenLine() {
        line = nullptr;
        comm.Close();
        line = &(simulated = {});
        frozenTime = BEFORE_THE_WRAP;
        EXPECT_TRUE(Open(comm));
        simulated.log.clear();
        return simulated;
    }
    /// What was done to the line since the last time.
    std::string Log() { return std::exchange(simulated.log, {}); }
    /// The first bytes of the buffer.
    std::string Bytes(std::size_t count) const { return {buffer, buffer + count}; }

    int side = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    int user = -1;  ///< Another program's descriptor.
    SimulatedLine simulated;
    CComm comm, other;
    unsigned char buffer[3000];
};

TEST_F(Port, OpensAndClosesInAFixedOrder) {
    SetSerialDevice(PORT, nullptr);
    line = &simulated;
    EXPECT_TRUE(comm.Open(PORT, 1200, 'e', 7, 2));
    EXPECT_TRUE(comm.IsPortOpen());
    EXPECT_EQ(Log(), "/dev/ttyS7; 38400 8N1; +DTR; +RTS; 1200 7E2; drop in; drop out; ");
    // Once more: closed first, and refused parameters leave what the device has.
    EXPECT_TRUE(comm.Open(PORT, 115200, 'N', 8, 1));
    EXPECT_EQ(Log(), "-DTR; -RTS; drop out; /dev/ttyS7; 1200 7E2; +DTR; +RTS; drop in; drop out; ");
    device = "/missing";
    const std::pair<int, const char*> PORTS[] = {
        {0, "-DTR; -RTS; drop out; /dev/ttyS0; "}, {9, "/dev/ttyS9; "}, {-1, ""}, {INT_MAX, ""}};
    for (const auto& [port, log] : PORTS) {
        EXPECT_FALSE(comm.Open(port, 9600, 'N', 8, 1)) << port;
        EXPECT_FALSE(comm.IsPortOpen()) << port;
        EXPECT_EQ(Log(), log);
    }
}

TEST_F(Port, AcceptsTheDocumentedRatesParitiesAndStopBits) {
    const std::pair<long, const char*> BAUDS[] = {
        {57600, "57600"},   {57601, ""},  {115200, ""},     {127999, ""}, {128000, "130816"},
        {256000, "261888"}, {256001, ""}, {4294967296, ""}, {0, "0"},     {-1, "4294967295"}};
    const auto expect = [this](bool isKnown, long baud, char letter, const std::string& text) {
        OpenLine();
        EXPECT_EQ(baud != 9600 ? comm.SetBaud(baud) : comm.SetParity(letter), isKnown);
        EXPECT_EQ(comm.SetPortA(baud, letter, 8, 1) ? 0 : errno, isKnown ? 0 : EINVAL);
        EXPECT_EQ(Log(), isKnown ? text + text : "") << baud << letter;
    };
    for (const auto& [baud, stored] : BAUDS)
        expect(*stored != '\0', baud, 'N', stored + std::string(" 8N1; "));
    for (int code = -128; code < 128; ++code) {
        const auto letter = static_cast<char>(code);
        const bool isKnown = letter != '\0' && std::strchr("NOEMSnoems", letter) != nullptr;
        expect(isKnown, 9600, letter, std::string("9600 8") + char(letter & ~0x20) + "1; ");
    }
    // The arguments before a refused one are kept for the next setter.
    const struct {
        long baud;
        char parity;
        int dataBits, stopBits;
        const char *set, *later;
    } ROWS[] = {{1200, 'O', 0x105, 2, "1200 5O2; ", "50 5O2; "},
                {1200, 's', 9, 1, "", ""},
                {1200, 'm', 4, 1, "", ""},
                {1200, 'X', 7, 2, "", "50 7N1; "},
                {115200, 'O', 7, 2, "", "50 8N1; "},
                {1200, 'E', 7, 0, "", "50 7E1; "},
                {1200, 'E', 6, 3, "", "50 6E1; "}};
    for (const auto& [baud, parity, dataBits, stopBits, set, later] : ROWS) {
        OpenLine();
        EXPECT_EQ(comm.SetPortA(baud, parity, dataBits, stopBits) ? 0 : errno,
                  *set != '\0' ? 0 : EINVAL)
            << later;
        EXPECT_EQ(comm.SetBaud(50), *later != '\0') << later;
        EXPECT_EQ(Log(), std::string(set) + later);
        simulated.refusesSettings = true;
        EXPECT_FALSE(comm.SetBaud(50));
        EXPECT_FALSE(comm.SetParity('N'));
        EXPECT_FALSE(comm.SetPortA(50, 'N', 8, 1));
    }
    // A device may be off by 2 %, which is 2616; otherwise its old settings are restored.
    OpenLine().highestRate = 130816 - 2617;
    EXPECT_FALSE(comm.SetBaud(128000));
    EXPECT_EQ(Log(), "130816 8N1; 9600 8N1; ");
    simulated.highestRate = 130816 - 2616;
    EXPECT_TRUE(comm.SetBaud(128000));
    for (const tcflag_t missing :
         std::initializer_list<tcflag_t>{0, PARENB, PARODD, CMSPAR, CSIZE, CSTOPB, CRTSCTS}) {
        OpenLine().missingFlags = missing;
        comm.UseRtsCts(true);
        EXPECT_EQ(comm.SetPortA(9600, 'M', 7, 2), missing == 0) << std::oct << missing;
    }
}

TEST_F(Port, WaitsTwoSecondsForTheQueueToEmptyBeforeASetting) {
    using Setter = bool (*)(CComm&);
    constexpr Setter rate = [](CComm& port) { return port.SetBaud(50); };
    constexpr Setter letter = [](CComm& port) { return port.SetParity('X'); };
    constexpr Setter all = [](CComm& port) { return port.SetPortA(50, 'E', 7, 1); };
    const struct {
        int queriesUntilSent;
        Setter set;
        bool result;
        int queries;
    } ROWS[] = {{3, letter, false, 3},   {1001, rate, true, 1001},  {1002, rate, false, 1001},
                {-1, rate, false, 1001}, {-1, letter, false, 1001}, {-1, all, true, 0}};
    for (const auto& [queriesUntilSent, set, result, queries] : ROWS) {
        OpenLine().outQueue = 1;
        simulated.queriesUntilSent = queriesUntilSent;
        EXPECT_EQ(set(comm), result) << queriesUntilSent;
        EXPECT_EQ(simulated.queries, queries) << queriesUntilSent;
    }
    // Closing doesn't wait for longer either.
    OpenLine().outQueue = 1;
    comm.Close();
    EXPECT_EQ((frozenTime - BEFORE_THE_WRAP) / 10, 200);
}

TEST_F(Port, SendsWithinTheBudget) {
    Transfers trickle;
    for (int bytes = 0; bytes < 1000; ++bytes)
        trickle.insert(trickle.end(), {1, -EAGAIN, -EAGAIN});
    const struct {
        int waiting, length;
        Transfers writes;
        unsigned long result;
        std::size_t sent;
    } ROWS[] = {{2000, 100, {}, 0, 48},
                {1948, 100, {}, 1, 100},
                {1949, 100, {}, 0, 99},
                {0, 2049, {}, 0, 2048},
                {2048, 1, {}, 0, 0},
                {4000, 100, {}, 0, 0},
                {0, 100, {60, -EINTR, -EAGAIN, 40}, 1, 100},   // In one piece of 20 ms.
                {0, 100, {60, -EAGAIN, -EAGAIN, 40}, 0, 100},  // In two.
                {0, 100, {60, -EAGAIN, -EAGAIN, -EAGAIN, -EAGAIN}, 0, 60},
                {0, 100, {60, -EIO}, 0, 60},
                {0, 2048, trickle, 0, 100},  // 20 ms each.
                {0, 0, {}, 1, 0},
                {0, -1, {}, 1, 0}};
    for (const auto& [waiting, length, writes, result, sent] : ROWS) {
        OpenLine().outQueue = waiting;
        simulated.transfers = writes;
        EXPECT_EQ(comm.TxBuffer(buffer, length, true), result) << length << " after " << waiting;
        EXPECT_EQ(simulated.sent, Bytes(sent)) << sent;
        EXPECT_EQ(comm.TxSize(), waiting);
    }
}

TEST_F(Port, ReadsOnlyWhatIsWaiting) {
    const struct {
        int waiting, length;
        Transfers reads;
        unsigned long result;
    } ROWS[] = {{0, 10, {}, 0},
                {5, 10, {}, 5},
                {50, 10, {}, 10},
                {5, 10, {2, -EINTR, -EAGAIN, 3}, 5},
                {5, 10, {2, -EAGAIN, -EAGAIN}, 2},  // 100 ms.
                {5, 10, {2, -EIO}, 2},
                {5, 10, {2, 0}, 2},  // Hung up.
                {5, 0, {}, 0},
                {5, -1, {}, 0}};
    for (const auto& [waiting, length, reads, result] : ROWS) {
        OpenLine().inQueue = waiting;
        simulated.transfers = reads;
        std::fill_n(buffer, 11, static_cast<unsigned char>('-'));
        bool flag = true;
        EXPECT_EQ(comm.RxBuffer(buffer, length, &flag), result) << length << " of " << waiting;
        EXPECT_EQ(Bytes(11), std::string(result, 'r') + std::string(11 - result, '-'));
        EXPECT_TRUE(flag);
        EXPECT_EQ(comm.RxSize(), waiting);
    }
}

TEST_F(Port, MovesAndReadsModemLines) {
    OpenLine();
    for (const int lines : {0, TIOCM_CTS, TIOCM_CD, TIOCM_DSR | TIOCM_RTS | TIOCM_RI}) {
        simulated.modemLines = lines;
        EXPECT_EQ(comm.GetCTS(), lines == TIOCM_CTS);
        EXPECT_EQ(comm.GetCd(), lines == TIOCM_CD);
    }
    const std::pair<void (*)(CComm&), const char*> ROWS[] = {
        {[](CComm& port) { port.SetDtr(false); }, "-DTR; "},
        {[](CComm& port) { port.SetRts(false); }, "-RTS; "},
        {[](CComm& port) { port.SetBaud(300); }, "300 8N1; "},  // Leaves the lines alone.
        {[](CComm& port) { port.UseRtsCts(true); }, "300 8N1 cts; "},
        {[](CComm& port) { port.SetParity('O'); }, "300 8O1 cts; "},
        {[](CComm& port) { port.UseRtsCts(false); }, "300 8O1; +RTS; "},
        {[](CComm& port) { port.SetRts(true); }, "+RTS; "},
        {[](CComm& port) { port.SetDtr(true); }, "+DTR; "},
        {[](CComm& port) { port.SetDirection(1); }, ""}};
    for (const auto& [act, log] : ROWS) {
        act(comm);
        EXPECT_EQ(Log(), log);
    }
    EXPECT_FALSE(comm.GetOverrunError());
}

TEST_F(Port, PassesBytesOfATerminal) {
    ASSERT_TRUE(Open(comm));
    Arrive(comm, "old");
    ASSERT_TRUE(Open(comm));
    Arrive(comm, Bytes(256));
    unsigned char back[256];
    EXPECT_EQ(comm.RxBuffer(back, 300, nullptr), 256u);
    EXPECT_EQ(comm.TxBuffer(back, 256, false), 1u);
    for (ssize_t done = 0; done < 256;)
        done += read(side, back + done, sizeof back);
    EXPECT_EQ(std::string(back, back + 256), Bytes(256));
}

TEST_F(Port, OpensOnlyATerminalThatIsNotInUse) {
    const std::pair<const char*, int> PATHS[] = {{"/dev/null", ENOTTY}, {"/missing", ENOENT},
                                                 {"", ENOENT},          {"/tmp", EISDIR},
                                                 {device.c_str(), 0},   {device.c_str(), EBUSY}};
    for (const auto& [path, reason] : PATHS) {
        SetSerialDevice(PORT + 1, path);
        CComm& port = reason == 0 ? other : comm;
        EXPECT_EQ(port.Open(PORT + 1, 9600, 'N', 8, 1) ? 0 : errno, reason) << path;
    }
    other.Close();
    SetSerialDevice(PORT + 1, device.c_str());
    for (const bool isOpen : {true, false, true}) {
        EXPECT_EQ(isOpen ? Open(comm) : (comm.Close(), false), isOpen);
        EXPECT_EQ(IsExclusive(), isOpen);
        EXPECT_EQ(other.Open(PORT + 1, 9600, 'N', 8, 1), !isOpen);
        other.Close();
        EXPECT_EQ(EndOf(StartProcess([&] { return Open(other) && (other.Close(), true); })),
                  isOpen ? 0 : 1);
    }
}

TEST_F(Port, BelongsToTheProcessThatOpenedIt) {
    ASSERT_TRUE(Open(comm));
    EXPECT_EQ(EndOf(StartProcess([this] { return comm.TxBuffer(buffer, 1, false) == 1; })), 1);
    EXPECT_EQ(EndOf(StartProcess([this] { return comm.Close(), Open(comm); })), 0);
    EXPECT_TRUE(IsExclusive());
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = StartProcess([&] { return read(ends[0], buffer, 1) == 1 ? 3 : 4; });
    comm.Close();
    EXPECT_FALSE(IsExclusive());
    EXPECT_TRUE(Open(other)) << "while a child lives";
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_EQ(EndOf(child), 3);
    for (const int end : ends)
        close(end);
}

TEST_F(Port, CanBeClosedAfterAThreadWasKilledThatWaitedUntilAllIsSent) {
    static std::atomic<bool> isWaiting;
    OpenLine().outQueue = 1;
    isWaiting = false;
    atPause = [] { isWaiting = true, pause(); };
    static CComm* port;
    port = &comm;
    SystemThread closer("closer", [](SystemThread*) { return port->Close(), 0u; });
    EXPECT_TRUE(closer.Create(false, 0));
    EXPECT_TRUE(Eventually([] { return isWaiting.load(); }));
    frozenTime = -1;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(closer.Terminate(0));
    testing::internal::GetCapturedStdout();
    simulated.outQueue = 0;
    comm.Close();
    EXPECT_TRUE(Open(other));
}

TEST_F(Port, IsOpenedAndClosedBesideAnother) {
    SetSerialDevice(PORT + 1, TERMINAL_DEVICE.c_str());
    const auto use = [](int port) {
        for (int round = 0; round < 2000; ++round) {
            CComm one;
            ASSERT_TRUE(one.Open(port, 9600, 'N', 8, 1)) << round;
            EXPECT_EQ(one.RxSize(), 0);
        }
    };
    std::jthread first(use, PORT), second(use, PORT + 1);
}

TEST_F(Port, FailsAsDocumentedAfterTheDeviceIsGoneOrClosedByACopy) {
    const auto expectFailure = [this](CComm& port, bool isOpen, int reason) {
        const auto fails = [reason](auto result) {
            return result == 0 && std::exchange(errno, 0) == reason;
        };
        EXPECT_EQ(port.IsPortOpen(), isOpen);
        EXPECT_TRUE(fails(port.RxSize()));
        EXPECT_TRUE(fails(port.TxSize()));
        EXPECT_TRUE(fails(port.RxBuffer(buffer, 4, nullptr)));
        EXPECT_TRUE(fails(port.TxBuffer(buffer, 4, false)));
        EXPECT_TRUE(fails(port.SetPortA(300, 'N', 8, 1)));
        EXPECT_TRUE(fails(port.SetBaud(300)));
        EXPECT_TRUE(fails(port.SetParity('N')));
        EXPECT_TRUE(fails(port.GetCd()));
        EXPECT_TRUE(fails(port.GetCTS()));
        port.ClearRXBuffer();
        port.UseRtsCts(true);
        EXPECT_EQ(port.TxBuffer(buffer, 0, false), 1u);
    };
    expectFailure(comm, false, EBADF);
    ASSERT_TRUE(Open(comm));
    CComm copy(comm);
    other = copy;
    EXPECT_TRUE(other.SetParity('N'));
    ASSERT_TRUE(Open(comm));  // The next port, on the descriptor of the one before.
    Arrive(comm, "data");
    expectFailure(other, true, EBADF);
    copy.Close();
    EXPECT_EQ(comm.RxSize(), 4);
    close(std::exchange(side, -1));
    expectFailure(comm, true, EIO);
    EXPECT_FALSE(Open(comm));
    EXPECT_FALSE(comm.IsPortOpen());
}

}  // namespace
