/// The progress of a long run, on the standard error stream.
#ifndef CATALOG_PROGRESS_H
#define CATALOG_PROGRESS_H

#include <cstddef>

#include "utilities/utilities.h"

/// Draws a bar on a terminal, which the destructor removes. Writes nothing elsewhere, or if
/// `quiet`.
class Progress {
public:
    Progress(std::size_t totalSteps, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Tells that one more of the total is done. From any thread.
    void Step();

private:
    void DrawBar();

    const std::size_t m_Total;
    const bool m_IsShown;
    MutexLock m_Mutex{"CATALOG_PROGRESS"};
    std::size_t m_Done = 0;
    unsigned int m_LastDrawn;
};

#endif
