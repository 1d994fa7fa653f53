#include "utilities/threads/threadutils.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "utilities/frame/assert_internal.h"
#include "utilities/locks/registry_internal.h"
#include "utilities/platform/currentthread.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/standardstreams.h"
#include "utilities/platform/stopdeferral.h"
#include "utilities/platform/threadcontrol.h"
#include "utilities/platform/threadpriority.h"
#include "utilities/platform/threads.h"
#include "utilities/platform/waitable.h"
#include "utilities/threads/lock_internal.h"
#include "utilities/threads/threadlist.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\threadutils";

// For the fields of all objects, as an object may be gone as soon as its thread's end is seen. Held
// for a few steps, and by nobody who waits for a thread.
constinit StaticLock fieldsLock;

// The object that the calling thread runs under, null for a thread that was started otherwise.
constinit thread_local SystemThread* running __attribute__((tls_model("initial-exec"))) = nullptr;

// A stream that is held for longer is not written on: its holder may be blocked for ever.
constexpr std::uint32_t STREAM_PATIENCE = 500;  // Milliseconds.

void PrintOutcome(const char* text) {
    if (const platform::ScopedStream output(stdout, STREAM_PATIENCE); output.IsHeld())
        std::fputs(text, stdout);
}

bool IsOver(platform::Handle thread) {
    return platform::WaitForSingleObject(thread, 0) == platform::WAIT_OBJECT_0;
}

}  // namespace

/// In the child of a fork the thread that forked has a new id.
struct SystemThreadAfterFork {
    static void Follow(SystemThread& thread) {
        thread.m_ProcessId = platform::GetCurrentThreadId();
        if (thread.m_ThreadId != 0)
            thread.m_ThreadId = platform::GetCurrentThreadId();
    }
};

namespace {

const platform::AtFork fieldsAtFork(
    platform::ForkOrder::LOCKS, [] { fieldsLock.Take(); }, [] { fieldsLock.Release(); },
    [] {
        if (running != nullptr)
            SystemThreadAfterFork::Follow(*running);
        fieldsLock.Release();
    });

}  // namespace

SystemThread::SystemThread(const std::string& name, unsigned int (*entry)(SystemThread*))
    : m_EntryFunction(entry), m_ThreadName(name), m_Handle(nullptr) {}

SystemThread::~SystemThread() { Terminate(0); }

// Nobody can reach these; they stand for what a client's own attempt would find.
SystemThread::SystemThread(const SystemThread&) : m_EntryFunction(nullptr), m_Handle(nullptr) {}
void SystemThread::operator=(const SystemThread&) {}

// The thread is let go only when its handle is stored.
bool SystemThread::Create(bool suspended, int) {
    void* const last = getHandle();
    if (last != nullptr && !IsOver(last))
        return false;
    const platform::StopDeferral untilItRuns;
    void* const handle = Start(last);
    if (handle != nullptr && !suspended)
        platform::ResumeThread(handle);
    return handle != nullptr;
}

// In the place of `last`, a thread that is over, or null. Null where another one came first.
void* SystemThread::Start(void* last) {
    const ScopedStaticLock lock(fieldsLock);
    if (last != nullptr && getHandle() == last)
        EndRun(m_KillExitCode);
    if (getHandle() != nullptr)
        return nullptr;
    std::uint32_t id = 0;
    void* const handle =
        platform::_beginthreadex(ThreadExecute, this, platform::CREATE_SUSPENDED, &id);
    if (handle != nullptr) {
        m_ProcessId = 0;
        m_ThreadId = id;
        m_KillExitCode = 0;
        m_Handle.store(handle, std::memory_order_release);
    }
    return handle;
}

// A thread that ends itself while others try to kill it, or is killed by several at once, ends this
// object's run once: under the lock, who comes later finds another handle than the one it set out
// with, and leaves the fields, which may belong to the next run by then, alone.
void SystemThread::EndRun(unsigned int exitCode) {
    void* const handle = getHandle();
    m_ExitCode = exitCode;
    m_ThreadId = 0;
    m_Handle.store(nullptr, std::memory_order_release);
    platform::CloseHandle(handle);
}

unsigned int SystemThread::ThreadExecute(void* self) {
    if (self == nullptr)
        return 0;
    auto* const thread = static_cast<SystemThread*>(self);
    thread->Enter();
    const unsigned int exitCode = thread->ThreadEntryPoint();
    running = nullptr;
    {
        const platform::StopDeferral untilAllIsFinal;
        ThreadList::getInstance()->removeThread(thread->m_ProcessId);
        const ScopedStaticLock lock(fieldsLock);
        thread->m_ProcessId = 0;
        thread->EndRun(exitCode);
    }
    platform::_endthreadex(exitCode);
}

void SystemThread::Enter() {
    const platform::StopDeferral untilListed;
    ThreadInfo info;
    {
        const ScopedStaticLock lock(fieldsLock);
        running = this;
        m_ProcessId = platform::GetCurrentThreadId();
        info = ThreadInfo(m_ProcessId, m_ThreadName);
        platform::SetCurrentThreadName(m_ThreadName.c_str());
    }
    ThreadList::getInstance()->addThread(info);
}

unsigned int SystemThread::ThreadEntryPoint() {
    return m_EntryFunction != nullptr ? m_EntryFunction(this) : 0;
}

