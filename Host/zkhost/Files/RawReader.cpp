#include "zkhost/Files/RawReader.h"

#include "Kit/HostError.h"
#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZText.h"
#include "Image/ImgRowReader.h"

#include <charconv>
#include <cmath>
#include <string_view>

namespace
{

template <class T> bool ReadNumber(std::string_view _svText, T& _value)
{
    const auto res = std::from_chars(_svText.data(), _svText.data() + _svText.size(), _value);
    return res.ec == std::errc() && res.ptr == _svText.data() + _svText.size();
}

/// Cuts the text at the first of a character; the rest is null where there is none.
std::string_view TakeUntil(std::string_view& _svRest, char _ch)
{
    const size_t nEnd = _svRest.find(_ch);
    const std::string_view svTaken = _svRest.substr(0, nEnd);
    _svRest = nEnd == std::string_view::npos ? std::string_view() : _svRest.substr(nEnd + 1);
    return svTaken;
}

/// Takes the field order off the end of a text.
int32_t TakeInterlace(std::string_view& _svText)
{
    constexpr std::pair<std::string_view, int32_t> c_arrLetters[] = {
        {"iT", eZI_TopFirst}, {"iB", eZI_BottomFirst}, {"i", eZI_TopFirst}, {"p", eZI_Progressive}};
    for (const auto& [svLetters, eInterlace] : c_arrLetters)
        if (_svText.ends_with(svLetters))
        {
            _svText.remove_suffix(svLetters.size());
            return eInterlace;
        }
    return eZI_Progressive;
}

[[noreturn]] void FailSpec(const std::string& _strSpec, const std::string& _strReason)
{
    throw CZUsageError(
        ZFormat("--in %s: %s; write FCC:WxH[@RATE][i|iT|iB][:STRIDE], as UYVY:1920x1080@25i", _strSpec, _strReason));
}

/// Why a record cannot have this size; empty when it can. Normalising it has changed the size.
std::string SizeFault(const ZF_VID_PROPS& _vidAsked, const ZF_VID_PROPS& _vidProps)
{
    const std::string strName = FCC_Name(_vidAsked.fccType);
    if (std::abs(_vidProps.nHeight) != std::abs(_vidAsked.nHeight))
        return ZFormat("%s%s needs an even height", strName, VidProps_FieldOrder(&_vidAsked) ? " in fields" : "");
    if (_vidProps.nWidth != _vidAsked.nWidth)
        return ZFormat("%s needs an even width", strName);
    return {};
}

/// Takes the sign of height and stride for where the rows begin: they lie top-down whatever the height's sign, and
/// bottom-up where the stride is negative.
void TurnRows(ZF_VID_PROPS& _vidProps, const std::string& _strSpec)
{
    const bool bTurns = FCC_IsRGB(_vidProps.fccType) && _vidProps.fccType != eZFCC_r210;
    if (_vidProps.nHeight < 0 && !FCC_IsRGB(_vidProps.fccType))
        FailSpec(_strSpec, "only RGB may have a negative height");
    if (_vidProps.nRowBytes < 0 && !bTurns)
        FailSpec(_strSpec, ZFormat("a negative stride means rows bottom-up, and %s has them top-down",
                                   FCC_Name(_vidProps.fccType)));
    const bool bTopDown = FCC_IsRGB(_vidProps.fccType) && _vidProps.nRowBytes >= 0;
    _vidProps.nHeight = (bTopDown ? -1 : 1) * std::abs(_vidProps.nHeight);
    _vidProps.nRowBytes = std::abs(_vidProps.nRowBytes);
}

/// The record that a frame of it will have: normalised, and still of the size asked for.
void CheckRecord(STREAM& _stream, const std::string& _strSpec)
{
    ZF_VID_PROPS& vidProps = _stream.vidProps;
    const std::string strFault = Picture_SizeFault(vidProps.nWidth, std::abs(int64_t{vidProps.nHeight}));
    if (!strFault.empty())
        FailSpec(_strSpec, strFault);
    if (std::abs(int64_t{vidProps.nRowBytes}) > INT32_MAX)
        FailSpec(_strSpec, "the stride is too long");
    TurnRows(vidProps, _strSpec);
    if (vidProps.nRowBytes && vidProps.nRowBytes < Img_RowSizeM(&vidProps))
        FailSpec(_strSpec, ZFormat("a row has %d bytes, the stride must not be shorter", Img_RowSizeM(&vidProps)));
    const ZF_VID_PROPS vidAsked = vidProps;
    VidProps_Normalize(&vidProps, false);
    const std::string strOdd = SizeFault(vidAsked, vidProps);
    if (!strOdd.empty())
        FailSpec(_strSpec, strOdd);
    if (VidProps_ImageSize(&vidProps) > int64_t{4} * c_nMaxPixels)
        FailSpec(_strSpec, "the stride is too long");
}

/// Why there are no frames of a pixel format.
std::string FormatFault(const std::string& _strName)
{
    for (const PIXEL_FORMAT& info : FCC_All())
        if (ZText_IsSame(_strName, info.pszName) && !info.bRowSize)
            return ZFormat("%s has no row size, so its frames are neither read nor written", info.pszName);
    return ZFormat("\"%s\" is no pixel format of such frames; zkhost formats lists them, and there is I444", _strName);
}

/// How frames of full chroma lie in a file.
Y4M_HEADER FullChromaHeader(const ZF_VID_PROPS& _vidProps)
{
    Y4M_HEADER header;
    header.nWidth = _vidProps.nWidth;
    header.nHeight = std::abs(_vidProps.nHeight);
    header.pLayout = Y4m_Layout("444");
    return header;
}

/// The bytes of a frame in a file.
int64_t FrameBytes(const ZF_VID_PROPS& _vidProps, uint32_t _fccFile)
{
    return _fccFile == c_fccI444 ? int64_t{3} * _vidProps.nWidth * std::abs(_vidProps.nHeight)
                                 : VidProps_ImageSize(&_vidProps);
}

/// The formats of which a file of this size would hold whole frames.
std::string FittingFormats(const ZF_VID_PROPS& _vidProps, int64_t _cbFile)
{
    std::string strNames;
    const auto fnAdd = [&](const char* _pszName, int64_t _cbFrame) {
        if (_cbFrame > 0 && _cbFile % _cbFrame == 0)
            strNames += ZFormat("%s%s", strNames.empty() ? "" : ", ", _pszName);
    };
    for (const PIXEL_FORMAT& info : FCC_All())
    {
        ZF_VID_PROPS vidProps =
            Stream_Props(info.fccType, _vidProps.nWidth, std::abs(_vidProps.nHeight), _vidProps.eInterlace);
        const ZF_VID_PROPS vidAsked = vidProps;
        VidProps_Normalize(&vidProps, false);
        if (info.bRowSize && SizeFault(vidAsked, vidProps).empty())
            fnAdd(info.pszName, FrameBytes(vidProps, info.fccType));
    }
    fnAdd("I444", FrameBytes(_vidProps, c_fccI444));
    return strNames;
}

} // namespace

