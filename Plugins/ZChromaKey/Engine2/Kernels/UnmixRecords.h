#pragma once

#include <cstddef>
#include <cstdint>

/// What the kernels of the second engine work on: plain data, so that code for other instruction sets can include it.

/// Four rows of pixels, and the cells of 4x4 pixels that become of them.
struct CELL_ROW
{
    const uint8_t* arrRows[4]; ///< B, G, R, A; rows below the picture repeat its last
    ptrdiff_t nNext;           ///< bytes from these rows to those that are read next and fetched meanwhile
    int nPixels;               ///< at least 1; the last one is repeated up to a whole cell
    bool bAlpha;               ///< A counts; else it is taken as 255
    uint64_t* pSum;            ///< per cell four 16-bit sums of 16 pixels
    uint32_t* pMin;            ///< per cell the least of each byte
    uint32_t* pMax;
    bool* pChanged; ///< out: whether any cell is not what it was
};

/// The limiter: takes out of a colour what its X has above fltLimit |Z|, along the backdrop's own chroma, so that skin
/// stays skin; and as for fltLeast from every colour, for no stage keeps the screen's light off what stands before it.
/// Where there is cloth of the key's own hue, a tint of more than half of fltOwn is less and less taken for spill, one
/// of more than fltOwn not at all. What glare (Glare.h) has added goes on top. All 0 changes nothing.
struct LIMIT_RULES
{
    float arrX[3]; ///< the key's forms
    float arrZ[3];
    float fltLimit;
    float fltLeast;   ///< levels of excess
    float fltGlare;   ///< the same, for each step of glare, on top of all
    float fltOwn;     ///< the same
    float arrTake[3]; ///< per level of excess
    int32_t anX[3];   ///< the same for bytes: 64ths,
    int32_t anZ[3];
    int32_t nLimit; ///< 256ths, at most 32767,
    int32_t nLeast; ///< 16384ths,
    int32_t nGlare;
    int32_t nOwn;
    int32_t anTake[3]; ///< and 1024ths, of 16 bits
};

/// A row of bytes that become 0.
struct CLEAR_RUN
{
    uint8_t* pOut;
    size_t nBytes;
    ptrdiff_t nNext; ///< from pOut to as many bytes that are written next and fetched meanwhile
};

/// A row of solid pixels: the limiter alone, alpha full.
struct SOLID_RUN
{
    const LIMIT_RULES* pRules;
    const uint8_t* pBytes; ///< B, G, R, A of the source, or
    const uint16_t* pDeep; ///< the same in 64ths of a level; null: bytes
    void* pOut;
    bool bWords; ///< pOut is of 16-bit words, else of bytes
    int nPixels;
    /// What glare takes of each pixel, 16384ths of a level of excess; whole vectors are read.
    const int32_t* pGlare;
    ptrdiff_t nNextBytes; ///< from pBytes, and
    ptrdiff_t nNextOut;   ///< from pOut, to what is read and written next and fetched meanwhile
};

/// What the maths of single pixels take that is the same for a whole picture and key. PIXEL_PLACE and Pixel_Alpha say
/// how it is used.
struct PIXEL_RULES
{
    LIMIT_RULES limit;
    float arrX0[4];  ///< the form X once more, 0 for what comes with the colours
    float fltLeastX; ///< of the backdrop
    float fltWedge;
    int32_t nWedge;      ///< 8192ths
    float fltOneSquareX; ///< 1 / x . x
    float fltLow;        ///< least clips
    float fltHigh;
    float fltClip; ///< noise, in levels, that the clips take in
    float arrBeyond[3];
    bool bBeyond; ///< one of them is not 0
    bool bLinear;
};

/// How differences are filtered.
struct FILTER_RULES
{
    bool bFilter;
    bool bPast;        ///< differences of the frame before are known
    bool bSeen;        ///< the picture of before again
    int32_t nNear;     ///< 32nds of a level: neighbours this near are averaged
    int32_t nTimeNear; ///< and values of the frame before
};

/// A key as the test for sure backdrop takes it.
struct SCREEN_RULES
{
    int32_t anX[3]; ///< 64ths
    int32_t anZ[3];
    float fltSlope; ///< Z / X of the key
    float fltKeySaturation;
    float fltKeyValue;
    float fltHue; ///< 1 over the half axes of the range
    float fltSaturation;
    float fltValue;
};

inline constexpr int c_nChunkCells = 64; ///< the cells of a word of bits

/// Up to c_nChunkCells neighbouring cells of a row.
struct CELL_CHUNK
{
    const uint64_t* pSum; ///< as CELL_ROW has them
    const uint32_t* pMin;
    const uint32_t* pMax;
    int nCells;
};

