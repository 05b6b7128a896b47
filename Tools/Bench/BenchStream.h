#pragma once

#include "Bench/BenchRing.h"

/// The streaming pass that keying is measured against: it reads a picture of B, G, R, A and writes a mask, on one
/// thread, with the best instructions that the processor has, whatever ZCK_SIMD allows the keyer.
class CZBenchStream
{
public:
    CZBenchStream(int _nWidth, int _nHeight);
    /// Passes over the next picture of the ring.
    void Next();

private:
    BENCH_RING m_ringPictures;
    BENCH_RING m_ringMasks;
    size_t m_nPixels;
    size_t m_nNext = 0;
    volatile uint8_t m_nSink = 0; // keeps the compiler from leaving the pass out
};
