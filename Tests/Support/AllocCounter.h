#pragma once

#include <cstdint>

/// Calls of operator new in this program so far, from all threads.
uint64_t AllocCount();
