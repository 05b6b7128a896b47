#pragma once

#include "Helpers/CKDetect.h"
#include "Helpers/FrameSampler.h"
#include "ZChromaKey/Keys/KeyStats.h"

#include <cstdint>
#include <optional>
#include <vector>

/// A frame as detection reads it: four bytes a pixel, from its top row.
struct WORKING_PICTURE
{
    std::vector<uint8_t> vecPixels;
    ZF_VID_PROPS vidProps = {};

    size_t Offset(int _nX, int _nY) const
    {
        return size_t{4} * (static_cast<size_t>(vidProps.nWidth) * static_cast<size_t>(_nY) + static_cast<size_t>(_nX));
    }
    const uint8_t* At(int _nX, int _nY) const
    {
        return vecPixels.data() + Offset(_nX, _nY);
    }
    uint8_t* At(int _nX, int _nY)
    {
        return vecPixels.data() + Offset(_nX, _nY);
    }
};

/// Reads the whole frame of a sampler in the space of the keys.
WORKING_PICTURE WorkingPicture_Read(CFrameSampler* _pSampler, eCK_Type _eSpace);

/// A colour in Y, U, V: levels from black and from grey.
struct TINT
{
    double dblY;
    double dblU;
    double dblV;
};

/// The middle of some pixels of bytes Y, U, V, A.
TINT Tint_Of(const CKeyStats& _statsYUV);

/// What a picture shows of a screen and of what stands before it, as far as it is flat.
struct KEY_SCREEN
{
    CKeyStats stats;                 ///< the pixels of the screen
    CKUtils::CALC_KEY keyNoise = {}; ///< half-widths of single blocks, in the mean: noise without the light
    std::vector<CKUtils::CALC_KEY> vecForeground; ///< the boxes of blocks that are surely none of it
    size_t nBlocks = 0;                           ///< blocks of the screen; 0: the rest but vecForeground is empty
};

/// The flat blocks of a picture, sorted into a screen and what stands before it. Blocks are compared in Y, U, V; what
/// is counted are pixels in the space of the keys.
class CFlatBlocks
{
public:
    /// _yuv and _picture, the same in the space of the keys, are borrowed. _vecBlocks: a whole grid, row by row.
    /// _nThreshold: how even a block is, in levels.
    CFlatBlocks(const WORKING_PICTURE& _yuv, const WORKING_PICTURE& _picture, eCK_Type _eSpace,
                std::vector<CKUtils::CK_BLOCK> _vecBlocks, int32_t _nThreshold);

    /// The blocks of the grid.
    size_t Count() const
    {
        return m_vecBlocks.size();
    }
    /// The screen of a colour: all flat blocks of its hue, however they are lit.
    KEY_SCREEN ScreenOf(const TINT& _tint) const;
    /// The colour of the screen whose blocks detection has accepted. None where these are nearly grey, where the screen
    /// is less than a twentieth of the blocks, or where it does not reach along the upper border: what stands before a
    /// screen comes in from below, so a green pullover before a wall of another colour is none.
    std::optional<TINT> AcceptedScreen() const;

private:
    struct FLAT
    {
        CKUtils::CK_BLOCK block;
        TINT tint; ///< its middle
    };
    template <class Take> TINT Middle(Take _fnTake) const;
    bool IsUpperBorder(const CKUtils::CK_BLOCK& _block) const;
    bool ReachesUp(const TINT& _tint) const;

    const WORKING_PICTURE& m_picture;
    eCK_Type m_eSpace;
    std::vector<CKUtils::CK_BLOCK> m_vecBlocks;
    std::vector<FLAT> m_vecFlat;
};
