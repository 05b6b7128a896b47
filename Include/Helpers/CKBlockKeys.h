#pragma once

#include "Helpers/CKPixelBlock.h"
#include "Helpers/CKUtils.h"

#include <cstddef>
#include <cstdint>

namespace CKUtils
{

/// Makes keys of the flat green or blue blocks of one kind of working picture.
class CBlockKeys
{
public:
    /// _fccType: pixel format (CKDetect.h says what the bytes are then); _nThreshold: flatness in levels: neighbours
    /// may differ by it in every colour channel, and any pixel from the block's first by twice as much (as Euclidean
    /// distances).
    CBlockKeys(uint32_t _fccType, int32_t _nThreshold);

    /// The key of a block: the box around its pixels, at least one level wide to each side. False when the block is
    /// not flat, not of one class, or of another class than *_pnSign says; key and sign are then untouched.
    /// *_pnSign: class of the blocks so far, +1 green, -1 blue, 0 none; takes this block's. H, L, S blocks follow any
    /// sign. _nRowBytes may be negative. The first column serves as neighbour only: the box begins with the second
    /// (and the very first pixel).
    bool KeyFromBlock(const uint8_t* _pbBlock, int32_t _nWidth, int32_t _nHeight, ptrdiff_t _nRowBytes, CALC_KEY* _pKey,
                      int32_t* _pnSign) const;

private:
    int32_t SignOfBox(const PIXEL_BOX& _box) const;
    int32_t SignOfPixels(const PIXEL_BLOCK& _block) const;

    uint8_t m_arrClass[3][256]; ///< per byte of a pixel: the classes that its value allows
    int32_t m_nMaxNeighbour;    ///< greatest squared distance to a neighbour
    bool m_bAnySign;
};

} // namespace CKUtils
