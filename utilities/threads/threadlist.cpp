#include "utilities/threads/threadlist.h"

#include <algorithm>

#include "utilities/threads/lock_internal.h"

namespace {

// For the pointer and for what it points to.
constinit StaticLock listLock;
constinit ThreadList* instance = nullptr;

}  // namespace

ThreadList::ThreadList() = default;
ThreadList::~ThreadList() = default;

ThreadList* ThreadList::getInstance() {
    const HeldOffLock lock(listLock);
    if (instance == nullptr)
        instance = new ThreadList;
    return instance;
}

void ThreadList::deleteInstance() {
    const HeldOffLock lock(listLock);
    delete instance;
    instance = nullptr;
}

// A caller can come here with a list that `deleteInstance` has ended meanwhile. Only the pointer is
// looked at then.
ThreadInfo ThreadList::getThreadInfo(unsigned char index) const {
    const HeldOffLock lock(listLock);
    return this == instance && index < m_Threads.size() ? m_Threads[index] : ThreadInfo();
}

void ThreadList::addThread(const ThreadInfo& info) {
    const HeldOffLock lock(listLock);
    if (this == instance)
        m_Threads.push_back(info);
}

void ThreadList::removeThread(unsigned int id) {
    const HeldOffLock lock(listLock);
    if (this != instance)
        return;
    const auto found = std::find_if(m_Threads.begin(), m_Threads.end(),
                                    [id](const ThreadInfo& info) { return info.m_ThreadId == id; });
    if (found != m_Threads.end())
        m_Threads.erase(found);
}
