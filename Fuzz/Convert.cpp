// Conversion of frames: every format, small sizes, any stride. Nothing outside the pictures is touched, and every
// instruction set gives the bytes of the plain kernels.

#include "Support/ExactPicture.h"

#include "Base/ZCpu.h"
#include "Image/ImgColor.h"
#include "Video/ZConverter.h"
#include "Video/ZFrame.h"
#include "Video/ZFrameWriter.h"

#include <vector>

namespace
{

constexpr int c_nMaxWidth = 150;
constexpr int c_nMaxHeight = 12;

IMG_KERNELS KernelsOf(int _nLevel)
{
    IMG_KERNELS kernels;
    ImgKernels_Init(&kernels, static_cast<eSIMD_Level>(_nLevel));
    return kernels;
}

/// A row of one layout by every instruction set.
void CheckReading(CByteReader& _in)
{
    const ZF_VID_PROPS vidProps = FuzzProps_Take(_in, c_nMaxWidth, 1);
    const auto eLayout = static_cast<eImgLayout>(_in.Range(0, eIL_Count - 1));
    constexpr uint32_t c_arrOfLayout[eIL_Count] = {eZFCC_RGB8, eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32,
                                                   eZFCC_r210, eZFCC_v210,  eZFCC_YUY2,  eZFCC_UYVY,
                                                   eZFCC_YVYU, eZFCC_I420,  eZFCC_NV12};
    IMG_ROW row = {};
    row.nWidth = vidProps.nWidth;
    row.nChroma = _in.Range(0, (row.nWidth + 1) / 2);
    row.pCoeff = &Img_CoefFromYUV(_in.Range(0, 1));
    CExactBytes plane0(static_cast<size_t>(Img_RowBytesUsed(c_arrOfLayout[eLayout], row.nWidth)), _in);
    const auto nChroma = static_cast<size_t>(row.nChroma);
    const bool bNV12 = eLayout == eIL_NV12;
    CExactBytes planeU(bNV12 ? 2 * nChroma : nChroma, _in);
    CExactBytes planeV(nChroma, _in);
    row.pPlane0 = plane0.Data();
    row.pU = row.nChroma ? planeU.Data() : nullptr;
    row.pV = !row.nChroma ? nullptr : bNV12 ? planeU.Data() + 1 : planeV.Data();
    const size_t cbResult = size_t{4} * static_cast<size_t>(row.nWidth);
    CExactBytes expected(cbResult);
    KernelsOf(eSIMD_None).apfnRead[eLayout](row, expected.Data());
    for (int nLevel = eSIMD_AVX2; nLevel <= ZCpu_Detected(); ++nLevel)
    {
        CExactBytes result(cbResult);
        KernelsOf(nLevel).apfnRead[eLayout](row, result.Data());
        FUZZ_REQUIRE(result == expected);
    }
}

/// A row of pixels into another colour space by every instruction set, in place as well.
void CheckColours(CByteReader& _in)
{
    const int nPixels = _in.Range(0, c_nMaxWidth);
    const int nMatrix = _in.Range(0, 1);
    const bool bInPlace = _in.Flag();
    CExactBytes source(size_t{4} * static_cast<size_t>(nPixels), _in);
    for (int nSpace = 0; nSpace < 3; ++nSpace)
    {
        std::unique_ptr<CExactBytes> upExpected;
        for (int nLevel = eSIMD_None; nLevel <= ZCpu_Detected(); ++nLevel)
        {
            const IMG_KERNELS kernels = KernelsOf(nLevel);
            auto upResult = std::make_unique<CExactBytes>(source.Size());
            if (bInPlace)
                std::memcpy(upResult->Data(), source.Data(), source.Size());
            const uint8_t* const pFrom = bInPlace ? upResult->Data() : source.Data();
            if (nSpace == 0)
                kernels.pfnToYUV(pFrom, upResult->Data(), nPixels, Img_CoefToYUV(nMatrix));
            else if (nSpace == 1)
                kernels.pfnFromYUV(pFrom, upResult->Data(), nPixels, Img_CoefFromYUV(nMatrix));
            else
                kernels.pfnToHLS(pFrom, upResult->Data(), nPixels);
            FUZZ_REQUIRE(!upExpected || *upResult == *upExpected);
            upExpected = std::move(upResult);
        }
    }
}

void ReadAll(IZFFrame* _pFrame, uint32_t _nFlags)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    CImgRowReader reader;
    FUZZ_REQUIRE(_pFrame->VideoPropsGet(&vidProps) == S_OK && _pFrame->VideoPtrGet(_nFlags, &vidPtr) == S_OK);
    FUZZ_REQUIRE(reader.Init(vidProps, vidPtr) == S_OK);
    std::vector<uint8_t> vecRow(size_t{4} * static_cast<size_t>(reader.Width()));
    for (int nRow = 0; nRow < reader.Height(); ++nRow)
        reader.ReadRow(nRow, vecRow.data());
}

