// Conversion of frames: every format, small sizes, any stride. Nothing outside the pictures is touched.

#include "Support/ExactPicture.h"

#include "Video/ZConverter.h"
#include "Video/ZFrame.h"
#include "Video/ZFrameWriter.h"

#include <algorithm>
#include <cstdlib>

namespace
{

constexpr int c_nMaxWidth = 150;
constexpr int c_nMaxHeight = 12;

/// Whole pictures from one place to another.
void CheckPictures(CByteReader& _in)
{
    const ZF_VID_PROPS vidProps = FuzzProps_Take(_in, c_nMaxWidth, c_nMaxHeight);
    CExactPicture source(vidProps, _in);
    ZF_VID_PROPS vidTarget = vidProps;
    constexpr uint32_t c_arrTargets[] = {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_ARGB64};
    vidTarget.fccType = _in.Flag() ? vidProps.fccType : _in.OneOf(c_arrTargets);
    if (FCC_IsRGB(vidTarget.fccType) && _in.Flag())
        vidTarget.nHeight = -vidTarget.nHeight;
    CExactPicture target(vidTarget, _in);
    const HRESULT hr = ZConvert_Frame(source.m_vidProps, source.m_vidPtr, target.m_vidProps, target.m_vidPtr);
    FUZZ_REQUIRE(hr == S_OK || hr == E_INVALIDARG);

    const size_t nPixels = static_cast<size_t>(vidProps.nWidth) * static_cast<size_t>(std::abs(vidProps.nHeight));
    const std::vector<uint8_t> vecPixels = FuzzBytes_Take(_in, 4 * nPixels);
    const HRESULT hrWrite =
        ZFrameWriter_Write(target.m_vidProps, target.m_vidPtr, vecPixels.data(), ptrdiff_t{4} * vidProps.nWidth);
    FUZZ_REQUIRE(hrWrite == S_OK || hrWrite == E_INVALIDARG);
}

/// Frames on memory of the host, and what can be made of them.
void CheckFrames(CByteReader& _in)
{
    CExactPicture source(FuzzProps_Take(_in, c_nMaxWidth, c_nMaxHeight), _in);
    CZPtr<CZFrame> cpFrame;
    if (FAILED(ZFrame_WrapPlanes(source.m_vidProps, source.m_vidPtr, {}, cpFrame.Put())))
        return;
    FUZZ_REQUIRE(FuzzFrame_Read(cpFrame.Get(), _in.Flag() ? eZFP_Flip : eZFP_Stored));
    CZPtr<IZFFrame> cpPart;
    const int32_t nX1 = _in.Number(), nY1 = _in.Number(), nX2 = _in.Number(), nY2 = _in.Number();
    if (cpFrame->FrameRect(nX1, nY1, nX2, nY2, cpPart.Put()) == S_OK)
        FUZZ_REQUIRE(FuzzFrame_Read(cpPart.Get(), eZFP_Flip));
    const CZPtr<IZFFrame2> cpOf = cpPart ? ZQuery<IZFFrame2>(cpPart) : ZQuery<IZFFrame2>(cpFrame.Get());
    for (const uint32_t fccType : {eZFCC_ARGB32, eZFCC_RGB32, eZFCC_ARGB64})
    {
        CZPtr<IZFFrame> cpConverted;
        FUZZ_REQUIRE(cpOf->FrameConvert(_in.Flag() ? uint32_t{eZFC_Converted} : _in.Take<uint16_t>(), fccType,
                                        cpConverted.Put()) == S_OK);
        FUZZ_REQUIRE(FuzzFrame_Read(cpConverted.Get(), eZFP_Flip));
    }
    CZPtr<IZFFrame> cpClone;
    if (cpOf->FrameClone(_in.Flag() ? uint32_t{eZFC_Converted} : _in.Take<uint16_t>(), cpClone.Put()) == S_OK)
        FUZZ_REQUIRE(FuzzFrame_Read(cpClone.Get(), eZFP_Flip));
    ZF_VID_PROPS vidAny = _in.Take<ZF_VID_PROPS>();
    CZPtr<IZFFrame> cpNew;
    const int64_t nRowMost = std::max(std::abs(int64_t{vidAny.nRowBytes}), 4 * std::abs(int64_t{vidAny.nWidth}));
    if (nRowMost < 1 << 22 && nRowMost * std::abs(int64_t{vidAny.nHeight}) < 1 << 22 && vidAny.eVideoFormat == 0)
        static_cast<void>(cpOf->FrameCreate(&vidAny, cpNew.Put()));
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    if (_in.Byte() % 2 == 0)
        CheckPictures(_in);
    else
        CheckFrames(_in);
}
