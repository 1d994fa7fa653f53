/// A loop whose passes run on several threads.
#ifndef CATALOG_PARALLEL_H
#define CATALOG_PARALLEL_H

#include <cstddef>
#include <functional>

/// Runs `task(index)` for each index below `count` on up to `threads` threads, lower indexes first,
/// while one more thread looks for a deadlock each second. After an interrupt, or after a task that
/// threw, no further task is begun. Returns when all threads have ended, or then throws: what the
/// first failed task threw, `Interrupted`, or `std::runtime_error` if no thread could be started.
void ParallelFor(std::size_t count, int threads, const std::function<void(std::size_t)>& task);

#endif
