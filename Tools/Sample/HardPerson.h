#pragma once

#include "Sample/HardScene.h"
#include "Sample/SampleFigure.h"

enum eHardCloth
{
    eHC_Knit,   ///< rows of stitches
    eHC_Denim,  ///< twill, faded, with seams
    eHC_Smooth, ///< folds only
    eHC_Check,  ///< woven stripes both ways
};

/// A person from the waist up; lengths in picture heights.
struct HARD_PERSON
{
    SAMPLE_POSE pose; ///< where the head is, and the colours of skin and hair; HardPerson_Pose makes one
    eHardCloth eCloth = eHC_Smooth;
    bool bBareArms = false;
    bool bOneArm = false; ///< the other one is painted apart
    float fTurn = 0;      ///< of the elbows, outwards
};

/// A pose for a moment; the head sways a little.
SAMPLE_POSE HardPerson_Pose(const HARD_MOMENT& _moment, SAMPLE_POINT _ptHead, const SAMPLE_COLOR& _colCoat);

/// The parts. A head is painted over the body, and hair in front over both.
void HardPerson_Body(CZSampleCanvas& _canvas, const HARD_PERSON& _person);
/// Face and cap of hair.
void HardPerson_Head(CZSampleCanvas& _canvas, const HARD_PERSON& _person);
/// The mass of hair behind the head: an ellipse with an uneven edge.
void HardPerson_HairMass(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose, SAMPLE_POINT _ptOff, float _fRadiusU,
                         float _fRadiusV);
