#pragma once

#include "Support/FuzzTarget.h"

#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Interfaces/IZFFrame.h"
#include "Support/TestProps.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

/// A record of a small picture.
inline ZF_VID_PROPS FuzzProps_Take(CByteReader& _in, int _nMaxWidth, int _nMaxHeight)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _in.OneOf(c_arrTestFormats);
    vidProps.nWidth = _in.Range(1, _nMaxWidth);
    vidProps.nHeight = _in.Range(1, _nMaxHeight) * (_in.Flag() ? -1 : 1);
    vidProps.eInterlace = _in.Range(0, 5);
    return vidProps;
}

/// A block of bytes of which not one outside can be touched unnoticed under the address sanitizer.
inline std::vector<uint8_t> FuzzBytes_Take(CByteReader& _in, size_t _cbBytes)
{
    std::vector<uint8_t> vecBytes(_cbBytes);
    _in.Fill(vecBytes.data(), _cbBytes);
    return vecBytes;
}

/// A picture whose planes lie in blocks of their own, which end with the last byte of the last row's samples.
class CExactPicture
{
public:
    /// Takes padding and the direction of the rows from the input, and the pixels.
    CExactPicture(const ZF_VID_PROPS& _vidProps, CByteReader& _in)
        : m_vidProps(_vidProps)
        , m_vidPtr(VidPtr_Build(&_vidProps, 0, false))
    {
        for (int nPlane = 0; nPlane < 3; ++nPlane)
            PlaneMake(nPlane, _in);
        m_vidProps.nRowBytes = m_vidPtr.cbVideoRowBytes[0];
    }

    ZF_VID_PROPS m_vidProps;
    ZF_VID_PTR m_vidPtr;

private:
    void PlaneMake(int _nPlane, CByteReader& _in)
    {
        const ZF_SIZE& szPlane = m_vidPtr.szVideoPlanes[_nPlane];
        const int64_t cbRow = _nPlane == 0 ? Img_RowBytesUsed(m_vidProps.fccType, m_vidProps.nWidth)
                                           : int64_t{szPlane.cx} * FCC_SampleBytes(m_vidProps.fccType);
        m_vidPtr.lpVideoPlanes[_nPlane] = 0;
        if (cbRow < 1 || szPlane.cy < 1)
            return;
        const int64_t cbStride = cbRow + _in.Range(0, 9);
        const bool bUp = _in.Flag();
        m_arrPlanes[_nPlane] = FuzzBytes_Take(_in, static_cast<size_t>(cbStride * (szPlane.cy - 1) + cbRow));
        m_vidPtr.cbVideoRowBytes[_nPlane] = static_cast<int32_t>(bUp ? -cbStride : cbStride);
        m_vidPtr.lpVideoPlanes[_nPlane] =
            Img_Address(m_arrPlanes[_nPlane].data()) + (bUp ? cbStride * (szPlane.cy - 1) : 0);
    }

    std::vector<uint8_t> m_arrPlanes[3];
};

/// Reads every row of a frame; false where it has no pixels that can be read.
inline bool FuzzFrame_Read(IZFFrame* _pFrame, uint32_t _nFlags)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    CImgRowReader reader;
    FUZZ_REQUIRE(_pFrame->VideoPropsGet(&vidProps) == S_OK && _pFrame->VideoPtrGet(_nFlags, &vidPtr) == S_OK);
    if (FAILED(reader.Init(vidProps, vidPtr)))
        return false;
    std::vector<uint8_t> vecRow(size_t{4} * static_cast<size_t>(reader.Width()));
    for (int nRow = 0; nRow < reader.Height(); ++nRow)
        reader.ReadRow(nRow, vecRow.data());
    return true;
}
