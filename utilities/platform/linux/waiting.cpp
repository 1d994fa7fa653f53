#include "utilities/platform/linux/waiting.h"

#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/handlercode.h"

namespace platform {

Waiter::Waiter() {
    current.sleepWord = &word;
    // A request that came before this was known could not leave its mark.
    if (current.pending != 0)
        word.fetch_or(SLEEP_INTERRUPTED, std::memory_order_relaxed);
}

Waiter::~Waiter() { current.sleepWord = nullptr; }

bool Waiter::Sleep(const Deadline& deadline) {
    for (;;) {
        const std::uint32_t seen = word.load(std::memory_order_acquire);
        if ((seen & SLEEP_INTERRUPTED) != 0) {
            word.fetch_and(~SLEEP_INTERRUPTED, std::memory_order_relaxed);
            ServeSuspension();
        } else if ((seen & WOKEN) != 0) {
            return true;
        } else if (MustDie() || !FutexWait(word, seen, deadline)) {
            return IsWoken();
        }
    }
}

HANDLER_CODE void WaitQueue::Push(Waiter& waiter) {
    waiter.previous = tail;
    waiter.next = nullptr;
    (tail != nullptr ? tail->next : head) = &waiter;
    tail = &waiter;
}

HANDLER_CODE void WaitQueue::Remove(Waiter& waiter) {
    (waiter.previous != nullptr ? waiter.previous->next : head) = waiter.next;
    (waiter.next != nullptr ? waiter.next->previous : tail) = waiter.previous;
}

HANDLER_CODE const std::atomic<std::uint32_t>* WaitQueue::MarkFirst() {
    if (head == nullptr)
        return nullptr;
    std::atomic<std::uint32_t>& word = head->word;
    // With this the waiter can be gone.
    const std::uint32_t before = word.fetch_or(Waiter::WOKEN, std::memory_order_acq_rel);
    return (before & Waiter::WOKEN) == 0 ? &word : nullptr;
}

HANDLER_CODE const std::atomic<std::uint32_t>* WaitQueue::Pop(std::uint32_t mark) {
    Waiter* const first = head;
    if (first == nullptr)
        return nullptr;
    Remove(*first);
    std::atomic<std::uint32_t>& word = first->word;
    word.fetch_or(mark, std::memory_order_acq_rel);
    return &word;
}

const std::atomic<std::uint32_t>* WaitQueue::Pop() { return Pop(Waiter::WOKEN); }

void WaitQueue::WakeAll() {
    while (const std::atomic<std::uint32_t>* const word = Pop())
        FutexWake(word, 1);
}

void WaitQueue::RefuseAll() {
    while (const std::atomic<std::uint32_t>* const word = Pop(Waiter::WOKEN | Waiter::REFUSED))
        FutexWake(word, 1);
}

void Turnstile::Open() {
    const Guard guard(lock);
    queue.WakeAll();
}

void Turnstile::Reset() {
    lock.Reset();
    queue.Clear();
}

bool Turnstile::Leave(Waiter& waiter, bool woken) {
    if (woken)
        return true;
    const Guard guard(lock);
    if (waiter.IsWoken())
        return true;
    queue.Remove(waiter);
    return false;
}

}  // namespace platform
