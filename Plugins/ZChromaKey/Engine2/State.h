#pragma once

#include "ZChromaKey/Engine2/Grid.h"
#include "ZChromaKey/Engine2/Kernels/ChromaKernels.h"
#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"
#include "ZChromaKey/Engine2/Params.h"
#include "ZChromaKey/Engine2/PassRooms.h"
#include "ZChromaKey/Engine2/Runner.h"

#include <array>
#include <vector>

/// Everything that the engine keeps: over time, and between the passes of one frame. All records compare by value, so
/// a test can hold two streams against each other.

/// A key in the form that the maths takes. Colours are split along the key's hue: X = x . BGR is how much of the
/// backdrop's tint there is, Z = z . BGR how far the hue is from it; both are 0 on greys.
///
/// The colour difference D = X - wedge |Z - rho X|, rho = Z / X of the backdrop at that place, is X of the backdrop
/// where only backdrop is seen, and 0 or less where none is. Green and blue keys snap to X = G - (R + B) / 2 and
/// Z = (R - B) / 2, so with wedge 1 and rho 0, D = G - max(R, B); other hues rotate.
struct KEY_FORMS
{
    UNMIX_KEY key;
    int32_t anX[3] = {}; ///< x in 64ths, sum 0: exact in integers
    int32_t anZ[3] = {};
    float arrX[3] = {}; ///< the same as fractions
    float arrZ[3] = {};
    float fltX = 8;          ///< X of the key's colour, at least 8
    float fltSlope = 0;      ///< Z / X of the key's colour
    float fltSaturation = 0; ///< of the key's colour
    float fltValue = 0;      ///< of the key's colour, 0 to 255
    bool bGreen = false;     ///< a tint of this hue is always spill; a blue or yellow one may be cloth or skin
    float fltWedge = 1;
    float fltCloth = 0;      ///< D / X up to which bodies of the key's own hue are found; 0: there are none
    float arrBeyond[3] = {}; ///< 1 over the half axes of the range beyond which all is solid; 0: no limit

    bool operator==(const KEY_FORMS&) const = default;
    float X(float _b, float _g, float _r) const
    {
        return arrX[0] * _b + arrX[1] * _g + arrX[2] * _r;
    }
    float Z(float _b, float _g, float _r) const
    {
        return arrZ[0] * _b + arrZ[1] * _g + arrZ[2] * _r;
    }
};

/// What the kernels take of it for differences.
DIFFERENCE_RULES KeyForms_Difference(const KEY_FORMS& _key);

/// The first pixel of a cell and the one two to its right: B, G, R, A.
struct UNMIX_PAIR
{
    uint8_t arrFirst[4];
    uint8_t arrSecond[4];

    bool operator==(const UNMIX_PAIR&) const = default;
};

/// Cells of 4x4 pixels; the last column and row are repeated where the size is no multiple of four.
struct UNMIX_CELLS
{
    int nWidth = 0;
    int nHeight = 0;
    std::vector<uint64_t> vecSum; ///< four 16-bit sums of 16 pixels: B, G, R, A
    std::vector<uint32_t> vecMin; ///< bytes B, G, R, A
    std::vector<uint32_t> vecMax;
    std::vector<int16_t> vecX;   ///< X of the nearest key's form in 128ths, at most 32767
    std::vector<int16_t> vecRho; ///< rho of the backdrop there, in 32768ths
    /// Of each third cell of each third row, from the second on: what noise is measured between.
    std::vector<UNMIX_PAIR> vecPairs;

    bool operator==(const UNMIX_CELLS&) const = default;
    static bool HasPairs(int _nY)
    {
        return _nY % 3 == 1;
    }
    UNMIX_PAIR& Pair(int _nX, int _nY)
    {
        return vecPairs[static_cast<size_t>(_nY / 3) * (nWidth / 3 + 1) + _nX / 3];
    }
    const UNMIX_PAIR& Pair(int _nX, int _nY) const
    {
        return vecPairs[static_cast<size_t>(_nY / 3) * (nWidth / 3 + 1) + _nX / 3];
    }
    size_t At(int _nX, int _nY) const
    {
        return static_cast<size_t>(_nY) * nWidth + _nX;
    }
    /// The cells from _nX on that share a word of bits with it.
    CELL_CHUNK Chunk(int _nX, int _nY) const
    {
        const size_t nAt = At(_nX, _nY);
        return {&vecSum[nAt], &vecMin[nAt], &vecMax[nAt], std::min(c_nChunkCells, nWidth - _nX)};
    }
    VEC4 Mean(size_t _nAt) const
    {
        const uint64_t n = vecSum[_nAt];
        return {static_cast<float>(n & 0xffff) / 16, static_cast<float>(n >> 16 & 0xffff) / 16,
                static_cast<float>(n >> 32 & 0xffff) / 16, static_cast<float>(n >> 48) / 16};
    }
    int Min(size_t _nAt, int _nChannel) const
    {
        return static_cast<int>(vecMin[_nAt] >> (8 * _nChannel) & 255);
    }
    int Max(size_t _nAt, int _nChannel) const
    {
        return static_cast<int>(vecMax[_nAt] >> (8 * _nChannel) & 255);
    }
    /// Contrast inside the cell, in quarters of a level.
    int Spread4(size_t _nAt) const
    {
        return Max(_nAt, 0) - Min(_nAt, 0) + 2 * (Max(_nAt, 1) - Min(_nAt, 1)) + Max(_nAt, 2) - Min(_nAt, 2);
    }
};

