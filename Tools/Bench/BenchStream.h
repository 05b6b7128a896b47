#pragma once

#include "Bench/BenchRing.h"

#include <cstddef>

/// What a pass writes for every pixel of a BGRA picture that it reads.
enum eBenchPass
{
    eBP_Mask,    ///< a byte, as the first generation does: the streaming pass
    eBP_Picture, ///< a pixel, as the second generation does: the copying pass
};

/// Passes over frames of a ring, on one thread, with the best instructions that the processor has whatever ZCK_SIMD
/// says: what times are divided by.
class CZBenchStream
{
public:
    /// Throws CZHostError.
    CZBenchStream(int _nWidth, int _nHeight, eBenchPass _ePass = eBP_Mask);
    /// Passes over the next frame of the ring.
    void Next();

private:
    BENCH_RING m_ringPictures;
    BENCH_RING m_ringResults;
    size_t m_nPixels;
    void (*m_pfnRow)(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels) noexcept;
    size_t m_nNext = 0;
    volatile uint8_t m_nSink = 0; ///< so that no pass is optimised away
};
