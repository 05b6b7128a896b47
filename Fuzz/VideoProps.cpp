// Video properties of any content: nothing overflows, and the planes of a picture that is taken for one lie in its
// memory. The first byte chooses between records and the text that zkhost describes.

#include "Support/ExactPicture.h"

#include "Base/ZHelpers.h"
#include "Video/ZFrame.h"
#include "zkhost/Commands/Describe.h"
#include "zkhost/Files/UsageError.h"

#include <cstdlib>
#include <memory>

namespace
{

/// A record whose fields are what hosts write into them, or anything.
ZF_VID_PROPS TakeProps(CByteReader& _in)
{
    if (_in.Flag())
        return _in.Take<ZF_VID_PROPS>();
    constexpr int32_t c_arrSizes[] = {0, 1, 2, 3, 6, 16, 47, 48, 49, 480, 576, 720, 1080, 1920, 32767, INT32_MAX};
    ZF_VID_PROPS vidProps = {};
    vidProps.eVideoFormat = _in.Range(0, 95);
    const auto spanFormats = FCC_All();
    vidProps.fccType = spanFormats[static_cast<size_t>(_in.Range(0, static_cast<int>(spanFormats.size()) - 1))].fccType;
    vidProps.nWidth = _in.OneOf(c_arrSizes);
    vidProps.nHeight = _in.OneOf(c_arrSizes) * (_in.Flag() ? -1 : 1);
    vidProps.nRowBytes = _in.Number();
    vidProps.eInterlace = _in.Range(-1, 6);
    vidProps.nAspectX = _in.Take<int16_t>();
    vidProps.nAspectY = _in.Take<int16_t>();
    vidProps.dblRate = _in.Double();
    vidProps.nGPUFlags = _in.Byte() < 0xF0 ? 0 : _in.Take<uint32_t>();
    return vidProps;
}

/// A frame in memory of exactly the image size is read to its last byte.
void CheckFrame(const ZF_VID_PROPS& _vidProps)
{
    constexpr int64_t c_cbMost = 1 << 18;
    const int64_t cbImage = VidProps_ImageSize(&_vidProps);
    if (cbImage < 1 || cbImage > c_cbMost)
        return;
    const auto upMemory = std::make_unique<uint8_t[]>(static_cast<size_t>(cbImage));
    CZPtr<CZFrame> cpFrame;
    if (FAILED(ZFrame_Wrap(_vidProps, upMemory.get(), static_cast<size_t>(cbImage), {}, cpFrame.Put())))
        return;
    static_cast<void>(FuzzFrame_Read(cpFrame.Get(), eZFP_Flip));
}

void CheckRecord(CByteReader& _in)
{
    const ZF_VID_PROPS vidGiven = TakeProps(_in);
    const bool bStrict = _in.Flag();
    const bool bFlip = _in.Flag();
    for (const bool bNormal : {false, true})
    {
        ZF_VID_PROPS vidProps = vidGiven;
        if (bNormal)
        {
            VidProps_Normalize(&vidProps, bStrict);
            const ZF_VID_PROPS vidOnce = vidProps;
            VidProps_Normalize(&vidProps, bStrict);
            FUZZ_REQUIRE(VidProps_Same(&vidOnce, &vidProps, 3));
        }
        static_cast<void>(VidPtr_Build(&vidProps, _in.Take<int64_t>(), bFlip));
        FUZZ_REQUIRE(VidProps_ImageSize(&vidProps) >= 0);
        CheckFrame(vidProps);
        const ZF_VID_PROPS vidMask = VidProps_Mask(&vidProps);
        if (vidProps.nWidth > 0 && vidProps.nWidth <= INT32_MAX - 8 && Img_RowSizeM(&vidProps) > 0)
            FUZZ_REQUIRE(vidMask.fccType == eZFCC_RGB8 && vidMask.nRowBytes >= vidMask.nWidth);
        static_cast<void>(VidProps_Text(&vidProps));
        static_cast<void>(VidProps_DetectFormat(&vidProps, bStrict));
        static_cast<void>(VidProps_FieldOrder(&vidProps));
        static_cast<void>(VidProps_DisplayAspect(&vidProps));
        static_cast<void>(VidProps_PixelAspect(&vidProps));
        static_cast<void>(VidProps_IsSet(&vidProps, bStrict));
        static_cast<void>(VidProps_Same(&vidProps, &vidGiven, _in.Range(-1, 4)));
        static_cast<void>(Img_WidthFromRowBytes(vidProps.fccType, vidProps.nRowBytes));
    }
    const auto eVideoFormat = _in.Take<int32_t>();
    static_cast<void>(VidProps_FromFormat(eVideoFormat, vidGiven.fccType, vidGiven.eInterlace));
    static_cast<void>(VidFormat_Size(eVideoFormat));
    const auto timeCode = _in.Take<ZF_TIMECODE>();
    static_cast<void>(TimeCode_Text(&timeCode));
    const auto audProps = _in.Take<ZF_AUD_PROPS>();
    static_cast<void>(Aud_BytesToTime(&audProps, _in.Take<int64_t>()));
}

void CheckDescribe(CByteReader& _in)
{
    try
    {
        FUZZ_REQUIRE(!Describe_Text(std::string(_in.Rest())).empty());
    }
    catch (const CZUsageError& error)
    {
        FUZZ_REQUIRE(*error.what());
    }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    if (_in.Byte() % 4 == 0)
        CheckDescribe(_in);
    else
        CheckRecord(_in);
}
