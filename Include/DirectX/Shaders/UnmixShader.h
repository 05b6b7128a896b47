#pragma once

/// Texts of the pixel shaders of the second generation. Entry "PS"; constants UNMIX_CONSTANTS at b0.
///
/// They do what is made per pixel, in the integers and formulas of the kernels of the CPU; what is made per cell comes
/// in small textures, which are read by texel, never sampled. Pictures are B8G8R8A8, one pixel a texel, and have one
/// field or two: line y belongs to field y % fields. Of grids with a row per cell row, those of the second field lie
/// below those of the first.

#include <cstdint>
#include <string>

/// What the shaders take that is the same for all pixels of one key. The names are those of the kernels' records.
struct UNMIX_SHADER_RULES
{
    int32_t anX[3]; ///< B, G, R; 64ths
    int32_t nWedge; ///< 8192ths
    int32_t anZ[3];
    int32_t nLimit;    ///< 256ths
    int32_t anTake[3]; ///< 1024ths
    int32_t nOwn;      ///< 16384ths
    float arrX[3];
    float fltLimit;
    float arrZ[3];
    float fltLeast;
    float arrTake[3];
    float fltOwn;
    float arrBeyond[3];
    int32_t nLeast; ///< 16384ths
    float fltLeastX;
    float fltWedge;
    float fltOneSquareX;
    float fltClip;
    int32_t anGlare[4]; ///< nGlare; nothing
};
static_assert(sizeof(UNMIX_SHADER_RULES) == 9 * 16);

/// A protected colour.
struct UNMIX_SHADER_PROTECTED
{
    float arrCentre[4]; ///< hue, saturation, value
    float arrOne[4];    ///< 1 over the half axes; of value, in levels
};

/// How samples of YUV, or pixels that were made of such, lie in a texture, and what is made of them: the numbers of
/// IMG_YUV_COEF and CHROMA_JOB.
struct UNMIX_SHADER_SAMPLES
{
    /// 0: packed, and the bytes of the first Y, of U and of V in a texel; 1: planes, and the texels of U and V after
    /// the luma; 2: pixels B, G, R whose chroma was shared once, and the weights of these in luma, in 16384ths.
    int32_t anPlanes[4];
    int32_t anChroma[4]; ///< columns and rows; luma rows that share one; 1: pixels keep the chroma of their own
    /// Planes: from a row of chroma to the next, and from a sample to the next; 255 or 65535; bits to be shifted out.
    int32_t anTexels[4];
    int32_t anFromLuma[4];   ///< nY, nBlack, nRV, nothing
    int32_t anFromChroma[4]; ///< nGU, nGV, nBU, nothing
    float arrLuma[4];        ///< luma, times and add; fltLumaSum; fltPlate
    float arrChroma[4];      ///< blue, times and add; red
    float arrTint[4];        ///< weights of B, G, R in luma; fltHalf
    float arrGreen[4];       ///< arrGreen; nothing
    float arrFit[4];         ///< fltFactor, fltFloor, fltLeastTint; arrAcross over the key's wedge
};

inline constexpr int32_t c_nUnmixShaderKeys = 16;

/// "UNMIX", register b0.
struct UNMIX_CONSTANTS
{
    int32_t anPicture[4]; ///< width, height, fields; 1: its alpha counts
    /// Columns and rows of cells in a field; columns and rows of plate cells in one, or where cells are made, the rows
    /// of texels for a field and from one row of cells to the next whose pixels are wanted.
    int32_t anGrid[4];
    int32_t anFilter[4]; ///< nNear; 1: there are differences of the frame before; 1: the picture of before; nTimeNear
    float arrClips[4];   ///< least clips; 1: colours are unmixed in squares
    /// Protected colours; the view, by its number; eUnmixAfter; 1: colours are multiplied by alpha in the end.
    int32_t anMore[4];
    int32_t anDeep[4]; ///< 1: t9 is there; 1: solid cells are in it as well; steps of a level in the result, 1 or 257
    UNMIX_SHADER_RULES arrRules[c_nUnmixShaderKeys];
    UNMIX_SHADER_PROTECTED arrProtected[c_nUnmixShaderKeys];
    UNMIX_SHADER_SAMPLES samples; ///< where the picture is in YUV
};
static_assert(sizeof(UNMIX_CONSTANTS) == 96 + 16 * 144 + 16 * 32 + 160 && sizeof(UNMIX_CONSTANTS) <= 4096);

