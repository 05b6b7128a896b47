#include "Bench/BenchStream.h"

#include "Bench/BenchRow.h"

#include "Base/ZCpu.h"

namespace
{

auto* RowOfPass(eBenchPass _ePass)
{
    const bool bMask = _ePass == eBP_Mask;
#if defined(ZCK_X86)
    if (ZCpu_Detected() >= eSIMD_AVX512)
        return bMask ? BenchRow_AVX512 : BenchCopy_AVX512;
    if (ZCpu_Detected() >= eSIMD_AVX2)
        return bMask ? BenchRow_AVX2 : BenchCopy_AVX2;
#endif
    return bMask ? BenchRow_C : BenchCopy_C;
}

} // namespace

CZBenchStream::CZBenchStream(int _nWidth, int _nHeight, eBenchPass _ePass)
    : m_ringPictures(BenchRing_Make(eZFCC_RGB32, _nWidth, _nHeight))
    , m_ringResults(BenchRing_Make(_ePass == eBP_Mask ? eZFCC_RGB8 : eZFCC_RGB32, _nWidth, _nHeight))
    , m_nPixels(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight))
    , m_pfnRow(RowOfPass(_ePass))
{
}

void CZBenchStream::Next()
{
    uint8_t* const pResult = BenchRing_Bytes(m_ringResults[m_nNext].Get());
    m_pfnRow(pResult, BenchRing_Bytes(m_ringPictures[m_nNext].Get()), m_nPixels);
    m_nSink = pResult[m_nPixels / 2];
    m_nNext = (m_nNext + 1) % m_ringPictures.size();
}
