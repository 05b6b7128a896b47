#pragma once

#include "Support/FuzzTarget.h"

#include "Base/ZHelpers.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

/// The pixel formats that are read, written and framed.
inline constexpr uint32_t c_arrFuzzFormats[] = {
    eZFCC_RGB8, eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_r210, eZFCC_v210, eZFCC_YUY2, eZFCC_UYVY, eZFCC_HDYC,
    eZFCC_YVYU, eZFCC_I420,  eZFCC_YV12,  eZFCC_NV12,   eZFCC_I422, eZFCC_YV16, eZFCC_Y422, eZFCC_Y444,
};

/// A record of a small picture.
inline ZF_VID_PROPS FuzzProps_Take(CByteReader& _in, int _nMaxWidth, int _nMaxHeight)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _in.OneOf(c_arrFuzzFormats);
    vidProps.nWidth = _in.Range(1, _nMaxWidth);
    vidProps.nHeight = _in.Range(1, _nMaxHeight) * (_in.Flag() ? -1 : 1);
    vidProps.eInterlace = _in.Range(0, 5);
    return vidProps;
}

/// A block of bytes of which not one outside can be touched unnoticed under the address sanitizer.
class CExactBytes
{
public:
    explicit CExactBytes(size_t _cbBytes)
        : m_upBytes(new uint8_t[_cbBytes])
        , m_cbBytes(_cbBytes)
    {
    }
    CExactBytes(size_t _cbBytes, CByteReader& _in)
        : CExactBytes(_cbBytes)
    {
        _in.Fill(m_upBytes.get(), _cbBytes);
    }
    uint8_t* Data()
    {
        return m_upBytes.get();
    }
    size_t Size() const
    {
        return m_cbBytes;
    }
    bool operator==(const CExactBytes& _other) const
    {
        return m_cbBytes == _other.m_cbBytes && std::memcmp(m_upBytes.get(), _other.m_upBytes.get(), m_cbBytes) == 0;
    }

private:
    std::unique_ptr<uint8_t[]> m_upBytes;
    size_t m_cbBytes;
};

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
        const int64_t cbRow = _nPlane == 0 ? Img_RowBytesUsed(m_vidProps.fccType, m_vidProps.nWidth) : szPlane.cx;
        m_vidPtr.lpVideoPlanes[_nPlane] = 0;
        if (cbRow < 1 || szPlane.cy < 1)
            return;
        const int64_t cbStride = cbRow + _in.Range(0, 9);
        const bool bUp = _in.Flag();
        m_arrPlanes[_nPlane] =
            std::make_unique<CExactBytes>(static_cast<size_t>(cbStride * (szPlane.cy - 1) + cbRow), _in);
        m_vidPtr.cbVideoRowBytes[_nPlane] = static_cast<int32_t>(bUp ? -cbStride : cbStride);
        m_vidPtr.lpVideoPlanes[_nPlane] =
            Img_Address(m_arrPlanes[_nPlane]->Data()) + (bUp ? cbStride * (szPlane.cy - 1) : 0);
    }

    std::unique_ptr<CExactBytes> m_arrPlanes[3];
};
