#pragma once

#include "zkhost/Commands/KeyOptions.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/Stream.h"

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

/// Keys up to _nMaxFrames frames (0: all) of a source with the keys that the command line asks for.
/// _fnKeyed gets every frame in order; the pictures are valid during the call. Answers how many there were.
int64_t KeyJob_Run(CZFrameSource& _source, CZKeyer& _keyer, const CZKeyOptions& _options, int64_t _nMaxFrames,
                   const std::function<void(KEYED&)>& _fnKeyed);
