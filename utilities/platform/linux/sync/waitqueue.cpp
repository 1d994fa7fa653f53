#include "utilities/platform/linux/sync/waitqueue.h"

#include "utilities/platform/currentthread.h"
#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/sanitizer.h"
#include "utilities/platform/linux/sync/stopping.h"

namespace platform {

Waiter::Waiter() : m_Thread(GetCurrentThreadId()) {
    current.sleepWord = &m_Word;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    // A request that came before the word was known could not leave its mark.
    if (current.pending)
        m_Word.fetch_or(INTERRUPTED, std::memory_order_relaxed);
}

Waiter::~Waiter() { current.sleepWord = nullptr; }

Waiter::Outcome Waiter::Sleep(const Deadline& deadline) {
    for (;;) {
        const std::uint32_t seen = m_Word.load(std::memory_order_acquire);
        if ((seen & INTERRUPTED) != 0) {
            m_Word.fetch_and(~INTERRUPTED, std::memory_order_relaxed);
            if (AgreeToStop())
                return Outcome::STOP_AGREED;
        } else if ((seen & WOKEN) != 0) {
            return Outcome::WOKEN;
        } else if (!FutexWait(m_Word, seen, deadline)) {
            return IsWoken() ? Outcome::WOKEN : Outcome::TIMED_OUT;
        }
    }
}

HANDLER_CODE void WaitQueue::Push(Waiter& waiter) {
    waiter.m_Previous = m_Tail;
    waiter.m_Next = nullptr;
    (m_Tail != nullptr ? m_Tail->m_Next : m_Head) = &waiter;
    m_Tail = &waiter;
}

HANDLER_CODE void WaitQueue::Remove(Waiter& waiter) {
    (waiter.m_Previous != nullptr ? waiter.m_Previous->m_Next : m_Head) = waiter.m_Next;
    (waiter.m_Next != nullptr ? waiter.m_Next->m_Previous : m_Tail) = waiter.m_Previous;
}

HANDLER_CODE Waiter* WaitQueue::Unlink() {
    Waiter* const first = m_Head;
    if (first != nullptr)
        Remove(*first);
    return first;
}

// From the exchange on the waiter can be gone, here and below.
Wakeup WaitQueue::MarkFirst() {
    Waiter* const first = m_Head;
    if (first == nullptr)
        return nullptr;
    std::atomic<std::uint32_t>& word = first->m_Word;
    const std::uint32_t before = word.fetch_or(Waiter::WOKEN, std::memory_order_acq_rel);
    return (before & Waiter::WOKEN) == 0 ? &word : nullptr;
}

Wakeup WaitQueue::Pop() {
    Waiter* const first = Unlink();
    if (first == nullptr)
        return nullptr;
    std::atomic<std::uint32_t>& word = first->m_Word;
    word.fetch_or(Waiter::WOKEN, std::memory_order_acq_rel);
    return &word;
}

void WaitQueue::PopAll(std::uint32_t mark) {
    while (Waiter* const first = Unlink()) {
        std::atomic<std::uint32_t>& word = first->m_Word;
        word.fetch_or(mark, std::memory_order_acq_rel);
        FutexWake(&word, 1);
    }
}

void WaitQueue::WakeAll() { PopAll(Waiter::WOKEN); }

void WaitQueue::RefuseAll() { PopAll(Waiter::WOKEN | Waiter::REFUSED); }

void ConditionVariable::NotifyAll() {
    const ScopedLock lock(m_Lock);
    m_Queue.WakeAll();
}

void ConditionVariable::Reset() {
    m_Lock.Reset();
    m_Queue.Clear();
}

// A thread that is about to stop takes no wake-up away from others, as all are woken together.
bool ConditionVariable::Continues(Waiter& waiter, Waiter::Outcome outcome) {
    if (outcome == Waiter::Outcome::WOKEN)
        return true;
    bool isWoken = false;
    {
        const ScopedLock lock(m_Lock);
        isWoken = waiter.IsWoken();
        if (!isWoken)
            m_Queue.Remove(waiter);
    }
    return outcome == Waiter::Outcome::STOP_AGREED ? Stop() : isWoken;
}

}  // namespace platform
