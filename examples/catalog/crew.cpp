#include "crew.h"

#include <atomic>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "holding.h"
#include "interrupt.h"
#include "utilities/utilities.h"

namespace {

constexpr unsigned int WITHOUT_LIMIT = 0xFFFFFFFF;
constexpr unsigned int BETWEEN_CHECKS = 1000;  // Milliseconds.

/// Indexes on their way to the threads. Behind the last there is an end mark for each thread.
class Queue {
public:
    static constexpr auto END = static_cast<std::size_t>(-1);

    explicit Queue(std::size_t size) : filled(static_cast<int>(size), 0) { indexes.reserve(size); }

    void Push(std::size_t index) {
        {
            const Holding holding(access);
            indexes.push_back(index);
        }
        filled.Unlock();
    }

    std::size_t Pop() {
        filled.Lock();
        const Holding holding(access);
        return indexes[taken++];
    }

private:
    MutexLock access{"CATALOG_QUEUE"};
    SemaphoreLock filled;
    std::vector<std::size_t> indexes;
    std::size_t taken = 0;
};

struct Work {
    Queue queue;
    const std::function<void(std::size_t)>& task;
    std::atomic<bool> failed{false};
    std::exception_ptr failure{};  ///< Of the first task that failed, to be read at the end.

    /// For as long as there is something to do.
    void TakePart() {
        for (std::size_t index; (index = queue.Pop()) != Queue::END;) {
            if (!failed && !IsInterrupted())
                Run(index);
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
        : SystemThread(name, nullptr), work(sharedWork) {}

private:
    unsigned int ThreadEntryPoint() override {
        work.TakePart();
        return 0;
    }

    Work& work;
};

class Watch : public SystemThread {
public:
    Watch() : SystemThread("watch", nullptr) {}

    EventLock stop;

private:
    unsigned int ThreadEntryPoint() override {
        while (!stop.Wait(BETWEEN_CHECKS))
            checkMutexListForDeadlock();
        return 0;
    }
};

/// A thread object that goes says so on the standard output, which is where our tables are: so they
/// stay.
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

void ShareOut(std::size_t count, int threads, const std::function<void(std::size_t)>& task) {
    Work work{Queue(count + static_cast<std::size_t>(threads)), task};
    std::vector<Worker*> workers = MakeWorkers(work, threads);
    Watch& watch = Keep(std::make_unique<Watch>());
    // From here on nothing throws until all threads have ended.
    std::erase_if(workers, [](Worker* worker) { return !worker->Create(false, 0); });
    watch.Create(false, 0);
    for (std::size_t index = 0; !workers.empty() && index < count; ++index)
        work.queue.Push(index);
    for (std::size_t i = 0; i < workers.size(); ++i)
        work.queue.Push(Queue::END);
    for (Worker* worker : workers)
        worker->WaitForThreadExit(WITHOUT_LIMIT);
    watch.stop.Set();
    watch.WaitForThreadExit(WITHOUT_LIMIT);

    if (workers.empty())
        throw std::runtime_error("no thread can be started");
    StopIfInterrupted();
    if (work.failure)
        std::rethrow_exception(work.failure);
}
