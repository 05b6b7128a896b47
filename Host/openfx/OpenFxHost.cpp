#include "openfx/OpenFxHost.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace
{
OPENFX_HOST g_host;
} // namespace

OPENFX_HOST& OpenFxHost()
{
    return g_host;
}

void OpenFx_Say(OFX_EFFECT _hEffect, const std::string& _strLine)
{
    const OFX_MESSAGE_SUITE* const pMessages = OpenFxHost().pMessages;
    if (!pMessages || pMessages->pfnMessage(_hEffect, "OfxMessageLog", "", "%s", _strLine.c_str()) != c_nOfxOk)
        std::fprintf(stderr, "zchromakey: %s\n", _strLine.c_str());
}

int OpenFx_Int(OFX_PROPS _hProps, const char* _pszName, int _nIndex, int _nElse)
{
    int nValue = 0;
    return OpenFxHost().pProps->pfnGetInt(_hProps, _pszName, _nIndex, &nValue) == c_nOfxOk ? nValue : _nElse;
}

double OpenFx_Double(OFX_PROPS _hProps, const char* _pszName, int _nIndex, double _dblElse)
{
    double dblValue = 0;
    return OpenFxHost().pProps->pfnGetDouble(_hProps, _pszName, _nIndex, &dblValue) == c_nOfxOk ? dblValue : _dblElse;
}

std::string OpenFx_Text(OFX_PROPS _hProps, const char* _pszName)
{
    char* pszValue = nullptr;
    const OFX_STATUS nStatus = OpenFxHost().pProps->pfnGetString(_hProps, _pszName, 0, &pszValue);
    return nStatus == c_nOfxOk && pszValue ? pszValue : "";
}

COpenFxImage::COpenFxImage(OFX_EFFECT _hEffect, const char* _pszClip, double _dblTime)
{
    OFX_CLIP hClip = nullptr;
    const OFX_EFFECT_SUITE& effects = *OpenFxHost().pEffects;
    if (effects.pfnClipGetHandle(_hEffect, _pszClip, &hClip, nullptr) != c_nOfxOk ||
        effects.pfnClipGetImage(hClip, _dblTime, nullptr, &m_hImage) != c_nOfxOk || !m_hImage)
        throw std::runtime_error(std::string("the host has no picture of the clip ") + _pszClip);
    try
    {
        Read(_pszClip);
    }
    catch (...)
    {
        effects.pfnClipReleaseImage(m_hImage);
        throw;
    }
}

COpenFxImage::~COpenFxImage()
{
    OpenFxHost().pEffects->pfnClipReleaseImage(m_hImage);
}

void COpenFxImage::Read(const char* _pszClip)
{
    const std::string strDepth = OpenFx_Text(m_hImage, "OfxImageEffectPropPixelDepth");
    m_eDepth = strDepth == "OfxBitDepthFloat"   ? EOpenFxDepth::eFloat
               : strDepth == "OfxBitDepthShort" ? EOpenFxDepth::eShort
                                                : EOpenFxDepth::eByte;
    m_bPremultiplied = OpenFx_Text(m_hImage, "OfxImageEffectPropPreMultiplication") == "OfxImageAlphaPremultiplied";
    m_nRowBytes = OpenFx_Int(m_hImage, "OfxImagePropRowBytes", 0, 0);
    for (int n = 0; n < 4; ++n)
        m_arrBounds[static_cast<size_t>(n)] = OpenFx_Int(m_hImage, "OfxImagePropBounds", n, 0);
    void* pData = nullptr;
    OpenFxHost().pProps->pfnGetPointer(m_hImage, "OfxImagePropData", 0, &pData);
    m_pData = static_cast<unsigned char*>(pData);
    const bool bKnown = strDepth == "OfxBitDepthByte" || m_eDepth != EOpenFxDepth::eByte;
    const bool bRgba = OpenFx_Text(m_hImage, "OfxImageEffectPropComponents") == "OfxImageComponentRGBA";
    if (!m_pData || !bKnown || !bRgba || !HasRows())
        throw std::runtime_error(std::string("the picture of the clip ") + _pszClip +
                                 " is not RGBA of 8 or 16 bits or float, in rows that hold its bounds");
}

bool COpenFxImage::HasRows() const
{
    constexpr int64_t c_nMost = int64_t{1} << 26; // pixels a side, as the keyer takes them
    const int64_t nWidth = int64_t{m_arrBounds[2]} - m_arrBounds[0];
    const int64_t nHeight = int64_t{m_arrBounds[3]} - m_arrBounds[1];
    const int64_t cbSample = m_eDepth == EOpenFxDepth::eByte ? 1 : m_eDepth == EOpenFxDepth::eShort ? 2 : 4;
    const bool bWhole = (reinterpret_cast<intptr_t>(m_pData) | m_nRowBytes) % cbSample == 0;
    return bWhole && nWidth > 0 && nHeight > 0 && nWidth <= c_nMost && nHeight <= c_nMost &&
           std::abs(int64_t{m_nRowBytes}) >= nWidth * 4 * cbSample;
}
