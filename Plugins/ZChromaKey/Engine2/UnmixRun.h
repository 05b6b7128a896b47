#pragma once

#include "Image/ImgRowReader.h"
#include "ZChromaKey/Engine2/Unmix.h"

#include <span>

/// The passes of Unmix.h over one picture. A frame that is interlaced is two of them.

/// One picture on its way through the passes.
struct UNMIX_RUN
{
    UNMIX_STATE& state;
    IRowRunner& runner;
    FIELD_STATE& field;
    int nField;
    UNMIX_PICTURE picture;
    UNMIX_SAMPLES samples;
    UNMIX_RESULT result;
    const CImgRowReader* pReader;   ///< fills the picture; null: its rows come from the input
    const UNMIX_CELL_INPUT* pCells; ///< in place of pixels; null: there are pixels

    template <class T> void Rows(int _nRows, const T& _body) const
    {
        runner.Run(_nRows, c_nPassPart, CRowPass(_body));
    }
    template <class T> void CellRows(const T& _body) const
    {
        Rows(field.cells.nHeight, _body);
    }
    template <class T> void PlateRows(const T& _body) const
    {
        Rows(state.nPlateHeight, _body);
    }
    /// How many rows of cells, from 2 _nFirst on, rows of the plate have.
    int CellsOf(int _nFirst, int _nRows) const
    {
        return std::min(2 * _nRows, field.cells.nHeight - 2 * _nFirst);
    }
};

/// What a picture has in common with the one before.
struct UNMIX_SEEN
{
    bool bScreen; ///< what says which cells are backdrop
    bool bSetup;
};

/// Whether the plate stays what it is.
bool UnmixRun_IsHeld(const UNMIX_STATE& _state, const UNMIX_SETUP& _setup);
/// Takes over the setup of the next picture, and forgets what was learned where it is not of that stream.
UNMIX_SEEN UnmixRun_TakeSetup(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_KIND& _kind);
/// What the fields of a frame teach, up to the classes of their cells. S_FALSE: there is no key.
HRESULT UnmixRun_Learn(std::span<const UNMIX_RUN> _runs, const UNMIX_SEEN& _seen);

/// The run with samples of pixels that luma's detail makes better, if their chroma was shared once.
UNMIX_RUN UnmixRun_WithSharedChroma(const UNMIX_RUN& _run);
/// The run with vecDeep as the place of its pixels in 64ths of a level.
UNMIX_RUN UnmixRun_WithDeep(const UNMIX_RUN& _run);
/// Into vecDeep: pixels that the planes know better than the 8-bit reader, or that have shared their chroma once.
void UnmixRun_Refine(const UNMIX_RUN& _run);
/// The bytes of the picture in 64ths of a level.
void UnmixRun_Deepen(const UNMIX_RUN& _run);
/// The result of a field that was learned from.
void UnmixRun_Write(const UNMIX_RUN& _run, eUnmixWrite _eWrite);
