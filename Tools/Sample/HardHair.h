#pragma once

#include "Sample/HardScene.h"

/// Hair of single strands. Lengths in picture heights.

/// Points along a strand, from its root, and what it is drawn with.
struct HARD_STRAND
{
    std::vector<SAMPLE_POINT> vecPoints;
    float fRadius;  ///< at the root; it narrows towards the tip
    float fOpacity; ///< of the tip, which light passes
    SAMPLE_COLOR col;
    float fShine;
    float fSpill; ///< share of the backdrop's light that reaches the eye through it, at the tip
};

void HardHair_Strand(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const HARD_STRAND& _strand);

/// How hair grows round a head.
struct HARD_HAIR
{
    SAMPLE_POINT ptHead; ///< middle of the skull
    float fRadiusU;
    float fRadiusV;
    float fFrom; ///< angles from the top of the head, clockwise, between which it grows
    float fTo;
    int nStrands;
    float fLength;
    float fOut;   ///< how far it stands off before it falls
    float fCurl;  ///< radius of its curls
    float fTurns; ///< curls along a strand
    float fWild;  ///< share of strands that go their own way
    float fThickness = 0.0019f;
    SAMPLE_COLOR col;
    float fShine;
    float fSpill;
    float fWind; ///< to the right
    uint64_t nSeed;
};

void HardHair_Paint(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const HARD_HAIR& _hair);
