#pragma once

/// What the shaders compute, in double precision from their formulas: what rendered pixels are compared with.
///
/// Pictures are memory as a host sees it, one number of 0 to 1 for each byte; rendered bytes are 255 times that,
/// rounded.

#include "DirectX/Shaders/ConvertShader.h"
#include "DirectX/Shaders/DXVShader.h"
#include "DirectX/Shaders/KeyConstants.h"
#include "DirectX/Shaders/KeyShader.h"
#include "DirectX/Shaders/SmoothShader.h"

#include <cstdint>
#include <vector>

namespace ShaderTwin
{

struct PICTURE
{
    uint32_t fccType = 0;
    int nWidth = 0;
    int nHeight = 0;
    int nStride = 0; ///< of the first plane, in bytes
    std::vector<double> arrBytes;

    double& Byte(int _nRow, int _nColumn)
    {
        return arrBytes[static_cast<size_t>(_nRow) * nStride + _nColumn];
    }
    double Byte(int _nRow, int _nColumn) const
    {
        return arrBytes[static_cast<size_t>(_nRow) * nStride + _nColumn];
    }
};

/// A picture of zeros with all its planes. _nStride 0: without padding.
PICTURE Make(uint32_t _fccType, int _nWidth, int _nHeight, int _nStride = 0);

/// A keying pass. The result is ARGB32, RGB8 (rows of whole texels) or the input's format. From packed input it has the
/// even width.
PICTURE Key(const KEY_SHADER& _shader, const CK_SETTINGS& _settings, const PICTURE& _picture);

/// A smoothing pass over an ARGB32 picture.
PICTURE Smooth(const PICTURE& _picture, bool _bInterlaced, const SMOOTH_SHADER& _shader);

/// A conversion pass; also what UYVY into planar gives, with that pass's stride.
PICTURE Convert(const CONVERT_SHADER& _shader, const PICTURE& _picture, int _nWidth, int _nHeight, int _nStride = 0);

/// RGB into UYVY bytes. _pBottom: null, or the odd rows.
PICTURE DXV(const DXV_SHADER& _shader, const PS_CONVERT& _convert, const PICTURE& _top, const PICTURE* _pBottom);

} // namespace ShaderTwin
