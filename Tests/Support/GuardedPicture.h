#pragma once

#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Support/GuardedPlane.h"
#include "Support/TestProps.h"

#include <memory>

inline ZF_VID_PROPS Props(uint32_t _fccType, int _nWidth, int _nHeight, int _eInterlace = eZI_Progressive)
{
    return Record(_fccType, _nWidth, _nHeight, 0, _eInterlace);
}

/// The planes of a record, each in guarded memory whose rows have exactly the bytes that samples need.
struct GUARDED_PICTURE
{
    /// _nPadding: bytes between rows; negative: rows run upwards in memory, with one byte less between them.
    GUARDED_PICTURE(const ZF_VID_PROPS& _vidProps, int _nPadding, eZGuard _eGuard, size_t _nOffset = 0)
        : vidProps(_vidProps)
        , vidPtr(VidPtr_Build(&_vidProps, 0, false))
    {
        for (int nPlane = 0; nPlane < 3; ++nPlane)
        {
            const ZF_SIZE& szPlane = vidPtr.szVideoPlanes[nPlane];
            const bool bInTurns = FCC_Chroma(_vidProps.fccType) == eZCh_Turns;
            const int64_t cbChroma =
                int64_t{bInTurns ? szPlane.cx / 2 * 2 : szPlane.cx} * FCC_SampleBytes(_vidProps.fccType);
            const int64_t cbRow = nPlane == 0 ? Img_RowBytesUsed(_vidProps.fccType, _vidProps.nWidth) : cbChroma;
            vidPtr.lpVideoPlanes[nPlane] = 0;
            if (cbRow < 1 || szPlane.cy < 1)
                continue;
            const ptrdiff_t nStride = _nPadding < 0 ? -cbRow + _nPadding + 1 : cbRow + _nPadding;
            arrPlanes[nPlane] =
                std::make_unique<CGuardedPlane>(static_cast<size_t>(cbRow), szPlane.cy, nStride, _eGuard, _nOffset);
            vidPtr.lpVideoPlanes[nPlane] = Img_Address(arrPlanes[nPlane]->Row(0));
            vidPtr.cbVideoRowBytes[nPlane] = static_cast<int32_t>(nStride);
        }
    }
    void FillRandom(uint32_t _nSeed)
    {
        for (const auto& upPlane : arrPlanes)
            if (upPlane)
                upPlane->FillRandom(_nSeed++);
    }
    int Byte(int _nPlane, int _nRow, int _nByte) const
    {
        return arrPlanes[_nPlane]->Row(_nRow)[_nByte];
    }
    bool Intact() const
    {
        for (const auto& upPlane : arrPlanes)
            if (upPlane && !upPlane->Intact())
                return false;
        return true;
    }

    ZF_VID_PROPS vidProps;
    ZF_VID_PTR vidPtr;
    std::unique_ptr<CGuardedPlane> arrPlanes[3];
};
