/// How far a long run has come, on the standard error stream.
#ifndef CATALOG_PROGRESS_H
#define CATALOG_PROGRESS_H

#include <cstddef>

#include "utilities/utilities.h"

/// A bar on a terminal, which goes when the work is done; elsewhere a line for each tenth. Nothing
/// if `quiet`.
class Progress {
public:
    Progress(std::size_t total, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more of the total is done. From any thread.
    void Step();

private:
    void DrawBar();
    void PrintLine() const;

    const std::size_t total;
    const bool isShown;
    const bool isTerminal;
    MutexLock access{"CATALOG_PROGRESS"};
    std::size_t done = 0;
    unsigned int lastDrawn;
};

#endif
