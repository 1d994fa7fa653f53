#include "parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "interrupt.h"
#include "scopedlock.h"
#include "utilities/utilities.h"

namespace {

constexpr unsigned int WITHOUT_LIMIT = 0xFFFFFFFF;
constexpr unsigned int BETWEEN_CHECKS = 1000;  // Milliseconds.

/// The indexes for the threads to take: several at once, so that threads that are done with each in
/// no time don't wait for each other, and at the end single ones, so that they end together.
class Queue {
public:
    struct Range {
        std::size_t begin, end;
    };

    Queue(std::size_t size, int threads)
        : m_Size(size), m_Share(4 * static_cast<unsigned>(threads)) {}

    /// An empty range at the end.
    Range Pop() {
        const ScopedLock lock(m_Mutex);
        const std::size_t begin = m_Taken;
        m_Taken += std::clamp<std::size_t>((m_Size - begin) / m_Share, 1, MOST_AT_ONCE);
        m_Taken = std::min(m_Taken, m_Size);
        return {begin, m_Taken};
    }

private:
    static constexpr std::size_t MOST_AT_ONCE = 64;

    MutexLock m_Mutex{"CATALOG_QUEUE"};
    const std::size_t m_Size, m_Share;
    std::size_t m_Taken = 0;
};

struct Work {
    Queue queue;
    const std::function<void(std::size_t)>& task;
    std::atomic<bool> failed{false};
    std::exception_ptr
        failure{};  ///< Of the first task that failed; read when all threads have ended.

    /// Runs tasks until the queue ends.
    void TakePart() {
        for (Queue::Range range; range = queue.Pop(), range.begin < range.end;) {
            for (std::size_t index = range.begin; index < range.end; ++index) {
                if (!failed && !IsInterrupted())
                    Run(index);
            }
        }
    }

private:
    void Run(std::size_t index) {
        try {
            task(index);
        } catch (...) {
            if (!failed.exchange(true))
                failure = std::current_exception();
        }
    }
};

class Worker : public SystemThread {
public:
    Worker(const std::string& name, Work& sharedWork)
        : SystemThread(name, nullptr), m_Work(sharedWork) {}

private:
    unsigned int ThreadEntryPoint() override {
        m_Work.TakePart();
        return 0;
    }

    Work& m_Work;
};

class DeadlockWatch : public SystemThread {
public:
    DeadlockWatch() : SystemThread("watch", nullptr) {}

    void Stop() { m_Stop.Set(); }

private:
    unsigned int ThreadEntryPoint() override {
        while (!m_Stop.Wait(BETWEEN_CHECKS))
            checkMutexListForDeadlock();
        return 0;
    }

    EventLock m_Stop;
};

/// Keeps a thread object until the program ends: its destructor writes a line to the standard
/// output, which is for our tables.
template <class Thread>
Thread& Keep(std::unique_ptr<Thread> thread) {
    static auto& kept = *new std::vector<std::unique_ptr<SystemThread>>;
    kept.push_back(std::move(thread));
    return static_cast<Thread&>(*kept.back());
}

std::vector<Worker*> MakeWorkers(Work& work, int count) {
    std::vector<Worker*> workers;
    for (int number = 1; number <= count; ++number) {
        const std::string name = "reader " + std::to_string(number);
        workers.push_back(&Keep(std::make_unique<Worker>(name, work)));
    }
    return workers;
}

}  // namespace

void ParallelFor(std::size_t count, int threads, const std::function<void(std::size_t)>& task) {
    Work work{Queue(count, threads), task};
    std::vector<Worker*> workers = MakeWorkers(work, threads);
    DeadlockWatch& watch = Keep(std::make_unique<DeadlockWatch>());
    // From here on nothing throws until all threads have ended.
    std::erase_if(workers, [](Worker* worker) { return !worker->Create(false, 0); });
    watch.Create(false, 0);
    for (Worker* worker : workers)
        worker->WaitForThreadExit(WITHOUT_LIMIT);
    watch.Stop();
    watch.WaitForThreadExit(WITHOUT_LIMIT);

    if (workers.empty())
        throw std::runtime_error("no thread can be started");
    StopIfInterrupted();
    if (work.failure)
        std::rethrow_exception(work.failure);
}
