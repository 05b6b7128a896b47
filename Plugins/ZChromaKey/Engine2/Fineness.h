#pragma once

#include "ZChromaKey/Engine2/Chroma.h"

/// Whether chroma of pictures in RGB is as fine as their luma.
///
/// Most of them were YUV once, whose chroma two or four pixels shared, and nothing else says so. In mixed cells, along
/// rows and along columns, differences of chroma and of luma are compared.
/// - A decoder that takes care has made chroma smooth where luma is not. Second differences |a - 2 b + c| against
///   first ones |a - b| say so:
///       fineness = (chroma's second / chroma's first) / (luma's second / luma's first)
///   Photographs and drawings in RGB have 0.81 to 1.3; what came from 4:2:0, compressed or not, 0.46 to 0.72.
/// - A fast one repeats chroma: pixels 0 and 1, 2 and 3 and so on hardly differ in it, though 1 and 2 do.

/// Rows of cells: the differences in some of their mixed cells, to vecFineness.
void Fineness_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_PICTURE& _picture, int _nFirst,
                   int _nRows);
/// How many rows of cells there are from one that is measured to the next, in a field of so many.
int Fineness_RowStep(int _nCellRows);
/// Puts the pixels that an UNMIX_CELL_INPUT has for this to their places in a picture.
void Fineness_TakePixels(const uint8_t* _pPixels0, ptrdiff_t _nStride, const UNMIX_CELLS& _cells,
                         const UNMIX_PICTURE& _picture, uint8_t* _pRow0);
/// Adds those of a picture to those of the stream, which count an eighth less with every picture.
void Fineness_Learn(UNMIX_STATE& _state);

/// What is to be done about it.
struct CHROMA_FINENESS
{
    float fltShared = 0;     ///< 0: chroma is as fine as luma, to 1: it was shared
    bool bRowsShare = false; ///< by rows, too
    bool bRepeated = false;  ///< and is the same for all pixels that shared it, or nearly
};
CHROMA_FINENESS Fineness_Of(const UNMIX_STATE& _state);
/// The samples of a picture in RGB that luma's detail makes better; eNone: it is fine enough.
UNMIX_SAMPLES Fineness_Samples(const UNMIX_STATE& _state, const UNMIX_PICTURE& _picture);
