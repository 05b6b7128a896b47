#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"
#include "ZChromaKey/Work/MaskPost.h"

/// The keys of a set that take part, prepared for the kernels once per frame.
struct KEY_PLAN
{
    KEY_DISTANCE arrKeying[Z_MAX_KEYS]; ///< keys that lower alpha, in the order of the set
    KEY_DISTANCE arrExclude[Z_MAX_KEYS];
    int nKeying;
    int nExclude;
    bool bColorCancel; ///< KeyPlan_HasColorCancel
};

/// Whether the key set asks for clean colours: colour cancel is on and some key has a cancel parameter.
bool KeyPlan_HasColorCancel(const CHROMA_KEY_RAW& _rawKey) noexcept;

/// Keys without delta or with nAlpha 255 take no part. Counts outside 0...16 are clamped.
KEY_PLAN KeyPlan_Make(const CHROMA_KEY_RAW& _rawKey) noexcept;

/// What a key set has done to the finished mask. Thresholds outside 0...255 and passes outside 0...10 are clamped.
MASK_POST MaskPost_Make(const CHROMA_KEY_RAW& _rawKey, bool _bFields) noexcept;
