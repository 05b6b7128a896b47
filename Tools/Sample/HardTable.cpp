#include "Sample/HardBackdrop.h"
#include "Sample/HardScenes.h"

namespace
{

constexpr SAMPLE_COLOR c_colGreen{0.17f, 0.66f, 0.27f};
constexpr SAMPLE_COLOR c_colVivid{0.08f, 0.76f, 0.24f};
constexpr SAMPLE_COLOR c_colBlue{0.11f, 0.25f, 0.76f};
constexpr SAMPLE_COLOR c_colYellow{0.90f, 0.74f, 0.20f};

/// A hand-held camera: it trembles, and drifts.
SAMPLE_POINT Trembling(float _fTime)
{
    return {0.010f * std::sin(_fTime * 17) + 0.006f * std::sin(_fTime * 41 + 1) + 0.02f * std::sin(_fTime * 2.3f),
            0.009f * std::sin(_fTime * 19 + 2) + 0.005f * std::sin(_fTime * 37) + 0.012f * std::sin(_fTime * 3.1f)};
}

constexpr SAMPLE_VIEW c_viewNear{1.35f, 0, 0.08f};
constexpr SAMPLE_VIEW c_viewWide{1.12f, 0, 0.05f};

constexpr HARD_SCENE c_arrScenes[] = {
    {.pszName = "hair",
     .pszSummary = "brown hair in the wind, hundreds of strands; green, mixed as light",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Hair}},
     .colBack = c_colGreen,
     .view = c_viewNear},
    {.pszName = "fair-hair",
     .pszSummary = "fair curls that the screen shines through; green, mixed as coded values",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_FairHair}},
     .colBack = c_colVivid,
     .view = c_viewNear,
     .fSpill = 1.3f,
     .bLinear = false},
    {.pszName = "veil",
     .pszSummary = "a white veil in folds, a fifth to four fifths opaque; green, mixed as coded values",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Veil}},
     .colBack = c_colGreen,
     .view = c_viewWide,
     .fNoise = 0.7f,
     .bLinear = false},
    {.pszName = "glass",
     .pszSummary = "a bottle, a wine glass and water on a table, with highlights; green, mixed as light",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Table}, {HardScenes_Glasses}},
     .colBack = c_colGreen,
     .view = {1.04f, 0.06f, 0.02f}},
    {.pszName = "motion-blur",
     .pszSummary = "an arm waves and a ball flies while the shutter is open; green, mixed as light",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Waving}},
     .colBack = c_colVivid,
     .nMoments = 12,
     .bMoves = true},
    {.pszName = "defocus",
     .pszSummary = "a person out of focus, a hand close to the lens; blue, mixed as light",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Check, 0.0062f}, {HardScenes_NearHand, 0.020f}},
     .colBack = c_colBlue,
     .view = c_viewWide},
    {.pszName = "denim",
     .pszSummary = "a denim jacket before blue, mixed as coded values",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Denim}},
     .colBack = c_colBlue,
     .view = c_viewWide,
     .fNoise = 1.2f,
     .bLinear = false},
    {.pszName = "yellow-wall",
     .pszSummary = "skin before a yellow wall, mixed as light",
     .pfnLight = HardBackdrop_Wall,
     .arrLayers = {{HardScenes_BareArms}},
     .colBack = c_colYellow,
     .view = c_viewWide,
     .fSpill = 0.7f},
    {.pszName = "shadow",
     .pszSummary = "a person's shadow halves the light on the screen; green, mixed as light",
     .pfnLight = HardBackdrop_Shadow,
     .arrLayers = {{HardScenes_Check}},
     .colBack = c_colGreen,
     .view = {1.05f, 0.05f, 0}},
    {.pszName = "noise",
     .pszSummary = "dark curls in little light, a noisy sensor; green, mixed as light",
     .pfnLight = HardBackdrop_Cloth,
     .arrLayers = {{HardScenes_Curls}},
     .colBack = {0.12f, 0.46f, 0.20f},
     .view = c_viewNear,
     .fNoise = 7,
     .bMoves = true},
    {.pszName = "marks",
     .pszSummary = "crosses and dots for tracking on the screen; green, mixed as coded values",
     .pfnLight = HardBackdrop_Marks,
     .arrLayers = {{HardScenes_Knit}},
     .colBack = c_colGreen,
     .bLinear = false,
     .bMoves = true},
    {.pszName = "shake",
     .pszSummary = "a hand-held camera; green, mixed as light",
     .pfnLight = HardBackdrop_Cloth,
     .pfnShake = Trembling,
     .arrLayers = {{HardScenes_Hair}},
     .colBack = c_colVivid,
     .view = c_viewWide,
     .fNoise = 1.5f,
     .nMoments = 8,
     .bMoves = true},
    {.pszName = "lamps",
     .pszSummary = "lamps that beat and roll in bands over the screen; blue, mixed as coded values",
     .pfnLight = HardBackdrop_Lamps,
     .arrLayers = {{HardScenes_Knit}},
     .colBack = c_colBlue,
     .view = c_viewWide,
     .fNoise = 1.5f,
     .bLinear = false,
     .bMoves = true},
};

} // namespace

std::span<const HARD_SCENE> HardScene_All()
{
    return c_arrScenes;
}
