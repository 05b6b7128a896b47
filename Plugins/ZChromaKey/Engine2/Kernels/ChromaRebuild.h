#pragma once

#include "ZChromaKey/Engine2/Kernels/ChromaTile.h"

/// CHROMA_KERNELS for a level of Simd.h.

template <class S, class Layout> void ChromaRebuildTiles(const CHROMA_JOB& _job, int _nFirst, int _nRows)
{
    CChromaTile<S, Layout> tile(_job);
    for (int nWord = 0; nWord < _job.nWords; ++nWord)
        tile.Rebuild(nWord, _nFirst, _nRows);
}

/// r210: pixels with ten bits for each of R, G, B in words whose highest byte comes first.
template <class S> void ChromaPixels_r210(const uint8_t* _pWords, uint16_t* _pOut, int _nPixels)
{
    using I32 = typename S::I32;
    constexpr int c_nLanes = static_cast<int>(S::c_nLanes);
    constexpr uint8_t c_arrSwap[16] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
    const auto Level = [](I32 _vec) { return Min((_vec & 0x3FF) << 4, 255 * 64); };
    for (int n = 0; n < _nPixels; n += c_nLanes)
    {
        const auto vecBytes = S::LoadI32(_pWords + ptrdiff_t{4} * n, static_cast<size_t>(_nPixels - n));
        const auto vecWords = As<I32>(ShuffleBytes(As<typename S::U8>(vecBytes), c_arrSwap));
        I32 vec[2];
        Interleave(Level(vecWords) | Level(vecWords >> 10) << 16, Level(vecWords >> 20) | (255 * 64) << 16, vec[0],
                   vec[1]);
        ChromaStorePixels<S>(_pOut + ptrdiff_t{4} * n, _nPixels - n, vec);
    }
}

template <class S> void ChromaRebuild_r210(const CHROMA_JOB& _job, int _nFirst, int _nRows)
{
    const UNMIX_SAMPLES& samples = _job.samples;
    const int nRim = _job.bRim ? 1 : 0, nFirst = _nFirst > 0 ? 4 * _nFirst - nRim : 0;
    for (int y = nFirst; y < 4 * (_nFirst + _nRows) + nRim && y < samples.nHeight; ++y)
        for (int nWord = 0; nWord < _job.nWords; ++nWord)
            ForBitRuns(ChromaNeeded(_job, nWord, y / 4).Row(y), [&](int _nFrom, int _nEnd) {
                const int x0 = 4 * (c_nChromaTile * nWord + _nFrom), x1 = 4 * (c_nChromaTile * nWord + _nEnd);
                ChromaPixels_r210<S>(samples.arrRow0[0] + y * samples.anStride[0] + ptrdiff_t{4} * x0,
                                     _job.pDeep0 + (y - _job.nDeepFirst) * _job.nDeepStride + ptrdiff_t{4} * x0,
                                     (x1 < samples.nWidth ? x1 : samples.nWidth) - x0);
            });
}

template <class S> void ChromaRebuild(const CHROMA_JOB& _job, int _nFirst, int _nRows)
{
    switch (_job.samples.eLayout)
    {
    case UNMIX_SAMPLES::ePacked:
        return ChromaRebuildTiles<S, CHROMA_PACKED<S>>(_job, _nFirst, _nRows);
    case UNMIX_SAMPLES::ePlanar:
        return ChromaRebuildTiles<S, CHROMA_PLANAR<S>>(_job, _nFirst, _nRows);
    case UNMIX_SAMPLES::eP010:
        return ChromaRebuildTiles<S, CHROMA_P010<S>>(_job, _nFirst, _nRows);
    case UNMIX_SAMPLES::ev210:
        return ChromaRebuildTiles<S, CHROMA_V210<S>>(_job, _nFirst, _nRows);
    case UNMIX_SAMPLES::eBGRA:
        return ChromaRebuildTiles<S, CHROMA_BGRA<S>>(_job, _nFirst, _nRows);
    case UNMIX_SAMPLES::er210:
        return ChromaRebuild_r210<S>(_job, _nFirst, _nRows);
    default:
        return;
    }
}
