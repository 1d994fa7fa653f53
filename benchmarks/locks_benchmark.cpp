// Mutexes, semaphores, events and threads beside those of the standard library, of the C library
// and of the common frameworks. Each of them is reached by a call into a shared library. Our mutex
// also publishes its owner, its waiters and since when it is held, and our thread its end and exit
// code.
#include <benchmark/benchmark.h>
#include <semaphore.h>
#ifdef UTILITIES_HAS_GLIB
#include <glib.h>
#endif
#ifdef UTILITIES_HAS_POCO
#include <Poco/Event.h>
#include <Poco/Mutex.h>
#include <Poco/Semaphore.h>
#include <Poco/Thread.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#endif

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "utilities/locks/lockobj.h"
#include "utilities/threads/threadutils.h"

namespace {

struct OwnMutex {
    void lock() { mutex.Lock(); }
    void unlock() { mutex.Unlock(); }
    MutexLock mutex;
};

struct OwnSemaphore {
    void Wait() { semaphore.Lock(); }
    void Set() { semaphore.Unlock(); }
    SemaphoreLock semaphore{1000, 0};
};

struct PosixSemaphore {
    PosixSemaphore() { sem_init(&semaphore, 0, 0); }
    ~PosixSemaphore() { sem_destroy(&semaphore); }
    void Wait() { sem_wait(&semaphore); }
    void Set() { sem_post(&semaphore); }
    sem_t semaphore;
};

struct OwnEvent {
    void Set() { event.Set(); }
    void Wait() { event.Wait(); }
    EventLock event;
};

struct StandardEvent {
    void Set() {
        const std::lock_guard<std::mutex> lock(mutex);
        isSet = true;
        changed.notify_one();
    }
    void Wait() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return isSet; });
        isSet = false;
    }
    std::mutex mutex;
    std::condition_variable changed;
    bool isSet = false;
};

struct OwnThread {
    void RunToTheEnd() {
        thread.Create(false, 0);
        thread.WaitForThreadExit(0xFFFFFFFF);
    }
    SystemThread thread{"measured", nullptr};
};

struct StandardThread {
    void RunToTheEnd() {
        std::thread([] {}).join();
    }
};

/// Can be waited for with a limit, as ours.
struct StandardThreadWithCondition {
    void RunToTheEnd() {
        StandardEvent hasEnded;
        std::thread thread([&hasEnded] { hasEnded.Set(); });
        hasEnded.Wait();
        thread.join();
    }
};

#ifdef UTILITIES_HAS_GLIB
struct GlibMutex {
    GlibMutex() { g_rec_mutex_init(&mutex); }
    ~GlibMutex() { g_rec_mutex_clear(&mutex); }
    void lock() { g_rec_mutex_lock(&mutex); }
    void unlock() { g_rec_mutex_unlock(&mutex); }
    GRecMutex mutex;
};
#endif

#ifdef UTILITIES_HAS_POCO
struct PocoEvent {
    void Set() { event.set(); }
    void Wait() { event.wait(); }
    Poco::Event event;
};

struct PocoSemaphore {
    void Set() { semaphore.set(); }
    void Wait() { semaphore.wait(); }
    Poco::Semaphore semaphore{0, 1000};
};

struct PocoThread {
    void RunToTheEnd() {
        Poco::Thread thread;
        thread.startFunc([] {});
        thread.join();
    }
};
#endif

#ifdef UTILITIES_HAS_QT
struct QtSemaphore {
    void Set() { semaphore.release(); }
    void Wait() { semaphore.acquire(); }
    QSemaphore semaphore;
};

struct QtThread {
    struct Thread : QThread {
        void run() override {}
    };
    void RunToTheEnd() {
        thread.start();
        thread.wait();
    }
    Thread thread;
};
#endif

template <class Mutex>
void LockUnlock(benchmark::State& state) {
    static Mutex mutex;
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}

template <class Mutex>
void Nested(benchmark::State& state) {
    static Mutex mutex;
    mutex.lock();
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
    mutex.unlock();
}

template <class Event>
void SetWait(benchmark::State& state) {
    Event event;
    for (auto _ : state) {
        event.Set();
        event.Wait();
    }
}

/// There and back between two threads, which sleep in turns.
template <class Event>
void HandOver(benchmark::State& state) {
    Event there, back;
    std::atomic<bool> done{false};
    std::thread partner([&] {
        do {
            there.Wait();
            back.Set();
        } while (!done);
    });
    for (auto _ : state) {
        there.Set();
        back.Wait();
    }
    done = true;
    there.Set();
    partner.join();
}

template <class Thread>
void RunToTheEnd(benchmark::State& state) {
    Thread thread;
    for (auto _ : state)
        thread.RunToTheEnd();
}

template <class Mutex>
void MeasureMutex(const std::string& peer) {
    benchmark::RegisterBenchmark(("Mutex/LockUnlock/" + peer).c_str(), LockUnlock<Mutex>);
    benchmark::RegisterBenchmark(("Mutex/Nested/" + peer).c_str(), Nested<Mutex>);
    benchmark::RegisterBenchmark(("Mutex/TwoThreads/" + peer).c_str(), LockUnlock<Mutex>)
        ->Threads(2)
        ->UseRealTime();
    benchmark::RegisterBenchmark(("Mutex/FourThreads/" + peer).c_str(), LockUnlock<Mutex>)
        ->Threads(4)
        ->UseRealTime();
}

/// `subject` is a semaphore or an event.
template <class Event>
void MeasureEvent(const std::string& subject, const std::string& peer) {
    benchmark::RegisterBenchmark((subject + "/SetWait/" + peer).c_str(), SetWait<Event>);
    benchmark::RegisterBenchmark((subject + "/HandOver/" + peer).c_str(), HandOver<Event>)
        ->UseRealTime();
}

template <class Thread>
void MeasureThread(const std::string& peer) {
    benchmark::RegisterBenchmark(("Thread/StartFinishWait/" + peer).c_str(), RunToTheEnd<Thread>)
        ->UseRealTime();
}

const bool REGISTERED = [] {
    // The C library's locks are cheaper as long as there has been one thread only.
    std::thread([] {}).join();
    MeasureMutex<OwnMutex>("Utilities");
    MeasureMutex<std::recursive_mutex>("std recursive");
    MeasureMutex<std::recursive_timed_mutex>("std recursive timed");
    MeasureEvent<OwnSemaphore>("Semaphore", "Utilities");
    MeasureEvent<PosixSemaphore>("Semaphore", "POSIX");
    MeasureEvent<OwnEvent>("Event", "Utilities");
    MeasureEvent<PosixSemaphore>("Event", "POSIX semaphore");
    MeasureEvent<StandardEvent>("Event", "std");
    MeasureThread<OwnThread>("Utilities");
    MeasureThread<StandardThread>("std");
    MeasureThread<StandardThreadWithCondition>("std, a condition");
#ifdef UTILITIES_HAS_POCO
    MeasureMutex<Poco::Mutex>("Poco");
    MeasureEvent<PocoSemaphore>("Semaphore", "Poco");
    MeasureEvent<PocoEvent>("Event", "Poco");
    MeasureThread<PocoThread>("Poco");
#endif
#ifdef UTILITIES_HAS_QT
    MeasureMutex<QRecursiveMutex>("Qt");
    MeasureEvent<QtSemaphore>("Semaphore", "Qt");
    MeasureEvent<QtSemaphore>("Event", "Qt semaphore");
    MeasureThread<QtThread>("Qt");
#endif
#ifdef UTILITIES_HAS_GLIB
    MeasureMutex<GlibMutex>("GLib");
#endif
    return true;
}();

}  // namespace