bool Raw_ParseSize(const std::string& _strText, int& _nWidth, int& _nHeight)
{
    std::string_view svRest = _strText;
    const std::string_view svWidth = TakeUntil(svRest, 'x');
    return ReadNumber(svWidth, _nWidth) && ReadNumber(svRest, _nHeight);
}

void Raw_ReadSizeOption(const std::string& _strText, int& _nWidth, int& _nHeight)
{
    if (!Raw_ParseSize(_strText, _nWidth, _nHeight))
        throw CZUsageError(ZFormat("--size %s: write it as 1280x720", _strText));
    const std::string strFault = Picture_SizeFault(_nWidth, _nHeight);
    if (!strFault.empty())
        throw CZUsageError(ZFormat("--size %s: %s", _strText, strFault));
}

RAW_SPEC Raw_ParseSpec(const std::string& _strSpec)
{
    std::string_view svRest = _strSpec;
    const std::string strFormat(TakeUntil(svRest, ':'));
    RAW_SPEC spec;
    spec.fccFile = Raw_ParseFormat(strFormat);
    if (!spec.fccFile)
        FailSpec(_strSpec, FormatFault(strFormat));
    std::string_view svSize = TakeUntil(svRest, ':');
    const bool bStride = svRest.data() != nullptr; // there was a second colon
    const std::string_view svStride = svRest;
    const int32_t eInterlace = TakeInterlace(svSize);
    std::string_view svRate = svSize;
    const std::string strSize(TakeUntil(svRate, '@'));
    int nWidth = 0, nHeight = 0;
    if (!Raw_ParseSize(strSize, nWidth, nHeight))
        FailSpec(_strSpec, ZFormat("\"%s\" is no size", strSize));
    const bool bFullChroma = spec.fccFile == c_fccI444;
    STREAM& stream = spec.stream;
    stream.vidProps = Stream_Props(bFullChroma ? uint32_t{eZFCC_RGB32} : spec.fccFile, nWidth, nHeight, eInterlace);
    double dblRate = 0;
    if (svSize.find('@') != std::string_view::npos &&
        (!ReadNumber(svRate, dblRate) || !(dblRate > 0 && dblRate < 10000)))
        FailSpec(_strSpec, ZFormat("\"%s\" is no rate", svRate));
    if (dblRate > 0)
        Stream_SetRate(stream, dblRate);
    if (bStride && (bFullChroma || !ReadNumber(svStride, stream.vidProps.nRowBytes)))
        FailSpec(_strSpec, ZFormat("\"%s\" is no stride%s", svStride, bFullChroma ? " that I444 may have" : ""));
    CheckRecord(stream, _strSpec);
    return spec;
}

