#pragma once

#include "zkhost/Commands/KeyOptions.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/Stream.h"

#include <algorithm>
#include <functional>

/// A keyed frame as pictures.
struct KEYED
{
    PICTURE picture;   ///< with the mask as its alpha
    PICTURE mask;      ///< grey
    DEEP_PICTURE deep; ///< the same of a result with 16 bits a channel, while bDeep
    bool bDeep = false;
};

/// Reads the pictures out of a result frame: the mask is the attached one, else the frame's own alpha.
void KeyJob_Read(IZFFrame* _pResult, KEYED& _keyed);

/// Which frames of a clip are keyed.
struct KEY_PIECE
{
    int64_t nFirst = 1;  ///< the first one to hand out, counted from 1
    int64_t nFrames = 0; ///< so many at most; 0: all
    int64_t nPreroll =
        0; ///< so many before it are keyed as well, as far as there are any, for what is learned from them

    /// Where the source is to begin, counted from 0.
    int64_t Begin() const
    {
        return std::max<int64_t>(nFirst - 1 - nPreroll, 0);
    }
    /// How many are keyed first and not handed out.
    int64_t Lead() const
    {
        return nFirst - 1 - Begin();
    }
};

/// Keys a piece of a clip with the keys that the command line asks for, made on the first frame. The source is open
/// where the piece begins. _fnKeyed gets every frame in order; the pictures are valid during the call.
void KeyJob_Run(CZFrameSource& _source, CZKeyer& _keyer, const CZKeyOptions& _options, const KEY_PIECE& _piece,
                const std::function<void(KEYED&)>& _fnKeyed);