/// How near cells are to the keys.
struct SCREEN_CHUNK
{
    CELL_CHUNK cells;
    const SCREEN_RULES* pKeys;
    int nKeys;        ///< at least 1
    int32_t nCalm4;   ///< quarters of a level
    int16_t* pX;      ///< out: X of the nearest key's form in 128ths
    uint64_t nWithin; ///< out: cells within the range of a key
    uint64_t nFlat;   ///< out: cells of little contrast
    uint64_t nCalm;   ///< out: of less than nCalm4
};

/// How far X of cells is from that of the neighbours.
struct STEP_CHUNK
{
    const int16_t* arrX[3]; ///< rows above, here, below: c_nChunkCells + 2 numbers from the cell left of the chunk
    int32_t nLimit;
    int32_t nWideLimit;
    uint64_t nSmooth; ///< out: steps below the limit
    uint64_t nCalm;   ///< out: below the other
};

/// The difference of cells and pixels.
struct DIFFERENCE_RULES
{
    float arrX[3];
    float arrZ[3];
    int32_t anX[3]; ///< 64ths
    int32_t anZ[3];
    float fltLeastX; ///< of the backdrop
    float fltWedge;
};

/// What tells backdrop from solid.
struct CLASS_RULES : DIFFERENCE_RULES
{
    float fltClip;  ///< levels of noise,
    float fltClean; ///< or part of X, that backdrop may lack
    float fltNoise;
    float fltOpen; ///< part of X up to which cells are core; 0: none is
};

inline constexpr int c_nPlateRoom = c_nChunkCells / 2 + 16; ///< plate cells in whole vectors

/// The classes of cells that belong to one key.
struct CLASS_CHUNK
{
    CELL_CHUNK cells;
    const CLASS_RULES* pRules;
    /// The plate's cells, four floats each, of the rows above and below the middle of these cells: c_nChunkCells / 2 +
    /// 2 of them from the one left of the chunk, and others up to c_nPlateRoom, which do not count.
    const float* arrPlate[2];
    float fltBelow;   ///< weight of the second row
    uint64_t nSure;   ///< certainly backdrop
    int16_t* pRho;    ///< out: rho of the backdrop, in 32767ths; c_nChunkCells numbers
    uint64_t nSolid0; ///< out: FIELD_STATE says what these are
    uint64_t nInner;
    uint64_t nDoubt;
    uint64_t nBackdrop;
    uint64_t nSolid;
};

inline constexpr int c_nChunkPlates = c_nChunkCells / 2; ///< the plate cells that the cells of a chunk make

/// Means of those of 2x2 cells that bits name: plate cells.
struct MEAN_CHUNK
{
    const uint64_t*
        arrSums[2]; ///< the upper and the lower row of cells, as CELL_ROW has them; the same where there is one
    uint64_t arrBits[2];
    int nCells;    ///< of a row, 1 to c_nChunkCells
    float fltMost; ///< of the count
    float* pMeans; ///< out: per plate cell B, G, R, and how many cells there were
};

/// Plate cells that are seen, the plate, and the reference: four floats each.
struct PLATE_CHUNK
{
    const float* pSeen;
    float* pPlate;
    float* pReference;
    int nPlates; ///< 1 to c_nChunkPlates
};

/// How what is seen compares to the plate, for a row of blocks of 4x4 plate cells.
struct COMPARE_CHUNK
{
    PLATE_CHUNK plates;   ///< of the first row
    int nRows;            ///< 1 to 4
    ptrdiff_t nStride;    ///< floats from one row to the next
    float fltLimit;       ///< differences beyond are far off; or
    const float* pLimits; ///< four times the number per plate cell, 4 c_nChunkPlates floats a row; null: fltLimit
    /// Out: per block the sums of the colours seen where there is a plate, times their count, and of the count; and of
    /// the reference there. Four floats each.
    float* pBlocks;
    float arrSeen[4];      ///< out: sum of the colours seen where there is a plate, and their number
    float arrReference[4]; ///< out: of the reference there, and the number of those far off the plate
};

inline constexpr int c_nLampRoom = c_nChunkPlates / 4 + 4; ///< blocks in whole vectors

/// Between the middles of blocks of 4x4 plate cells.
struct LAMP_CHUNK
{
    /// Four floats a block, of the rows above and below the middle of these cells: c_nChunkPlates / 4 + 2 blocks from
    /// the one left of the chunk, and others up to c_nLampRoom, which do not count.
    const float* arrBlocks[2];
    float fltBelow; ///< weight of the second row
    float* pLamps;  ///< out: four floats for each of c_nChunkPlates cells
};

