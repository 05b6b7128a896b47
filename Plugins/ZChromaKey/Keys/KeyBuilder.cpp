#include "ZChromaKey/Keys/KeyBuilder.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Keys/KeyFinder.h"
#include "ZChromaKey/Keys/KeyRay.h"
#include "ZChromaKey/Keys/KeyStats.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

using CKUtils::CALC_KEY;
using CKUtils::CKeyCalc;

namespace
{

constexpr int c_nPointReach = 3; // pixels to each side of a point
constexpr int c_nMaxParts = 4;   // of a rectangle, in each direction
constexpr int c_nPartPixels = 16;

/// The smooth range of a key that was made here: follows from its half-widths when it is handed out.
constexpr int32_t c_nSmoothDerived = std::numeric_limits<int32_t>::min();

SINGLE_KEY NewExtras()
{
    SINGLE_KEY key = {};
    key.nSmoothRange = c_nSmoothDerived;
    return key;
}

struct RECT_PIXELS
{
    int nX1;
    int nY1;
    int nX2;
    int nY2;
};

/// Where part _nPart of _nParts begins.
int PartStart(int _nSize, int _nPart, int _nParts)
{
    return static_cast<int>(int64_t{_nSize} * _nPart / _nParts);
}

/// Counts the pixels of a rectangle, cut into columns and rows, row by row.
std::vector<CKeyStats> Sample(CFrameSampler* _pSampler, eCK_Type _eSpace, const RECT_PIXELS& _rect, int _nColumns,
                              int _nRows)
{
    const int nWidth = _rect.nX2 - _rect.nX1;
    const int nHeight = _rect.nY2 - _rect.nY1;
    std::vector<uint8_t> vecRow(size_t{4} * static_cast<size_t>(nWidth));
    std::vector<CKeyStats> vecParts(static_cast<size_t>(_nColumns) * static_cast<size_t>(_nRows));
    auto itParts = vecParts.begin();
    for (int nRow = 0; nRow < _nRows; ++nRow, itParts += _nColumns)
        for (int y = PartStart(nHeight, nRow, _nRows); y < PartStart(nHeight, nRow + 1, _nRows); ++y)
        {
            _pSampler->ReadRow(_eSpace, _rect.nY1 + y, _rect.nX1, _rect.nX2, vecRow.data());
            for (int nColumn = 0; nColumn < _nColumns; ++nColumn)
            {
                const int nFrom = PartStart(nWidth, nColumn, _nColumns);
                const int nTo = PartStart(nWidth, nColumn + 1, _nColumns);
                itParts[nColumn].Add(vecRow.data() + size_t{4} * static_cast<size_t>(nFrom), nTo - nFrom);
            }
        }
    return vecParts;
}

/// The parts of a rectangle that are like the whole; the whole when it is small.
std::vector<CALC_KEY> SampleParts(CFrameSampler* _pSampler, eCK_Type _eSpace, const RECT_PIXELS& _rect)
{
    const int nColumns = std::clamp((_rect.nX2 - _rect.nX1) / c_nPartPixels, 1, c_nMaxParts);
    const int nRows = std::clamp((_rect.nY2 - _rect.nY1) / c_nPartPixels, 1, c_nMaxParts);
    const std::vector<CKeyStats> vecParts = Sample(_pSampler, _eSpace, _rect, nColumns, nRows);
    CKeyStats statsAll;
    for (const CKeyStats& stats : vecParts)
        statsAll.Add(stats);
    std::vector<CALC_KEY> vecKeys;
    for (const CKeyStats& stats : vecParts)
        if (statsAll.IsLike(stats, _eSpace))
            vecKeys.push_back(stats.Box(_eSpace));
    if (vecKeys.empty()) // as many colours as parts: the middle of them
        vecKeys.push_back(statsAll.Box(_eSpace));
    return vecKeys;
}

/// Whether two keys differ by so little that one will do.
bool IsAlike(const CALC_KEY& _key, const CALC_KEY& _keyOld)
{
    constexpr double c_dblShare = 0.25; // of a half-width
    for (int i = 0; i < 3; ++i)
    {
        const double dblLittle = c_dblShare * _keyOld.dDelta[i];
        if (std::abs(_key.dValue[i] - _keyOld.dValue[i]) > dblLittle ||
            std::abs(_key.dDelta[i] - _keyOld.dDelta[i]) > dblLittle)
            return false;
    }
    return true;
}

/// The screen of the colour in the middle of a rectangle.
KEY_SCREEN ScreenOf(CFrameSampler* _pSampler, eCK_Type _eSpace, const RECT_PIXELS& _rect)
{
    return KeyFinder_ScreenOf(_pSampler, _eSpace, Tint_Of(Sample(_pSampler, eCKT_YUV, _rect, 1, 1)[0]));
}

} // namespace

