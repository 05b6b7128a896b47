#include "zkhost/Files/RawReader.h"

#include "Kit/HostError.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
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

/// The record that a frame of it will have: normalised, and still of the size asked for.
void CheckRecord(STREAM& _stream, const std::string& _strSpec)
{
    ZF_VID_PROPS& vidProps = _stream.vidProps;
    const std::string strFault = Picture_SizeFault(vidProps.nWidth, std::abs(int64_t{vidProps.nHeight}));
    if (!strFault.empty())
        FailSpec(_strSpec, strFault);
    if (Img_RowSizeM(&vidProps) < 1 || !Img_IsReadable(vidProps.fccType))
        FailSpec(_strSpec, "frames of this pixel format cannot be read (zkhost formats lists those that can)");
    if (vidProps.nRowBytes && vidProps.nRowBytes < Img_RowSizeM(&vidProps))
        FailSpec(_strSpec, ZFormat("a row has %d bytes, the stride must not be shorter", Img_RowSizeM(&vidProps)));
    const ZF_VID_PROPS vidAsked = vidProps;
    VidProps_Normalize(&vidProps, false);
    if (vidProps.nWidth != vidAsked.nWidth || vidProps.nHeight != vidAsked.nHeight)
        FailSpec(_strSpec, "this pixel format and field order need an even width or height, and only RGB may be "
                           "top-down with a negative height");
    if (VidProps_ImageSize(&vidProps) > int64_t{4} * c_nMaxPixels)
        FailSpec(_strSpec, "the stride is too long");
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

STREAM Raw_ParseSpec(const std::string& _strSpec)
{
    std::string_view svRest = _strSpec;
    const uint32_t fccType = Raw_ParseFormat(std::string(TakeUntil(svRest, ':')));
    if (!fccType)
        FailSpec(_strSpec, "it begins with no pixel format");
    std::string_view svSize = TakeUntil(svRest, ':');
    const bool bStride = svRest.data() != nullptr; // there was a second colon
    const std::string_view svStride = svRest;
    const int32_t eInterlace = TakeInterlace(svSize);
    std::string_view svRate = svSize;
    const std::string strSize(TakeUntil(svRate, '@'));
    int nWidth = 0, nHeight = 0;
    if (!Raw_ParseSize(strSize, nWidth, nHeight))
        FailSpec(_strSpec, ZFormat("\"%s\" is no size", strSize));
    STREAM stream;
    stream.vidProps = Stream_Props(fccType, nWidth, nHeight, eInterlace);
    double dblRate = 0;
    if (svSize.find('@') != std::string_view::npos &&
        (!ReadNumber(svRate, dblRate) || !(dblRate > 0 && dblRate < 10000)))
        FailSpec(_strSpec, ZFormat("\"%s\" is no rate", svRate));
    if (dblRate > 0)
        Stream_SetRate(stream, dblRate);
    if (bStride && !ReadNumber(svStride, stream.vidProps.nRowBytes))
        FailSpec(_strSpec, ZFormat("\"%s\" is no stride", svStride));
    CheckRecord(stream, _strSpec);
    return stream;
}

uint32_t Raw_ParseFormat(const std::string& _strName)
{
    const uint32_t fccType = FCC_Parse(_strName);
    return Img_IsReadable(fccType) ? fccType : 0;
}

uint32_t Raw_ReadFormatOption(const std::string& _strName)
{
    const uint32_t fccType = Raw_ParseFormat(_strName);
    if (!fccType)
        throw CZUsageError(ZFormat("--format %s: no frames of such a pixel format can be used; zkhost formats lists "
                                   "those that can, as keyed",
                                   _strName));
    return fccType;
}

CZRawReader::CZRawReader(const std::string& _strPath, const std::string& _strSpec)
    : CZRawReader(_strPath, Raw_ParseSpec(_strSpec)) // a wrong description is told before the file is opened
{
}

CZRawReader::CZRawReader(const std::string& _strPath, const STREAM& _stream)
    : m_file(_strPath)
{
    m_stream = _stream;
    m_cbFrame = static_cast<size_t>(VidProps_ImageSize(&m_stream.vidProps));
    if (m_file.Size() >= 0)
        m_stream.nFrames = m_file.Size() / static_cast<int64_t>(m_cbFrame);
}

CZPtr<IZFFrame> CZRawReader::Next()
{
    CZPtr<IZFFrame> cpFrame = NewFrame();
    const ZF_VID_PTR vidPtr = WritePtr(cpFrame.Get());
    const size_t cbRead = m_file.Read(Img_RowOf(vidPtr, 0, 0), m_cbFrame);
    if (cbRead == 0)
        return {};
    ++m_nFrame;
    if (cbRead < m_cbFrame)
        throw CZHostError(ZFormat("%s: frame %d is cut off: %d of its %d bytes are there; check --in, or the copy is "
                                  "incomplete",
                                  m_file.Name(), m_nFrame, cbRead, m_cbFrame));
    return cpFrame;
}
