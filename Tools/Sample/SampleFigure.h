#pragma once

#include "Sample/SamplePaint.h"
#include "Sample/SampleScene.h"

/// Where everything is at one moment.
struct SAMPLE_POSE
{
    float fTime;          ///< seconds
    float fShutter;       ///< seconds that the shutter is open
    SAMPLE_POINT ptHead;  ///< middle of the face
    float fTilt;          ///< of the head, radians
    SAMPLE_COLOR colBack; ///< light that the backdrop throws on the figure
    float fSpill;         ///< how much of it, 1 for what is usual
    SAMPLE_COLOR colCoat;
    SAMPLE_COLOR colSkin;
    SAMPLE_COLOR colSkinDark; ///< in the shade
    SAMPLE_COLOR colHair;
    uint64_t nSeed;
};

SAMPLE_POSE SampleFigure_Pose(const SAMPLE_SCENE& _scene, int64_t _nFrame);

/// Paints all parts.
void SampleFigure_Paint(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);

/// The parts, in the order in which they are painted.
void SampleFigure_HairBehind(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_Body(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_Head(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_HairFront(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_Scarf(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_Arm(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_Ball(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
void SampleFigure_Bubbles(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose);
