#pragma once

#include "Image/ImgColor.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Support/TestProps.h"
#include "Video/ZFrame.h"
#include "Video/ZFrameWriter.h"

#include <cstdlib>
#include <vector>

/// The picture of test frames: green in the left half below the top quarter, red elsewhere. So it has neither a
/// vertical nor a horizontal symmetry, and every format shows it. Bytes B, G, R, A.
inline constexpr uint8_t c_arrTestGreen[4] = {0, 180, 0, 255};
inline constexpr uint8_t c_arrTestRed[4] = {60, 60, 200, 255};

inline bool TestFrame_IsGreen(int _nX, int _nY, int _nWidth, int _nHeight)
{
    return _nX < _nWidth / 2 && _nY >= _nHeight / 4;
}

/// A frame with a picture of B, G, R, A bytes, from its top; a positive _nHeight stores RGB bottom-up. Null when it
/// cannot be made.
inline CZPtr<CZFrame> TestFrame_Of(const std::vector<uint8_t>& _vecBGRA, uint32_t _fccType, int _nWidth, int _nHeight,
                                   CZFramePool* _pPoolOrNull = nullptr, int32_t _eInterlace = eZI_NotSet)
{
    ZF_VID_PROPS vidProps = Record(_fccType, _nWidth, _nHeight, 0, _eInterlace, 25);
    CZPtr<CZFrame> cpFrame;
    ZF_VID_PTR vidPtr = {};
    if (FAILED(ZFrame_Create(vidProps, cpFrame.Put(), _pPoolOrNull)) || FAILED(cpFrame->VideoPropsGet(&vidProps)) ||
        FAILED(cpFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr)) ||
        FAILED(ZFrameWriter_Write(vidProps, vidPtr, _vecBGRA.data(), ptrdiff_t{4} * _nWidth)))
        return {};
    return cpFrame;
}

/// A frame with the test picture.
inline CZPtr<CZFrame> TestFrame_Make(uint32_t _fccType, int _nWidth, int _nHeight, CZFramePool* _pPoolOrNull = nullptr)
{
    const int nRows = std::abs(_nHeight);
    std::vector<uint8_t> vecBGRA;
    vecBGRA.reserve(size_t{4} * _nWidth * nRows);
    for (int nY = 0; nY < nRows; ++nY)
        for (int nX = 0; nX < _nWidth; ++nX)
        {
            const auto& arrPixel = TestFrame_IsGreen(nX, nY, _nWidth, nRows) ? c_arrTestGreen : c_arrTestRed;
            vecBGRA.insert(vecBGRA.end(), arrPixel, arrPixel + 4);
        }
    return TestFrame_Of(vecBGRA, _fccType, _nWidth, _nHeight, _pPoolOrNull);
}

/// A frame that the second generation finds a backdrop in: a red body in the lower right quarter, green before it.
inline CZPtr<CZFrame> TestFrame_Body(uint32_t _fccType, int _nWidth, int _nHeight)
{
    std::vector<uint8_t> vecBGRA;
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            const auto& arrPixel = x >= _nWidth / 2 && y >= _nHeight / 2 ? c_arrTestRed : c_arrTestGreen;
            vecBGRA.insert(vecBGRA.end(), arrPixel, arrPixel + 4);
        }
    return TestFrame_Of(vecBGRA, _fccType, _nWidth, -_nHeight);
}

/// A key of a type that takes the green of the test picture and not the red. _eMatrix: what YUV is measured with.
inline CHROMA_KEY_RAW TestKey(int32_t _eType, eZYMatrix _eMatrix = eZYM_601)
{
    uint8_t arrWord[4] = {c_arrTestGreen[2], c_arrTestGreen[1], c_arrTestGreen[0], 255};
    if (_eType == eCKT_HLS)
        Img_RowToHLS(c_arrTestGreen, arrWord, 1);
    if (_eType == eCKT_YUV)
        Img_RowToYUV(c_arrTestGreen, arrWord, 1, _eMatrix);
    CHROMA_KEY_RAW key = {};
    key.eType = _eType;
    key.nKeysUsed = 1;
    key.arrKeys[0].nValue = arrWord[0] | uint32_t{arrWord[1]} << 8 | uint32_t{arrWord[2]} << 16 | 0xFF000000u;
    key.arrKeys[0].nDelta = 0xFF1E1E1Eu;
    key.nMaxTransparent = 255;
    return key;
}
