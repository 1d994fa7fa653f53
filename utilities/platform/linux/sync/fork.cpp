#include "utilities/platform/fork.h"

#include <unistd.h>

#include <atomic>

#include "utilities/platform/linux/sync/current.h"

namespace platform {

namespace {

// Ready before any constructor: parts join in the order in which their sources are initialised.
constinit AtFork* firstPart = nullptr;
constinit AtFork* lastPart = nullptr;
constinit std::atomic<std::uint32_t> generation{0};
constinit std::uint32_t parentThreadId = 0;

}  // namespace

AtFork::AtFork(ForkOrder order, Action before, Action inParent, Action inChild)
    : m_Order(order), m_Before(before), m_InParent(inParent), m_InChild(inChild) {
    AtFork* next = firstPart;
    while (next != nullptr && next->m_Order <= m_Order)
        next = next->m_Next;
    m_Next = next;
    m_Previous = next != nullptr ? next->m_Previous : lastPart;
    (m_Previous != nullptr ? m_Previous->m_Next : firstPart) = this;
    (m_Next != nullptr ? m_Next->m_Previous : lastPart) = this;
}

std::uint32_t AtFork::ParentThreadId() { return parentThreadId; }

std::uint32_t AtFork::Generation() { return generation.load(std::memory_order_relaxed); }

// The deferral lasts until the fork is over: a thread that stopped in between would keep the locks
// that the parts take.
void AtFork::RunBefore() {
    BeginDeferral();
    for (const AtFork* part = lastPart; part != nullptr; part = part->m_Previous) {
        if (part->m_Before != nullptr)
            part->m_Before();
    }
}

void AtFork::RunInParent() {
    for (const AtFork* part = firstPart; part != nullptr; part = part->m_Next) {
        if (part->m_InParent != nullptr)
            part->m_InParent();
    }
    EndDeferral();
}

void AtFork::RunInChild() {
    generation.fetch_add(1, std::memory_order_relaxed);
    parentThreadId = current.id;
    if (current.id != 0)
        current.id = static_cast<std::uint32_t>(gettid());
    if (current.locker != 0)
        current.locker = current.id;
    for (const AtFork* part = firstPart; part != nullptr; part = part->m_Next) {
        if (part->m_InChild != nullptr)
            part->m_InChild();
    }
    EndDeferral();
}

}  // namespace platform