CKeyBuilder::CKeyBuilder()
{
    m_raw.eType = eCKT_Auto;
    m_raw.nMaxTransparent = 255; // 0 would make every soft edge opaque
    ForgetExtras();
}

HRESULT CKeyBuilder::TypeSet(eCK_Type _eType)
{
    if (!KeyType_HasSpace(_eType) && _eType != eCKT_Auto)
    {
        ZLog(eZLog_Error,
             "CKeyBuilder::TypeSet: keys cannot be of type %d; take 2 (RGB), 3 (HLS), 4 (YUV) or 5 (Auto)\n", _eType);
        return E_INVALIDARG;
    }
    m_eType = _eType;
    if (_eType != eCKT_Auto)
        SpaceSet(_eType);
    Calc(false).bChanged = true;
    return S_OK;
}

void CKeyBuilder::Reset()
{
    for (KEYS& keys : m_arrKeys)
    {
        keys.calc.nKeys = 0;
        keys.calc.bChanged = true;
    }
    ForgetExtras();
}

void CKeyBuilder::MaxKeysSet(int32_t _nMaxKeys, bool _bExclude)
{
    Calc(_bExclude).SetMaxKeys(_nMaxKeys);
    FitIntoSet();
    ForgetExtras();
}

/// The space that a sample is taken in: keys of one set are of one space.
eCK_Type CKeyBuilder::SampleSpace() const
{
    if (m_eType != eCKT_Auto)
        return m_eType;
    return HasKeys() ? m_eSpace : eCKT_YUV;
}

void CKeyBuilder::SpaceSet(eCK_Type _eSpace)
{
    if (std::exchange(m_eSpace, _eSpace) != _eSpace)
        Reset();
}

/// Adds a key, unless one that is nearly the same is there. The calculator would rather fold it into the nearest one,
/// whose centre stays where it is: that suits boxes around samples, not keys that are where they are for a reason. So
/// it is left to do that when the set is full.
void CKeyBuilder::Append(const CALC_KEY& _key, int32_t _nSmoothRange)
{
    KEYS& keys = m_arrKeys[0];
    if (std::any_of(keys.calc.arrKeys, keys.calc.arrKeys + keys.calc.nKeys,
                    [&](const CALC_KEY& _keyOld) { return IsAlike(_key, _keyOld); }))
        return;
    if (keys.calc.nKeys >= keys.calc.nMaxKeys)
    {
        keys.calc.AddKey(_key, 0, m_eSpace == eCKT_HLS);
        return;
    }
    keys.arrExtras[keys.calc.nKeys].nSmoothRange = _nSmoothRange;
    keys.calc.SetKey(_key, keys.calc.nKeys);
}

/// Takes the samples whatever they look like, because a person has pointed at them. An exclusion key is the sample
/// itself; a backdrop is lit unevenly, and the frame shows how.
void CKeyBuilder::Offer(const std::vector<CALC_KEY>& _vecSamples, const KEY_SCREEN& _screen, bool _bExclude)
{
    for (const CALC_KEY& sample : _vecSamples)
    {
        if (_bExclude)
        {
            Calc(true).AddKey(sample, 0, m_eSpace == eCKT_HLS);
            continue;
        }
        const FOUND_KEYS found = KeyFinder_KeysOf(sample, m_eSpace, _screen);
        for (size_t i = 0; i < found.vecKeys.size(); ++i)
            Append(found.vecKeys[i], found.vecSmooth[i]);
    }
    FitIntoSet();
}

/// Both kinds of keys have to fit into one set: ordinary ones make room for exclusion keys, down to one. Half-widths
/// that have grown beyond the levels there are would wrap when they are packed.
void CKeyBuilder::FitIntoSet()
{
    CKeyCalc& calc = Calc(false);
    CKeyCalc& calcExclude = Calc(true);
    const int32_t nMostExclude = Z_MAX_KEYS - std::min(calc.nKeys, 1);
    if (calcExclude.nKeys > nMostExclude)
        calcExclude.ReduceKeys(nMostExclude);
    if (calc.nKeys > Z_MAX_KEYS - calcExclude.nKeys)
        calc.ReduceKeys(Z_MAX_KEYS - calcExclude.nKeys);
    calc.ClampDeltas(0.0, 1.0);
    calcExclude.ClampDeltas(0.0, 1.0);
}

