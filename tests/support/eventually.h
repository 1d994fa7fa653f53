/// Waiting for what other threads do.
#ifndef TESTS_SUPPORT_EVENTUALLY_H
#define TESTS_SUPPORT_EVENTUALLY_H

#include <chrono>
#include <thread>

/// Whether `condition()` comes true, within a time that only a fault can reach.
template <class Condition>
bool Eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

#endif
