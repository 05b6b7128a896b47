#include "zkhost/Files/Y4mHeader.h"

#include "Kit/HostError.h"
#include "zkhost/Files/Picture.h"

#include "Base/ZLog.h"

#include <charconv>
#include <string_view>

namespace
{

constexpr Y4M_LAYOUT c_arrLayouts[] = {
    {"420", 3, 1, 1}, {"420jpeg", 3, 1, 1}, {"420mpeg2", 3, 1, 1}, {"420paldv", 3, 1, 1}, {"411", 3, 2, 0},
    {"422", 3, 1, 0}, {"444", 3, 0, 0},     {"444alpha", 4, 0, 0}, {"mono", 1, 0, 0},
};

constexpr std::string_view c_svMagic = "YUV4MPEG2";

bool ReadNumber(std::string_view _svText, int64_t _nMax, int64_t& _nValue)
{
    const auto res = std::from_chars(_svText.data(), _svText.data() + _svText.size(), _nValue);
    return res.ec == std::errc() && res.ptr == _svText.data() + _svText.size() && _nValue >= 0 && _nValue <= _nMax;
}

bool ReadRatio(std::string_view _svText, int64_t& _nNum, int64_t& _nDen)
{
    const size_t nColon = _svText.find(':');
    return nColon != std::string_view::npos && ReadNumber(_svText.substr(0, nColon), INT32_MAX, _nNum) &&
           ReadNumber(_svText.substr(nColon + 1), INT32_MAX, _nDen);
}

bool ReadSide(std::string_view _svText, int& _nSide)
{
    int64_t nValue = 0;
    if (!ReadNumber(_svText, INT32_MAX, nValue))
        return false;
    _nSide = static_cast<int>(nValue);
    return true;
}

const Y4M_LAYOUT* ReadLayout(std::string_view _svName, const std::string& _strWhere)
{
    if (const Y4M_LAYOUT* pLayout = Y4m_Layout(std::string(_svName)))
        return pLayout;
    const bool bDeep = _svName.starts_with("mono") || _svName.find_first_of("pP") == 3;
    if (bDeep)
        throw CZHostError(ZFormat(
            "%s: C%s has more than 8 bits a sample; convert it to 8 bits first (ffmpeg: -pix_fmt yuv422p before "
            "-f)",
            _strWhere, _svName));
    throw CZHostError(ZFormat("%s: the colour space C%s is not known; 420, 422, 444, 411, 444alpha and mono are",
                              _strWhere, _svName));
}

bool ReadTag(std::string_view _svTag, Y4M_HEADER& _header, const std::string& _strWhere)
{
    const std::string_view svValue = _svTag.substr(1);
    switch (_svTag.front())
    {
    case 'W':
        return ReadSide(svValue, _header.nWidth);
    case 'H':
        return ReadSide(svValue, _header.nHeight);
    case 'F':
        return ReadRatio(svValue, _header.nRateNum, _header.nRateDen);
    case 'A':
        return ReadRatio(svValue, _header.nPixelX, _header.nPixelY);
    case 'I':
        _header.chInterlace = svValue.size() == 1 ? svValue.front() : 0;
        return std::string_view("ptbm?").find(_header.chInterlace) != std::string_view::npos;
    case 'C':
        _header.pLayout = ReadLayout(svValue, _strWhere);
        return true;
    case 'X':
        _header.bFullRange = _header.bFullRange || svValue == "COLORRANGE=FULL";
        return true; // other extensions do not change how samples are read
    default:
        return false;
    }
}

} // namespace

size_t Y4M_HEADER::PlaneWidth(int _nPlane) const
{
    const int nShift = _nPlane == 1 || _nPlane == 2 ? pLayout->nShiftX : 0;
    return static_cast<size_t>((nWidth + (1 << nShift) - 1) >> nShift);
}

size_t Y4M_HEADER::PlaneHeight(int _nPlane) const
{
    const int nShift = _nPlane == 1 || _nPlane == 2 ? pLayout->nShiftY : 0;
    return static_cast<size_t>((nHeight + (1 << nShift) - 1) >> nShift);
}

size_t Y4M_HEADER::FrameBytes() const
{
    size_t cbFrame = 0;
    for (int i = 0; i < pLayout->nPlanes; ++i)
        cbFrame += PlaneWidth(i) * PlaneHeight(i);
    return cbFrame;
}

const Y4M_LAYOUT* Y4m_Layout(const std::string& _strName)
{
    for (const Y4M_LAYOUT& layout : c_arrLayouts)
        if (_strName == layout.pszName)
            return &layout;
    return nullptr;
}

Y4M_HEADER Y4m_ParseHeader(const std::string& _strLine, const std::string& _strWhere)
{
    std::string_view svRest = _strLine;
    if (!svRest.starts_with(c_svMagic) || (svRest.size() > c_svMagic.size() && svRest[c_svMagic.size()] != ' '))
        throw CZHostError(ZFormat("%s is no Y4M stream: it does not begin with \"%s\"", _strWhere, c_svMagic));
    svRest.remove_prefix(c_svMagic.size());
    Y4M_HEADER header;
    header.pLayout = &c_arrLayouts[0];
    std::string strSeen;
    while (!svRest.empty())
    {
        svRest.remove_prefix(1);
        const std::string_view svTag = svRest.substr(0, svRest.find(' '));
        svRest.remove_prefix(svTag.size());
        const bool bTwice = !svTag.empty() && svTag.front() != 'X' && strSeen.find(svTag.front()) != std::string::npos;
        if (svTag.empty() || bTwice || !ReadTag(svTag, header, _strWhere))
            throw CZHostError(ZFormat("%s: the stream header is wrong at \"%s\"", _strWhere, svTag));
        strSeen += svTag.front();
    }
    Picture_CheckSize(header.nWidth, header.nHeight, _strWhere);
    return header;
}

std::string Y4m_HeaderText(const STREAM& _stream, int _nWidth, int _nHeight, const char* _pszLayout)
{
    const int32_t eInterlace = _stream.vidProps.eInterlace;
    const char chInterlace = eInterlace == eZI_TopFirst ? 't' : eInterlace == eZI_BottomFirst ? 'b' : 'p';
    const bool bRate = _stream.nRateNum > 0 && _stream.nRateDen > 0;
    return ZFormat("%s W%d H%d F%d:%d I%c A%d:%d C%s XCOLORRANGE=LIMITED\n", c_svMagic, _nWidth, _nHeight,
                   bRate ? _stream.nRateNum : int64_t{25}, bRate ? _stream.nRateDen : int64_t{1}, chInterlace,
                   _stream.nPixelX, _stream.nPixelY, _pszLayout);
}
