#include "ZChromaKey/Engine1/Kernels/KeyLanes.h"

namespace
{

int32_t Pair(int16_t _nLow, int16_t _nHigh)
{
    return static_cast<uint16_t>(_nLow) + _nHigh * 65536;
}

} // namespace

void KeyLanes_Make(KEY_LANES* _pLanes, const KEY_DISTANCE* _pKeys, int _nKeys) noexcept
{
    for (int i = 0; i < _nKeys; ++i)
    {
        const KEY_DISTANCE& key = _pKeys[i];
        const int64_t nOpaque = int64_t{key.nThreshold} + key.nOpaque;
        _pLanes[i] = {Pair(key.arrValue[0], key.arrValue[2]),
                      Pair(key.arrValue[1], key.arrValue[1]),
                      Pair(key.arrWeight[0], key.arrWeight[2]),
                      Pair(key.arrWeight[1], 0),
                      Pair(0, key.arrWeight[1]),
                      nOpaque < INT32_MAX ? static_cast<int32_t>(nOpaque) : INT32_MAX,
                      key.nThreshold + 1,
                      key.nOpaque - 1,
                      key.nAlphaFloor,
                      key.fltScale};
    }
}
