#pragma once

#include "Support/FrameAccess.h"
#include "Support/GuardedPicture.h"
#include "Video/ZConverter.h"
#include "Video/ZFrame.h"
#include "Video/ZFrameWriter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

/// Shorthand of the frame tests.

inline CZPtr<CZFrame> MakeFrame(const ZF_VID_PROPS& _vidProps, CZFramePool* _pPoolOrNull = nullptr)
{
    CZPtr<CZFrame> cpFrame;
    EXPECT_EQ(ZFrame_Create(_vidProps, cpFrame.Put(), _pPoolOrNull), S_OK);
    return cpFrame;
}

inline uint64_t IdOf(IZFFrame* _pFrame)
{
    uint64_t nIdentity = 0;
    const CZPtr<IZFFrame2> cpFrame2 = ZQuery<IZFFrame2>(_pFrame);
    EXPECT_TRUE(cpFrame2 && cpFrame2->FrameIdGet(&nIdentity) == S_OK);
    return nIdentity;
}

/// A picture of B, G, R, A bytes whose pixels all differ, but for pairs of columns: they can share chroma without loss.
inline std::vector<uint8_t> PairedPicture(int _nWidth, int _nHeight)
{
    std::vector<uint8_t> vecBGRA;
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            const int nPair = x / 2;
            for (int nByte : {60 + nPair * 37 % 120, 90 + nPair * 23 % 80, 60 + (nPair * 11 + y / 4 * 29) % 120, 255})
                vecBGRA.push_back(static_cast<uint8_t>(nByte));
        }
    return vecBGRA;
}

/// The picture of a frame from its top, as B, G, R, A bytes.
inline std::vector<uint8_t> PixelsOf(IZFFrame* _pFrame)
{
    CImgRowReader reader;
    EXPECT_EQ(reader.Init(PropsOf(_pFrame), PtrOf(_pFrame)), S_OK);
    const size_t cbRow = static_cast<size_t>(reader.Width()) * 4;
    std::vector<uint8_t> vecBGRA(cbRow * static_cast<size_t>(reader.Height()));
    for (int nRow = 0; nRow < reader.Height(); ++nRow)
        reader.ReadRow(nRow, vecBGRA.data() + cbRow * static_cast<size_t>(nRow));
    return vecBGRA;
}

/// A frame with a picture of PairedPicture.
inline CZPtr<CZFrame> MakePicture(const ZF_VID_PROPS& _vidProps)
{
    CZPtr<CZFrame> cpFrame = MakeFrame(_vidProps);
    const ZF_VID_PROPS vidProps = PropsOf(cpFrame.Get());
    const int nHeight = std::abs(vidProps.nHeight);
    EXPECT_EQ(ZFrameWriter_Write(vidProps, PtrOf(cpFrame.Get(), eZFP_Stored | eZFP_Write),
                                 PairedPicture(vidProps.nWidth, nHeight).data(), ptrdiff_t{4} * vidProps.nWidth),
              S_OK);
    return cpFrame;
}
