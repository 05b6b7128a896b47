#pragma once

#include "zkhost/Files/Stream.h"

#include <string>

/// How the samples of a Y4M stream are laid out.
struct Y4M_LAYOUT
{
    const char* pszName; ///< as the header names it, after the "C"
    int nPlanes;         ///< 1: luma; 3: Y, U, V; 4: and alpha
    int nShiftX;         ///< chroma is this many times halved across
    int nShiftY;         ///< and down
};

/// The first line of a Y4M stream.
struct Y4M_HEADER
{
    int nWidth = 0;
    int nHeight = 0;
    int64_t nRateNum = 0;
    int64_t nRateDen = 0;
    int64_t nPixelX = 0;
    int64_t nPixelY = 0;
    char chInterlace = '?'; ///< p, t, b, m (mixed) or ? (not known)
    bool bFullRange = false;
    const Y4M_LAYOUT* pLayout = nullptr;

    size_t PlaneWidth(int _nPlane) const;
    size_t PlaneHeight(int _nPlane) const;
    size_t FrameBytes() const;
};

/// Reads the line, without its end. Throws CZHostError, naming _strWhere, on anything that is not understood.
Y4M_HEADER Y4m_ParseHeader(const std::string& _strLine, const std::string& _strWhere);

/// The layout of a name after the "C"; null when there is none.
const Y4M_LAYOUT* Y4m_Layout(const std::string& _strName);

/// The first line, with its end, of a stream of this size and layout.
std::string Y4m_HeaderText(const STREAM& _stream, int _nWidth, int _nHeight, const char* _pszLayout);
