#include "ZChromaKey/Engine1/KeyPlan.h"

#include "ZChromaKey/Engine1/Kernels/KeyPrepare.h"

#include <algorithm>

namespace
{

constexpr int32_t c_nMaxPasses = 10;
constexpr int32_t c_nNoKey = 255; // the nAlpha of a key that leaves everything opaque

bool IsCancelKey(const SINGLE_KEY& _key)
{
    return _key.nDelta != 0 && _key.nReverseKey <= 0 &&
           (_key.nCancelPower || _key.nCancelChroma || _key.nCancelLuma || _key.nCancelAlpha);
}

} // namespace

bool KeyPlan_HasColorCancel(const CHROMA_KEY_RAW& _rawKey) noexcept
{
    const int nKeys = std::clamp(_rawKey.nKeysUsed, 0, Z_MAX_KEYS);
    return _rawKey.bColorCancel && std::any_of(_rawKey.arrKeys, _rawKey.arrKeys + nKeys, IsCancelKey);
}

KEY_PLAN KeyPlan_Make(const CHROMA_KEY_RAW& _rawKey) noexcept
{
    KEY_PLAN plan = {};
    plan.bColorCancel = KeyPlan_HasColorCancel(_rawKey);
    // RGB keys have R in byte 0, pixels have B there.
    const bool bSwap02 = _rawKey.eType == eCKT_RGB;
    const int nKeys = std::clamp(_rawKey.nKeysUsed, 0, Z_MAX_KEYS);
    for (int i = 0; i < nKeys; ++i)
    {
        const SINGLE_KEY& key = _rawKey.arrKeys[i];
        if (key.nDelta == 0 || key.nAlpha == c_nNoKey)
            continue;
        if (key.nReverseKey <= 0)
            plan.arrKeying[plan.nKeying++] = KeyDistance_Prepare(key, bSwap02);
        else
            plan.arrExclude[plan.nExclude++] = KeyDistance_Prepare(key, bSwap02);
    }
    for (KEY_DISTANCE& key : plan.arrExclude)
        key.nAlphaFloor = 0; // an exclusion key keeps whole pixels; its alpha has no meaning
    return plan;
}

MASK_POST MaskPost_Make(const CHROMA_KEY_RAW& _rawKey, bool _bFields) noexcept
{
    MASK_POST post = {};
    post.nMin = static_cast<uint8_t>(std::clamp(_rawKey.nMinTransparent, 0, 255));
    post.nMax = static_cast<uint8_t>(std::clamp(_rawKey.nMaxTransparent, 0, 255));
    post.nPasses = std::clamp(_rawKey.nEdgesSmooth, 0, c_nMaxPasses);
    post.bFields = _bFields;
    post.bInvert = _rawKey.nInverseKey != 0;
    return post;
}
