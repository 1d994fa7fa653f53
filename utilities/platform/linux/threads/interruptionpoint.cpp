#include "utilities/platform/linux/threads/interruptionpoint.h"

#include <fcntl.h>
#include <link.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <iterator>

#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/sanitizer.h"

#if defined(__GLIBCXX__)
/// std::condition_variable::wait, which the standard gives no address of.
void WaitOfConditionVariable() asm("_ZNSt18condition_variable4waitERSt11unique_lockISt5mutexE");
#endif

namespace platform {

namespace {

// The heap may be another library's than the C library's; the last three are those of builds that
// look for faults.
constexpr const char* RUNTIME_LIBRARIES[] = {
    "libc.so",        "ld-linux",    "libstdc++.so", "libgcc_s.so", "libc++.so",   "libjemalloc.so",
    "libmimalloc.so", "libtcmalloc", "libasan.so",   "libtsan.so",  "libubsan.so",
};

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
};

constinit Range ranges[32] = {};
constinit std::size_t rangeCount = 0;

bool IsRuntimeLibrary(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    const char* const name = slash != nullptr ? slash + 1 : path;
    for (const char* const known : RUNTIME_LIBRARIES) {
        if (std::strncmp(name, known, std::strlen(known)) == 0)
            return true;
    }
    return false;
}

int AddRanges(dl_phdr_info* library, std::size_t, void*) {
    if (!IsRuntimeLibrary(library->dlpi_name))
        return 0;
    for (std::size_t i = 0; i < library->dlpi_phnum && rangeCount < std::size(ranges); ++i) {
        const ElfW(Phdr)& segment = library->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0)
            continue;
        const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
        ranges[rangeCount++] = {begin, begin + segment.p_memsz};
    }
    return 0;
}

HANDLER_CODE bool IsInRuntimeLibrary(std::uintptr_t code) {
    for (std::size_t i = 0; i < rangeCount; ++i) {
        if (code >= ranges[i].begin && code < ranges[i].end)
            return true;
    }
    return false;
}

template <typename Function>
const void* AddressOf(Function* function) {
    return reinterpret_cast<const void*>(function);
}

/// Functions that block and hold no lock meanwhile, though they call others to do so. (In a build
/// with a sanitizer each function does.) A function that contains the system call itself needs no
/// line.
const void* const BLOCKING_FUNCTIONS[] = {
    AddressOf(&sleep),       AddressOf(&usleep),
    AddressOf(&nanosleep),   AddressOf(&clock_nanosleep),
    AddressOf(&pause),       AddressOf(&read),
    AddressOf(&write),       AddressOf(&readv),
    AddressOf(&writev),      AddressOf(&recv),
    AddressOf(&recvfrom),    AddressOf(&recvmsg),
    AddressOf(&send),        AddressOf(&sendto),
    AddressOf(&sendmsg),     AddressOf(&accept),
    AddressOf(&accept4),     AddressOf(&connect),
    AddressOf(&poll),        AddressOf(&ppoll),
    AddressOf(&select),      AddressOf(&pselect),
    AddressOf(&epoll_wait),  AddressOf(&epoll_pwait),
    AddressOf(&sigsuspend),  AddressOf(&sigwait),
    AddressOf(&sigwaitinfo), AddressOf(&sigtimedwait),
    AddressOf(&wait),        AddressOf(&waitpid),
    AddressOf(&waitid),      AddressOf(&flock),
    AddressOf(&syscall),
};

/// The same, with a handler of their own for a thread that leaves them by a jump or a cancellation.
const void* const WAITING_FUNCTIONS[] = {
    AddressOf(&sem_wait),
    AddressOf(&sem_timedwait),
    AddressOf(&sem_clockwait),
    AddressOf(&pthread_cond_wait),
    AddressOf(&pthread_cond_timedwait),
    AddressOf(&pthread_cond_clockwait),
#if defined(__GLIBCXX__)
    AddressOf(&WaitOfConditionVariable),
#endif
};

template <std::size_t size>
HANDLER_CODE bool IsOneOf(const void* const (&functions)[size], std::uintptr_t start) {
    for (const void* const function : functions) {
        if (reinterpret_cast<std::uintptr_t>(function) == start)
            return true;
    }
    return false;
}

