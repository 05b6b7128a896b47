#pragma once

#include "Bench/BenchRing.h"
#include "Kit/Result.h"

/// The pictures of a ring, addressed from their top rows.
struct RING_PLANES
{
    explicit RING_PLANES(const BENCH_RING& _ring)
        : vecPtr(_ring.size())
    {
        Result_Check(_ring[0]->VideoPropsGet(&vidProps), "looking at a frame");
        for (size_t i = 0; i < _ring.size(); ++i)
            Result_Check(_ring[i]->VideoPtrGet(eZFP_Flip, &vecPtr[i]), "reading a frame");
    }
    size_t Next()
    {
        return nNext = (nNext + 1) % vecPtr.size();
    }
    ZF_VID_PROPS vidProps = {};
    std::vector<ZF_VID_PTR> vecPtr;
    size_t nNext = 0;
};
