#pragma once

#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"
#include "ZChromaKey/Engine2/Runner.h"

/// Steps 9 to 12: alpha by projection, colours unmixed, spill taken out.

/// Where the result goes: straight alpha, rows of bytes B, G, R, A or of 16-bit words B, G, R, A.
struct UNMIX_RESULT
{
    void* pRow0 = nullptr;
    ptrdiff_t nStride = 0; ///< bytes; negative: upwards
    bool bWords = false;
    /// Is called on the workers with rows of the frame that are as they are to be, each once, while they are still in
    /// the cache; null: nobody asks. Borrowed. Of a field, whose rows are nFirst, nFirst + nStep ... of the frame.
    const CRowPass* pTaker = nullptr;
    bool bKeepDeep = false; ///< UNMIX_STATE::vecDeep is asked for afterwards
    int nFirst = 0;
    int nStep = 1;

    void Done(int _nRow) const
    {
        if (pTaker)
            (*pTaker)(nFirst + nStep * _nRow, 1);
    }
    uint8_t* Bytes(int _nRow) const
    {
        return static_cast<uint8_t*>(pRow0) + _nRow * nStride;
    }
    uint16_t* Words(int _nRow) const
    {
        return reinterpret_cast<uint16_t*>(static_cast<uint8_t*>(pRow0) + _nRow * nStride);
    }
    /// Straight colour and alpha, 0 to 255; anything outside is clamped.
    void Put(int _nX, int _nY, const VEC4& _value) const;
    VEC4 Get(int _nX, int _nY) const;
};

LIMIT_RULES Pixels_Limiter(const KEY_FORMS& _key, const UNMIX_PARAMS& _params);
VEC4 Pixels_Limit(const LIMIT_RULES& _rules, const VEC4& _colour);

PIXEL_RULES Pixels_Rules(const UNMIX_STATE& _state, const KEY_FORMS& _key);

/// What is known at a pixel besides its own colour.
struct PIXEL_PLACE
{
    VEC4 back;            ///< backdrop
    VEC4 fore;            ///< foreground colour; w: confidence
    float fltCore = 0;    ///< alpha is at least this
    float fltQuieted = 0; ///< what the filters have added to the difference
    float fltGlare = 0;   ///< levels of excess that glare has added, where the pixel is solid
};

/// Alpha of a pixel, 0 to 1. _fltDifference: D in levels, filtered.
///
/// At least the core, and what the colour is beyond the range of what may be anything but solid, relative to the
/// backdrop there: not at all inside the ellipsoid (as Screen_Pass has it), wholly from 1.25 times it on.
///
/// a0 = (X - D) / (X - 0.15 min(D of F, 0)), X of the backdrop, clipped by the noise. Where the foreground F is known,
/// the place t of the pixel on the line from the backdrop B to F, by the linear discriminant for a foreground whose
/// brightness varies by a fifth:
///     e = F - B,  w = e - F (e . F) / (F . F + 100 / 0.2^2),  t = w . (C - B) / w . e
/// takes over by min(1, 6 confidence) / (1 + q^2), q = the square of the distance from the line over 20^2, changes of
/// brightness discounted. Cameras mix in linear light: with squares, the place a on the line from p to f is
/// a + s a (1 - a) (p - f) / (p + f), s = 1.15 for a darker foreground and 0.4 for a brighter one.
float Pixel_Alpha(const PIXEL_RULES& _rules, const PIXEL_PLACE& _place, const VEC4& _colour, float _fltDifference);

/// The colour of the foreground alone, spill taken out. F' = confidence F + (1 - confidence) C;
/// F' + (C - a F' - (1 - a) B) a / (a^2 + (1 - a) (0.02 confidence + 0.001)): plain unmixing where a is large, F'
/// where it is small and would only magnify noise. What glare has added goes from alpha 0.8 on, wholly from 0.95 on.
VEC4 Pixel_Colour(const PIXEL_RULES& _rules, const PIXEL_PLACE& _place, const VEC4& _colour, float _fltAlpha);

/// Makes room for the differences of the frame before, none of which is known.
void Pixels_ForgetPast(FIELD_STATE& _field);
/// Before Pixels_Pass: differences of the frame before that are elsewhere are not known here.
void Pixels_TakePast(FIELD_STATE& _field);
/// How the differences of a picture are filtered. _bSeen: as Pixels_Pass.
FILTER_RULES Pixels_Filter(const UNMIX_STATE& _state, const FIELD_STATE& _field, bool _bSeen);

/// Rows of cells: writes the result of every pixel, and hands it over. _bSeen: the picture of before again, perhaps
/// with another setup.
void Pixels_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, const UNMIX_PICTURE& _picture, const UNMIX_RESULT& _result,
                 bool _bSeen, int _nFirst, int _nRows);