/// What is done to keyed pixels.
enum eUnmixAfter : int32_t
{
    eUAfter_Shadows = 1,
    eUAfter_InputAlpha = 2,
    eUAfter_Garbage = 4,
    eUAfter_HoldOut = 8,
    eUAfter_Marked = 16, ///< the region of the backdrop, which the view of the status shows
};

/// A texel of the cells (R32_UINT): the classes, the key from bit 8 on, steps of glare from bit 12 on, and in the upper
/// half rho of the backdrop in 32768ths.
enum eUnmixCell : uint32_t
{
    eUCell_Mixed = 1,
    eUCell_Solid = 2,
    eUCell_Protected = 4,
    eUCell_Inner = 8,
    eUCell_Plain = 16, ///< no edge moves here: see UnmixEdgeShader.h
};

/// Sums, least and greatest of 4x4 pixels: R32G32B32A32_UINT. t0: the picture.
///
/// For each field a row of texels for each row of cells: sums of B and G, of R and A, in halves; the least; the
/// greatest. Then one for each third row of cells from the second on: the first pixel of each cell and the one two to
/// its right, of its first line. Then as many as are left, one for each n-th row of cells, two texels for each third
/// cell of it, in the k-th of them from cell k % 3 on: the cell's second line; the first, third and last pixel of its
/// second column.
std::string UnmixCellsShader_Text();

/// A picture in YUV as the CPU's reader of rows makes bytes of it: B8G8R8A8. t5: its samples, packed or in planes one
/// below the other (DX_TextureDesc).
std::string UnmixOpenShader_Text();
/// The factors between chroma and luma (Chroma.h): R32G32_FLOAT, those of blue and red. For each field its rows of
/// samples, with one more on each side, as of the columns. t1: cells; t2: the backdrop plate; t5: as above, or t0:
/// pixels whose chroma was shared once.
std::string UnmixFactorsShader_Text();
/// The picture in 64ths of a level, for t9 below: R16G16B16A16_UINT. t0, t1, t5: as above; t6: the factors.
std::string UnmixDeepShader_Text();

/// The differences of mixed pixels as the next frame wants them, over those of the backdrop in 8192ths: R16_SINT, of
/// the picture's size. t0: the picture; t1: cells; t2: the backdrop plate; t3: the foreground plate (R32G32B32A32_FLOAT
/// in the order B, G, R, and confidence); t4: the differences before; t9: as below.
std::string UnmixPastShader_Text();

/// The result: straight alpha, of the picture's size. t0 to t3: the same; t4: what the pass above has made; t5:
/// garbage, t6: hold-out and t8: the region of the backdrop (R8_UNORM, of the picture's size); t7: density of shadows
/// (R32_FLOAT, by plate cells); t9: the picture in 64ths of a level (R16G16B16A16_UINT in the order B, G, R, A), where
/// it is known better than in bytes: mixed cells and their neighbours, and where the constants say so solid ones. What
/// the constants say is not there need not be bound. Into B8G8R8A8, or R16G16B16A16 in the order B, G, R, A.
std::string UnmixPixelShader_Text();
/// The same of a picture that is keyed, whose edges were changed. t0 to t3 and t5 to t8: the same; t10: the keyed
/// picture (B8G8R8A8); t11: its alpha (R16_UINT).
std::string UnmixEdgedShader_Text();

/// \name Pieces of these texts
///@{
extern const char c_szUnmixHead[];  ///< constants, and the picture's bytes; declares t0
extern const char c_szUnmixCells[]; ///< a cell's texel; declares t1 and t2
///@}
