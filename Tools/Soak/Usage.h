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

/// Resident memory may grow by this much though nothing is lost: stacks that the system keeps, parts of libraries that
/// came to use; on Windows also freed blocks that the heap keeps in pieces (5 to 17 MB under Wine after five seconds,
/// and no more after 30). What allocations hold says what is lost.
/// Of handles: on Windows a lock that lasts makes an event when two threads first meet in it, and keeps it.
#if defined(_WIN32)
inline constexpr int64_t c_cbKeptBySystem = 24 << 20;
inline constexpr int c_nHandlesKept = 8;
#else
inline constexpr int64_t c_cbKeptBySystem = 2 << 20;
inline constexpr int c_nHandlesKept = 0;
#endif

/// Gives memory that was freed back to the system, and from now on large blocks at once, so that the resident memory
/// tells what is in use.
void Usage_TrimMemory();