inline constexpr int c_nStepRows = 4; ///< rows of cells from one in which steps are counted to the next

/// How many cells have steps of so many quarters of a level, the last of so many or more.
using STEP_COUNTS = std::array<int, 65>;

/// What was found in a picture: a progressive frame, or one field.
struct FIELD_STATE
{
    int nRows = 0;          ///< pixel rows
    bool bKnown = false;    ///< the cells are those of a picture that was keyed
    bool bScreened = false; ///< Screen_Pass has gone over them with the present keys
    UNMIX_CELLS cells;
    CBitRows bitsWide;   ///< within the range of a key
    CBitRows bitsCalm;   ///< of so little contrast that a step between them may be the rim of a shadow
    CBitRows bitsSure;   ///< certainly backdrop
    CBitRows bitsSolid0; ///< the difference says solid; feeds the foreground plate
    CBitRows bitsInner;  ///< core of a body
    CBitRows bitsDoubt;  ///< some pixel of the cell may be less than half opaque
    CBitRows bitsBackdrop;
    CBitRows bitsSolid;
    CBitRows bitsMixed;
    CBitRows bitsProtected;
    CBitRows bitsRegion;           ///< wholly inside the region of the backdrop
    std::vector<uint8_t> vecGlare; ///< on the plate grid: how much glare there is, 0 to c_nGlareSteps
    UNMIX_PYRAMID fore;            ///< level 0: the foreground plate, colours times confidence, and the confidence
    std::vector<int16_t> vecPast; ///< per pixel, cell by cell: the difference over that of the backdrop, in 8192ths, of
                                  ///< the frame before
    std::vector<STEP_COUNTS> vecSteps; ///< per c_nStepRows cell rows, with the present keys
    const void* pPastAt = nullptr;     ///< who else has that, and keeps it up to date; null: nobody

    bool operator==(const FIELD_STATE& _other) const;
};

/// Blocks of the plate, of so many cells along each side: how far they are from the reference is smoothed (Plate.h).
inline constexpr int c_nLampBlock = 4;

/// Sums over a row of blocks of the plate, added up in the order of the rows.
struct ROW_SUMS
{
    VEC4 seen;        ///< colours of sure cells of the present frame
    VEC4 reference;   ///< and of the reference at these places
    float fltOff = 0; ///< cells that are far from the plate
    int nGrown = 0;   ///< cells that were seen for the first time
};

/// Sums over a block of the plate where it is seen, each cell as often as it has sure cells of the picture.
struct BLOCK_SUMS
{
    VEC4 seen; ///< w: how many
    VEC4 reference;
};

/// How pictures are read: another way begins another stream, for the same colours come out a little different.
struct UNMIX_KIND
{
    uint32_t fccType = 0;
    int nMatrix = 0;

    bool operator==(const UNMIX_KIND&) const = default;
};

/// How much neighbouring pixels differ in mixed cells (Fineness.h), in 256ths of a level, summed up.
struct FINENESS_SUMS
{
    struct DIFFERENCES
    {
        int64_t nFirst = 0;  ///< |a - b|
        int64_t nSecond = 0; ///< |a - 2 b + c|
    };
    struct AXIS
    {
        DIFFERENCES luma;
        DIFFERENCES chroma;
        int64_t nChromaWithin = 0; ///< first ones of pixels that may have shared a sample
    };
    AXIS across;
    AXIS down;
    int nCells = 0;

    FINENESS_SUMS& operator+=(const FINENESS_SUMS& _other);
};

/// The same for the pictures of a stream, the older ones counting less.
struct FINENESS_MEANS
{
    float fltLumaFirst = 0;
    float fltLumaSecond = 0;
    float fltChromaFirst = 0;
    float fltChromaSecond = 0;
    float fltChromaWithin = 0;

    bool operator==(const FINENESS_MEANS&) const = default;
};
struct FINENESS_STATE
{
    FINENESS_MEANS across;
    FINENESS_MEANS down;
    float fltCells = 0;

