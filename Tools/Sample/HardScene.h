#pragma once

#include "Sample/SamplePaint.h"
#include "zkhost/Files/Picture.h"

#include <span>
#include <string>

/// Scenes that are hard to key, with known true alpha and true foreground colours.
///
/// A scene is a row of a table: how its backdrop is lit, what is painted in front of it, and the camera that takes it.
/// Layers add up in single precision; what a lens blurs, a moving thing smears and a sensor adds is done to those sums,
/// and the truth comes from the same sums. Pictures depend on their arguments alone.

/// A moment while the shutter is open.
struct HARD_MOMENT
{
    float fTime; ///< seconds
    /// The light that the backdrop throws on the foreground: its colour, and how much of it, 1 for what is usual; 0
    /// paints the true colours.
    SAMPLE_COLOR colBack;
    float fSpill;
    uint64_t nSeed;
};

/// One of the things in front of the backdrop, far ones first.
struct HARD_LAYER
{
    void (*pfnPaint)(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment) = nullptr;
    float fDefocus = 0; ///< radius over which the lens spreads a point, in picture heights
};

struct HARD_SCENE
{
    const char* pszName;
    const char* pszSummary;
    /// Light on the backdrop, by channel; the backdrop's colour is the product.
    SAMPLE_COLOR (*pfnLight)(SAMPLE_POINT _p, const HARD_MOMENT& _moment);
    /// How far the camera has moved, in picture heights; null: it stands.
    SAMPLE_POINT (*pfnShake)(float _fTime) = nullptr;
    HARD_LAYER arrLayers[2] = {};
    SAMPLE_COLOR colBack; ///< the backdrop where the light on it is 1
    SAMPLE_VIEW view = {};
    float fSpill = 1;
    float fNoise = 1;    ///< deviation of the noise at middle grey, in levels of 255
    int nMoments = 1;    ///< how many moments of the shutter add up
    bool bLinear = true; ///< mixed as light, as in a camera; else as coded values, as in a compositing program
    bool bMoves = false; ///< its difficulty lies in time
};

/// All of them. The table stays.
std::span<const HARD_SCENE> HardScene_All();
/// Null where there is none of that name.
const HARD_SCENE* HardScene_Find(const std::string& _strName);

/// What of a scene can be asked for.
struct HARD_SETUP
{
    int nWidth = 1280;
    int nHeight = 720;
    double dblRate = 25;  ///< frames per second
    double dblNoise = -1; ///< deviation of the noise; below 0: the scene's own
    uint64_t nSeed = 1;
};

/// One frame of a scene: B, G, R, A, opaque; and its truth, straight alpha with the foreground's colours as they are
/// without light from the backdrop.
void HardScene_Paint(const HARD_SCENE& _scene, const HARD_SETUP& _setup, int64_t _nFrame, PICTURE& _picture,
                     PICTURE& _truth);
