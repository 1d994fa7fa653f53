// Mutexes, events and threads beside those of the standard library and of the common frameworks.
// Our mutex also publishes its owner, its waiters and since when it is held.
#include <benchmark/benchmark.h>
#ifdef UTILITIES_HAS_GLIB
#include <glib.h>
#endif
#ifdef UTILITIES_HAS_POCO
#include <Poco/Event.h>
#include <Poco/Mutex.h>
#include <Poco/Thread.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#endif

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

struct PocoThread {
    void RunToTheEnd() {
        Poco::Thread thread;
        thread.startFunc([] {});
        thread.join();
    }
};
#endif

#ifdef UTILITIES_HAS_QT
struct QtEvent {
    void Set() { units.release(); }
    void Wait() { units.acquire(); }
    QSemaphore units;
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
}

template <class Event>
void MeasureEvent(const std::string& peer) {
    benchmark::RegisterBenchmark(("Event/SetWait/" + peer).c_str(), SetWait<Event>);
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
    MeasureEvent<OwnEvent>("Utilities");
    MeasureEvent<StandardEvent>("std");
    MeasureThread<OwnThread>("Utilities");
    MeasureThread<StandardThread>("std");
#ifdef UTILITIES_HAS_POCO
    MeasureMutex<Poco::Mutex>("Poco");
    MeasureEvent<PocoEvent>("Poco");
    MeasureThread<PocoThread>("Poco");
#endif
#ifdef UTILITIES_HAS_QT
    MeasureMutex<QRecursiveMutex>("Qt");
    MeasureEvent<QtEvent>("Qt");
    MeasureThread<QtThread>("Qt");
#endif
#ifdef UTILITIES_HAS_GLIB
    MeasureMutex<GlibMutex>("GLib");
#endif
    return true;
}();

}  // namespace