/// Columns of a grid of numbers, and their sums over nReach rows each way; beyond the grid as at its border.
struct BLUR_COLUMNS
{
    const int32_t* pIn;
    int32_t* pOut;
    ptrdiff_t nStride; ///< numbers from one row to the next
    int nColumns;
    int nRows;
    int nReach;
};

inline constexpr int c_nNoisePairs = 64; ///< the most of a chunk

/// Pairs of pixels of sure backdrop, and the plate there.
struct NOISE_CHUNK
{
    const DIFFERENCE_RULES* pRules;
    int nPairs;
    uint32_t arrPixels[c_nNoisePairs][2]; ///< B, G, R, A
    float arrPlate[c_nNoisePairs][4];
    float arrOff[c_nNoisePairs]; ///< out: |difference of D|, in levels
};

/// The reference, having learnt what is seen, and the plate: the same in the light of the present picture.
struct LEARN_CHUNK
{
    PLATE_CHUNK plates;
    float arrGain[4];    ///< the last is 1
    float arrInverse[4]; ///< 1 / gain
    const float* pLamps; ///< four floats a plate cell, the last 0, to be added
    float fltMostSeen;
    int nGrown; ///< out: cells that were seen for the first time
};

inline constexpr int c_nMixedCells = 64;                     ///< the most of a run
inline constexpr int c_nMixedPixels = 4 * c_nMixedCells + 2; ///< with the pixels beside it

/// Neighbouring mixed cells of a row that belong to one key.
struct MIXED_RUN
{
    const PIXEL_RULES* pRules;
    const FILTER_RULES* pFilter;
    int nCells; ///< 1 to c_nMixedCells
    /// Six rows of source pixels from the one above the cells to the one below, 4 nCells + 2 pixels from the one left
    /// of the run, borders repeated: B, G, R, A, bytes or, where bDeep, 16-bit words in 64ths of a level.
    const void* arrSource[6];
    ptrdiff_t nSourceStride; ///< bytes, from each of the four rows of the cells to the next
    bool bDeep;
    /// rho of the backdrop for these pixels, in 32768ths: of the cells above, here and below.
    const int32_t* arrRho[3];
    /// The plate's cells, four floats each (b, g, r, count), of the rows above and below the middle of these cells; and
    /// the foreground's (colours times confidence, confidence).
    const float* arrBack[2];
    const float* arrFore[2];
    int nPlateWidth;
    int nFirst;            ///< column of the first cell
    bool bOddRow;          ///< of cells
    const uint8_t* pGlare; ///< steps of glare, a number a cell
    int16_t* pPast;        ///< 16 numbers a cell, or null
    const float* pCore;    ///< 16 numbers a cell: alpha is at least that; null: 0
    const float* pKeep;    ///< 16 numbers a cell: how far the colour stays what it was, 0 to 1; null: 0
    void* pOut;            ///< four rows of pixels: B, G, R, A, bytes or, where bWords, 16-bit words
    ptrdiff_t nOutStride;  ///< bytes
    bool bWords;
};

inline constexpr int c_nFinishPixels = 256; ///< the most of a run

/// What comes after the key, for neighbouring pixels of a row.
struct FINISH_RUN
{
    void* pPixels; ///< the result, changed in place: B, G, R, A, bytes or, where bWords, 16-bit words
    bool bWords;
    int nPixels;
    const uint8_t* pSource;  ///< B, G, R, A of the picture
    const uint8_t* pGarbage; ///< a byte a pixel: 255 is thrown away; null: none
    const uint8_t* pHoldOut; ///< 255 stays as the source is; null: none
    const float* pShade;     ///< density of black under the result, 0 to 1; null: none
    bool bMultiply;          ///< with the source's alpha
    bool bSourceAlpha;       ///< it has one; else it is opaque
};

/// Neighbouring pixels of a row, before and after, of bytes or words B, G, R, A.
struct CHANGED_RUN
{
    const void* pResult;
    bool bWords;            ///< pResult is of words, else of bytes
    const uint8_t* pSource; ///< bytes, or
    const uint16_t* pDeep;  ///< 64ths of a level; null: pSource
    int nPixels;            ///< 1 to 64
};

/// A row of a mask out of the result's alpha.
struct MASK_ROW
{
    const uint8_t* pPixels; ///< B, G, R, A
    uint8_t* pMask;
    int nPixels;
    ptrdiff_t nNext; ///< from pMask to as many bytes that are written next and fetched meanwhile
};

/// A difference of the frame before that is not known.
inline constexpr int16_t c_nPastUnknown = INT16_MIN;