    bool operator==(const FINENESS_STATE&) const = default;
};

inline constexpr float c_fltNoiseUnknown = 3;

/// The stream.
struct UNMIX_STATE
{
    VEC4 gain{1, 1, 1, 1};                           ///< exposure of the last picture, to that of the first
    const UNMIX_KERNELS* pKernels = &UnmixKernels(); ///< any level gives the same bytes
    const CHROMA_KERNELS* pChroma = &ChromaKernels();
    int nWidth = 0;
    int nHeight = 0;
    int nFields = 0;   ///< 1, or 2 for interlaced pictures
    int nKeys = 0;     ///< of arrKeys
    UNMIX_KIND kind;   ///< of the pictures
    UNMIX_SETUP setup; ///< of the frame before

    KEY_FORMS arrKeys[c_nUnmixMaxKeys];
    int nPlateWidth = 0;
    int nPlateHeight = 0;
    std::vector<VEC4> vecPlate;         ///< backdrop colour, and how often it was seen, at most 8
    std::vector<VEC4> vecReference;     ///< the same in the light of the first picture
    UNMIX_PYRAMID lamps;                ///< of the last picture, in level 0: the plate is gain * reference + lamps
    std::vector<uint8_t> vecOwner;      ///< the key that a plate cell belongs to
    float fltNoise = c_fltNoiseUnknown; ///< of the difference, in levels
    FINENESS_STATE fineness;
    int nFrames = 0; ///< pictures (fields) that the plate was learned from since the start or the last cut
    int nCuts = 0;
    int nUnfilled = 0; ///< pictures with new plate cells since the plate was last filled in
    bool bPlateSet = false;
    bool bNoiseKnown = false; ///< measured, not assumed
    bool bSure = false;       ///< some backdrop is certain in the last picture
    bool bSeen = false;       ///< the last picture equals the one before

    FIELD_STATE arrFields[2];

    // Between the passes of one picture; never read by the next.
    std::vector<VEC4> vecSeen; ///< means of sure cells on the plate grid; w: how many of four
    std::vector<ROW_SUMS> vecSums;
    std::vector<BLOCK_SUMS> vecBlocks;
    UNMIX_PYRAMID fill;
    CBitRows bitsScratch;
    CBitRows bitsScratch2;
    CBitRows bitsPlate; ///< plate cells that were never seen and have no seen one near
    std::vector<uint64_t> vecScratch;
    std::vector<uint64_t> vecRing;          ///< three rows of bits for each part of a pass over rows of cells
    std::vector<uint8_t> vecChanged;        ///< cell rows that differ from the frame before
    std::vector<float> vecNoise;            ///< per cell row: sum of differences, count
    std::vector<FINENESS_SUMS> vecFineness; ///< per cell row
    std::vector<int32_t> arrGlare[2];       ///< on the plate grid: backdrop, blurred
    std::vector<float> vecShade;            ///< density of shadows, on the plate grid
    std::vector<float> vecEnvelope;
    std::vector<uint16_t> arrAlpha[2]; ///< of the picture, 0 to 65535, where edges are moved or blurred
    std::vector<uint8_t> vecPicture;   ///< B, G, R, A of formats that are not, where all of it is to stay
    CPassRooms rooms;                  ///< what a part of a pass needs
    /// B, G, R, A in 64ths of a level, of pictures of more than 8 bits or with shared chroma, where they are to stay.
    std::vector<uint16_t> vecDeep;
    std::vector<int16_t> vecDifference;

    VEC4 Plate(int _nX, int _nY) const
    {
        return vecPlate[static_cast<size_t>(_nY) * nPlateWidth + _nX];
    }
};

/// Makes room for a picture; all zero but for the setup. Where memory runs out the state is that of no picture.
void UnmixState_Resize(UNMIX_STATE& _state, int _nWidth, int _nHeight, int _nFields);
/// Whether two streams agree in everything that lasts from frame to frame.
bool UnmixState_Same(const UNMIX_STATE& _a, const UNMIX_STATE& _b);
/// All numbers that are not integers, in a fixed order.
std::vector<float> UnmixState_Floats(const UNMIX_STATE& _state);

/// The plate at the middle of a cell of 4x4 pixels, between the plate's cells.
VEC4 Plate_AtCell(const UNMIX_STATE& _state, int _nX, int _nY);

/// The backdrop at a cell in the forms of the key that it belongs to.
struct CELL_BACKDROP
{
    const KEY_FORMS* pKey;
    float fltX;   ///< at least 0.15 of the key's
    float fltRho; ///< Z / X, at most a half either way
};
CELL_BACKDROP Plate_Backdrop(const UNMIX_STATE& _state, int _nX, int _nY);