/// Whole pictures from one place to another.
void CheckPictures(CByteReader& _in)
{
    const ZF_VID_PROPS vidProps = FuzzProps_Take(_in, c_nMaxWidth, c_nMaxHeight);
    CExactPicture source(vidProps, _in);
    ZF_VID_PROPS vidTarget = vidProps;
    constexpr uint32_t c_arrTargets[] = {eZFCC_RGB32, eZFCC_ARGB32};
    vidTarget.fccType = _in.Flag() ? vidProps.fccType : _in.OneOf(c_arrTargets);
    if (FCC_IsRGB(vidTarget.fccType) && _in.Flag())
        vidTarget.nHeight = -vidTarget.nHeight;
    CExactPicture target(vidTarget, _in);
    const HRESULT hr = ZConvert_Frame(source.m_vidProps, source.m_vidPtr, target.m_vidProps, target.m_vidPtr);
    FUZZ_REQUIRE(hr == S_OK || hr == E_INVALIDARG);

    CExactBytes pixels(size_t{4} * static_cast<size_t>(vidProps.nWidth * std::abs(vidProps.nHeight)), _in);
    const HRESULT hrWrite =
        ZFrameWriter_Write(target.m_vidProps, target.m_vidPtr, pixels.Data(), ptrdiff_t{4} * vidProps.nWidth);
    FUZZ_REQUIRE(hrWrite == S_OK || hrWrite == E_INVALIDARG);
}

/// Frames on memory of the host, and what can be made of them.
void CheckFrames(CByteReader& _in)
{
    CExactPicture source(FuzzProps_Take(_in, c_nMaxWidth, c_nMaxHeight), _in);
    CZPtr<CZFrame> cpFrame;
    if (FAILED(ZFrame_WrapPlanes(source.m_vidProps, source.m_vidPtr, {}, cpFrame.Put())))
        return;
    ReadAll(cpFrame.Get(), _in.Flag() ? eZFP_Flip : eZFP_Stored);
    CZPtr<IZFFrame> cpPart;
    const int32_t nX1 = _in.Number(), nY1 = _in.Number(), nX2 = _in.Number(), nY2 = _in.Number();
    if (cpFrame->FrameRect(nX1, nY1, nX2, nY2, cpPart.Put()) == S_OK)
        ReadAll(cpPart.Get(), eZFP_Flip);
    const CZPtr<IZFFrame2> cpOf = cpPart ? ZQuery<IZFFrame2>(cpPart) : ZQuery<IZFFrame2>(cpFrame.Get());
    for (const uint32_t fccType : {eZFCC_ARGB32, eZFCC_RGB32})
    {
        CZPtr<IZFFrame> cpConverted;
        FUZZ_REQUIRE(cpOf->FrameConvert(_in.Flag() ? uint32_t{eZFC_Converted} : _in.Take<uint16_t>(), fccType,
                                        cpConverted.Put()) == S_OK);
        ReadAll(cpConverted.Get(), eZFP_Flip);
    }
    CZPtr<IZFFrame> cpClone;
    if (cpOf->FrameClone(_in.Flag() ? uint32_t{eZFC_Converted} : _in.Take<uint16_t>(), cpClone.Put()) == S_OK)
        ReadAll(cpClone.Get(), eZFP_Flip);
    ZF_VID_PROPS vidAny = _in.Take<ZF_VID_PROPS>();
    CZPtr<IZFFrame> cpNew;
    if (int64_t{vidAny.nWidth} * vidAny.nHeight < 1 << 16 && std::abs(int64_t{vidAny.nRowBytes}) < 1 << 16 &&
        vidAny.eVideoFormat == 0)
        static_cast<void>(cpOf->FrameCreate(&vidAny, cpNew.Put()));
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 4)
    {
    case 0:
        return CheckReading(_in);
    case 1:
        return CheckColours(_in);
    case 2:
        return CheckPictures(_in);
    default:
        return CheckFrames(_in);
    }
}
