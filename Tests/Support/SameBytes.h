#pragma once

#include <cstring>

/// Whether two plain records are the same to the last bit. Their doubles, too: 0 and -0 differ, and what is no number
/// is like itself.
template <class Record> bool SameBytes(const Record& _a, const Record& _b)
{
    const void* const pA = &_a;
    const void* const pB = &_b;
    return std::memcmp(pA, pB, sizeof(Record)) == 0;
}
