#pragma once

#include <cstdint>

/// What this program takes of the system.
struct SYSTEM_USAGE
{
    int64_t cbResident = 0; ///< memory that is in use now, with that of libraries
    int64_t cbPeak = 0;     ///< the most that was in use at a time
    int64_t cbHeap = 0;     ///< what allocations hold, without what is kept for later ones; 0: not known
    int nThreads = 0;
    int nHandles = 0; ///< open files; on Windows all kernel objects
};
SYSTEM_USAGE Usage_Get();

/// Gives memory that was freed back to the system, and from now on large blocks at once, so that the resident memory
/// tells what is in use.
void Usage_TrimMemory();
