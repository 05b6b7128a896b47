#pragma once

#include "Image/ImgColor.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/ZPlatform.h"
#include "ZChromaKey/Engine1/KeySlice.h"

#include <memory>
#include <optional>

/// The CPU keying engine: turns a picture and a key set into an 8-bit alpha plane of the same size, 0 where the
/// picture is keyed out, 255 where it stays.
///
/// The picture is cut into as many slices as there are threads: slice i has the rows i, i + n, i + 2n ..., each slice
/// equally many, so that the last height mod n rows are not keyed. Workers keep their threads and buffers between
/// frames. All calls come from one thread at a time.
class CChromaKey
{
public:
    /// Sets the number of worker threads, 1 to 16 (others are clamped); 6 at first. S_FALSE: it is the current number.
    /// Otherwise all workers are stopped, and the next frame starts new ones.
    HRESULT ThreadsSet(uint32_t _nThreads);
    uint32_t ThreadsGet() const
    {
        return m_nThreads;
    }
    /// The matrix to read YUV pictures and to measure YUV keys with; empty (at first) = that of the properties,
    /// Img_MatrixOf. Set it when the pictures were converted from YUV to RGB before, or cut from larger ones.
    void MatrixSet(std::optional<eZYMatrix> _eMatrix)
    {
        m_eMatrix = _eMatrix;
    }
    /// Whether ProcessFrame sets what it does not key to 255 (off at first), so that a new plane need not be filled; it
    /// stays 255 through thresholds, smoothing and inversion.
    void FillSet(bool _bFill)
    {
        m_bFill = _bFill;
    }
    /// Whether ProcessFrame cleans the colours of the picture where the key set asks for it (off at first) and its
    /// format is one that CancelPlane_IsKnown.
    void CleanSet(bool _bClean)
    {
        m_bClean = _bClean;
    }

    /// Of pictures with alpha: whether the finished mask is multiplied by the alpha that they come with, which it else
    /// takes the place of, and whether their colours are multiplied by the new alpha. Both off at first.
    void AlphaSet(bool _bMultiply, bool _bPremultiply)
    {
        m_bMultiply = _bMultiply;
        m_bPremultiply = _bPremultiply;
    }

    /// Computes the alpha plane of a picture.
    ///
    /// _pInput: the planes, row 0 being the row at the top (negative strides where needed). Only read, except
    /// that the alpha of formats that have it becomes the finished mask, that AlphaSet has colours multiplied, and that
    /// CleanSet has colours cleaned in the whole picture, however much of it is keyed.
    /// _pbAlpha1Ch: the top row; its stride is that of the mask record of _pInputProps. What is not keyed keeps its
    /// value unless FillSet was called: rows left over by the slices, pictures less than 8 pixels wide, columns after
    /// the last full group of 8. Bytes past the width are never written.
    /// _pInputProps: format, size, field order; a stride of 0 counts as derived.
    ///
    /// S_OK; S_FALSE: a key type other than RGB, HLS and YUV (nothing is written), or no key that keys and no colour
    /// cancel (the slices are set to 255); E_POINTER; E_NOTIMPL: a format that cannot be read; E_INVALIDARG: planes or
    /// properties that do not fit; E_OUTOFMEMORY; Z_E_TIMEOUT: the workers were not done within 10 s. A worker that
    /// cannot be stopped then may still touch the planes: see Hold.
    HRESULT ProcessFrame(const ZF_VID_PTR* _pInput, uint8_t* _pbAlpha1Ch, const ZF_VID_PROPS* _pInputProps,
                         const CHROMA_KEY_RAW* _pChromaKey);

    /// After a ProcessFrame that timed out: keeps the owners of picture and mask for as long as a worker may touch
    /// them.
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept
    {
        m_pool.Hold(_listOwners);
    }

private:
    HRESULT JobMake(const ZF_VID_PTR& _vidInput, uint8_t* _pbAlpha1Ch, const ZF_VID_PROPS& _vidProps);
    void LeftOutFill() const;
    HRESULT SlicesRun();

    CRowPool m_pool{"CChromaKey"};
    std::shared_ptr<CKeyWork> m_spWork; // the job of the frame under way, and what the slices keep between frames
    CHROMA_KEY_RAW m_rawKey = {};
    uint32_t m_nThreads = 6;
    bool m_bInterlaced = false;
    bool m_bFill = false;
    bool m_bClean = false;
    bool m_bMultiply = false;
    bool m_bPremultiply = false;
    std::optional<eZYMatrix> m_eMatrix;
};
