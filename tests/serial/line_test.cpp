// The port on pseudo-terminals, and on what this program makes of them: it stands between the
// library and the system's `ioctl`.
#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/eventually.h"
#include "utilities/serial/ccomm.h"

namespace {

/// What a real line has and a pseudo-terminal lacks.
struct RealLine {
    int modemLines = 0, outQueue = 0;
    speed_t rate = 0, highestRate = 1000000;
    std::string moves;  ///< "+DTR" and so on.
}* realLine = nullptr;

}  // namespace

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (realLine != nullptr && (request == TIOCMBIS || request == TIOCMBIC)) {
        realLine->moves += request == TIOCMBIS ? '+' : '-';
        realLine->moves += *static_cast<int*>(argument) == TIOCM_DTR ? "DTR" : "RTS";
        return 0;
    }
    const auto result = static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    if (realLine == nullptr)
        return result;
    if (request == TIOCMGET || request == TIOCOUTQ) {
        *static_cast<int*>(argument) =
            request == TIOCMGET ? realLine->modemLines : realLine->outQueue;
        return 0;
    }
    if (request == TCSETS2)
        realLine->rate =
            std::min(static_cast<termios2*>(argument)->c_ospeed, realLine->highestRate);
    if (request == TCGETS2)
        static_cast<termios2*>(argument)->c_ospeed = realLine->rate;
    return result;
}

namespace {

using std::chrono::steady_clock;

constexpr int PORT = 7;

/// A port and the other side of it.
class Line : public testing::Test {
protected:
    Line() {
        grantpt(side_);
        unlockpt(side_);
        path_ = ptsname(side_);
        SetSerialDevice(PORT, path_.c_str());
    }
    ~Line() override {
        realLine = nullptr;
        close(side_);
    }
    static bool Open(CComm& port) { return port.Open(PORT, 9600, 'N', 8, 1); }
    void Arrive(CComm& port, const std::string& data) {
        EXPECT_EQ(write(side_, data.data(), data.size()), std::ssize(data));
        EXPECT_TRUE(Eventually([&] { return port.RxSize() == std::ssize(data); }));
    }
    termios2 Settings() const {
        termios2 settings{};
        ioctl(side_, TCGETS2, &settings);
        return settings;
    }
    /// Whether `act()` in a process of its own.
    static bool Elsewhere(auto act) {
        const pid_t child = fork();
        if (child == 0)
            _exit(act() ? 0 : 1);
        int status = -1;
        return waitpid(child, &status, 0) == child && status == 0;
    }

    int side_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::string path_;
    CComm port_;
    unsigned char buffer_[2048] = {};
};

TEST_F(Line, PassesEachByteOnceAndAsItIs) {
    ASSERT_TRUE(Open(port_));
    std::string data;
    for (int i = 0; i < 2000; ++i)
        data += static_cast<char>(i < 512 ? i / 2 : i * i / 7);
    const auto* const start = reinterpret_cast<char*>(buffer_);
    Arrive(port_, data);
    EXPECT_EQ(port_.RxBuffer(buffer_, 1500, nullptr), 1500u);
    EXPECT_EQ(port_.RxBuffer(buffer_ + 1500, 548, nullptr), 500u);
    EXPECT_EQ(std::string(start, 2000), data);
    EXPECT_EQ(port_.TxBuffer(buffer_, 2000, false), 1u);
    for (ssize_t done = 0; done < 2000;)
        done += read(side_, buffer_ + done, 2000);
    EXPECT_EQ(std::string(start, 2000), data);
    Arrive(port_, "old");
    port_.ClearRXBuffer();
    EXPECT_EQ(port_.RxSize() + port_.TxSize(), 0);
}

TEST_F(Line, HasTheSettingsThatAreAskedFor) {
    ASSERT_TRUE(Open(port_));
    const struct {
        long baud;
        char parity;
        int dataBits, stopBits;
        bool result;
        speed_t rate;
        tcflag_t bits;
    } ROWS[] = {{12345, 'O', 7, 1, true, 12345, PARODD},
                {128000, 'm', 5, 2, true, 130816, PARODD | CMSPAR | CSTOPB},
                {256000, 'S', 8, 1, true, 261888, CMSPAR},
                {300, 'N', 4, 1, false, 261888, CMSPAR},
                {300, 'N', 9, 1, false, 261888, CMSPAR},
                {300, 'N', 256 + 8, 2, true, 300, CSTOPB}};
    for (const auto& [baud, parity, dataBits, stopBits, result, rate, bits] : ROWS) {
        EXPECT_EQ(port_.SetPortA(baud, parity, dataBits, stopBits), result) << baud;
        EXPECT_EQ(Settings().c_cflag & (PARODD | CMSPAR | CSTOPB | CRTSCTS), bits) << baud;
        EXPECT_EQ(Settings().c_ospeed, rate);
    }
    for (const bool on : {true, false}) {
        port_.UseRtsCts(on);
        EXPECT_EQ((Settings().c_cflag & CRTSCTS) != 0, on);
    }
}

TEST_F(Line, OpensOnlyAFreeTerminal) {
    for (const char* path : {"/dev/null", "/missing", "", "/tmp", "/proc/self/exe"}) {
        SetSerialDevice(PORT + 1, path);
        EXPECT_FALSE(port_.Open(PORT + 1, 9600, 'N', 8, 1)) << path;
    }
    SetSerialDevice(PORT + 1, path_.c_str());
    const int user = open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    for (const bool isOpen : {true, false, true}) {
        CComm other;
        EXPECT_EQ(isOpen ? Open(port_) : (port_.Close(), false), isOpen);
        int isExclusive = -1;
        ioctl(user, TIOCGEXCL, &isExclusive);
        EXPECT_EQ(isExclusive, isOpen ? 1 : 0);
        EXPECT_EQ(other.Open(PORT + 1, 9600, 'N', 8, 1), !isOpen);
        other.Close();
        EXPECT_EQ(Elsewhere([&] { return Open(other) && (other.Close(), true); }), !isOpen);
    }
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const bool isPort = std::filesystem::read_symlink(entry, gone) == path_;
        EXPECT_TRUE(!isPort || fcntl(std::stoi(entry.path().filename()), F_GETFD) == FD_CLOEXEC);
    }
    close(user);
    port_.Close();
    EXPECT_TRUE(Elsewhere([&] { return setsid() > 0 && Open(port_) && open("/dev/tty", 0) < 0; }));
}