/// The system calls that can take any time and are broken off by signals.
constexpr long BLOCKING_CALLS[] = {
    SYS_read,          SYS_write,           SYS_readv,           SYS_writev,      SYS_recvfrom,
    SYS_recvmsg,       SYS_sendto,          SYS_sendmsg,         SYS_accept,      SYS_accept4,
    SYS_connect,       SYS_ppoll,           SYS_pselect6,        SYS_epoll_pwait, SYS_nanosleep,
    SYS_rt_sigsuspend, SYS_clock_nanosleep, SYS_rt_sigtimedwait, SYS_wait4,       SYS_waitid,
    SYS_futex,         SYS_flock,           SYS_fcntl,           SYS_ioctl,       SYS_msgrcv,
    SYS_msgsnd,        SYS_semop,           SYS_semtimedop,
#if defined(__x86_64__)
    SYS_poll,          SYS_select,          SYS_epoll_wait,      SYS_pause,
#endif
};

HANDLER_CODE bool IsBlockingCall(long number) {
    for (const long call : BLOCKING_CALLS) {
        if (call == number)
            return true;
    }
    return false;
}

enum class SystemCall {
    NONE,
    ASLEEP,  ///< Broken off by the signal, to be repeated or to fail.
    OVER     ///< Has done what it is for.
};

#if defined(__x86_64__)

HANDLER_CODE std::uintptr_t RegisterOf(const void* context, int number) {
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    return static_cast<std::uintptr_t>(registers[number]);
}

HANDLER_CODE bool IsSystemCall(const unsigned char* code) {
    return code[0] == 0x0F && code[1] == 0x05;
}

/// The call's number as the code in front of the instruction loads it, -1 where that can't be seen.
HANDLER_CODE long NumberLoadedBefore(const unsigned char* code) {
    if (code[-5] == 0xB8)  // mov eax, number
        return code[-4] | code[-3] << 8 | code[-2] << 16;
    if (code[-2] == 0x31 && code[-1] == 0xC0)  // xor eax, eax
        return 0;
    return -1;
}

// A call that the system will repeat stands at its instruction, with its number loaded again. A
// sleep on a lock that is over has taken the wake-up from other sleepers.
HANDLER_CODE SystemCall SystemCallAt(const void* context) {
    const auto* const code = reinterpret_cast<const unsigned char*>(RegisterOf(context, REG_RIP));
    const auto result = static_cast<long>(RegisterOf(context, REG_RAX));
    if (IsSystemCall(code))
        return IsBlockingCall(result) ? SystemCall::ASLEEP : SystemCall::NONE;
    if (!IsSystemCall(code - 2))
        return SystemCall::NONE;
    if (result == -EINTR)
        return SystemCall::ASLEEP;
    const long number = NumberLoadedBefore(code - 2);
    return number != SYS_futex && IsBlockingCall(number) ? SystemCall::OVER : SystemCall::NONE;
}

#elif defined(__aarch64__)

HANDLER_CODE SystemCall SystemCallAt(const void* context) {
    constexpr std::uint32_t SUPERVISOR_CALL = 0xD4000001;  // svc #0
    const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
    const auto* const code = reinterpret_cast<const std::uint32_t*>(machine.pc);
    const auto number = static_cast<long>(machine.regs[8]);
    if (code[0] == SUPERVISOR_CALL)
        return IsBlockingCall(number) ? SystemCall::ASLEEP : SystemCall::NONE;
    if (code[-1] != SUPERVISOR_CALL)
        return SystemCall::NONE;
    if (static_cast<long>(machine.regs[0]) == -EINTR)
        return SystemCall::ASLEEP;
    return number != SYS_futex && IsBlockingCall(number) ? SystemCall::OVER : SystemCall::NONE;
}

#else
#error "Say here how a signal's context tells where a thread was interrupted."
#endif

