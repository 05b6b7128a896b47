#pragma once

#include "Base/ZCpu.h"

#include <cstddef>
#include <cstdint>

/// The planes of a picture, or of one field of it.
struct UNMIX_SAMPLES
{
    enum eKind : int32_t
    {
        eNone, ///< nothing to be gained over the 8-bit reader
        ePacked,
        ev210,
        er210,
        ePlanar,
        eP010, ///< planes of words with ten bits in the high ones, U and V in turn
        eBGRA, ///< pixels B, G, R, A whose chroma was shared before they became that
    };
    eKind eLayout = eNone;
    const uint8_t* arrRow0[3] = {};
    ptrdiff_t anStride[3] = {};
    int nLuma = 0; ///< packed: place of the first Y, of U and of V in a unit of two pixels
    int nU = 0;
    int nV = 0;
    int nChromaStep = 1; ///< planar: bytes between samples; 2: U and V in turn
    int nChromaDiv = 1;  ///< luma rows that share a chroma row
    int nWidth = 0;
    int nHeight = 0;
    int nChromaWidth = 0;
    int nChromaHeight = 0;
    float fltKb = 0; ///< weights of blue and red in luma
    float fltKr = 0;
    bool bFull = false;   ///< full range
    float fltGain = 1;    ///< how much of luma's detail chroma gets
    bool bSmooth = false; ///< pixels B, G, R, A: their own chroma is kept, and luma's detail added to it

    bool IsDeep() const
    {
        return eLayout == ev210 || eLayout == er210 || eLayout == eP010;
    }
};

/// Numbers of a picture times this, and this added, are what the kernels reckon with.
struct CHROMA_SCALE
{
    float fltTimes;
    float fltAdd;
};

/// Of the luma of pixels B, G, R, A: integers, which floats hold exactly.
inline constexpr int c_nChromaLumaUnit = 1 << 14;

/// What the rebuilding of chroma takes of a picture and a stream. Borrowed.
///
/// Luma and pixels are in 64ths of a level, luma with the half for rounding in it. Samples of chroma, the luma that
/// goes with them, the plate and factors are a quarter of that, or a 16th where rows share chroma, too: so sums with
/// weights 1 and 3 along each shared axis are means.
struct CHROMA_JOB
{
    UNMIX_SAMPLES samples;
    CHROMA_SCALE luma;
    CHROMA_SCALE blue;  ///< blue - luma
    CHROMA_SCALE red;   ///< red - luma
    float fltLumaSum;   ///< of the pixels that share a sample, to their mean
    float arrLuma[3];   ///< weights of B, G, R of the plate
    int32_t anLuma[3];  ///< the same in c_nChromaLumaUnit ths
    float fltPlate;     ///< levels of the plate
    float fltHalf;      ///< the half in luma
    float arrGreen[2];  ///< luma - green is so much of blue - luma and of red - luma
    float fltFactor;    ///< a factor of 1
    float fltFloor;     ///< of the luma's variance in the fit, whose weights have the sum 16
    float fltLeastTint; ///< squared

    const float* pPlate;   ///< B, G, R and another number of the cells of 8x8 pixels
    const uint8_t* pOwner; ///< their keys
    float arrAcross[16];   ///< by key: what a chroma's part across the plate's takes off its part along it
    int nPlateWidth;
    int nPlateHeight;

    const uint64_t* pMixed; ///< bits of the cells of 4x4 pixels, in rows of words
    const uint64_t* pSolid; ///< cells that are needed besides mixed ones and their neighbours; null: none
    int nWords;
    int nCellColumns;
    int nCellRows;

    uint16_t* pDeep0;
    ptrdiff_t nDeepStride; ///< numbers from row to row
    int nDeepFirst;        ///< the row that is at pDeep0
    /// Of the rows of cells above and below those that are rebuilt, the row of pixels that is next to them is as well.
    bool bRim;
};

/// Every level gives the same bytes: single precision in a fixed order, nothing fused. No byte outside of the planes'
/// samples is read, none outside of the result's pixels is written.
struct CHROMA_KERNELS
{
    /// Rows of cells of a picture, as Chroma_Pass.
    void (*pfnRebuild)(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept;
};

/// Fills the table with the fastest kernels that need no more than the given level.
void ChromaKernels_Init(CHROMA_KERNELS* _pKernels, eSIMD_Level _eMax) noexcept;
/// The kernels that this processor runs best.
const CHROMA_KERNELS& ChromaKernels();

/// The plain kernel.
void ChromaRebuild_C(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept;