TEST_F(Line, GivesUpOnAPeerThatNeverReadsWhateverSignalsCome) {
    ASSERT_TRUE(Open(port_));
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    itimerval often{{0, 3000}, {0, 3000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    for (int taken = 0; port_.TxBuffer(buffer_, 2048, false) == 1; ++taken)
        ASSERT_LT(taken, 100);
    const auto start = steady_clock::now();
    EXPECT_EQ(port_.TxBuffer(buffer_, 1, false), 0u);
    EXPECT_GE(steady_clock::now() - start, std::chrono::milliseconds(19));
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10));
    port_.ClearTXBuffer();
    EXPECT_TRUE(Eventually([&] { return port_.TxBuffer(buffer_, 1, false) == 1; }));
    often = {};
    setitimer(ITIMER_REAL, &often, nullptr);
}

TEST_F(Line, FailsAsDocumentedOnceItIsGoneOrClosedByACopy) {
    const auto expectFailure = [this](CComm& port) {
        EXPECT_EQ(port.RxSize() + port.TxSize(), 0);
        EXPECT_EQ(port.RxBuffer(buffer_, 4, nullptr) + port.TxBuffer(buffer_, 4, false), 0u);
        EXPECT_FALSE(port.SetPortA(300, 'N', 8, 1) || port.SetBaud(300) || port.SetParity('N'));
        EXPECT_FALSE(port.GetCd() || port.GetCTS());
        port.ClearRXBuffer();
        EXPECT_TRUE(port.IsPortOpen());
    };
    ASSERT_TRUE(Open(port_));
    CComm copy;
    copy = port_;
    ASSERT_TRUE(Open(port_));  // The next port, on the descriptor of the one before.
    Arrive(port_, "data");
    expectFailure(copy);
    copy.Close();
    EXPECT_EQ(port_.RxSize(), 4);
    close(std::exchange(side_, -1));
    expectFailure(port_);
    EXPECT_FALSE(Open(port_) || port_.IsPortOpen());
}

TEST_F(Line, MovesModemLinesAndLooksAtQueueAndRate) {
    RealLine real;
    realLine = &real;
    ASSERT_TRUE(Open(port_));
    port_.SetDtr(false);
    port_.SetRts(false);
    EXPECT_TRUE(port_.SetBaud(300));  // Leaves the lines alone.
    port_.UseRtsCts(true);
    port_.UseRtsCts(false);
    port_.SetDtr(true);
    for (const int lines : {0, TIOCM_CTS, TIOCM_CD, TIOCM_DSR | TIOCM_RTS | TIOCM_RI}) {
        real.modemLines = lines;
        EXPECT_EQ(port_.GetCTS(), lines == TIOCM_CTS);
        EXPECT_EQ(port_.GetCd(), lines == TIOCM_CD);
    }
    real.highestRate = 128199;  // 2 % of what stands for 128000 is 2616.
    EXPECT_FALSE(port_.SetBaud(128000));
    EXPECT_EQ(real.rate, 300u);
    real.highestRate = 128200;
    EXPECT_TRUE(port_.SetBaud(128000));
    real.outQueue = 2000;
    EXPECT_EQ(port_.TxBuffer(buffer_, 100, false), 0u);
    EXPECT_EQ(read(side_, buffer_, 100), 48);
    // What can't go out holds up the end, but not for ever.
    const auto start = steady_clock::now();
    port_.Close();
    EXPECT_GE(steady_clock::now() - start, std::chrono::milliseconds(1999));
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(real.moves, "+DTR+RTS-DTR-RTS+RTS+DTR-DTR-RTS");
}

}  // namespace
