#include "ZChromaKey/Keys/KeyCheck.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Keys/KeyAdjust.h"

#include <cmath>

bool KeyCheck_Count(const CHROMA_KEY_RAW& _key)
{
    if (_key.nKeysUsed >= 0 && _key.nKeysUsed <= Z_MAX_KEYS)
        return true;
    ZLog(eZLog_Error, "Key set: not taken over: nKeysUsed is %d; a set has 0 to %d keys\n", _key.nKeysUsed, Z_MAX_KEYS);
    return false;
}

bool KeyCheck_Adjust(const CK_ADJUST& _adjust)
{
    CK_ADJUST adjust = _adjust;
    for (const CK_ADJUST_INFO& info : KeyAdjust_Table())
        if (const double* const pdblValue = KeyAdjust_Field(&adjust, info.eAdjust);
            pdblValue && !std::isfinite(*pdblValue))
        {
            ZLog(eZLog_Error, "Key set: not taken over: adjustment \"%hs\" is %g; use a number from %g to %g (%hs)\n",
                 info.pszName, *pdblValue, info.dblMin, info.dblMax, info.pszUnit);
            return false;
        }
    return true;
}