uint32_t Raw_ParseFormat(const std::string& _strName)
{
    if (ZText_IsSame(_strName, "I444"))
        return c_fccI444;
    const uint32_t fccType = FCC_Parse(_strName);
    return Img_IsReadable(fccType) ? fccType : 0;
}

uint32_t Raw_ReadFormatOption(const std::string& _strName)
{
    const uint32_t fccType = Raw_ParseFormat(_strName);
    if (!fccType)
        throw CZUsageError(ZFormat("--format %s: %s", _strName, FormatFault(_strName)));
    return fccType;
}

CZRawReader::CZRawReader(const std::string& _strPath, const std::string& _strSpec)
    : CZRawReader(_strPath, Raw_ParseSpec(_strSpec)) // a wrong description is told before the file is opened
{
}

CZRawReader::CZRawReader(const std::string& _strPath, const RAW_SPEC& _spec)
    : m_file(_strPath)
    , m_fccFile(_spec.fccFile)
{
    m_stream = _spec.stream;
    m_cbFrame = static_cast<size_t>(FrameBytes(m_stream.vidProps, m_fccFile));
    if (m_file.Size() < 0)
        return;
    m_stream.nFrames = m_file.Size() / static_cast<int64_t>(m_cbFrame);
    WarnOfSize();
}

/// Says so where another format fits the file better. A description with a stride of its own is taken as it is.
void CZRawReader::WarnOfSize() const
{
    const ZF_VID_PROPS& vidProps = m_stream.vidProps;
    const int64_t cbFile = m_file.Size();
    if (m_fccFile == eZFCC_Y444 && cbFile > 0 && cbFile % FrameBytes(vidProps, c_fccI444) == 0)
        return ZLog(eZLog_Warning,
                    "%s: the chroma planes of Y444 are half as wide as the picture here; where they are as wide, which "
                    "the size of this file allows, say I444 in --in\n",
                    m_file.Name());
    if (cbFile % static_cast<int64_t>(m_cbFrame) == 0 || vidProps.nRowBytes != Img_RowSizeM(&vidProps))
        return;
    const std::string strNames = FittingFormats(vidProps, cbFile);
    ZLog(eZLog_Warning, "%s: its %d bytes are no whole number of frames of %d; %s\n", m_file.Name(), cbFile, m_cbFrame,
         strNames.empty() ? std::string("no other format fits either, so look at the size in --in")
                          : ZFormat("its size fits %s", strNames));
}

CZPtr<IZFFrame> CZRawReader::Next()
{
    CZPtr<IZFFrame> cpFrame = NewFrame();
    const ZF_VID_PTR vidPtr = WritePtr(cpFrame.Get());
    const bool bFullChroma = m_fccFile == c_fccI444;
    m_vecPlanes.resize(bFullChroma ? m_cbFrame : 0);
    const size_t cbRead = m_file.Read(bFullChroma ? m_vecPlanes.data() : Img_RowOf(vidPtr, 0, 0), m_cbFrame);
    if (cbRead == 0)
        return {};
    ++m_nFrame;
    if (cbRead < m_cbFrame)
        throw CZHostError(ZFormat("%s: frame %d is cut off: %d of its %d bytes are there; check --in, or the copy is "
                                  "incomplete",
                                  m_file.Name(), m_nFrame, cbRead, m_cbFrame));
    if (bFullChroma)
        FullChroma_ToRows(FullChromaHeader(m_stream.vidProps), m_vecPlanes.data(), vidPtr);
    return cpFrame;
}
