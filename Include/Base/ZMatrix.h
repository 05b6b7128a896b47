#pragma once

#include <cstdint>

/// Every matrix between RGB and YUV, once. RGB is full range. YUV is of limited range: of 255, Y takes 16 to 235, U and
/// V 16 to 240 around 128; or of full range: Y takes 0 to 255, U and V half a level to 255.5 around 128, cut at 255.
/// Free of the standard library, so that kernels may include it.

/// The matrix between RGB and YUV, with the range of YUV.
enum eZYMatrix : int32_t
{
    eZYM_601 = 0,  ///< ITU-R BT.601: standard definition
    eZYM_709 = 1,  ///< ITU-R BT.709: high definition
    eZYM_2020 = 2, ///< ITU-R BT.2020, non-constant luminance
    eZYM_Full = 3, ///< from here on the same three in full range
    eZYM_Count = 6,
};

/// Whether YUV has the full range.
constexpr bool ZMatrix_IsFull(int32_t _eMatrix)
{
    return _eMatrix >= eZYM_Full;
}

/// What a host says of how its pictures in YUV are coded; {}: nothing.
struct Z_YUV_FORM
{
    int32_t nMatrix; ///< 0: the one that goes with the picture's size; 1 to 3: 1 + eZYMatrix of limited range
    bool bFull;      ///< full range; else limited
};

/// What defines a matrix: the shares of red and blue in luma. Green has the rest.
struct Z_LUMA
{
    double dblKr;
    double dblKb;
};
/// By eZYMatrix of limited range; ITU-R BT.601-7, BT.709-6 and BT.2020-2.
inline constexpr Z_LUMA c_arrLuma[3] = {{0.299, 0.114}, {0.2126, 0.0722}, {0.2627, 0.0593}};
constexpr const Z_LUMA& ZMatrix_Luma(int32_t _eMatrix)
{
    return c_arrLuma[_eMatrix % eZYM_Full];
}

/// A matrix in coefficients of three digits, for components of 0 to 1.
///
/// This is the form that the shaders have, and the CPU's colour cancel, which is to give the same colours. Rows of V
/// and U sum to 0, so that greys stay grey. Y, V and U come in this order everywhere.
struct Z_MATRIX
{
    const char* pszName; ///< "601" or "709", suffix of the shader functions' names
    double arrY[3];      ///< shares of R, G, B
    double arrV[3];
    double arrU[3];
    double arrYVUAdd[3]; ///< what is added to the sums: 16 / 256, and half for V and U
    double arrR[3];      ///< shares of Y, V, U
    double arrG[3];
    double arrB[3];
    double arrRGBAdd[3]; ///< what is added to the sums where Y, V and U still contain their offsets
    /// Row G as shaders have it. BT.709's share of V is -0.5329: the CPU rounds it to -0.533. The shaders' -0.534 is
    /// laid down, because pictures were made with it; it moves no colour by more than 0.12 of a byte's step.
    double arrShaderG[3];
};
/// By eZYMatrix; the shaders have no others.
inline constexpr Z_MATRIX c_arrMatrix[2] = {
    {"601",
     {0.257, 0.504, 0.098},
     {0.439, -0.368, -0.071},
     {-0.148, -0.291, 0.439},
     {0.0625, 0.5, 0.5},
     {1.164, 1.596, 0.0},
     {1.164, -0.813, -0.391},
     {1.164, 0.0, 2.018},
     {-0.871, 0.531, -1.082},
     {1.164, -0.813, -0.391}},
    {"709",
     {0.183, 0.614, 0.062},
     {0.439, -0.399, -0.040},
     {-0.101, -0.338, 0.439},
     {0.0625, 0.5, 0.5},
     {1.164, 1.793, 0.0},
     {1.164, -0.533, -0.213},
     {1.164, 0.0, 2.112},
     {-0.969, 0.300, -1.129},
     {1.164, -0.534, -0.213}},
};

/// The levels of YUV, of 255.
struct Z_YUV_LEVELS
{
    double dblBlack;  ///< Y of black
    double dblLuma;   ///< steps from black to white
    double dblChroma; ///< steps that U and V take to either side of 128
};
constexpr Z_YUV_LEVELS ZMatrix_Levels(int32_t _eMatrix)
{
    return ZMatrix_IsFull(_eMatrix) ? Z_YUV_LEVELS{0, 255, 127.5} : Z_YUV_LEVELS{16, 219, 112};
}

/// The exact coefficients between bytes of 255 full steps.
struct Z_EXACT_MATRIX
{
    double dblY;    ///< Y for R, G and B
    double dblRV;   ///< V for R
    double dblGU;   ///< U for G
    double dblGV;   ///< V for G
    double dblBU;   ///< U for B
    double arrY[3]; ///< shares of R, G, B in Y
    double arrU[3];
    double arrV[3];
};
constexpr Z_EXACT_MATRIX ZMatrix_Exact(int32_t _eMatrix)
{
    const double dblKr = ZMatrix_Luma(_eMatrix).dblKr;
    const double dblKb = ZMatrix_Luma(_eMatrix).dblKb;
    const double dblKg = 1 - dblKr - dblKb;
    const Z_YUV_LEVELS levels = ZMatrix_Levels(_eMatrix);
    const double dblRV = 255 / levels.dblChroma * (1 - dblKr); // V is as far for red alone as for no red
    const double dblBU = 255 / levels.dblChroma * (1 - dblKb);
    const double dblV = 1 / dblRV;
    const double dblU = 1 / dblBU;
    return {255 / levels.dblLuma,
            dblRV,
            -dblBU * dblKb / dblKg,
            -dblRV * dblKr / dblKg,
            dblBU,
            {levels.dblLuma / 255 * dblKr, levels.dblLuma / 255 * dblKg, levels.dblLuma / 255 * dblKb},
            {-dblU * dblKr, -dblU * dblKg, dblU * (1 - dblKb)},
            {dblV * (1 - dblKr), -dblV * dblKg, -dblV * dblKb}};
}

/// A coefficient as an integer of so many steps to 1: rounded to nearest.
constexpr int16_t ZMatrix_Scaled(double _dblValue, int32_t _nSteps)
{
    const double dblScaled = _dblValue * _nSteps;
    return static_cast<int16_t>(dblScaled < 0 ? dblScaled - 0.5 : dblScaled + 0.5);
}
