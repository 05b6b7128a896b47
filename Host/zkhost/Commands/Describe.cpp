#include "zkhost/Commands/Describe.h"

#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

#include <charconv>
#include <cmath>
#include <sstream>

namespace
{

constexpr double c_dblMaxRate = 10000; // more is a slip of the pen

[[noreturn]] void FailAt(const std::string& _strWord)
{
    throw CZUsageError(ZFormat("--props: \"%s\" is not understood; write WxH@RATE FCC [i|iT|iB|p] [format=NAME], as "
                               "\"1920x1080@25 UYVY iT\"",
                               _strWord));
}

int32_t FormatNamed(const std::string& _strName)
{
    for (const VIDEO_FORMAT& info : VidFormat_All())
        if (_strName == info.pszName || _strName == info.pszEnum)
            return info.eVideoFormat;
    throw CZUsageError(ZFormat("--props: there is no video format \"%s\"; zkhost formats lists them", _strName));
}

bool ReadSizeAndRate(const std::string& _strWord, ZF_VID_PROPS& _vidProps)
{
    const size_t nAt = _strWord.find('@');
    const std::string strSize = _strWord.substr(0, nAt);
    if (!strSize.empty() && !Raw_ParseSize(strSize, _vidProps.nWidth, _vidProps.nHeight))
        return false;
    if (nAt == std::string::npos)
        return true;
    const char* const pEnd = _strWord.data() + _strWord.size();
    const auto res = std::from_chars(_strWord.data() + nAt + 1, pEnd, _vidProps.dblRate);
    return res.ec == std::errc() && res.ptr == pEnd && std::abs(_vidProps.dblRate) < c_dblMaxRate; // nor "nan"
}

void ReadWord(const std::string& _strWord, ZF_VID_PROPS& _vidProps)
{
    if (_strWord.starts_with("format="))
        _vidProps.eVideoFormat = FormatNamed(_strWord.substr(7));
    else if (_strWord == "i" || _strWord == "iT")
        _vidProps.eInterlace = eZI_TopFirst;
    else if (_strWord == "iB")
        _vidProps.eInterlace = eZI_BottomFirst;
    else if (_strWord == "p")
        _vidProps.eInterlace = eZI_Progressive;
    else if (_strWord.find('@') != std::string::npos ||
             (_strWord.find('x') != std::string::npos && std::isdigit(static_cast<unsigned char>(_strWord[0]))))
    {
        if (!ReadSizeAndRate(_strWord, _vidProps))
            FailAt(_strWord);
    }
    else
    {
        _vidProps.fccType = FCC_Parse(_strWord);
        if (!_vidProps.fccType)
            FailAt(_strWord);
    }
}

std::string RecordText(const ZF_VID_PROPS& _vidProps)
{
    return ZFormat("eVideoFormat=%d fccType=0x%08X nWidth=%d nHeight=%d nRowBytes=%d eInterlace=%d nAspectX=%d "
                   "nAspectY=%d dblRate=%.6f nAspectMode=%d nGPUFlags=0x%X",
                   _vidProps.eVideoFormat, _vidProps.fccType, _vidProps.nWidth, _vidProps.nHeight, _vidProps.nRowBytes,
                   _vidProps.eInterlace, _vidProps.nAspectX, _vidProps.nAspectY, _vidProps.dblRate,
                   _vidProps.nAspectMode, _vidProps.nGPUFlags);
}

} // namespace

std::string Describe_Text(const std::string& _strProps)
{
    ZF_VID_PROPS vidProps = {};
    std::istringstream stream(_strProps);
    if (_strProps.find_first_not_of(" \t\r\n") == std::string::npos)
        FailAt(_strProps);
    for (std::string strWord; stream >> strWord;)
        ReadWord(strWord, vidProps);
    if (!vidProps.eVideoFormat && (!vidProps.nWidth || !vidProps.nHeight))
        throw CZUsageError(ZFormat("--props \"%s\": there is no size in it; add WxH or format=NAME", _strProps));
    VidProps_Normalize(&vidProps, false);
    if (vidProps.nWidth < 1 || vidProps.nHeight == 0)
        throw CZUsageError(ZFormat("--props \"%s\": this picture is too small for %s, whose chroma is shared by two "
                                   "pixels or rows; give it an even size",
                                   _strProps, FCC_Name(vidProps.fccType)));
    const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, 0, false);
    const ZF_VID_PROPS vidMask = VidProps_Mask(&vidProps);
    std::string strText =
        ZFormat("row_size\t%d\nimage_size\t%d\n", Img_RowSizeM(&vidProps), VidProps_ImageSize(&vidProps));
    for (int i = 0; i < 4; ++i)
        if (vidPtr.szVideoPlanes[i].cx && vidPtr.szVideoPlanes[i].cy)
            strText += ZFormat("plane_%d\toffset=%d size=%dx%d stride=%d\n", i, vidPtr.lpVideoPlanes[i],
                               vidPtr.szVideoPlanes[i].cx, vidPtr.szVideoPlanes[i].cy, vidPtr.cbVideoRowBytes[i]);
    strText += ZFormat("mask\t%s\n", RecordText(vidMask));
    strText += ZFormat("normalized\t%s\n", RecordText(vidProps));
    return strText + ZFormat("text\t%s\n", VidProps_Text(&vidProps));
}
