#pragma once

#include "Image/ImgPatch.h"
#include "Image/ImgRowReader.h"
#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Pixels.h"
#include "ZChromaKey/Engine2/Unmix.h"

#include <cstdint>

/// The result of a picture in the forms that a job asks for besides straight alpha.

/// The alpha of a row of the result as bytes of the mask; 16 bits are rounded to nearest.
void Output_Mask(const UNMIX_RESULT& _result, int _nRow, int _nWidth, uint8_t* _pMask);
/// Multiplies the colours of a row by their alpha, rounded to nearest.
void Output_Premultiply(const UNMIX_RESULT& _result, int _nRow, int _nWidth);

/// Puts the bytes of a row in the order R, G, B, A.
void Output_Swap(const UNMIX_RESULT& _result, int _nRow, int _nWidth);

/// Puts the colours of a result back into a picture of the input's format, where they are new: pixels that are not
/// transparent and moved by more than one step of the format's depth. What the engine left alone keeps its samples.
class CUnmixClean
{
public:
    /// _target: the picture to write, a copy of the input. _state: as Unmix_Frame left it. All is borrowed.
    HRESULT Init(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_INPUT& _target,
                 const UNMIX_RESULT& _result);
    /// Groups of four rows: as many as the picture has begun.
    int Groups() const
    {
        return (m_nHeight + IMG_PATCH::c_nHeight - 1) / IMG_PATCH::c_nHeight;
    }
    /// A part of a pass over the groups.
    void Pass(int _nFirst, int _nGroups) const;
    /// Whether a result for a picture of that format is to have 16 bits a channel.
    static bool WantsWords(uint32_t _fccType);

private:
    void PassGroup(int _nGroup, uint8_t* _pRoom) const;
    uint64_t Changed(const uint8_t* _pRow, int _nX, int _nY, int _nPixels) const;
    bool IsRowUnseen(int _nY) const;
    uint64_t CellsAt(const CBitRows& _bits, int _nX, int _nY) const;
    bool IsUnseen(int _nX, int _nY, int _nPixels) const;
    uint64_t Deep(int _nX, int _nY) const;

    UNMIX_STATE* m_pState = nullptr;
    UNMIX_RESULT m_result;
    CImgPatcher m_patcher;
    CImgRowReader m_reader;
    bool m_arrDeep[2] = {};    ///< of a field: its mixed cells were read from the planes
    bool m_bDeepSolid = false; ///< and its solid ones
    int m_nWidth = 0;
    int m_nHeight = 0;
};