/// A walk along the calling thread's frames, the last called first. A frame of the libraries is
/// judged when its caller is known.
struct Walk {
    std::uintptr_t interrupted;  ///< Where it begins; 0: at the caller.
    bool hasBegun;
    bool isOnTop = true;  ///< All frames so far were the libraries'.
    int framesOnTop = 0;
    std::uintptr_t lastOnTop = 0;  ///< Where the function begins that the first other frame called.
    bool isUnjudged = false;       ///< The frame before is the libraries'.
    std::uintptr_t unjudged = 0;   ///< Where its function begins.
    bool isInside = false;         ///< The libraries have called other code.
    bool isComplete = false;

    HANDLER_CODE void JudgeLast() {
        if (isUnjudged && isOnTop) {
            ++framesOnTop;
            lastOnTop = unjudged;
        } else if (isUnjudged) {
            isInside = true;
        }
        isUnjudged = false;
    }
};

// The thread's first frame of ours was entered with the stack at its base; what has called it, and
// what is called from there when it has returned, is the thread's start or end. A signal stack may
// lie anywhere, so only a frame that is close to the base is taken for one of these.
HANDLER_CODE bool IsAtBase(std::uintptr_t stack) {
    constexpr std::uintptr_t CLOSE = 4096;
    return stack >= current.stackBase && stack - current.stackBase < CLOSE;
}

HANDLER_CODE _Unwind_Reason_Code OnFrame(_Unwind_Context* frame, void* argument) {
    Walk& walk = *static_cast<Walk*>(argument);
    int isInterrupted = 0;
    const std::uintptr_t code = _Unwind_GetIPInfo(frame, &isInterrupted);
    if (!walk.hasBegun && (isInterrupted == 0 || code != walk.interrupted))
        return _URC_NO_REASON;
    if (!walk.hasBegun || isInterrupted != 0)
        walk.isUnjudged = false;  // the handler's own frames, or the trampoline of one
    walk.hasBegun = true;
    if (IsAtBase(_Unwind_GetCFA(frame))) {
        if (walk.isOnTop)
            walk.JudgeLast();
        walk.isComplete = true;
        return _URC_END_OF_STACK;
    }
    walk.JudgeLast();
    walk.isUnjudged = IsInRuntimeLibrary(isInterrupted != 0 ? code : code - 1);
    if (walk.isUnjudged)
        walk.unjudged = _Unwind_GetRegionStart(frame);
    else
        walk.isOnTop = false;
    return walk.isInside ? _URC_END_OF_STACK : _URC_NO_REASON;
}

}  // namespace

HANDLER_CODE InterruptedPlace PlaceOf(const void* context) {
#if defined(__x86_64__)
    return {RegisterOf(context, REG_RIP), RegisterOf(context, REG_RSP)};
#else
    const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
    return {machine.pc, machine.sp};
#endif
}

void PrepareInterruptionPoints() {
    dl_iterate_phdr(AddRanges, nullptr);
    IsFreeOfRuntimeFrames();
}

// The libraries' own code is left alone at once, but for a system call in it: to walk the frames
// from within the unwinder or the loader would be to enter them twice.
HANDLER_CODE Interruptibility JudgeInterruptedPlace(const void* context) {
    const std::uintptr_t code = PlaceOf(context).code;
    SystemCall call = SystemCall::NONE;
    if (IsInRuntimeLibrary(code)) {
        call = SystemCallAt(context);
        if (call == SystemCall::NONE)
            return Interruptibility::NONE;
    }
    const Interruptibility otherwise =
        call == SystemCall::ASLEEP ? Interruptibility::ASLEEP_INSIDE : Interruptibility::NONE;
    Walk walk{code, false};
    _Unwind_Backtrace(OnFrame, &walk);
    if (!walk.isComplete || walk.isInside)
        return otherwise;
    if (walk.framesOnTop <= 1 || IsOneOf(BLOCKING_FUNCTIONS, walk.lastOnTop))
        return Interruptibility::FULL;
    return IsOneOf(WAITING_FUNCTIONS, walk.lastOnTop) ? Interruptibility::IN_WAIT : otherwise;
}

bool IsFreeOfRuntimeFrames() {
    Walk walk{0, true};
    _Unwind_Backtrace(OnFrame, &walk);
    return walk.isComplete && !walk.isInside && walk.framesOnTop == 0;
}

}  // namespace platform
