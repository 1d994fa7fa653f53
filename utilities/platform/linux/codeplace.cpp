#include "utilities/platform/linux/codeplace.h"

#include <link.h>
#include <sys/syscall.h>
#include <ucontext.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "utilities/platform/linux/handlercode.h"

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

int AddRanges(dl_phdr_info* library, std::size_t, void*) {
    const char* const slash = std::strrchr(library->dlpi_name, '/');
    const char* const name = slash != nullptr ? slash + 1 : library->dlpi_name;
    if (std::none_of(std::begin(RUNTIME_LIBRARIES), std::end(RUNTIME_LIBRARIES),
                     [name](const char* known) {
                         return std::strncmp(name, known, std::strlen(known)) == 0;
                     }))
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

#if defined(__x86_64__)

/// Calls that these libraries make while they hold a lock, or whose outcome another thread relies
/// on.
constexpr long TRANSIENT_CALLS[] = {
    SYS_brk,     SYS_mmap,   SYS_munmap, SYS_mprotect, SYS_mremap,
    SYS_madvise, SYS_clone3, SYS_clone,  SYS_fork,     SYS_rt_sigprocmask,
};

HANDLER_CODE bool IsTransient(long call) {
    for (const long transient : TRANSIENT_CALLS) {
        if (call == transient)
            return true;
    }
    return false;
}

HANDLER_CODE bool IsSystemCall(const unsigned char* code) {
    return code[0] == 0x0F && code[1] == 0x05;
}

/// The call's number as the code in front of the instruction loads it, -1 where that is not to be
/// seen.
HANDLER_CODE long NumberLoadedBefore(const unsigned char* code) {
    if (code[-5] == 0xB8)  // mov eax, number
        return code[-4] | code[-3] << 8 | code[-2] << 16;
    if (code[-2] == 0x31 && code[-1] == 0xC0)  // xor eax, eax
        return 0;
    return -1;
}

/// In front of the instruction, where a call that will be repeated stands too, or behind one that
/// broke off or is over. A sleep on a lock that is over has taken the wake from other sleepers.
HANDLER_CODE bool IsInBlockingCall(const unsigned char* place, long long result) {
    if (IsSystemCall(place))
        return !IsTransient(static_cast<long>(result));
    if (!IsSystemCall(place - 2))
        return false;
    const long call = NumberLoadedBefore(place - 2);
    return result == -EINTR || (call >= 0 && call != SYS_futex && !IsTransient(call));
}

#endif

}  // namespace

void FindRuntimeLibraries() { dl_iterate_phdr(AddRanges, nullptr); }

HANDLER_CODE bool IsStoppable(const void* context) {
#if defined(__x86_64__)
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    const auto place = static_cast<std::uintptr_t>(registers[REG_RIP]);
    for (std::size_t i = 0; i < rangeCount; ++i) {
        if (place >= ranges[i].begin && place < ranges[i].end)
            return IsInBlockingCall(reinterpret_cast<const unsigned char*>(place),
                                    registers[REG_RAX]);
    }
#else
    static_cast<void>(context);
#endif
    return true;
}

}  // namespace platform
