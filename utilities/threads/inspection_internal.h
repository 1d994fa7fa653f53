/// The way into the state of locks and threads for a debugger that knows nothing but the names of
/// the library's exported symbols, as that of a stripped library does.
#ifndef UTILITIES_THREADS_INSPECTION_INTERNAL_H
#define UTILITIES_THREADS_INSPECTION_INTERNAL_H

#include <cstdint>

#include "utilities/frame/export.h"
#include "utilities/platform/inspection.h"

class ThreadList;

/// Where the pointer to the list of the threads is.
extern ThreadList* const* const inspectedThreadList;

/// Where the tables are. How their entries are laid out is known to gdb/libUtilities-gdb.py, which
/// reads no other `layout` than its own: it is raised with every change of these fields and of what
/// they lead to.
struct Inspection {
    std::uint64_t layout;
    const void* mutexes;     ///< `MutexDbgList`
    const void* mutexCount;  ///< `MutexDbgCount`
    const void* threadList;  ///< `inspectedThreadList`
    const platform::InspectedHandles* handles;
    const platform::ProcessStart* processStart;
};

extern "C" UTILITIES_EXPORT const Inspection utilitiesInspection;

#endif
