#pragma once

#include <cstdint>

/// Calls of operator new in this program so far, from all threads.
uint64_t AllocCount();
/// Blocks of operator new that have not been deleted.
int64_t AllocLive();

/// Refuses allocations of all threads, beginning with the _nFirst-th from now on (1 = the next one), _nCount of them.
void AllocFault_Set(uint64_t _nFirst, uint64_t _nCount);
/// Refuses nothing any more; answers how many allocations were refused since AllocFault_Set.
uint64_t AllocFault_End();

/// For other ways to allocate: counts one more allocation; true when it has to be refused.
bool AllocFault_Next() noexcept;
