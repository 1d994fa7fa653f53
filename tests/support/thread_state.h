/// What the system tells of the threads of this process.
#ifndef TESTS_SUPPORT_THREAD_STATE_H
#define TESTS_SUPPORT_THREAD_STATE_H

#include <cstdint>
#include <fstream>
#include <string>

#include "tests/support/eventually.h"

/// 'R' for one that runs, 'S' for one that sleeps in the system, 0 for none.
inline char ThreadStateOf(std::uint32_t id) {
    std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t name = line.rfind(')');
    return name == std::string::npos || name + 2 >= line.size() ? '\0' : line[name + 2];
}

/// Waits until the thread sleeps: in a wait, a read or a suspension.
inline bool FallsAsleep(std::uint32_t id) {
    return Eventually([id] { return ThreadStateOf(id) == 'S'; });
}

/// A number from the process's status, as "VmRSS" (in KB) or "Threads".
inline long StatusOf(const std::string& field) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(field + ":", 0) == 0)
            return std::stol(line.substr(field.size() + 1));
    }
    return -1;
}

#endif