/// Whether the smooth range of a key follows from its half-widths: new keys, and those taken over with what followed.
bool CKeyBuilder::IsSmoothDerived(const SINGLE_KEY& _extras) const
{
    return _extras.nSmoothRange == c_nSmoothDerived ||
           (_extras.nDelta != 0 && _extras.nSmoothRange == KeyRay_SmoothRange(_extras, m_eSpace));
}

/// Slots that hold no key get the extras of a new one.
void CKeyBuilder::ForgetExtras()
{
    for (KEYS& keys : m_arrKeys)
        std::fill(keys.arrExtras + keys.calc.nKeys, keys.arrExtras + Z_MAX_KEYS, NewExtras());
}

HRESULT CKeyBuilder::AddPoint(CFrameSampler* _pSampler, int32_t _nX, int32_t _nY, bool _bExclude)
{
    if (_nX < 0 || _nX >= _pSampler->Width() || _nY < 0 || _nY >= _pSampler->Height())
    {
        ZLog(eZLog_Error,
             "CKeyBuilder::AddPoint: %d,%d is outside the frame of %d x %d pixels; count from its top left\n", _nX, _nY,
             _pSampler->Width(), _pSampler->Height());
        return E_INVALIDARG;
    }
    const RECT_PIXELS rect = {std::max(_nX - c_nPointReach, 0), std::max(_nY - c_nPointReach, 0),
                              std::min(_nX + c_nPointReach + 1, _pSampler->Width()),
                              std::min(_nY + c_nPointReach + 1, _pSampler->Height())};
    const eCK_Type eSpace = SampleSpace();
    const CALC_KEY key = Sample(_pSampler, eSpace, rect, 1, 1)[0].Box(eSpace);
    SpaceSet(eSpace);
    Offer({key}, _bExclude ? KEY_SCREEN() : ScreenOf(_pSampler, eSpace, rect), _bExclude);
    return S_OK;
}

HRESULT CKeyBuilder::AddRect(CFrameSampler* _pSampler, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                             bool _bExclude)
{
    const RECT_PIXELS rect = {std::max(std::min(_nX1, _nX2), 0), std::max(std::min(_nY1, _nY2), 0),
                              std::min(std::max(_nX1, _nX2), _pSampler->Width()),
                              std::min(std::max(_nY1, _nY2), _pSampler->Height())};
    if (rect.nX1 >= rect.nX2 || rect.nY1 >= rect.nY2)
    {
        ZLog(
            eZLog_Error,
            "CKeyBuilder::AddRect: %d,%d,%d,%d holds no pixel of the frame of %d x %d pixels; count from its top left, "
            "the second corner not included\n",
            _nX1, _nY1, _nX2, _nY2, _pSampler->Width(), _pSampler->Height());
        return E_INVALIDARG;
    }
    const eCK_Type eSpace = SampleSpace();
    const std::vector<CALC_KEY> vecKeys = SampleParts(_pSampler, eSpace, rect);
    SpaceSet(eSpace);
    Offer(vecKeys, _bExclude ? KEY_SCREEN() : ScreenOf(_pSampler, eSpace, rect), _bExclude);
    return S_OK;
}

HRESULT CKeyBuilder::AddColor(uint32_t _nRGB, eZYMatrix _eMatrix, bool _bExclude)
{
    const eCK_Type eSpace = SampleSpace();
    const uint8_t arrBGRA[4] = {static_cast<uint8_t>(_nRGB), static_cast<uint8_t>(_nRGB >> 8),
                                static_cast<uint8_t>(_nRGB >> 16), 255};
    uint8_t arrPixel[4] = {};
    FrameSampler_ToSpace(eSpace, _eMatrix, arrBGRA, 1, arrPixel);
    CKeyStats stats;
    stats.Add(arrPixel, 1);
    const CHROMA_KEY_RAW rawBefore = RawGet();
    SpaceSet(eSpace);
    Offer({stats.Box(eSpace)}, KEY_SCREEN(), _bExclude);
    return std::memcmp(&rawBefore, &RawGet(), sizeof(rawBefore)) == 0 ? S_FALSE : S_OK; // nothing but whole numbers
}

