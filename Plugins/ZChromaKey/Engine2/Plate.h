#pragma once

#include "ZChromaKey/Engine2/State.h"

/// Step 3: the backdrop plate, what the screen looks like behind everything, on cells of 8x8 pixels.
///
/// A place that is seen as sure backdrop takes part in a running mean over eight frames; one that is covered keeps what
/// was seen there, corrected by what the lamps have done since; one that was never seen is filled in from around.
///
/// What the lamps have done is measured against the reference, the plate in the light of the first picture, anew for
/// each picture. It must not be summed up from picture to picture: what is seen beside a soft edge is a little off, and
/// behind a body that stays for hours the sum of that would grow without end.

/// Rows of the plate, out of the plate that is given: means of its pixels, and in bitsPlate what looks like a key
/// there.
void Plate_GivenPass(UNMIX_STATE& _state, int _nFirst, int _nRows);
/// After all rows: what looks like a key counts as seen in many frames. The rest, and what touches it, may be a stand
/// or a person, and is filled in.
void Plate_GivenFinish(UNMIX_STATE& _state);

/// Means of the cells that a mask names, per plate cell of one row; w is how many of the four there were, but at most
/// _fltMost.
void Plate_Mean(const UNMIX_KERNELS& _kernels, const UNMIX_CELLS& _cells, const CBitRows& _bits, int _nRow,
                float _fltMost, VEC4* _pOut);

/// Rows of the plate, from a multiple of c_nLampBlock on: what is seen in the present picture (vecSeen), how it
/// compares to the reference (also in blocks, vecBlocks), and how much of it is far from the plate (vecSums).
void Plate_SeenPass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows);

/// What the whole picture says about the plate.
struct PLATE_CHANGE
{
    int nSeen = 0;         ///< plate cells that are sure now and were before
    bool bEnough = false;  ///< to tell anything from; else the light is as before
    bool bCut = false;     ///< more than a third of them are off by 0.3 of the key's X: another scene
    VEC4 gain{1, 1, 1, 1}; ///< exposure since the first picture: ratio of the sums; means nothing after a cut
};
PLATE_CHANGE Plate_Compare(const UNMIX_STATE& _state);

/// Lamps that beat in bands, and shade that drifts: the smooth part of what the present picture differs by from the
/// reference times the gain, means over blocks of 32x32 pixels, filled in where nothing is seen. Left in lamps, level
/// 0.
void Plate_FindLamps(UNMIX_STATE& _state);

/// Rows of the plate, as above, once after Plate_SeenPass: the reference in the light of the present picture; both
/// learn what is seen, and which key each cell belongs to follows.
void Plate_LearnPass(UNMIX_STATE& _state, int _nFirst, int _nRows);

/// The light of the first picture, and nothing known yet.
void Plate_Forget(UNMIX_STATE& _state);

/// Fills in what was never seen, if enough has been seen since it was last done; a picture without any backdrop gets
/// the key's colour.
void Plate_Fill(UNMIX_STATE& _state, const FIELD_STATE& _field);

/// Rows of the plate: which key each cell belongs to.
void Plate_OwnerPass(UNMIX_STATE& _state, int _nFirst, int _nRows);