void SystemThread::EndThread(unsigned int exitCode) {
    {
        const ScopedStaticLock lock(fieldsLock);
        EndRun(exitCode);
    }
    platform::_endthreadex(exitCode);
}

bool SystemThread::Terminate(unsigned int exitCode) {
    PrintTermination();
    if (m_ThreadId == platform::GetCurrentThreadId()) {
        PrintOutcome(" -> success!\n");
        EndThread(exitCode);
    }
    if (!Kill(exitCode)) {
        if (const platform::ScopedStream errors(stderr, STREAM_PATIENCE); errors.IsHeld())
            ASSERT(false);
        PrintOutcome(" -> failed!\n");
        return false;
    }
    PrintOutcome(" -> success!\n");
    return true;
}

// A long name goes in pieces: to copy it whole takes memory, for the lack of which a destructor
// must not fail, and the lock can't be held while a stream may block.
void SystemThread::PrintTermination() const {
    const platform::ScopedStream output(stdout, STREAM_PATIENCE);
    if (!output.IsHeld())
        return;
    char piece[256];
    std::size_t size = 0;
    for (std::size_t start = 0; (size = CopyName(start, piece, sizeof piece)) == sizeof piece;
         start += size)
        std::fwrite(piece, 1, size, stdout);
    std::printf("%.*s [%d]\t terminating... ", static_cast<int>(size), piece,
                static_cast<int>(getThreadId()));
}

std::size_t SystemThread::CopyName(std::size_t start, char* piece, std::size_t size) const {
    const ScopedStaticLock lock(fieldsLock);
    const std::string_view name = m_ThreadName.c_str();
    return name.copy(piece, size, std::min(start, name.size()));
}

// The platform's kill runs without the lock: it waits for the thread, which may have to take it.
bool SystemThread::Kill(unsigned int exitCode) {
    unsigned int id = 0;
    void* const handle = AnnounceKill(exitCode, id);
    if (handle == nullptr)
        return true;
    if (!platform::TerminateThread(handle, exitCode) && getHandle() == handle && !IsOver(handle))
        return false;
    FinishKill(handle, exitCode);
    ForgetMutexWaiter(id);
    return true;
}

// Null where there is no thread: then the exit code is all that there is to change.
void* SystemThread::AnnounceKill(unsigned int exitCode, unsigned int& id) {
    const ScopedStaticLock lock(fieldsLock);
    void* const handle = getHandle();
    id = m_ThreadId;
    if (handle == nullptr)
        m_ExitCode = exitCode;
    else
        m_KillExitCode = exitCode;
    return handle;
}

void SystemThread::FinishKill(void* handle, unsigned int exitCode) {
    const ScopedStaticLock lock(fieldsLock);
    if (getHandle() == handle)
        EndRun(exitCode);
    else if (getHandle() == nullptr)
        m_ExitCode = exitCode;
}

unsigned int SystemThread::Suspend() {
    void* const handle = getHandle();
    return handle != nullptr ? platform::SuspendThread(handle) : platform::COUNT_FAILED;
}

unsigned int SystemThread::Resume() {
    void* const handle = getHandle();
    return handle != nullptr ? platform::ResumeThread(handle) : platform::COUNT_FAILED;
}

// A thread that ended by itself has ended the run before its end could be seen. For one that was
// killed, who killed it may not have come to that yet.
bool SystemThread::WaitForThreadExit(unsigned int timeout) {
    void* const handle = getHandle();
    if (handle == nullptr)
        return false;
    const std::uint32_t result = platform::WaitForSingleObject(handle, timeout);
    if (result == platform::WAIT_TIMEOUT)
        return false;
    const ScopedStaticLock lock(fieldsLock);
    if (getHandle() == handle && result == platform::WAIT_OBJECT_0)
        EndRun(m_KillExitCode);
    return true;
}

void SystemThread::setPriority(E_THREAD_PRIORITY priority) {
    if (void* const handle = getHandle(); handle != nullptr)
        platform::SetThreadPriority(handle, priority);
}

SystemThread::E_THREAD_PRIORITY SystemThread::getPriority() const {
    void* const handle = getHandle();
    switch (const int priority = handle != nullptr ? platform::GetThreadPriority(handle) : 0) {
        case E_THREAD_PRIORITY_IDLE:
        case E_THREAD_PRIORITY_LOWEST:
        case E_THREAD_PRIORITY_BELOW_NORMAL:
        case E_THREAD_PRIORITY_ABOVE_NORMAL:
        case E_THREAD_PRIORITY_HIGHEST:
        case E_THREAD_PRIORITY_TIME_CRITICAL:
            return static_cast<E_THREAD_PRIORITY>(priority);
        default:
            return E_THREAD_PRIORITY_NORMAL;
    }
}

void* SystemThread::getHandle() const { return m_Handle.load(std::memory_order_acquire); }

unsigned int SystemThread::getProcessId() const { return m_ProcessId; }

unsigned int SystemThread::getThreadId() const { return m_ThreadId; }

unsigned int SystemThread::getExitCode() const { return m_ExitCode; }

std::string SystemThread::getThreadName() const {
    const ScopedStaticLock lock(fieldsLock);
    return m_ThreadName;
}

void SystemThread::setThreadName(std::string name) {
    const ScopedStaticLock lock(fieldsLock);
    m_ThreadName.swap(name);
}
