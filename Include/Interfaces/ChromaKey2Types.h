#pragma once

/// The key model of the second generation: what the backdrop looks like, and how what is not backdrop is unmixed.
///
/// The layouts and enumeration values are fixed: they cross interfaces by value and are published in the type library.
/// Colours are R, G, B from 0 to 255, coded as the picture is; hue, saturation and value are those of the HSV cone.

#include <cstddef>
#include <cstdint>

/// The parameter "light": where backdrop and foreground were mixed.
enum eLight : int32_t
{
    eLight_Coded = 0,  ///< in the picture's coded values, as most hosts lay pictures over each other
    eLight_Linear = 1, ///< in linear light, as a lens does
};

/// The parameter "learn", and what PlateLearn takes: what becomes of the backdrop plate.
enum eLearn : int32_t
{
    eLearn_On = 0,      ///< each frame adds what it shows of the backdrop
    eLearn_Hold = 1,    ///< the plate stays as it is
    eLearn_Restart = 2, ///< the plate is forgotten with the next frame; learning is on from then
};

/// The parameter "view": what comes out.
enum eView : int32_t
{
    eView_Result = 0,
    eView_Matte = 1,      ///< alpha as grey
    eView_Status = 2,     ///< backdrop black, solid white, mixed orange, solid core green, regions blue
    eView_Plate = 3,      ///< the backdrop as it is known
    eView_Foreground = 4, ///< what solid foreground near each place looks like
    eView_Confidence = 5, ///< how far that is trusted, as grey
    eView_Source = 6,     ///< the input
};

/// The parameter "alpha": what becomes of the alpha that an ARGB32 frame comes with.
enum eAlpha : int32_t
{
    eAlpha_Replace = 0,
    eAlpha_Multiply = 1,
};

/// The masks of a picture that the operator draws.
enum eRegion : int32_t
{
    eRegion_Garbage = 0, ///< transparent, whatever is there
    eRegion_HoldOut = 1, ///< opaque, whatever is there
    eRegion_Backdrop =
        2, ///< what lies wholly inside it, backdrop all around, is backdrop: marks and seams on the screen
};
inline constexpr int32_t Z_REGIONS = 3;

/// The ranges of the keys of a set.
enum eRange : int32_t
{
    eRange_Backdrop = 0,   ///< of a key: what is inside, flat and smooth is backdrop
    eRange_Foreground = 1, ///< of a key: what is outside is solid at once
    eRange_Protected = 2,  ///< of a protected colour: what is inside is solid
};

/// Where the last frame was keyed.
enum eKeyedOn : int32_t
{
    eKeyedOn_None = 0,
    eKeyedOn_CPU = 1,
    eKeyedOn_GPU = 2,
};

/// The most keys, and the most protected colours, that a set holds.
inline constexpr int32_t Z_MAX_KEYS2 = 16;

/// Half axes of an ellipsoid round a colour.
struct KEY2_RANGE
{
    double dblHue;        ///< degrees, 0 to 180
    double dblSaturation; ///< 0 to 1
    double dblValue;      ///< 0 to 1
};

/// One key: a backdrop colour, and how far from it backdrop ends and solid foreground begins. Between the two the
/// picture is unmixed.
struct SINGLE_KEY2
{
    double dblRed;
    double dblGreen;
    double dblBlue;
    KEY2_RANGE rangeBackdrop;
    KEY2_RANGE rangeForeground;
};
static_assert(sizeof(SINGLE_KEY2) == 72);
static_assert(offsetof(SINGLE_KEY2, rangeBackdrop) == 24 && offsetof(SINGLE_KEY2, rangeForeground) == 48);

/// A colour that is foreground although it is like the backdrop.
struct PROTECTED_KEY2
{
    double dblRed;
    double dblGreen;
    double dblBlue;
    KEY2_RANGE range;
};
static_assert(sizeof(PROTECTED_KEY2) == 48 && offsetof(PROTECTED_KEY2, range) == 24);

/// The parameters, as ParamSet names them and ParamInfo describes them; choices are numbers of their enumeration.
struct KEY2_PARAMS
{
    double dblBackdrop;
    double dblSolid;
    double dblCleanBackdrop;
    double dblCleanForeground;
    double dblChoke;
    double dblSoften;
    double dblSpill;
    double dblSpillBalance;
    double dblShadows;
    double dblNoise;
    double eLightValue; ///< eLight
    double eLearnValue; ///< eLearn; eLearn_Restart reads as eLearn_On
    double eViewValue;  ///< eView
    double eAlphaValue; ///< eAlpha
};
static_assert(sizeof(KEY2_PARAMS) == 112);
static_assert(offsetof(KEY2_PARAMS, dblSpill) == 48 && offsetof(KEY2_PARAMS, eLightValue) == 80);
static_assert(offsetof(KEY2_PARAMS, eAlphaValue) == 104);

/// The whole key set, 2048 bytes. A set without keys keys nothing.
struct CHROMA_KEY2_RAW
{
    uint32_t nSize;         ///< of this record: 2048
    int32_t nKeysUsed;      ///< valid entries of arrKeys, 0 to 16
    int32_t nProtectedUsed; ///< valid entries of arrProtected, 0 to 16
    int32_t bAutomatic;     ///< 0 or 1: the keys were found, not chosen; the first that is chosen takes their place
    SINGLE_KEY2 arrKeys[Z_MAX_KEYS2];
    PROTECTED_KEY2 arrProtected[Z_MAX_KEYS2];
    KEY2_PARAMS params;
};
static_assert(sizeof(CHROMA_KEY2_RAW) == 2048);
static_assert(offsetof(CHROMA_KEY2_RAW, arrKeys) == 16 && offsetof(CHROMA_KEY2_RAW, arrProtected) == 1168);
static_assert(offsetof(CHROMA_KEY2_RAW, params) == 1936);

/// What is known of the last frame that was keyed, 56 bytes.
struct CHROMA_KEY2_STATS
{
    double dblBackdrop;     ///< share of the picture that is backdrop, 0 to 1
    double dblMixed;        ///< share that is mixed
    double dblSolid;        ///< share that is solid
    double dblNoise;        ///< of the backdrop, in levels of 255
    double dblMilliseconds; ///< that keying took
    int32_t nPlateFrames;   ///< frames that the plate was learned from
    int32_t nCuts;          ///< times that the picture was another one and the plate was begun anew
    int32_t eKeyedOnValue;  ///< eKeyedOn
    int32_t nReserved;      ///< 0
};
static_assert(sizeof(CHROMA_KEY2_STATS) == 56);
static_assert(offsetof(CHROMA_KEY2_STATS, nPlateFrames) == 40 && offsetof(CHROMA_KEY2_STATS, eKeyedOnValue) == 48);
