/// Threads that share out work between them.
#ifndef CATALOG_CREW_H
#define CATALOG_CREW_H

#include <cstddef>
#include <functional>

/// Runs `task(index)` for each index below `count` on up to `threads` threads, the lower indexes
/// first, while another thread looks for a deadlock each second. Behind an interrupt, and where a
/// task throws, no further task is begun. Returns when all threads have ended; then `Interrupted`
/// or what the task threw is thrown here.
void ShareOut(std::size_t count, int threads, const std::function<void(std::size_t)>& task);

#endif
