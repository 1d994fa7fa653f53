#include "utilities/threads/threadlist.h"

#include <algorithm>

#include "utilities/platform/currentthread.h"
#include "utilities/platform/fork.h"

#include "utilities/threads/inspection_internal.h"
#include "utilities/threads/lock_internal.h"

namespace {

// For the pointer and for what it points to.
constinit StaticLock listLock;
constinit ThreadList* instance = nullptr;

}  // namespace

constinit ThreadList* const* const inspectedThreadList = &instance;

/// In the child of a fork the thread that forked runs alone, under a new id.
struct ThreadListAfterFork {
    static void Keep(ThreadList& list) {
        const std::uint32_t parentId = platform::AtFork::ParentThreadId();
        std::erase_if(list.m_Threads,
                      [parentId](const ThreadInfo& info) { return info.m_ThreadId != parentId; });
        for (ThreadInfo& info : list.m_Threads)
            info.m_ThreadId = platform::GetCurrentThreadId();
    }
};

namespace {

const platform::AtFork listAtFork(
    platform::ForkOrder::LOCKS, [] { listLock.Take(); }, [] { listLock.Release(); },
    [] {
        if (instance != nullptr)
            ThreadListAfterFork::Keep(*instance);
        listLock.Release();
    });

}  // namespace

ThreadList::ThreadList() = default;
ThreadList::~ThreadList() = default;

ThreadList* ThreadList::getInstance() {
    const ScopedStaticLock lock(listLock);
    if (instance == nullptr)
        instance = new ThreadList;
    return instance;
}

void ThreadList::deleteInstance() {
    const ScopedStaticLock lock(listLock);
    delete instance;
    instance = nullptr;
}

// A caller can come here with a list that `deleteInstance` has ended meanwhile. Only the pointer is
// looked at then.
ThreadInfo ThreadList::getThreadInfo(unsigned char index) const {
    const ScopedStaticLock lock(listLock);
    return this == instance && index < m_Threads.size() ? m_Threads[index] : ThreadInfo();
}

void ThreadList::addThread(const ThreadInfo& info) {
    const ScopedStaticLock lock(listLock);
    if (this == instance)
        m_Threads.push_back(info);
}

void ThreadList::removeThread(unsigned int id) {
    const ScopedStaticLock lock(listLock);
    if (this != instance)
        return;
    const auto found = std::find_if(m_Threads.begin(), m_Threads.end(),
                                    [id](const ThreadInfo& info) { return info.m_ThreadId == id; });
    if (found != m_Threads.end())
        m_Threads.erase(found);
}
