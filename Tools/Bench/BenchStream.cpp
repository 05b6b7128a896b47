#include "Bench/BenchStream.h"

#include "Bench/BenchRow.h"

#include "Base/ZCpu.h"

CZBenchStream::CZBenchStream(int _nWidth, int _nHeight)
    : m_ringPictures(BenchRing_Make(eZFCC_RGB32, _nWidth, _nHeight))
    , m_ringMasks(BenchRing_Make(eZFCC_RGB8, _nWidth, _nHeight))
    , m_nPixels(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight))
{
}

void CZBenchStream::Next()
{
    auto* pfnRow = BenchRow_C;
#if defined(ZCK_X86)
    if (ZCpu_Detected() >= eSIMD_AVX2)
        pfnRow = ZCpu_Detected() >= eSIMD_AVX512 ? BenchRow_AVX512 : BenchRow_AVX2;
#endif
    uint8_t* const pMask = BenchRing_Bytes(m_ringMasks[m_nNext].Get());
    pfnRow(pMask, BenchRing_Bytes(m_ringPictures[m_nNext].Get()), m_nPixels);
    m_nSink = pMask[m_nPixels / 2];
    m_nNext = (m_nNext + 1) % c_nBenchRing;
}
