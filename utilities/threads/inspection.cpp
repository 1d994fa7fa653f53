#include "utilities/threads/inspection_internal.h"

#include "utilities/locks/registry_internal.h"

constinit const Inspection utilitiesInspection{.layout = 1,
                                               .mutexes = MutexDbgList,
                                               .mutexCount = &MutexDbgCount,
                                               .threadList = &inspectedThreadList,
                                               .handles = &platform::inspectedHandles,
                                               .processStart = &platform::processStart};