HRESULT CKeyBuilder::Detect(CFrameSampler* _pSampler, const CKUtils::CK_DETECT_OPTIONS& _options,
                            std::vector<CKUtils::CK_BLOCK>* _pBlocks)
{
    std::vector<eCK_Type> vecSpaces = {eCKT_YUV, eCKT_HLS, eCKT_RGB};
    if (_options.eType != eCKT_Auto)
        vecSpaces = {_options.eType};
    else if (m_eType != eCKT_Auto || Calc(true).nKeys > 0)
        vecSpaces = {SampleSpace()};
    for (const eCK_Type eSpace : vecSpaces)
    {
        const FOUND_KEYS found = KeyFinder_Find(_pSampler, eSpace, _options, _pBlocks);
        if (found.vecKeys.empty())
            continue;
        if (_options.eType != eCKT_Auto)
            m_eType = _options.eType;
        SpaceSet(eSpace);
        CKeyCalc& calc = Calc(false);
        calc.nKeys = static_cast<int32_t>(found.vecKeys.size());
        std::copy(found.vecKeys.begin(), found.vecKeys.end(), calc.arrKeys);
        calc.bChanged = true;
        std::fill(m_arrKeys[0].arrExtras, m_arrKeys[0].arrExtras + Z_MAX_KEYS, NewExtras());
        for (size_t i = 0; i < found.vecSmooth.size(); ++i)
            m_arrKeys[0].arrExtras[i].nSmoothRange = found.vecSmooth[i];
        FitIntoSet();
        return S_OK;
    }
    ZLog(eZLog_Info, "CKeyBuilder::Detect: there is no backdrop in the frame of %d x %d pixels\n", _pSampler->Width(),
         _pSampler->Height());
    return S_FALSE;
}

void CKeyBuilder::RawSet(const CHROMA_KEY_RAW& _raw)
{
    m_raw = _raw;
    m_eType = KeyType_HasSpace(_raw.eType) ? static_cast<eCK_Type>(_raw.eType) : eCKT_Auto;
    m_eSpace = KeyType_HasSpace(_raw.eType) ? m_eType : eCKT_YUV;
    for (const bool bExclude : {false, true})
    {
        // Each calculator gets a set of its own kind, so that no slot is left to what it held before.
        CHROMA_KEY_RAW rawKind = _raw;
        rawKind.nKeysUsed = 0;
        for (int32_t i = 0; KeyType_HasSpace(_raw.eType) && i < std::min(_raw.nKeysUsed, Z_MAX_KEYS); ++i)
            if ((_raw.arrKeys[i].nReverseKey > 0) == bExclude)
                rawKind.arrKeys[rawKind.nKeysUsed++] = _raw.arrKeys[i];
        KEYS& keys = m_arrKeys[bExclude ? 1 : 0];
        keys.calc.FromRaw(rawKind, bExclude);
        keys.calc.bChanged = false;
        std::copy_n(rawKind.arrKeys, Z_MAX_KEYS, keys.arrExtras);
    }
    ForgetExtras();
}

const CHROMA_KEY_RAW& CKeyBuilder::RawGet()
{
    if (!Calc(false).bChanged && !Calc(true).bChanged)
        return m_raw;
    if (m_raw.nKeysUsed < 1 && m_raw.nMaxTransparent == 0)
        m_raw.nMaxTransparent = 255; // an all-zero set was taken over; its soft edges would be opaque
    m_raw.eType = HasKeys() ? m_eSpace : m_eType;
    m_raw.nKeysUsed = 0;
    for (const bool bExclude : {false, true})
    {
        KEYS& keys = m_arrKeys[bExclude ? 1 : 0];
        std::copy_n(keys.arrExtras, Z_MAX_KEYS - m_raw.nKeysUsed, m_raw.arrKeys + m_raw.nKeysUsed);
        const int32_t nFirst = m_raw.nKeysUsed;
        keys.calc.ToRaw(&m_raw, bExclude);
        keys.calc.bChanged = false;
        for (int32_t i = nFirst; i < m_raw.nKeysUsed; ++i)
            if (IsSmoothDerived(keys.arrExtras[i - nFirst]))
                m_raw.arrKeys[i].nSmoothRange = KeyRay_SmoothRange(m_raw.arrKeys[i], m_eSpace);
    }
    std::fill(m_raw.arrKeys + m_raw.nKeysUsed, m_raw.arrKeys + Z_MAX_KEYS, SINGLE_KEY{});
    return m_raw;
}
