#include "Helpers/CKUtils.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"

#include <algorithm>
#include <cmath>

namespace CKUtils
{

namespace
{

constexpr int c_nChannels = 4;

struct EDGES
{
    double dblLower;
    double dblUpper;
};

EDGES Edges(const CALC_KEY& _key, int _nChannel)
{
    return {_key.dValue[_nChannel] - _key.dDelta[_nChannel], _key.dValue[_nChannel] + _key.dDelta[_nChannel]};
}

bool IsInside(const CALC_KEY& _keyNew, const CALC_KEY& _key)
{
    for (int i = 0; i < c_nChannels; ++i)
    {
        const EDGES edgNew = Edges(_keyNew, i);
        const EDGES edg = Edges(_key, i);
        if (edg.dblLower > edgNew.dblLower || edgNew.dblUpper > edg.dblUpper)
            return false;
    }
    return true;
}

/// Measured about the edges of the union, not about one of the centres.
double UnionDelta(const CALC_KEY& _key1, const CALC_KEY& _key2, int _nChannel)
{
    const EDGES edg1 = Edges(_key1, _nChannel);
    const EDGES edg2 = Edges(_key2, _nChannel);
    return (std::max(edg1.dblUpper, edg2.dblUpper) - std::min(edg1.dblLower, edg2.dblLower)) * 0.5;
}

double BoxSize(const double (&_d)[4], bool _bWeighted)
{
    if (_bWeighted) // the first channel counts double, alpha does not count
        return _d[0] * _d[0] + 0.5 * _d[1] * _d[1] + 0.5 * _d[2] * _d[2];
    return _d[0] * _d[0] + _d[1] * _d[1] + _d[2] * _d[2] + _d[3] * _d[3];
}

/// The centre stays the key's own: both terms hold it on purpose, so that a key never drifts away from the colour it
/// was made for. The half-width grows to the union's, which therefore need not contain the sample.
void Merge(const CALC_KEY& _keyNew, CALC_KEY* _pKey)
{
    const double dblWeight = _pKey->dWeight + 1;
    const double dblWeightNew = _keyNew.dWeight + 1;
    for (int i = 0; i < c_nChannels; ++i)
    {
        const double dblDelta = UnionDelta(*_pKey, _keyNew, i);
        const double dblValue = _pKey->dValue[i];
        _pKey->dValue[i] = (dblWeightNew * dblValue + dblWeight * dblValue) / (dblWeightNew + dblWeight);
        _pKey->dDelta[i] = dblDelta;
    }
    _pKey->dWeight = 0.0; // not the sum: a merged key starts to count again
}

uint32_t ToByte(double _dblValue)
{
    const double dblLevel = _dblValue * 255.0;
    if (!(std::abs(dblLevel) < 9.0e18)) // no integer holds it
        return 0;
    const auto nLevel = static_cast<int64_t>(dblLevel < 0 ? dblLevel - 0.5 : dblLevel + 0.5);
    return static_cast<uint32_t>(nLevel & 0xFF);
}

/// The byte of a key word that holds a channel.
int ByteOf(int _nChannel, int32_t _eType)
{
    return _eType == eCKT_RGB || _nChannel == 3 ? _nChannel : 2 - _nChannel;
}

bool IsVerbose()
{
    return ZLog_IsOn(eZLog_Verbose);
}

} // namespace

uint32_t PackKeyWord(const double (&_adblChannels)[4], int32_t _eType)
{
    uint32_t nWord = 0;
    for (int i = 0; i < c_nChannels; ++i)
        nWord |= ToByte(_adblChannels[i]) << (8 * ByteOf(i, _eType));
    return nWord;
}

void UnpackKeyWord(uint32_t _nWord, int32_t _eType, double (&_adblChannels)[4])
{
    for (int i = 0; i < c_nChannels; ++i)
        _adblChannels[i] = ((_nWord >> (8 * ByteOf(i, _eType))) & 0xFF) / 255.0;
}

std::string CKeyCalc::FormatKey(const CALC_KEY& _key)
{
    return ZFormat("[R:%.03f(%.03f) G:%.03f(%.03f) B:%.03f(%.03f) A:%.03f(%.03f)]", _key.dValue[0], _key.dDelta[0],
                   _key.dValue[1], _key.dDelta[1], _key.dValue[2], _key.dDelta[2], _key.dValue[3], _key.dDelta[3]);
}

/// The growth of the key when it takes in the sample; 0 when it covers it. A key that lies inside the sample becomes
/// the sample, also for 0.
double CKeyCalc::MergeCost(const CALC_KEY& _keyNew, CALC_KEY* _pKey, bool _bWeightedSize, double* _pdblNewSize)
{
    if (IsInside(_keyNew, *_pKey))
        return 0;
    double adblUnion[c_nChannels];
    for (int i = 0; i < c_nChannels; ++i)
        adblUnion[i] = UnionDelta(*_pKey, _keyNew, i);
    const double dblSize = BoxSize(_pKey->dDelta, _bWeightedSize);
    const double dblNewSize = BoxSize(_keyNew.dDelta, _bWeightedSize);
    const double dblUnionSize = BoxSize(adblUnion, _bWeightedSize);
    if (dblSize >= dblUnionSize)
        return 0;
    if (dblNewSize >= dblUnionSize)
    {
        *_pKey = _keyNew;
        bChanged = true;
        return 0;
    }
    if (_pdblNewSize)
        *_pdblNewSize = dblNewSize;
    return dblUnionSize - dblSize;
}

eCalcResult CKeyCalc::AddKey(const CALC_KEY& _key, double _dblMaxDiff, bool _bWeightedSize)
{
    if (IsVerbose())
        ZLog(eZLog_Verbose, "AddKey() Key: %ws\n", FormatKey(_key));
    const eCalcResult eResult = IsSimilar(_key, _dblMaxDiff, _bWeightedSize);
    if (eResult != eCR_New)
        return eResult;
    if (nKeys >= nMaxKeys)
        return eCR_TooDifferent;
    if (IsVerbose())
        ZLog(eZLog_Verbose, "AddKey() Key: %ws NEW:%d\n", FormatKey(_key), nKeys);
    arrKeys[nKeys++] = _key;
    bChanged = true;
    return eCR_New;
}

void CKeyCalc::SetKey(const CALC_KEY& _key, int32_t _nIndex)
{
    if (IsVerbose())
        ZLog(eZLog_Verbose, "SetKey() Key: %ws\n", FormatKey(_key));
    const bool bNew = nKeys < nMaxKeys;
    if (!bNew && (_nIndex < 0 || _nIndex >= nKeys))
        return;
    const int32_t nIndex = bNew ? nKeys++ : _nIndex;
    if (IsVerbose())
        ZLog(eZLog_Verbose, bNew ? "SetKey() Key: %ws NEW:%d\n" : "SetKey() Key: %ws REPLACE:%d\n", FormatKey(_key),
             nIndex);
    arrKeys[nIndex] = _key;
    bChanged = true;
}

eCalcResult CKeyCalc::IsSimilar(const CALC_KEY& _key, double _dblMaxDiff, bool _bWeightedSize)
{
    if (nKeys <= 0)
        return eCR_New;
    double dblNewSize = 0;
    double dblBest = 0;
    int32_t nBest = 0;
    for (int32_t i = 0; i < nKeys; ++i)
    {
        const double dblCost = MergeCost(_key, &arrKeys[i], _bWeightedSize, i ? nullptr : &dblNewSize);
        if (dblCost == 0)
        {
            if (IsVerbose())
                ZLog(eZLog_Verbose, "IsSimilar() SIMILAR New:%ws Old(%d):%ws\n", FormatKey(_key), i,
                     FormatKey(arrKeys[i]));
            if (i == 0) // only the first key counts its hits
                arrKeys[0].dWeight += 1.0;
            return eCR_Covered;
        }
        if (i > 0 && !(dblCost < dblBest))
            continue;
        if (i > 0 && IsVerbose())
            ZLog(eZLog_Verbose, "IsSimilar() MIN DIFF %.05f->%.05f New:%ws Old(%d):%ws\n", dblBest, dblCost,
                 FormatKey(_key), i, FormatKey(arrKeys[i]));
        dblBest = dblCost;
        nBest = i;
    }
    if (_dblMaxDiff > 0 && dblBest >= _dblMaxDiff)
    {
        if (IsVerbose())
            ZLog(eZLog_Verbose, "IsSimilar(%ws) TOO BIG DIFF: Cur:%.5f Max:%.5f\n", FormatKey(_key), dblBest,
                 _dblMaxDiff);
        return eCR_TooDifferent;
    }
    // A sample that is small beside the growth it would cause gets a key of its own.
    if (nKeys < nMaxKeys && dblNewSize < 2 * dblBest)
        return eCR_New;
    Merge(_key, &arrKeys[nBest]);
    if (IsVerbose())
        ZLog(eZLog_Verbose, "IsSimilar() MERGE (%ws) Add:%.05f Diff:%.05f New:%ws Old(%d):%ws\n",
             nKeys >= nMaxKeys ? "MAX USED" : "MIN ADD", dblNewSize, dblBest, FormatKey(_key), nBest,
             FormatKey(arrKeys[nBest]));
    bChanged = true;
    return eCR_Merged;
}

/// The key among the first _nCount that grows least when it takes in the sample; -1 when none could be compared.
int32_t CKeyCalc::NearestKey(const CALC_KEY& _keyNew, int32_t _nCount)
{
    double dblBest = 1000000.0;
    int32_t nMinIndex = -1;
    for (int32_t i = 0; i < _nCount && dblBest != 0; ++i)
    {
        const double dblCost = MergeCost(_keyNew, &arrKeys[i], false, nullptr);
        if (!(dblCost < dblBest))
            continue;
        if (IsVerbose())
            ZLog(eZLog_Verbose, "ReduceKeys() MIN DIFF %.05f->%.05f New:%ws Old(%d):%ws\n", dblBest, dblCost,
                 FormatKey(_keyNew), i, FormatKey(arrKeys[i]));
        dblBest = dblCost;
        nMinIndex = i;
    }
    return nMinIndex;
}

void CKeyCalc::ReduceKeys(int32_t _nKeys)
{
    if (!Z_VERIFY(_nKeys > 0) || nKeys <= _nKeys)
        return;
    bChanged = true;
    if (_nKeys == 1)
    {
        for (int32_t i = nKeys - 2; i >= 0; --i)
            Merge(arrKeys[i + 1], &arrKeys[i]);
        nKeys = 1;
        return;
    }
    for (; nKeys > _nKeys; --nKeys)
    {
        const CALC_KEY& keyLast = arrKeys[nKeys - 1];
        const int32_t nMinIndex = NearestKey(keyLast, nKeys - 1);
        if (Z_VERIFY(nMinIndex >= 0)) // else the key is no number, and goes
            Merge(keyLast, &arrKeys[nMinIndex]);
    }
}

void CKeyCalc::SetMaxKeys(int32_t _nKeys)
{
    const int32_t nAllowed = std::clamp(_nKeys, 1, Z_MAX_KEYS);
    if (nAllowed < nKeys)
        ReduceKeys(nAllowed);
    nMaxKeys = nAllowed;
}

void CKeyCalc::ClampDeltas(double _dblLower, double _dblUpper)
{
    for (int32_t nKey = 0; nKey < nKeys; ++nKey)
        for (int i = 0; i < 3; ++i)
            arrKeys[nKey].dDelta[i] = std::min(std::max(arrKeys[nKey].dDelta[i], _dblLower), _dblUpper);
    bChanged = bChanged || nKeys > 0;
}

void CKeyCalc::BlendValues(const double (&_adblColor)[3], double _dblFactor)
{
    for (int32_t nKey = 0; nKey < nKeys; ++nKey)
        for (int i = 0; i < 3; ++i)
            arrKeys[nKey].dValue[i] = (1 - _dblFactor) * arrKeys[nKey].dValue[i] + _dblFactor * _adblColor[i];
    bChanged = bChanged || nKeys > 0;
}

void CKeyCalc::ToRaw(CHROMA_KEY_RAW* _pRaw, bool _bReverse) const
{
    const int32_t nUsed = std::clamp(_pRaw->nKeysUsed, 0, Z_MAX_KEYS);
    const int32_t nFit = std::min(nKeys, Z_MAX_KEYS - nUsed);
    for (int32_t k = 0; k < nFit; ++k)
    {
        SINGLE_KEY& key = _pRaw->arrKeys[nUsed + k];
        key.nValue = PackKeyWord(arrKeys[k].dValue, _pRaw->eType);
        key.nDelta = PackKeyWord(arrKeys[k].dDelta, _pRaw->eType);
        key.nReverseKey = _bReverse ? 1 : 0;
    }
    _pRaw->nKeysUsed = nUsed + nFit;
}

void CKeyCalc::FromRaw(const CHROMA_KEY_RAW& _raw, bool _bReverse)
{
    const int32_t nUsed = std::clamp(_raw.nKeysUsed, 0, Z_MAX_KEYS);
    for (nKeys = 0; nKeys < nUsed; ++nKeys)
    {
        const SINGLE_KEY& key = _raw.arrKeys[nKeys];
        if ((key.nReverseKey > 0) != _bReverse)
            continue; // still counted, so that indices stay those of the raw set
        UnpackKeyWord(key.nValue, _raw.eType, arrKeys[nKeys].dValue);
        UnpackKeyWord(key.nDelta, _raw.eType, arrKeys[nKeys].dDelta);
    }
}

} // namespace CKUtils
