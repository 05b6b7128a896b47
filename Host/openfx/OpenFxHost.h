#pragma once

#include "openfx/OpenFx.h"

#include <array>
#include <string>

/// The host's functions, with what the effect asks of them most.

/// Null before OfxActionLoad; pMessages also where the host has none.
struct OPENFX_HOST
{
    const OFX_PROPERTY_SUITE* pProps;
    const OFX_EFFECT_SUITE* pEffects;
    const OFX_PARAM_SUITE* pParams;
    const OFX_MESSAGE_SUITE* pMessages;
};

/// The one of this file. Written while the effect is loaded, before there are instances.
OPENFX_HOST& OpenFxHost();

/// Puts a line into the log of the host, or on standard error where it takes none.
void OpenFx_Say(OFX_EFFECT _hEffect, const std::string& _strLine);

/// Properties; where the host has none of that name, the number or text that is given.
int OpenFx_Int(OFX_PROPS _hProps, const char* _pszName, int _nIndex, int _nElse);
double OpenFx_Double(OFX_PROPS _hProps, const char* _pszName, int _nIndex, double _dblElse);
std::string OpenFx_Text(OFX_PROPS _hProps, const char* _pszName);

/// How the samples of a picture are stored.
enum class EOpenFxDepth
{
    eByte,
    eShort,
    eFloat
};

/// A picture of a clip at a time, R, G, B, A, held until the end of the object.
class COpenFxImage
{
public:
    /// Throws std::runtime_error where there is no picture, or one of a kind that was not asked for.
    COpenFxImage(OFX_EFFECT _hEffect, const char* _pszClip, double _dblTime);
    ~COpenFxImage();
    COpenFxImage(const COpenFxImage&) = delete;
    COpenFxImage& operator=(const COpenFxImage&) = delete;

    int Width() const
    {
        return m_arrBounds[2] - m_arrBounds[0];
    }
    int Height() const
    {
        return m_arrBounds[3] - m_arrBounds[1];
    }
    /// x1, y1, x2, y2 in pixels; y grows upwards, the second corner is not included.
    const std::array<int, 4>& Bounds() const
    {
        return m_arrBounds;
    }
    EOpenFxDepth Depth() const
    {
        return m_eDepth;
    }
    /// Its colours were multiplied by alpha.
    bool IsPremultiplied() const
    {
        return m_bPremultiplied;
    }
    /// The first sample of the pixel at x, y, both within the bounds.
    template <class T> T* At(int _nX, int _nY) const
    {
        auto* const pRow = m_pData + static_cast<std::ptrdiff_t>(_nY - m_arrBounds[1]) * m_nRowBytes;
        return reinterpret_cast<T*>(pRow) + static_cast<std::ptrdiff_t>(_nX - m_arrBounds[0]) * 4;
    }

private:
    void Read(const char* _pszClip);
    /// Whether the bounds are those of a picture, whose rows lie clear of each other, their samples at whole places.
    bool HasRows() const;

    OFX_PROPS m_hImage = nullptr;
    unsigned char* m_pData = nullptr;
    int m_nRowBytes = 0;
    std::array<int, 4> m_arrBounds = {};
    EOpenFxDepth m_eDepth = EOpenFxDepth::eByte;
    bool m_bPremultiplied = false;
};
